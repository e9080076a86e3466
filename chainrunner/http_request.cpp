#include "chainrunner/http_request.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "chainrunner/json_writer.h"
#include "chainrunner/utf8.h"

namespace chainrunner {

namespace {

constexpr std::string_view lettersAndDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

bool isOneOf(char character, std::string_view others) {
  return lettersAndDigits.find(character) != std::string_view::npos || others.find(character) != std::string_view::npos;
}

bool hasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7f; });
}

/// A name as headers and cookies have it.
bool isToken(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char character) { return isOneOf(character, "!#$%&'*+-.^_`|~"); });
}

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& character : result)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return result;
}

void appendEncoded(std::string& out, char character) {
  static constexpr char digits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  out += '%';
  out += digits[byte >> 4];
  out += digits[byte & 0xf];
}

std::string encodedQueryText(std::string_view text) {
  std::string out;
  for (const char character : text) {
    if (isOneOf(character, "-._~"))
      out += character;
    else
      appendEncoded(out, character);
  }
  return out;
}

/// The text as a message can show it.
std::string quoted(std::string_view text) {
  std::string out;
  appendJsonString(out, repairedUtf8(text));
  return out;
}

bool isHexadecimal(char character) {
  return std::string_view("0123456789abcdefABCDEF").find(character) != std::string_view::npos;
}

bool startsWithEscape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && isHexadecimal(text[1]) && isHexadecimal(text[2]);
}

/// Encodes what a path may not hold. An escape that is there already stays.
std::string encodedPath(std::string_view path) {
  std::string out;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (isOneOf(path[i], "-._~!$&'()*+,;=:@/") || startsWithEscape(path.substr(i)))
      out += path[i];
    else
      appendEncoded(out, path[i]);
  }
  return out;
}

/// The path as a server might read it that decodes dots and separators first, and takes a backslash for a slash.
std::string asLenientlyRead(std::string_view path) {
  static constexpr std::pair<std::string_view, char> readings[] = {
      {"%2e", '.'}, {"%2f", '/'}, {"%5c", '/'}, {"\\", '/'}};
  std::string text = lower(path);
  for (const auto& [escape, character] : readings)
    for (std::size_t at = 0; (at = text.find(escape, at)) != std::string::npos; ++at)
      text.replace(at, escape.size(), 1, character);
  return text;
}

/// Whether a part of the path, less the parameters behind a semicolon, is "." or "..".
bool hasDotSegment(std::string_view path) {
  const std::string text = asLenientlyRead(path);
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('/', start), text.size());
    const std::string_view segment = std::string_view(text).substr(start, end - start);
    const std::string_view name = segment.substr(0, segment.find(';'));
    if (name == "." || name == "..") return true;
    start = end + 1;
  }
  return false;
}

void checkPath(std::string_view path) {
  const auto refuse = [&](const char* reason) { throw RequestRefused("The path " + quoted(path) + " " + reason); };
  if (path.empty() || path.front() != '/') refuse("does not begin with a slash");
  if (path.substr(0, 2) == "//" || path.substr(0, 2) == "/\\") refuse("names a host");
  if (hasControlCharacter(path)) refuse("holds a control character");
  if (hasDotSegment(path)) refuse("leaves its place with a dot segment");
}

const data_t* findEntry(const map_t& map, const char* key) {
  const auto entry = map.find(data_t(key));
  return entry == map.end() ? nullptr : &entry->second;
}

const char* readText(const map_t& map, const char* key) {
  const data_t* value = findEntry(map, key);
  if (!value) throw RequestRefused(std::string("The request has no http.") + key);
  if (!value->isString())
    throw RequestRefused(std::string("http.") + key + " is not a string but " + value->type_name());
  return value->get<const char*>();
}

/// A scalar as the text of a parameter, header or cookie.
std::string scalarText(const data_t& value, const std::string& what) {
  if (value.isString()) return value.get<std::string>();
  if (!value.is(Tag::boolean) && !value.is(Tag::integer) && !value.is(Tag::number))
    throw RequestRefused(what + " is neither text nor number but " + value.type_name());
  return toJson(value);
}

