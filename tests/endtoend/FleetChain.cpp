#include "tests/endtoend/FleetChain.h"

#include <curl/curl.h>

#include <stdexcept>
#include <utility>

#include "chainrunner/json_reader.h"

namespace tests {

using chainrunner::Message;

FleetChain::FleetChain()
    : library(std::make_unique<chainrunner::PluginLibrary>(PLUGIN)),
      out(fopencookie(this, "w", {nullptr, &FleetChain::receive, nullptr, nullptr}), &std::fclose) {
  std::setvbuf(out.get(), nullptr, _IONBF, 0);
  file.transport.platform = platform.url();
  file.transport.proxies = false;
  file.transport.retryDelay = std::chrono::milliseconds(1);
  chain = std::make_unique<chainrunner::Chain>(*library, file, chainrunner::Credentials{"fleet", "fleet-secret"},
                                               out.get(), record);
}

FleetChain::~FleetChain() {
  chain.reset();
}

std::vector<std::string> FleetChain::play(const std::string& type, const std::string& payload) {
  {
    const std::lock_guard lock(mutex);
    events.clear();
  }
  std::vector<Message> batch;
  batch.push_back(file.mapping.toMessage(type, chainrunner::readJson(payload), {}));
  chain->send(batch);
  chain->waitUntilIdle();
  const std::lock_guard lock(mutex);
  return events;
}

ssize_t FleetChain::receive(void* self, const char* bytes, std::size_t size) {
  auto& chain = *static_cast<FleetChain*>(self);
  for (std::size_t i = 0; i < size; ++i) {
    if (bytes[i] != '\n') {
      chain.line += bytes[i];
      continue;
    }
    const std::string event = std::exchange(chain.line, {});
    chain.atEvent(event);
    const std::lock_guard lock(chain.mutex);
    chain.events.push_back(event);
  }
  return static_cast<ssize_t>(size);
}

void FleetChain::remove(const std::string& path) const {
  const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), &curl_easy_cleanup);
  curl_easy_setopt(curl.get(), CURLOPT_URL, (platform.url() + path).c_str());
  curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, "DELETE");
  curl_easy_setopt(curl.get(), CURLOPT_USERPWD, "fleet:fleet-secret");
  curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "*");
  curl_easy_setopt(curl.get(), CURLOPT_FAILONERROR, 1L);
  const CURLcode code = curl_easy_perform(curl.get());
  if (code != CURLE_OK) throw std::runtime_error("DELETE " + path + ": " + curl_easy_strerror(code));
}

std::vector<std::string> FleetChain::requests() const {
  std::vector<std::string> lines;
  for (const simulator::JournalEntry& entry : platform.journal()) lines.push_back(entry.method + " " + entry.target);
  return lines;
}

}  // namespace tests
