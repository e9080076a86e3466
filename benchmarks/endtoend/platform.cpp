// A platform that costs next to nothing, so that it is the clients that a benchmark measures. It knows no documents: it
// answers a POST with the document that came, stamped as the platform would, and a GET of measurements with a page made
// up in advance. What it stamps depends on the document alone, so all clients get the same answers in any order.
//
//     platform [--elements N] [--record FILE]
//
// Prints its address as the first line, and ends when its standard input does. With --record every request is written
// to FILE, one JSON document a line.
#include <unistd.h>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/json.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <unordered_map>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

namespace {

constexpr std::string_view collectionType = "application/vnd.com.rdx.marlovance.measurementcollection+json";
constexpr std::uint64_t mostBytes = 64 << 20;

std::size_t numberAfter(std::string_view text, std::string_view mark, std::size_t otherwise) {
  const std::size_t at = text.find(mark);
  if (at == std::string_view::npos) return otherwise;
  std::size_t number = otherwise;
  const std::string_view digits = text.substr(at + mark.size());
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

/// A moment of one day in spring.
std::string timeText(std::size_t millis) {
  const std::size_t seconds = millis / 1000 % 86'400;
  char text[40];
  std::snprintf(text, sizeof text, "2026-04-01T%02zu:%02zu:%02zu.%03zuZ", seconds / 3600, seconds / 60 % 60,
                seconds % 60, millis % 1000);
  return text;
}

std::string measurementDocument(std::size_t number) {
  const std::string id = std::to_string(90'000'000 + number);
  const std::string device = std::to_string(2'504'001 + number % 1000);
  const std::string value = std::to_string(4 + number % 20) + "." + std::to_string(10 + number % 90);
  return R"({"id":")" + id + R"(","time":")" + timeText(number * 10) +
         R"(","type":"kv_Climate","self":"https://platform.example/measurement/measurements/)" + id +
         R"(","source":{"id":")" + device + R"(","self":"https://platform.example/registry/managed-objects/)" + device +
         R"("},"kv_Climate":{"T":{"value":)" + value + R"(,"unit":"C"}}})";
}

class Platform {
 public:
  Platform(std::size_t elements, const char* recordFile) : elements(elements) {
    if (!recordFile) return;
    record.open(recordFile);
    if (!record) throw std::runtime_error(std::string(recordFile) + ": can't be written");
  }

  http::response<http::string_body> answer(const http::request<http::string_body>& request) {
    if (record.is_open()) write(request);
    http::response<http::string_body> response;
    response.version(11);
    response.keep_alive(request.keep_alive());
    if (request.method() == http::verb::get) {
      response.result(http::status::ok);
      response.set(http::field::content_type, collectionType);
      response.body() = page(request.target());
    } else {
      const std::string_view type = request[http::field::content_type];
      response.result(http::status::created);
      response.set(http::field::content_type, type);
      response.body() = type == collectionType ? ids(request.body()) : stamped(request.body());
    }
    response.prepare_payload();
    return response;
  }

