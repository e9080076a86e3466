#include "codec/frame_keys.h"

namespace com::tallowmere::connectivity::plugins {

const FrameKeys frameKeys;

}  // namespace com::tallowmere::connectivity::plugins
