#include "simulator/HttpServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <stdexcept>
#include <thread>

#include "simulator/HttpSession.h"

namespace simulator {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

std::string hostOf(const tcp::endpoint& endpoint) {
  const std::string host = endpoint.address().to_string();
  return (endpoint.address().is_v6() ? "[" + host + "]" : host) + ":" + std::to_string(endpoint.port());
}

tcp::acceptor listenOn(asio::io_context& context, const std::string& address, std::uint16_t port) {
  try {
    // The acceptor sets the option that lets a port be taken over from connections that are still closing.
    return tcp::acceptor(context, tcp::endpoint(asio::ip::make_address(address), port));
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error("can't listen on " + address + ":" + std::to_string(port) + ": " + error.code().message());
  }
}

}  // namespace

class HttpServer::Impl {
 public:
  Impl(const std::string& address, std::uint16_t port, std::size_t bodyLimit)
      : acceptor(listenOn(context, address, port)),
        url("http://" + hostOf(acceptor.local_endpoint())),
        bodyLimit(bodyLimit) {}
  ~Impl() {
    context.stop();
    if (thread.joinable()) thread.join();
    // The operations left in the context own the connections, and end with it.
  }

  void serve(RequestHandler& requestHandler) {
    handler = &requestHandler;
    accept();
    thread = std::thread([this] { context.run(); });
  }

  void accept() {
    acceptor.async_accept([this](error_code error, tcp::socket socket) { accepted(error, std::move(socket)); });
  }

  void accepted(error_code error, tcp::socket socket) {
    if (!error) {
      startSession(std::move(socket), *handler, bodyLimit);
      accept();
      return;
    }
    // Out of file descriptors, most likely: connections that end will free some.
    timer.expires_after(std::chrono::milliseconds(50));
    timer.async_wait([this](error_code) { accept(); });
  }

  asio::io_context context{1};
  tcp::acceptor acceptor;
  asio::steady_timer timer{context};
  const std::string url;
  const std::size_t bodyLimit;
  RequestHandler* handler = nullptr;
  std::thread thread;
};

HttpServer::HttpServer(const std::string& address, std::uint16_t port, std::size_t bodyLimit)
    : impl(std::make_unique<Impl>(address, port, bodyLimit)), address(impl->url) {}

HttpServer::~HttpServer() = default;

const std::string& HttpServer::url() const {
  return address;
}

void HttpServer::serve(RequestHandler& handler) {
  impl->serve(handler);
}

void HttpServer::stop() {
  impl.reset();
}

}  // namespace simulator
