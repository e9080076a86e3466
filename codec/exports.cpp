#include "codec/MarlovanceCodec.h"
#include "connectivity/entry_points.h"

QEL_EXPORT_PLUGIN(
    MarlovanceCodec,
    com::tallowmere::connectivity10_15_4::EntryPoints<com::tallowmere::connectivity::plugins::MarlovanceCodec>)
