// The least that a client over libcurl can cost: the same request again and again, its body and headers made once, its
// answers read and forgotten.
//
//     limit URL REQUESTS CONNECTIONS [BODY_FILE CONTENT_TYPE]
//
// A GET without a body file, a POST with one. The header `Authorization` comes from the environment variable
// AUTHORIZATION.
#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Free {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct FreeMulti {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

template <class Value>
void set(CURL* easy, CURLoption option, Value value) {
  if (curl_easy_setopt(easy, option, value) != CURLE_OK) throw std::runtime_error("libcurl refuses an option");
}

std::size_t forget(char*, std::size_t size, std::size_t count, void*) {
  return size * count;
}

std::string readFile(const char* name) {
  std::ifstream file(name);
  if (!file) throw std::runtime_error(std::string(name) + ": can't be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

class Limit {
 public:
  Limit(const char* url, long connections, std::string body, const char* contentType) : body(std::move(body)) {
    addHeader("Accept: application/json");
    if (const char* authorization = std::getenv("AUTHORIZATION"))
      addHeader(std::string("Authorization: ") + authorization);
    if (contentType) addHeader(std::string("Content-Type: ") + contentType);
    for (long i = 0; i < connections; ++i) handles.push_back(makeHandle(url));
  }

  void send(long requests) {
    long started = 0;
    long finished = 0;
    for (const auto& handle : handles)
      if (started < requests) ++started, curl_multi_add_handle(multi.get(), handle.get());
    while (finished < requests) {
      int running = 0;
      curl_multi_perform(multi.get(), &running);
      int left = 0;
      while (const CURLMsg* message = curl_multi_info_read(multi.get(), &left)) {
        CURL* const easy = message->easy_handle;
        check(easy, message->data.result);
        ++finished;
        curl_multi_remove_handle(multi.get(), easy);
        if (started < requests) ++started, curl_multi_add_handle(multi.get(), easy);
      }
      if (running > 0) curl_multi_poll(multi.get(), nullptr, 0, 1000, nullptr);
    }
  }

 private:
  using Easy = std::unique_ptr<CURL, Free>;

  void addHeader(const std::string& line) {
    curl_slist* const all = curl_slist_append(headers.get(), line.c_str());
    if (!all) throw std::bad_alloc();
    if (!headers) headers.reset(all);
  }

  Easy makeHandle(const char* url) const {
    Easy easy(curl_easy_init());
    if (!easy) throw std::bad_alloc();
    set(easy.get(), CURLOPT_URL, url);
    set(easy.get(), CURLOPT_NOSIGNAL, 1L);
    set(easy.get(), CURLOPT_NOPROXY, "*");
    set(easy.get(), CURLOPT_WRITEFUNCTION, &forget);
    set(easy.get(), CURLOPT_HTTPHEADER, headers.get());
    if (body.empty()) return easy;
    set(easy.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    set(easy.get(), CURLOPT_POSTFIELDS, body.c_str());
    return easy;
  }

  static void check(CURL* easy, CURLcode result) {
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    if (result != CURLE_OK) throw std::runtime_error(curl_easy_strerror(result));
    if (status != 200 && status != 201) throw std::runtime_error("the answer's status is " + std::to_string(status));
  }

  const std::string body;
  std::unique_ptr<curl_slist, Free> headers;
  std::unique_ptr<CURLM, FreeMulti> multi{curl_multi_init()};
  std::vector<Easy> handles;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 6) {
    std::fputs("limit URL REQUESTS CONNECTIONS [BODY_FILE CONTENT_TYPE]\n", stderr);
    return 2;
  }
  try {
    const bool hasBody = argc == 6;
    Limit(argv[1], std::atol(argv[3]), hasBody ? readFile(argv[4]) : "", hasBody ? argv[5] : nullptr)
        .send(std::atol(argv[2]));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "limit: %s\n", error.what());
    return 1;
  }
}
