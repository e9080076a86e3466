#include "chainrunner/plugin_file.h"

#include <filesystem>

#include "chainrunner/PluginLibrary.h"

namespace chainrunner {

std::string defaultPluginFile() {
  const auto here = std::filesystem::canonical("/proc/self/exe").parent_path();
  std::string places;
  for (const char* folder : {".", "../codec", "../" INSTALLED_LIBRARIES}) {
    const auto file = (here / folder / "libconnectivity-marlovance-codec.so").lexically_normal();
    if (std::filesystem::exists(file)) return file.string();
    places += (places.empty() ? "" : ", ") + file.string();
  }
  throw PluginError("No plug-in is given, and there is none at " + places);
}

}  // namespace chainrunner
