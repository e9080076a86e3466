#include "tests/unit/chainrunner/ScriptedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace tests {

namespace {

int listenOnLoopback(unsigned short& port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (listener < 0 || bind(listener, generic, length) != 0 || getsockname(listener, generic, &length) != 0)
    throw std::runtime_error("no loopback port");
  port = ntohs(address.sin_port);
  return listener;
}

std::size_t contentLength(const std::string& head) {
  const std::size_t at = head.find("Content-Length: ");
  return at == std::string::npos ? 0 : std::stoul(head.substr(at + 16));
}

}  // namespace

void Connection::send(const std::string& bytes) const {
  static_cast<void>(::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

void Connection::answer(int status, const std::string& body) const {
  send("HTTP/1.1 " + std::to_string(status) + " Scripted\r\nContent-Type: application/json\r\nContent-Length: " +
       std::to_string(body.size()) + "\r\n\r\n" + body);
}

void Connection::reset() const {
  const linger now{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

ScriptedServer::ScriptedServer(Script script) : script(std::move(script)), listener(listenOnLoopback(port)) {
  listen(listener, 64);
  acceptor = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
  shutdown(listener, SHUT_RDWR);
  acceptor.join();
  close(listener);
  {
    const std::lock_guard lock(mutex);
    for (const int socket : sockets) shutdown(socket, SHUT_RDWR);
  }
  for (std::thread& thread : threads) thread.join();
  for (const int socket : sockets) close(socket);
}

std::vector<Received> ScriptedServer::received() const {
  const std::lock_guard lock(mutex);
  return requests;
}

void ScriptedServer::accept() {
  int socket = -1;
  while ((socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
    ++connectionCount;
    const std::lock_guard lock(mutex);
    sockets.push_back(socket);
    threads.emplace_back([this, socket] { serve(socket); });
  }
}

void ScriptedServer::serve(int socket) {
  std::string buffer;
  Received request;
  while (readRequest(socket, buffer, request)) {
    {
      const std::lock_guard lock(mutex);
      requests.push_back(request);
    }
    if (!script(request, Connection(socket))) break;
  }
  // A descriptor is given back to the system only here, so that no other connection gets the number meanwhile.
  const std::lock_guard lock(mutex);
  std::erase(sockets, socket);
  close(socket);
  ++closedCount;
}

bool ScriptedServer::readRequest(int socket, std::string& buffer, Received& request) const {
  const auto fill = [&] {
    char bytes[4096];
    const ssize_t count = recv(socket, bytes, sizeof bytes, 0);
    if (count > 0) buffer.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
  };
  std::size_t end = 0;
  while ((end = buffer.find("\r\n\r\n")) == std::string::npos)
    if (!fill()) return false;
  request.head = buffer.substr(0, end);
  const std::size_t length = contentLength(request.head);
  while (buffer.size() < end + 4 + length)
    if (!fill()) return false;
  request.body = buffer.substr(end + 4, length);
  buffer.erase(0, end + 4 + length);
  const std::size_t space = request.head.find(' ');
  request.method = request.head.substr(0, space);
  request.path = request.head.substr(space + 1, request.head.find(' ', space + 1) - space - 1);
  return true;
}

std::string unusedUrl() {
  unsigned short port = 0;
  close(listenOnLoopback(port));
  return "http://127.0.0.1:" + std::to_string(port);
}

}  // namespace tests
