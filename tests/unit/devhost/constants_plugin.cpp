// A plug-in that makes values while it is loaded and frees them while it is unloaded.
#include "connectivity/host_platform.h"

namespace {

struct Constants {
  Constants() : text(qel_copy_string("a constant")), map(qel_allocate_map(8)) { map->name = qel_copy_string("name"); }
  ~Constants() {
    qel_free_string(text);
    qel_free_map(map);
  }

  char* text;
  map_header* map;
  char* fromTheOtherLibrary = static_cast<char*>(kv_malloc(1));
  const double time = (Platform::kv_free(fromTheOtherLibrary), Platform::relativeHighResTimeFloat());
};

const Constants constants;

}  // namespace
