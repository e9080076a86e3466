// What travels between the HTTP server and the routes behind it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

struct Header {
  std::string name;
  std::string value;
};

struct Request {
  std::string method;
  std::string target;                                        ///< path and query, still encoded
  std::vector<Header> headers;                               ///< as they came
  std::string body;                                          ///< unchunked
  std::string path;                                          ///< without query, still encoded
  std::vector<std::string> segments;                         ///< of the path, decoded
  std::vector<std::pair<std::string, std::string>> queries;  ///< parameters in order, decoded

  /// The value of the first header of that name, in any case; empty when there is none.
  std::string_view header(std::string_view name) const;
};

struct Answer {
  int status = 200;
  std::string contentType;
  std::string body;
  std::vector<Header> headers;  ///< further ones
};

/// Whether answers of this status have a body: 204 and 304 have none. [any thread]
bool mayHaveBody(int status);

/// How an answer reaches the client, or fails to.
enum class Ending {
  Whole,
  Truncated,  ///< headers and the first half of the body, then the connection is closed
  Garbage,    ///< bytes that are no HTTP, then the connection is closed
  Reset,      ///< no byte, the connection is reset
  Closed      ///< no byte, the connection is closed
};

struct Delivery {
  Ending ending = Ending::Whole;
  std::chrono::milliseconds delay{0};                ///< before the first byte
  std::optional<std::chrono::milliseconds> dribble;  ///< byte by byte, with this pause between two
};

struct Reply {
  Answer answer;
  Delivery delivery;
};

/// Answers the requests that a server reads.
class RequestHandler {
 public:
  virtual ~RequestHandler() = default;

  /// Answers a whole request. Must not throw. [server thread]
  virtual Reply handle(Request&& request) = 0;

  /// Makes the answer to what could not be read as a request, or is too large. Must not throw. [server thread]
  virtual Answer refuse(int status, const std::string& message) = 0;
};

}  // namespace simulator
