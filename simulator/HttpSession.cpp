#include "simulator/HttpSession.h"

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <memory>
#include <sstream>

namespace simulator {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

constexpr std::uint32_t headerLimit = 64 * 1024;
constexpr std::chrono::seconds lingering{2};
constexpr std::string_view garbage = "\x16\x03\x01 this is no HTTP \x7f\xfe\r\n\r\n";

using Parser = http::request_parser<http::string_body>;
using Response = http::response<http::string_body>;

Request takeRequest(Parser& parser) {
  http::request<http::string_body> message = parser.release();
  Request request;
  request.method = message.method_string();
  request.target = message.target();
  for (const auto& field : message) request.headers.push_back({field.name_string(), field.value()});
  request.body = std::move(message.body());
  return request;
}

Response makeResponse(Answer answer) {
  Response response;
  response.result(static_cast<unsigned>(answer.status));
  response.set(http::field::server, "marlovance-simulator");
  if (!answer.contentType.empty()) response.set(http::field::content_type, answer.contentType);
  for (const Header& header : answer.headers) response.set(header.name, header.value);
  response.body() = std::move(answer.body);
  response.prepare_payload();
  return response;
}

/// The status for a request that could not be read; 0 when the connection is beyond answering.
int statusFor(error_code error) {
  if (error == http::error::end_of_stream || error == http::error::partial_message) return 0;
  if (error == http::error::header_limit) return 431;
  if (error == http::error::body_limit) return 413;
  return error.category() == http::make_error_code(http::error::bad_method).category() ? 400 : 0;
}

/// One connection. Each step starts an operation whose end is the next step: read a header, read the body, wait, write;
/// then from the start again, or close.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
 public:
  HttpSession(asio::ip::tcp::socket&& socket, RequestHandler& handler, std::size_t bodyLimit)
      : stream(std::move(socket)), timer(stream.get_executor()), handler(handler), bodyLimit(bodyLimit) {
    error_code ignored;
    stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
  }

  void readHeader() {
    parser.emplace();
    parser->body_limit(bodyLimit);
    parser->header_limit(headerLimit);
    http::async_read_header(stream, buffer, *parser, step(&HttpSession::headerRead));
  }

 private:
  /// What an operation calls at its end, with the session kept alive until then.
  struct Step {
    std::shared_ptr<HttpSession> session;
    void (HttpSession::*next)(error_code);

    void operator()(error_code error, std::size_t = 0) const { ((*session).*next)(error); }
  };

  Step step(void (HttpSession::*next)(error_code)) { return {shared_from_this(), next}; }

  void headerRead(error_code error) {
    if (error) return refuse(error);
    const bool waits = beast::iequals(parser->get()[http::field::expect], "100-continue") && !parser->is_done();
    if (!waits) return continued({});
    wire = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(stream, asio::buffer(wire), step(&HttpSession::continued));
  }

  void continued(error_code error) {
    if (error) return;
    http::async_read(stream, buffer, *parser, step(&HttpSession::requestRead));
  }

  void requestRead(error_code error) {
    if (error) return refuse(error);
    const bool isHead = parser->get().method() == http::verb::head;
    const unsigned version = parser->get().version();
    const bool keepAlive = parser->keep_alive();
    Reply reply = handler.handle(takeRequest(*parser));
    delivery = reply.delivery;
    prepare(std::move(reply.answer), version, keepAlive);
    if (isHead) withholdBody();
    if (delivery.delay.count() == 0) return deliver({});
    timer.expires_after(delivery.delay);
    timer.async_wait(step(&HttpSession::deliver));
  }

  void refuse(error_code error) {
    const int status = statusFor(error);
    if (status == 0) return linger();
    delivery = {};
    prepare(handler.refuse(status, error.message()), 11, false);
    deliver({});
  }

  void prepare(Answer answer, unsigned version, bool keepAlive) {
    response = makeResponse(std::move(answer));
    response.version(version);
    response.keep_alive(keepAlive && delivery.ending == Ending::Whole);
  }

  void withholdBody() {
    const std::size_t size = response.body().size();
    response.body().clear();
    response.content_length(size);
  }

  void deliver(error_code error) {
    if (error) return;
    switch (delivery.ending) {
      case Ending::Whole:
        if (!delivery.dribble) return writeResponse();
        return writeBytes(responseBytes());
      case Ending::Truncated: {
        std::string bytes = responseBytes();
        bytes.resize(bytes.size() - (response.body().size() + 1) / 2);
        return writeBytes(std::move(bytes));
      }
      case Ending::Garbage:
        return writeBytes(std::string(garbage));
      case Ending::Reset:
        return reset();
      case Ending::Closed:
        return linger();
    }
  }

  std::string responseBytes() const {
    std::ostringstream bytes;
    bytes << response;
    return bytes.str();
  }

  void writeResponse() { http::async_write(stream, response, step(&HttpSession::written)); }

  void writeBytes(std::string bytes) {
    wire = std::move(bytes);
    sent = 0;
    if (delivery.dribble) return writeByte({});
    asio::async_write(stream, asio::buffer(wire), step(&HttpSession::written));
  }

  void writeByte(error_code error) {
    if (error) return;
    if (sent == wire.size()) return written({});
    asio::async_write(stream, asio::buffer(wire.data() + sent++, 1), step(&HttpSession::byteWritten));
  }

  void byteWritten(error_code error) {
    if (error) return;
    timer.expires_after(*delivery.dribble);
    timer.async_wait(step(&HttpSession::writeByte));
  }

  void written(error_code error) {
    if (error) return;
    if (response.keep_alive() && delivery.ending == Ending::Whole) return readHeader();
    linger();
  }

  void reset() {
    error_code ignored;
    stream.socket().set_option(asio::socket_base::linger(true, 0), ignored);
    stream.socket().close(ignored);
  }

  /// Ends the answer's direction, and reads on for a while what the client is still sending: closing with unread bytes
  /// would reset the connection and take the answer with it.
  void linger() {
    error_code ignored;
    stream.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    stream.expires_after(lingering);
    drain({});
  }

  void drain(error_code error) {
    if (error) return;
    stream.async_read_some(asio::buffer(scrap), step(&HttpSession::drain));
  }

  beast::tcp_stream stream;
  asio::steady_timer timer;
  RequestHandler& handler;
  const std::size_t bodyLimit;
  beast::flat_buffer buffer;
  std::optional<Parser> parser;
  Response response;
  Delivery delivery;
  std::string wire;
  std::size_t sent = 0;
  std::array<char, 4096> scrap;
};

}  // namespace

void startSession(asio::ip::tcp::socket socket, RequestHandler& handler, std::size_t bodyLimit) {
  std::make_shared<HttpSession>(std::move(socket), handler, bodyLimit)->readHeader();
}

}  // namespace simulator
