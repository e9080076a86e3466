#pragma once

#include <boost/asio/ip/tcp.hpp>

#include "simulator/http.h"

namespace simulator {

/// Serves one connection until it ends: its pending operations keep it alive. `handler` must outlive them.
/// [server thread]
void startSession(boost::asio::ip::tcp::socket socket, RequestHandler& handler, std::size_t bodyLimit);

}  // namespace simulator
