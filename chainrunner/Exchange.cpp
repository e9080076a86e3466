#include "chainrunner/Exchange.h"

#include <strings.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "connectivity/plugin_abi.h"

namespace chainrunner {

namespace {

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
    {CURLE_ABORTED_BY_CALLBACK, "transport/connectionLost", 502, false, true},
    {CURLE_PARTIAL_FILE, "transport/truncated", 502, false, true},
    {CURLE_WEIRD_SERVER_REPLY, "transport/noHttp", 502, false, false},
    {CURLE_UNSUPPORTED_PROTOCOL, "transport/noHttp", 502, false, false},
    {CURLE_PEER_FAILED_VERIFICATION, "transport/tls", 502, false, false},
    {CURLE_SSL_CONNECT_ERROR, "transport/tls", 502, false, false},
};

constexpr std::size_t longBody = 65536;  // libcurl would announce those from a megabyte on

FailureKind kindOf(CURLcode code) {
  for (const FailureKind& kind : failureKinds)
    if (kind.code == code) return kind;
  return {code, "transport/failed", 502, false, false};
}

bool hasBody(const std::string& method) {
  return method == "POST" || method == "PUT";
}

bool namesUserAgent(const std::string& line) {
  constexpr std::string_view name = "User-Agent";
  return line.size() > name.size() && strncasecmp(line.c_str(), name.data(), name.size()) == 0 &&
         (line[name.size()] == ':' || line[name.size()] == ';');
}

Exchange& self(void* data) {
  return *static_cast<Exchange*>(data);
}

}  // namespace

template <class Value>
void Exchange::set(CURLoption option, Value value) {
  if (const CURLcode code = curl_easy_setopt(handle(), option, value); code != CURLE_OK)
    throw std::runtime_error(std::string("libcurl refuses an option: ") + curl_easy_strerror(code));
}

Exchange::Exchange(const TransportOptions& options, bool readsProxies)
    : parsedUrl(curl_url()), easy(curl_easy_init()), most(options.maxAnswerBytes) {
  if (!parsedUrl || !easy) throw std::bad_alloc();
  set(CURLOPT_PRIVATE, this);
  set(CURLOPT_ERRORBUFFER, errorText);
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_FOLLOWLOCATION, 0L);
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeout.count()));
  set(CURLOPT_HEADERFUNCTION, &Exchange::takeHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_WRITEFUNCTION, &Exchange::takeBody);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_PREREQFUNCTION, &Exchange::allowSending);
  set(CURLOPT_PREREQDATA, this);
  if (!readsProxies) set(CURLOPT_NOPROXY, "*");
}

Exchange& Exchange::of(CURL* easy) {
  char* exchange = nullptr;
  curl_easy_getinfo(easy, CURLINFO_PRIVATE, &exchange);
  return self(exchange);
}

void Exchange::begin(Id id, const HttpRequest& next, const std::string& what) {
  currentId = id;
  request = &next;
  description = &what;
  isTooLarge = false;
  answer = {};
  errorText[0] = '\0';
  if (next.url != url) setUrl(next.url);
  if (next.method != method) setMethod(next.method);
  if (hasBody(next.method)) setBody();
  const bool isLong = hasBody(next.method) && next.body.size() >= longBody;
  if (!headers || isLong != suppressesExpect || next.headers != headerLines) setHeaders(next.headers, isLong);
}

/// With the URL in parts libcurl takes it apart but once. It repeats an attempt by the text, so that is set too.
void Exchange::setUrl(const std::string& next) {
  set(CURLOPT_URL, next.c_str());
  const CURLUcode parsed = curl_url_set(parsedUrl.get(), CURLUPART_URL, next.c_str(), CURLU_PATH_AS_IS);
  set(CURLOPT_CURLU, parsed == CURLUE_OK ? parsedUrl.get() : nullptr);
  url = next;
}

void Exchange::setMethod(const std::string& next) {
  // The first two make a POST of it, whatever it was.
  set(CURLOPT_POSTFIELDS, nullptr);
  set(CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t{-1});
  if (!hasBody(next)) set(CURLOPT_HTTPGET, 1L);
  set(CURLOPT_CUSTOMREQUEST, next.c_str());
  method = next;
}

void Exchange::setBody() {
  set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request->body.size()));
  set(CURLOPT_POSTFIELDS, request->body.data());
}

void Exchange::setHeaders(const std::vector<std::string>& lines, bool isLong) {
  set(CURLOPT_HTTPHEADER, nullptr);
  headers.reset();
  if (std::none_of(lines.begin(), lines.end(), namesUserAgent))
    addHeader("User-Agent: marlovance-chain/" QEL_PLUGIN_PRODUCT_VERSION);
  if (isLong) addHeader("Expect:");  // it goes without being announced
  for (const std::string& line : lines) addHeader(line.c_str());
  set(CURLOPT_HTTPHEADER, headers.get());
  headerLines = lines;
  suppressesExpect = isLong;
}

void Exchange::addHeader(const char* line) {
  curl_slist* const longer = curl_slist_append(headers.get(), line);
  if (!longer) throw std::bad_alloc();
  static_cast<void>(headers.release());
  headers.reset(longer);
}

Attempt Exchange::finish(CURLcode code) {
  if (isTooLarge)
    return {TransportFailure{502, "transport/tooLarge",
                             *description + ": the answer is longer than " + std::to_string(most) + " bytes"},
            false, false};
  if (code != CURLE_OK) return failure(code);
  readHead();
  return {std::move(answer), false, false};
}

Attempt Exchange::failure(CURLcode code) const {
  const FailureKind kind = kindOf(code);
  const bool isIdempotent = request->method == "GET" || request->method == "PUT";
  const char* text = errorText[0] ? errorText : curl_easy_strerror(code);
  if (code == CURLE_ABORTED_BY_CALLBACK) text = "The connection was lost, and a POST is not sent a second time";
  return {TransportFailure{kind.status, kind.error, *description + ": " + text}, kind.nothingSent,
          kind.nothingSent || (kind.connectionLost && isIdempotent)};
}

void Exchange::readHead() {
  long status = 0;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
  answer.status = status;
  const char* contentType = nullptr;
  if (curl_easy_getinfo(handle(), CURLINFO_CONTENT_TYPE, &contentType) == CURLE_OK && contentType)
    answer.contentType = contentType;
  if (status < 300 || status >= 400) return;
  curl_header* location = nullptr;
  if (curl_easy_header(handle(), "Location", 0, CURLH_HEADER, -1, &location) == CURLHE_OK)
    answer.location = location->value;
}

std::size_t Exchange::takeHeader(char* data, std::size_t, std::size_t size, void* exchange) {
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

std::size_t Exchange::takeBody(char* data, std::size_t, std::size_t size, void* exchange) {
  Exchange& me = self(exchange);
  me.isTooLarge = me.answer.body.size() + size > me.most;
  if (me.isTooLarge) return 0;
  me.answer.body.append(data, size);
  return size;
}

/// libcurl sends a request again when a kept connection turns out to be dead. A POST whose bytes, or some of them, went
/// out already may have arrived, so it must not go out again.
int Exchange::allowSending(void* exchange, char*, char*, int, int) {
  const Exchange& me = self(exchange);
  long sent = 0;
  curl_easy_getinfo(me.handle(), CURLINFO_REQUEST_SIZE, &sent);
  return sent > 0 && me.request->method == "POST" ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}

}  // namespace chainrunner
