#pragma once

#include <string>

namespace chainrunner {

/// The plug-in that goes with this program: beside it, in its build tree, or where both were installed. Throws
/// PluginError that names the places when it is in none. [any thread]
std::string defaultPluginFile();

}  // namespace chainrunner
