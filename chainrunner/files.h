#pragma once

#include <string>

namespace chainrunner {

/// The whole content of a file. Throws std::runtime_error "NAME: reason". [any thread]
std::string readFile(const std::string& name);

}  // namespace chainrunner
