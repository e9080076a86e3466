// The value classes that the runner shares with its plug-in, under short names.
#pragma once

#include "connectivity/Message.h"
#include "connectivity/conversion.h"
#include "connectivity/data_t.h"
#include "connectivity/hashed_key.h"
#include "connectivity/list_t.h"
#include "connectivity/map_t.h"

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::data_t;
using com::tallowmere::connectivity10_15_4::hashed_key;
using com::tallowmere::connectivity10_15_4::HOST_MESSAGE_CHANNEL;
using com::tallowmere::connectivity10_15_4::HOST_MESSAGE_TYPE;
using com::tallowmere::connectivity10_15_4::list_t;
using com::tallowmere::connectivity10_15_4::map_t;
using com::tallowmere::connectivity10_15_4::Message;
using com::tallowmere::connectivity10_15_4::Tag;

}  // namespace chainrunner
