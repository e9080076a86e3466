#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "simulator/http.h"

namespace simulator {

/// An HTTP/1.1 server: one thread for all its connections, which are kept open between requests; requests that are sent
/// ahead of their answers are answered in order.
class HttpServer {
 public:
  /// Listens, but reads nothing yet. Bodies above `bodyLimit` bytes are refused with 413, headers above 64 KiB with
  /// 431. Throws std::runtime_error "can't listen on ADDRESS:PORT: REASON". [any thread]
  HttpServer(const std::string& address, std::uint16_t port, std::size_t bodyLimit);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// "http://ADDRESS:PORT" with the port that was taken. [any thread]
  const std::string& url() const;

  /// Starts to serve, once. `handler` must live until `stop` returns.
  void serve(RequestHandler& handler);

  /// Stops accepting, closes all connections and waits for the thread; answers on their way are cut short. Not for the
  /// server's own thread.
  void stop();

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
  std::string address;
};

}  // namespace simulator
