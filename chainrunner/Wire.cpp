#include "chainrunner/Wire.h"

#include <curl/curl.h>

#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "connectivity/plugin_abi.h"

namespace chainrunner {

namespace {

struct FreeEasy {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};

struct FreeHeaders {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

template <class Value>
void set(CURL* easy, CURLoption option, Value value) {
  if (const CURLcode code = curl_easy_setopt(easy, option, value); code != CURLE_OK)
    throw std::runtime_error(std::string("libcurl refuses an option: ") + curl_easy_strerror(code));
}

/// What a failure is called in an answer, and whether the platform may have seen the request.
struct FailureKind {
  CURLcode code;
  const char* error;
  std::int64_t status;
  bool nothingSent, connectionLost;
};

constexpr FailureKind failureKinds[] = {
    {CURLE_COULDNT_RESOLVE_HOST, "transport/unknownHost", 502, true, false},
    {CURLE_COULDNT_RESOLVE_PROXY, "transport/unknownHost", 502, true, false},
    {CURLE_COULDNT_CONNECT, "transport/noConnection", 502, true, false},
    {CURLE_OPERATION_TIMEDOUT, "transport/timeout", 504, false, false},
    {CURLE_GOT_NOTHING, "transport/connectionLost", 502, false, true},
    {CURLE_SEND_ERROR, "transport/connectionLost", 502, false, true},
    {CURLE_RECV_ERROR, "transport/connectionLost", 502, false, true},
    {CURLE_SEND_FAIL_REWIND, "transport/connectionLost", 502, false, true},
    {CURLE_PARTIAL_FILE, "transport/truncated", 502, false, true},
    {CURLE_WEIRD_SERVER_REPLY, "transport/noHttp", 502, false, false},
    {CURLE_UNSUPPORTED_PROTOCOL, "transport/noHttp", 502, false, false},
    {CURLE_PEER_FAILED_VERIFICATION, "transport/tls", 502, false, false},
    {CURLE_SSL_CONNECT_ERROR, "transport/tls", 502, false, false},
};

FailureKind kindOf(CURLcode code) {
  for (const FailureKind& kind : failureKinds)
    if (kind.code == code) return kind;
  return {code, "transport/failed", 502, false, false};
}

}  // namespace

/// One attempt: libcurl's handle and what its callbacks collect.
class Wire::Exchange {
 public:
  Exchange(const TransportOptions& options, const HttpRequest& request, std::string description)
      : easy(curl_easy_init()), request(request), description(std::move(description)), most(options.maxAnswerBytes) {
    if (!easy) throw std::bad_alloc();
    setTransfer(options);
    setRequest();
  }

  CURL* handle() const { return easy.get(); }

  Attempt finish(CURLcode code) {
    if (isTooLarge)
      return {TransportFailure{502, "transport/tooLarge",
                               description + ": the answer is longer than " + std::to_string(most) + " bytes"},
              false, false};
    if (code != CURLE_OK) return failure(code);
    readHead();
    return {std::move(answer), false, false};
  }

 private:
  void setTransfer(const TransportOptions& options) {
    set(handle(), CURLOPT_ERRORBUFFER, errorText);
    set(handle(), CURLOPT_NOSIGNAL, 1L);
    set(handle(), CURLOPT_FOLLOWLOCATION, 0L);
    set(handle(), CURLOPT_PROTOCOLS_STR, "http,https");
    set(handle(), CURLOPT_PATH_AS_IS, 1L);
    set(handle(), CURLOPT_USERAGENT, "marlovance-chain/" QEL_PLUGIN_PRODUCT_VERSION);
    set(handle(), CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeout.count()));
    set(handle(), CURLOPT_HEADERFUNCTION, &Exchange::takeHeader);
    set(handle(), CURLOPT_HEADERDATA, this);
    set(handle(), CURLOPT_WRITEFUNCTION, &Exchange::takeBody);
    set(handle(), CURLOPT_WRITEDATA, this);
    if (!options.proxies) set(handle(), CURLOPT_NOPROXY, "*");
  }

