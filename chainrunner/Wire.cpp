#include "chainrunner/Wire.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "chainrunner/Exchange.h"

namespace chainrunner {

namespace {

/// Whether the environment names any proxy. libcurl would ask for each request.
bool environmentNamesProxy() {
  constexpr const char* names[] = {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
  return std::any_of(std::begin(names), std::end(names), [](const char* name) { return std::getenv(name) != nullptr; });
}

}  // namespace

void Wire::FreeMulti::operator()(void* multi) const {
  curl_multi_cleanup(multi);
}

Wire::Wire(const TransportOptions& options)
    : options(options), readsProxies(options.proxies && environmentNamesProxy()) {
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
  auto exchange = takeIdle();
  exchange->begin(id, request, description);
  if (const CURLMcode code = curl_multi_add_handle(multi.get(), exchange->handle()); code != CURLM_OK)
    throw std::runtime_error(std::string("libcurl refuses an exchange: ") + curl_multi_strerror(code));
  running.push_back(std::move(exchange));
}

void Wire::poll(std::chrono::milliseconds patience, const Done& done) {
  int stillRunning = 0;
  curl_multi_perform(multi.get(), &stillRunning);
  bool anyDone = false;
  int queued = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi.get(), &queued)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode code = message->data.result;
    auto exchange = takeRunning(Exchange::of(message->easy_handle));
    const Id id = exchange->id();
    Attempt attempt = exchange->finish(code);
    curl_multi_remove_handle(multi.get(), exchange->handle());
    idle.push_back(std::move(exchange));
    anyDone = true;
    done(id, std::move(attempt));
  }
  if (!anyDone) curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(patience.count()), nullptr);
}

void Wire::abandonAll() {
  for (auto& exchange : running) {
    curl_multi_remove_handle(multi.get(), exchange->handle());
    idle.push_back(std::move(exchange));
  }
  running.clear();
}

void Wire::wake() {
  curl_multi_wakeup(multi.get());
}

std::unique_ptr<Exchange> Wire::takeIdle() {
  if (idle.empty()) return std::make_unique<Exchange>(options, readsProxies);
  auto exchange = std::move(idle.back());
  idle.pop_back();
  return exchange;
}

std::unique_ptr<Exchange> Wire::takeRunning(const Exchange& exchange) {
  const auto place =
      std::find_if(running.begin(), running.end(), [&](const auto& candidate) { return candidate.get() == &exchange; });
  std::swap(*place, running.back());
  auto taken = std::move(running.back());
  running.pop_back();
  return taken;
}

}  // namespace chainrunner
