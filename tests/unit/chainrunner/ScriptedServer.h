#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tests {

/// A connection of the scripted server, for its script to do good or harm with. [server thread]
class Connection {
 public:
  explicit Connection(int socket) : socket(socket) {}

  /// Sends the bytes as they are.
  void send(const std::string& bytes) const;
  /// Sends a whole answer with a JSON body.
  void answer(int status, const std::string& body) const;
  /// Ends the connection with a reset instead of a proper close.
  void reset() const;

 private:
  const int socket;
};

/// A request as it came in.
struct Received {
  std::string method, path, head, body;
};

/// An HTTP server on a loopback port that does to each request what its script says; each connection has a thread. A
/// connection stays open while the script answers true.
class ScriptedServer {
 public:
  using Script = std::function<bool(const Received&, const Connection&)>;

  explicit ScriptedServer(Script script);
  ~ScriptedServer();

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port); }

  /// All requests so far, in the order they came.
  std::vector<Received> received() const;
  int connections() const { return connectionCount; }
  /// Connections that the server has closed.
  int closedConnections() const { return closedCount; }

 private:
  void accept();
  void serve(int socket);
  bool readRequest(int socket, std::string& buffer, Received& request) const;

  const Script script;
  unsigned short port = 0;
  int listener;
  std::atomic<int> connectionCount{0};
  std::atomic<int> closedCount{0};
  mutable std::mutex mutex;
  std::vector<Received> requests;
  std::vector<int> sockets;
  std::vector<std::thread> threads;
  std::thread acceptor;
};

/// A loopback address at which nobody listens.
std::string unusedUrl();

}  // namespace tests