  void setRequest() {
    set(handle(), CURLOPT_URL, request.url.c_str());
    set(handle(), CURLOPT_CUSTOMREQUEST, request.method.c_str());
    if (request.method == "POST" || request.method == "PUT") {
      // The body goes by callbacks, so that libcurl has to ask before it sends a body a second time.
      set(handle(), CURLOPT_POST, 1L);
      set(handle(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
      set(handle(), CURLOPT_READFUNCTION, &Exchange::giveBody);
      set(handle(), CURLOPT_READDATA, this);
      set(handle(), CURLOPT_SEEKFUNCTION, &Exchange::rewindBody);
      set(handle(), CURLOPT_SEEKDATA, this);
      addHeader("Expect:");
    }
    for (const std::string& line : request.headers) addHeader(line.c_str());
    set(handle(), CURLOPT_HTTPHEADER, headers.get());
  }

  void addHeader(const char* line) {
    curl_slist* longer = curl_slist_append(headers.get(), line);
    if (!longer) throw std::bad_alloc();
    static_cast<void>(headers.release());
    headers.reset(longer);
  }

  Attempt failure(CURLcode code) const {
    const FailureKind kind = kindOf(code);
    const bool isIdempotent = request.method == "GET" || request.method == "PUT";
    const char* text = errorText[0] ? errorText : curl_easy_strerror(code);
    return {TransportFailure{kind.status, kind.error, description + ": " + text}, kind.nothingSent,
            kind.nothingSent || (kind.connectionLost && isIdempotent)};
  }

  void readHead() {
    long status = 0;
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
    answer.status = status;
    const char* contentType = nullptr;
    if (curl_easy_getinfo(handle(), CURLINFO_CONTENT_TYPE, &contentType) == CURLE_OK && contentType)
      answer.contentType = contentType;
    curl_header* location = nullptr;
    if (curl_easy_header(handle(), "Location", 0, CURLH_HEADER, -1, &location) == CURLHE_OK)
      answer.location = location->value;
  }

  static Exchange& self(void* data) { return *static_cast<Exchange*>(data); }

  static std::size_t takeHeader(char* data, std::size_t, std::size_t size, void* exchange) {
    std::string_view line(data, size);
    if (!line.starts_with("HTTP/")) return size;
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
    // "HTTP/1.1 404 Not Found"
    const std::size_t afterVersion = line.find(' ');
    const std::size_t afterStatus =
        line.find(' ', afterVersion == std::string_view::npos ? afterVersion : afterVersion + 1);
    self(exchange).answer.reason = afterStatus == std::string_view::npos ? "" : line.substr(afterStatus + 1);
    return size;
  }

  static std::size_t takeBody(char* data, std::size_t, std::size_t size, void* exchange) {
    Exchange& me = self(exchange);
    me.isTooLarge = me.answer.body.size() + size > me.most;
    if (me.isTooLarge) return 0;
    me.answer.body.append(data, size);
    return size;
  }

  static std::size_t giveBody(char* buffer, std::size_t, std::size_t room, void* exchange) {
    Exchange& me = self(exchange);
    const std::size_t count = me.request.body.copy(buffer, room, me.bodySent);
    me.bodySent += count;
    return count;
  }

  static int rewindBody(void* exchange, curl_off_t offset, int origin) {
    Exchange& me = self(exchange);
    if (me.request.method == "POST" || origin != SEEK_SET) return CURL_SEEKFUNC_FAIL;
    me.bodySent = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
  }

  std::unique_ptr<CURL, FreeEasy> easy;
  std::unique_ptr<curl_slist, FreeHeaders> headers;
  const HttpRequest& request;
  const std::string description;
  const std::size_t most;
  std::size_t bodySent = 0;
  bool isTooLarge = false;
  HttpAnswer answer;
  char errorText[CURL_ERROR_SIZE] = "";
};

void Wire::FreeMulti::operator()(void* multi) const {
  curl_multi_cleanup(multi);
}

Wire::Wire(const TransportOptions& options) : options(options) {
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (initialised == CURLE_OK) multi.reset(curl_multi_init());
  if (!multi) throw std::runtime_error("libcurl can't be started");
  curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(options.connections));
  curl_multi_setopt(multi.get(), CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(options.connections));
}

Wire::~Wire() {
  abandonAll();
}

void Wire::start(Id id, const HttpRequest& request, const std::string& description) {
  auto exchange = std::make_unique<Exchange>(options, request, description);
  curl_easy_setopt(exchange->handle(), CURLOPT_PRIVATE, reinterpret_cast<void*>(id));
  if (const CURLMcode code = curl_multi_add_handle(multi.get(), exchange->handle()); code != CURLM_OK)
    throw std::runtime_error(std::string("libcurl refuses an exchange: ") + curl_multi_strerror(code));
  exchanges.emplace(id, std::move(exchange));
}

std::size_t Wire::running() const {
  return exchanges.size();
}

void Wire::poll(std::chrono::milliseconds patience, const Done& done) {
  int stillRunning = 0;
  curl_multi_perform(multi.get(), &stillRunning);
  bool anyDone = false;
  int queued = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi.get(), &queued)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode code = message->data.result;
    char* tag = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &tag);
    const auto id = static_cast<Id>(reinterpret_cast<std::uintptr_t>(tag));
    const auto entry = exchanges.find(id);
    const std::unique_ptr<Exchange> exchange = std::move(entry->second);
    exchanges.erase(entry);
    Attempt attempt = exchange->finish(code);
    curl_multi_remove_handle(multi.get(), exchange->handle());
    anyDone = true;
    done(id, std::move(attempt));
  }
  if (!anyDone) curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(patience.count()), nullptr);
}

void Wire::abandonAll() {
  for (const auto& [id, exchange] : exchanges) curl_multi_remove_handle(multi.get(), exchange->handle());
  exchanges.clear();
}

void Wire::wake() {
  curl_multi_wakeup(multi.get());
}

}  // namespace chainrunner
