#pragma once

#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// The frame's metadata keys as ready-made owned strings, built when the library is loaded.
struct FrameKeys {
  hashed_key type{HOST_MESSAGE_TYPE};
  hashed_key channel{HOST_MESSAGE_CHANNEL};
  hashed_key controlObject{HOST_MESSAGE_CONTROL_OBJECT};
};
extern const FrameKeys frameKeys;

}  // namespace com::tallowmere::connectivity::plugins
