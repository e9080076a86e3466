#include "tests/blackbox/Session.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tests/support/TestHost.h"

namespace tests {
namespace {

qel_message* begin(Batch& batch) {
  return reinterpret_cast<qel_message*>(batch.messages.data());
}

qel_message* end(Batch& batch) {
  return reinterpret_cast<qel_message*>(batch.messages.data() + batch.messages.size());
}

void demand(int result, const char* operation) {
  if (result != 0) throw std::runtime_error(std::string(operation) + " failed");
}

}  // namespace

std::string pluginLibraryPath() {
  const char* path = std::getenv("PLUGIN_LIBRARY");
  return path ? path : DEFAULT_PLUGIN_LIBRARY;
}

Session::Session(const std::string& libraryPath) : library(std::make_unique<PluginLibrary>(libraryPath)) {
  const std::uint32_t version = entryPoints().apiVersion();
  if (version != QEL_PLUGIN_API_VERSION) {
    throw std::runtime_error(libraryPath + " has API version " + std::to_string(version));
  }
}

Session::~Session() {
  if (plugin) destroy();
}

bool Session::create(std::string_view configuration) {
  OwnedValue value(configuration);
  plugin = entryPoints().create(pluginName, chainId, value.get(), &reporterMark, &chainMark);
  return plugin != nullptr;
}

void Session::connect() {
  demand(entryPoints().setNextTowardsHost(plugin, &host, Neighbour::receive), "setNextTowardsHost");
  demand(entryPoints().setNextTowardsTransport(plugin, &transport, Neighbour::receive), "setNextTowardsTransport");
  demand(entryPoints().start(plugin), "start");
  demand(entryPoints().hostReady(plugin), "hostReady");
}

int Session::shutdown() {
  return entryPoints().shutdown(plugin);
}

int Session::destroy() {
  return entryPoints().destroy(std::exchange(plugin, nullptr));
}

int Session::sendTowardsTransport(const std::vector<MessageBuilder>& events) {
  Batch batch(events);
  return sendTowardsTransport(batch);
}

int Session::sendTowardsHost(const std::vector<MessageBuilder>& responses) {
  Batch batch(responses);
  return sendTowardsHost(batch);
}

int Session::sendTowardsTransport(Batch& batch) {
  return entryPoints().sendBatchTowardsTransport(plugin, begin(batch), end(batch));
}

int Session::sendTowardsHost(Batch& batch) {
  return entryPoints().sendBatchTowardsHost(plugin, begin(batch), end(batch));
}

std::vector<std::string> takeLogs(std::int32_t level) {
  std::vector<std::string> texts;
  for (const LogLine& line : TestHost::drain(level)) {
    const std::string head = "<" + line.category + "> ";
    texts.push_back(line.text.starts_with(head) ? line.text.substr(head.size()) : line.text);
  }
  return texts;
}

}  // namespace tests
