#pragma once

#include <span>
#include <string>

#include "simulator/http.h"

namespace simulator {

/// Everything that the server answers below one path.
class Resource {
 public:
  virtual ~Resource() = default;

  /// The path, such as "/alarm/alarms".
  virtual std::string path() const = 0;

  /// Answers a request to the path or below it; `below` are the segments behind the path. Throws `RequestError` when it
  /// refuses. [server thread]
  virtual Answer answer(const Request& request, std::span<const std::string> below) = 0;
};

/// Throws `RequestError` 405, with what is allowed here in the header Allow. [any thread]
[[noreturn]] void refuseMethod(const Request& request, const std::string& allowed);

/// Throws `RequestError` 404 for a path under which nothing is served. [any thread]
[[noreturn]] void refusePath(const Request& request);

}  // namespace simulator
