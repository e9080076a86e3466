#pragma once

#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// The frame's metadata keys as ready-made owned strings, built when the library is loaded.
struct FrameKeys {
  data_t type{HOST_MESSAGE_TYPE};
  data_t channel{HOST_MESSAGE_CHANNEL};
  data_t controlObject{HOST_MESSAGE_CONTROL_OBJECT};
};
extern const FrameKeys frameKeys;

}  // namespace com::tallowmere::connectivity::plugins