 private:
  /// The document with what the platform adds, which follows from the number behind its first '#'. Ten documents share
  /// a millisecond, as they do where some thousands are stored in a second.
  static std::string stamped(std::string_view document) {
    const std::size_t number = numberAfter(document, "#", 0);
    const std::string id = std::to_string(90'000'000 + number);
    std::string body = R"({"id":")" + id + R"(","self":"https://platform.example/alarm/alarms/)" + id +
                       R"(","creationTime":")" + timeText(number / 10) + R"(",)";
    return body.append(document.substr(1));
  }

  /// An answer to a collection: as many ids as there are elements.
  static std::string ids(std::string_view collection) {
    std::string body = R"({"measurements":[)";
    std::size_t number = 0;
    for (std::size_t at = 0; (at = collection.find("\"source\":", at)) != std::string_view::npos; ++at) {
      if (number++ > 0) body += ',';
      body += R"({"id":")" + std::to_string(90'000'000 + number) + "\"}";
    }
    return body + "]}";
  }

  const std::string& page(std::string_view target) {
    const std::size_t size = std::max<std::size_t>(numberAfter(target, "pageSize=", 5), 1);
    const std::size_t current = std::max<std::size_t>(numberAfter(target, "currentPage=", 1), 1);
    std::string& text = pages[{size, current}];
    if (text.empty()) text = makePage(size, current);
    return text;
  }

  std::string makePage(std::size_t size, std::size_t current) const {
    std::string text = R"({"measurements":[)";
    const std::size_t first = std::min((current - 1) * size, elements);
    const std::size_t end = std::min(first + size, elements);
    for (std::size_t number = first; number < end; ++number)
      text += (number > first ? "," : "") + measurementDocument(number);
    return text + R"(],"statistics":{"currentPage":)" + std::to_string(current) + R"(,"pageSize":)" +
           std::to_string(size) + R"(,"totalPages":)" + std::to_string((elements + size - 1) / size) + "}}";
  }

  void write(const http::request<http::string_body>& request) {
    boost::json::object headers;
    for (const http::field name : {http::field::authorization, http::field::accept, http::field::content_type})
      if (request.count(name) > 0) headers[http::to_string(name)] = std::string_view(request[name]);
    record << boost::json::object{{"method", std::string_view(request.method_string())},
                                  {"target", std::string_view(request.target())},
                                  {"headers", headers},
                                  {"body", request.body()}}
           << '\n'
           << std::flush;
  }

  struct PageHash {
    std::size_t operator()(const std::pair<std::size_t, std::size_t>& page) const {
      return page.first ^ page.second << 20;
    }
  };

  const std::size_t elements;
  std::ofstream record;
  std::unordered_map<std::pair<std::size_t, std::size_t>, std::string, PageHash> pages;
};

asio::awaitable<void> serve(tcp::socket socket, Platform& platform) {
  socket.set_option(tcp::no_delay(true));
  beast::flat_buffer buffer;
  for (;;) {
    http::request_parser<http::string_body> parser;
    parser.body_limit(mostBytes);
    co_await http::async_read(socket, buffer, parser, asio::use_awaitable);
    const auto response = platform.answer(parser.get());
    co_await http::async_write(socket, response, asio::use_awaitable);
    if (!response.keep_alive()) co_return;
  }
}

asio::awaitable<void> accept(tcp::acceptor acceptor, Platform& platform) {
  for (;;) {
    tcp::socket socket = co_await acceptor.async_accept(asio::use_awaitable);
    // A client that goes away ends its connection and nothing else.
    asio::co_spawn(acceptor.get_executor(), serve(std::move(socket), platform), asio::detached);
  }
}

asio::awaitable<void> stopWithInput(asio::io_context& io) {
  asio::posix::stream_descriptor input(io, dup(STDIN_FILENO));
  char byte = 0;
  boost::system::error_code ended;
  while (!ended)
    co_await input.async_read_some(asio::buffer(&byte, 1), asio::redirect_error(asio::use_awaitable, ended));
  io.stop();
}

void run(std::size_t elements, const char* recordFile) {
  Platform platform(elements, recordFile);
  asio::io_context io(1);
  tcp::acceptor acceptor(io, {asio::ip::address_v4::loopback(), 0});
  std::cout << "http://127.0.0.1:" << acceptor.local_endpoint().port() << std::endl;
  asio::co_spawn(io, accept(std::move(acceptor), platform), asio::detached);
  asio::co_spawn(io, stopWithInput(io), asio::detached);
  io.run();
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t elements = 0;
  const char* recordFile = nullptr;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--elements") == 0) elements = std::strtoul(argv[i + 1], nullptr, 10);
    if (std::strcmp(argv[i], "--record") == 0) recordFile = argv[i + 1];
  }
  try {
    run(elements, recordFile);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "platform: " << error.what() << '\n';
    return 1;
  }
}
