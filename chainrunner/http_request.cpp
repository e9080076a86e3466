#include "chainrunner/http_request.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <list>
#include <memory>
#include <string_view>
#include <utility>

#include "chainrunner/http_text.h"
#include "chainrunner/json_writer.h"
#include "chainrunner/utf8.h"

namespace chainrunner {

namespace {

/// The text as a message can show it.
std::string quoted(std::string_view text) {
  std::string out;
  appendJsonString(out, repairedUtf8(text));
  return out;
}

void checkPath(std::string_view path) {
  const auto refuse = [&](const char* reason) { throw RequestRefused("The path " + quoted(path) + " " + reason); };
  if (path.empty() || path.front() != '/') refuse("does not begin with a slash");
  if (path.substr(0, 2) == "//" || path.substr(0, 2) == "/\\") refuse("names a host");
  if (hasControlCharacter(path)) refuse("holds a control character");
  if (hasDotSegment(path)) refuse("leaves its place with a dot segment");
}

using Key = TransportKeys::Key;

const data_t* findEntry(const map_t& map, const Key& key) {
  const auto entry = map.find(key);
  return entry == map.end() ? nullptr : &entry->second;
}

const char* readText(const map_t& http, const Key& key) {
  const data_t* value = findEntry(http, key);
  if (!value) throw RequestRefused("The request has no http." + key.get<std::string>());
  if (!value->isString())
    throw RequestRefused("http." + key.get<std::string>() + " is not a string but " + value->type_name());
  return value->get<const char*>();
}

/// A scalar as the text of a parameter, header or cookie: its own, or one made in `room`. `describe` tells what it is.
template <class Describe>
std::string_view scalarText(const data_t& value, std::string& room, const Describe& describe) {
  if (value.isString()) return value.get<const char*>();
  if (!value.is(Tag::boolean) && !value.is(Tag::integer) && !value.is(Tag::number))
    throw RequestRefused(describe() + " is neither text nor number but " + value.type_name());
  return room = toJson(value);
}

/// Calls `visit` with name and text of each entry of http[key], by name. Empty values are left out.
template <class Visit>
void forEachNamed(const map_t& http, const Key& key, const char* kind, const Visit& visit) {
  const data_t* container = findEntry(http, key);
  if (!container || container->empty()) return;
  if (!container->is(Tag::map))
    throw RequestRefused("http." + key.get<std::string>() + " is not a map but " + container->type_name());
  const auto& map = container->get<map_t>();
  std::vector<std::pair<std::string_view, const data_t*>> entries;
  entries.reserve(map.size());
  std::list<std::string> rooms;  // for names that aren't texts
  std::string room;
  for (const auto& entry : map) {
    const std::string_view name = scalarText(entry.first, room, [&] { return std::string(kind); });
    entries.emplace_back(entry.first.isString() ? name : rooms.emplace_back(name), &entry.second);
  }
  std::sort(entries.begin(), entries.end());
  for (const auto& [name, value] : entries) {
    if (value->empty()) continue;
    const auto describe = [&, &name = name] { return std::string("The ") + kind + " \"" + std::string(name) + "\""; };
    visit(name, scalarText(*value, room, describe));
  }
}

void appendQuery(std::string& url, const map_t& http, const TransportKeys& keys) {
  char separator = '?';
  forEachNamed(http, keys.queryString, "query parameter", [&](std::string_view name, std::string_view value) {
    url += std::exchange(separator, '&');
    appendEncodedQueryText(url, name);
    url += '=';
    appendEncodedQueryText(url, value);
  });
}

/// Headers of the connection and of the message's frame are the transport's own.
bool isReserved(std::string_view name) {
  static constexpr std::array<std::string_view, 10> reserved = {
      "host", "content-length", "transfer-encoding", "connection", "keep-alive",
      "te",   "trailer",        "upgrade",           "expect",     "http2-settings"};
  return isSameName(name.substr(0, 6), "proxy-") ||
         std::any_of(reserved.begin(), reserved.end(), [&](std::string_view other) { return isSameName(name, other); });
}

/// Collects headers; of a name given twice the first stays.
class HeaderList {
 public:
  void add(std::string_view name, std::string_view value) {
    if (!isToken(name)) throw RequestRefused("The header name " + quoted(name) + " is not a token");
    // The value may be a secret, so the message doesn't show it.
    if (hasControlCharacter(value))
      throw RequestRefused("The header \"" + std::string(name) + "\" holds a control character");
    if (has(name)) return;
    std::string& line = lines.emplace_back();
    line.reserve(name.size() + 2 + value.size());
    // Without a value libcurl takes "Name:" as "leave it out" and "Name;" as "send it empty".
    line.append(name).append(value.empty() ? ";" : ": ").append(value);
  }

