// A request message on its way to the wire: what the plug-in asked for, checked and written as HTTP has it.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "chainrunner/TransportKeys.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// One HTTP request, ready to be sent.
struct HttpRequest {
  std::string method;                ///< "GET", "PUT", "POST" or "DELETE"
  std::string url;                   ///< absolute and percent-encoded
  std::vector<std::string> headers;  ///< "Name: value"; they may hold credentials and are never logged
  std::string body;                  ///< JSON; empty for GET and DELETE
};

/// A request that must not reach the wire; `what()` is the reason.
class RequestRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Checks the address of a platform and gives it without a slash at its end. Throws std::invalid_argument with the
/// reason: it must be http or https with a host, without credentials, query or fragment. [any thread]
std::string checkedPlatform(const std::string& address);

/// The request that a message describes, for the platform at `platform` (as `checkedPlatform` gives it). Throws
/// RequestRefused when the message has no usable "http" map, when its path leaves the platform, when a header, cookie
/// or path could break out of its place (control characters, "//host", headers of the connection), or when the payload
/// has no JSON form. [any thread]
HttpRequest makeHttpRequest(const Message& message, const std::string& platform, const TransportKeys& keys);

}  // namespace chainrunner
