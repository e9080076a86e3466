#pragma once

#include <memory>
#include <string>
#include <vector>

#include "simulator/http.h"
#include "simulator/resources/Resource.h"

namespace simulator {

/// Finds the resource that a request is for. [one thread at a time]
class Router {
 public:
  /// Requests must bear `authorization`, a whole header value.
  explicit Router(std::string authorization) : authorization(std::move(authorization)) {}

  void add(std::unique_ptr<Resource> resource);

  /// Checks the authorisation and lets the resource answer. Throws `RequestError`: 401 without the right authorisation,
  /// 404 for a path that belongs to no resource, and what the resource throws.
  Answer answer(const Request& request);

 private:
  struct Route {
    std::vector<std::string> segments;
    std::unique_ptr<Resource> resource;
  };

  std::string authorization;
  std::vector<Route> routes;
};

/// The header value of basic authorisation. [any thread]
std::string basicAuthorization(const std::string& username, const std::string& password);

/// Fills `path`, `segments` and `queries` of a request from its target, which loses scheme and host if it has them.
/// Throws `RequestError` 400 when the target is no URL, and leaves it as it is; `path` is then what stands before its
/// question mark. [any thread]
void splitTarget(Request& request);

}  // namespace simulator