  std::vector<std::string> lines;

 private:
  bool has(std::string_view name) const {
    // A token holds neither of the two that end it in a line.
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.size() > name.size() && (line[name.size()] == ':' || line[name.size()] == ';') &&
             isSameName(std::string_view(line).substr(0, name.size()), name);
    });
  }
};

std::string makeCookies(const map_t& http, const TransportKeys& keys) {
  std::string cookies;
  forEachNamed(http, keys.cookies, "cookie", [&](std::string_view name, std::string_view value) {
    if (!isToken(name)) throw RequestRefused("The cookie name " + quoted(name) + " is not a token");
    if (hasControlCharacter(value) || value.find_first_of("\";,\\ ") != std::string::npos)
      throw RequestRefused("The cookie \"" + std::string(name) + "\" holds a character that no cookie may hold");
    if (!cookies.empty()) cookies += "; ";
    cookies.append(name).append("=").append(value);
  });
  return cookies;
}

std::vector<std::string> makeHeaders(const Message& message, const map_t& http, bool hasBody,
                                     const TransportKeys& keys) {
  HeaderList headers;
  headers.lines.reserve(4);
  forEachNamed(http, keys.headers, "header", [&](std::string_view name, std::string_view value) {
    if (isReserved(name)) throw RequestRefused("The header \"" + std::string(name) + "\" belongs to the transport");
    headers.add(name, value);
  });
  if (const std::string cookies = makeCookies(http, keys); !cookies.empty()) headers.add("Cookie", cookies);
  headers.add("Accept", "application/json");
  if (hasBody) {
    const data_t* contentType = findEntry(message.getMetadataMap(), keys.contentType);
    std::string room;
    headers.add("Content-Type", contentType ? scalarText(*contentType, room, [] { return std::string("contentType"); })
                                            : "application/json");
  }
  return std::move(headers.lines);
}

std::string makeBody(const data_t& payload) {
  try {
    return toJson(payload);
  } catch (const std::runtime_error& error) {
    throw RequestRefused(std::string("The payload can't be sent: ") + error.what());
  }
}

struct FreeUrl {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

}  // namespace

std::string checkedPlatform(const std::string& address) {
  const auto refuse = [&](const std::string& reason) { throw std::invalid_argument(reason); };
  const std::unique_ptr<CURLU, FreeUrl> url(curl_url());
  if (const CURLUcode code = curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0); code != CURLUE_OK)
    refuse(curl_url_strerror(code));
  const auto part = [&](CURLUPart which) {
    char* text = nullptr;
    std::string result;
    if (curl_url_get(url.get(), which, &text, 0) == CURLUE_OK) result = text;
    curl_free(text);
    return result;
  };
  const std::string scheme = part(CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") refuse("only http and https are possible, not " + scheme);
  if (!part(CURLUPART_USER).empty() || !part(CURLUPART_PASSWORD).empty())
    refuse("credentials come from the environment, not from the address");
  if (!part(CURLUPART_QUERY).empty() || !part(CURLUPART_FRAGMENT).empty()) refuse("it has a query or a fragment");
  std::string whole = part(CURLUPART_URL);
  while (whole.ends_with('/')) whole.pop_back();
  return whole;
}

HttpRequest makeHttpRequest(const Message& message, const std::string& platform, const TransportKeys& keys) {
  const data_t* http = findEntry(message.getMetadataMap(), keys.http);
  if (!http || !http->is(Tag::map)) throw RequestRefused("The request has no http map");
  const map_t& parts = http->get<map_t>();

  HttpRequest request;
  request.method = readText(parts, keys.method);
  const bool hasBody = request.method == "POST" || request.method == "PUT";
  if (!hasBody && request.method != "GET" && request.method != "DELETE")
    throw RequestRefused("The method " + quoted(request.method) + " is none of GET, PUT, POST and DELETE");
  const std::string_view path = readText(parts, keys.path);
  checkPath(path);
  request.url.reserve(platform.size() + path.size());
  request.url = platform;
  appendEncodedPath(request.url, path);
  appendQuery(request.url, parts, keys);
  request.headers = makeHeaders(message, parts, hasBody, keys);
  if (hasBody) request.body = makeBody(message.getPayload());
  return request;
}

}  // namespace chainrunner