/// Calls `visit` with name and text of each entry of http[key], by name. Empty values are left out.
template <class Visit>
void forEachNamed(const map_t& http, const char* key, const std::string& kind, const Visit& visit) {
  const data_t* container = findEntry(http, key);
  if (!container || container->empty()) return;
  if (!container->is(Tag::map))
    throw RequestRefused(std::string("http.") + key + " is not a map but " + container->type_name());
  std::vector<std::pair<std::string, const data_t*>> entries;
  for (const auto& entry : container->get<map_t>()) entries.emplace_back(scalarText(entry.first, kind), &entry.second);
  std::sort(entries.begin(), entries.end());
  for (const auto& [name, value] : entries)
    if (!value->empty()) visit(name, scalarText(*value, "The " + kind + " \"" + name + "\""));
}

std::string makeQuery(const map_t& http) {
  std::string query;
  forEachNamed(http, "queryString", "query parameter", [&](const std::string& name, const std::string& value) {
    query += query.empty() ? '?' : '&';
    query += encodedQueryText(name) + "=" + encodedQueryText(value);
  });
  return query;
}

/// Headers of the connection and of the message's frame are the transport's own.
bool isReserved(const std::string& lowerName) {
  static constexpr std::array reserved = {
      "host", "content-length", "transfer-encoding", "connection", "keep-alive",
      "te",   "trailer",        "upgrade",           "expect",     "http2-settings"};
  return lowerName.starts_with("proxy-") || std::find(reserved.begin(), reserved.end(), lowerName) != reserved.end();
}

/// Collects headers; of a name given twice the first stays.
class HeaderList {
 public:
  void add(const std::string& name, const std::string& value) {
    if (!isToken(name)) throw RequestRefused("The header name " + quoted(name) + " is not a token");
    // The value may be a secret, so the message doesn't show it.
    if (hasControlCharacter(value)) throw RequestRefused("The header \"" + name + "\" holds a control character");
    if (std::find(names.begin(), names.end(), lower(name)) != names.end()) return;
    names.push_back(lower(name));
    // Without a value libcurl takes "Name:" as "leave it out" and "Name;" as "send it empty".
    lines.push_back(value.empty() ? name + ";" : name + ": " + value);
  }

  std::vector<std::string> lines;

 private:
  std::vector<std::string> names;
};

std::string makeCookies(const map_t& http) {
  std::string cookies;
  forEachNamed(http, "cookies", "cookie", [&](const std::string& name, const std::string& value) {
    if (!isToken(name)) throw RequestRefused("The cookie name " + quoted(name) + " is not a token");
    if (hasControlCharacter(value) || value.find_first_of("\";,\\ ") != std::string::npos)
      throw RequestRefused("The cookie \"" + name + "\" holds a character that no cookie may hold");
    cookies += (cookies.empty() ? "" : "; ") + name + "=" + value;
  });
  return cookies;
}

std::vector<std::string> makeHeaders(const Message& message, const map_t& http, bool hasBody) {
  HeaderList headers;
  forEachNamed(http, "headers", "header", [&](const std::string& name, const std::string& value) {
    if (isReserved(lower(name))) throw RequestRefused("The header \"" + name + "\" belongs to the transport");
    headers.add(name, value);
  });
  if (const std::string cookies = makeCookies(http); !cookies.empty()) headers.add("Cookie", cookies);
  headers.add("Accept", "application/json");
  if (hasBody) {
    const data_t* contentType = findEntry(message.getMetadataMap(), "contentType");
    headers.add("Content-Type", contentType ? scalarText(*contentType, "contentType") : "application/json");
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

HttpRequest makeHttpRequest(const Message& message, const std::string& platform) {
  const data_t* http = findEntry(message.getMetadataMap(), "http");
  if (!http || !http->is(Tag::map)) throw RequestRefused("The request has no http map");
  const map_t& parts = http->get<map_t>();

  HttpRequest request;
  request.method = readText(parts, "method");
  const bool hasBody = request.method == "POST" || request.method == "PUT";
  if (!hasBody && request.method != "GET" && request.method != "DELETE")
    throw RequestRefused("The method " + quoted(request.method) + " is none of GET, PUT, POST and DELETE");
  const std::string_view path = readText(parts, "path");
  checkPath(path);
  request.url = platform + encodedPath(path) + makeQuery(parts);
  request.headers = makeHeaders(message, parts, hasBody);
  if (hasBody) request.body = makeBody(message.getPayload());
  return request;
}

}  // namespace chainrunner
