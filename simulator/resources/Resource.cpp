#include "simulator/resources/Resource.h"

#include "simulator/errors.h"

namespace simulator {

void refuseMethod(const Request& request, const std::string& allowed) {
  throw RequestError(405, request.method + " is not served at " + quoted(request.path) + ", but " + allowed,
                     {{"Allow", allowed}});
}

void refusePath(const Request& request) {
  throw RequestError(404, "nothing is served at " + quoted(request.path));
}

}  // namespace simulator
