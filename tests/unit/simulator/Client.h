// A small HTTP client on one connection, and the simulator that most tests talk to with it.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/json/value.hpp>
#include <map>
#include <string>
#include <string_view>

#include "simulator/Simulator.h"

namespace simulator {

struct Received {
  int status = 0;
  std::string contentType;
  std::map<std::string, std::string> headers;  ///< names in lower case
  std::string body;

  boost::json::object json() const;
  std::string id() const;
};

/// Keeps its connection open between requests. Throws boost::system::system_error when a request gets no whole answer.
class Client {
 public:
  using Headers = std::map<std::string, std::string>;

  /// Connects to "http://127.0.0.1:PORT".
  explicit Client(const std::string& url);

  /// Sends a request with the right authorisation and, with a body, as application/json; `headers` replace or add.
  Received request(const std::string& method, const std::string& target, std::string body = {}, Headers headers = {});
  Received get(const std::string& target) { return request("GET", target); }
  Received post(const std::string& target, std::string body) { return request("POST", target, std::move(body)); }
  Received put(const std::string& target, std::string body) { return request("PUT", target, std::move(body)); }

  /// Sends these bytes as they are.
  void send(std::string_view bytes);
  /// Reads one answer.
  Received receive();
  /// Reads until the other side ends the connection.
  std::string receiveRest();

 private:
  boost::asio::io_context context;
  boost::asio::ip::tcp::socket socket;
  boost::beast::flat_buffer buffer;
};

/// "Basic" with the simulator's default user and password.
extern const char* const authorization;

}  // namespace simulator
