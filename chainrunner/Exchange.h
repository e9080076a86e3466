#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "chainrunner/Attempt.h"
#include "chainrunner/http_request.h"
#include "chainrunner/options.h"

namespace chainrunner {

/// One of libcurl's handles, for one attempt after the other. What attempts have in common is set once, and what a
/// request shares with the one before it (most often all but the body) is not set again. Nothing else of an attempt
/// reaches the next. Used by one thread at a time, and not while an attempt is under way.
class Exchange {
 public:
  using Id = std::uint64_t;

  /// Reads no proxy settings from the environment unless `readsProxies`. Throws std::bad_alloc or std::runtime_error
  /// "libcurl refuses an option: X".
  Exchange(const TransportOptions& options, bool readsProxies);
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  CURL* handle() const { return easy.get(); }

  /// The exchange that a handle belongs to.
  static Exchange& of(CURL* easy);

  /// Prepares the handle for an attempt. `request` and `description`, which is for messages, stay until it is finished.
  /// Throws as the constructor; then the exchange is of no use any more.
  void begin(Id id, const HttpRequest& request, const std::string& description);

  /// What came of the attempt, which ended with `code`.
  Attempt finish(CURLcode code);

  /// Of the attempt that was begun last.
  Id id() const { return currentId; }

 private:
  struct FreeEasy {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
  };
  struct FreeUrl {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
  };
  struct FreeHeaders {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  template <class Value>
  void set(CURLoption option, Value value);
  void setUrl(const std::string& url);
  void setMethod(const std::string& method);
  void setBody();
  void setHeaders(const std::vector<std::string>& lines, bool isLong);
  void addHeader(const char* line);

  Attempt failure(CURLcode code) const;
  void readHead();

  static std::size_t takeHeader(char* data, std::size_t, std::size_t size, void* exchange);
  static std::size_t takeBody(char* data, std::size_t, std::size_t size, void* exchange);
  static int allowSending(void* exchange, char*, char*, int, int);

  // What the handle is set to.
  const std::unique_ptr<CURLU, FreeUrl> parsedUrl;
  std::string url, method;
  std::vector<std::string> headerLines;
  bool suppressesExpect = false;
  std::unique_ptr<curl_slist, FreeHeaders> headers;
  std::unique_ptr<CURL, FreeEasy> easy;  // ends before what it uses

  // The attempt under way.
  Id currentId = 0;
  const HttpRequest* request = nullptr;
  const std::string* description = nullptr;
  const std::size_t most;
  bool isTooLarge = false;
  HttpAnswer answer;
  char errorText[CURL_ERROR_SIZE] = "";
};

}  // namespace chainrunner
