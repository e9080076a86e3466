// The codec as a host drives it: through its entry points, over the development host.
#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "benchmarks/codec/sides.h"
#include "benchmarks/content.h"
#include "chainrunner/json_reader.h"
#include "connectivity/Message.h"
#include "connectivity/plugin_abi.h"

namespace benchmarks {

namespace {

using values::data_t;
using values::map_t;
using values::Message;

class PluginSide : public Side {
 public:
  explicit PluginSide(const char* file) : library(dlopen(file, RTLD_NOW)) {
    if (!library) throw std::runtime_error(dlerror());
    map_t configuration;
    configuration.insert("username", configuredUser);
    configuration.insert("password", configuredPassword);
    configuration.insert("appKey", configuredApplicationKey);
    configuration.insert("concurrencyMode", "auto");
    for (const char* threshold : {"batchLatencySecsThreshold", "latencySecsLogThreshold", "latencySecsSlowThreshold"})
      configuration.insert(threshold, std::int64_t{0});
    const data_t held(std::move(configuration));
    codec = find<qel_create_plugin_function>("create_plugin_with_params")("MarlovanceCodec", "benchmark", held.view(),
                                                                          &handle, &handle);
    if (!codec) throw std::runtime_error("The plug-in could not be created");
    find<qel_plugin_set_next_function>("plugin_setNextTowardsTransport")(codec, &received, takeRequests);
    find<qel_plugin_set_next_function>("plugin_setNextTowardsHost")(codec, &received, takeEvents);
    sendDown = find<qel_send_function>("plugin_sendBatchTowardsTransport");
    sendUp = find<qel_send_function>("plugin_sendBatchTowardsHost");
  }
  ~PluginSide() override { find<qel_destroy_plugin_function>("destroy_plugin")(codec); }
  PluginSide(const PluginSide&) = delete;
  PluginSide& operator=(const PluginSide&) = delete;

  void load(const std::vector<MessageText>& texts) override {
    batch.reserve(texts.size());
    for (const MessageText& text : texts) {
      data_t metadata = chainrunner::readJson(text.metadata);
      batch.emplace_back(chainrunner::readJson(text.payload), std::move(metadata.get<map_t>()));
    }
  }
  void sendTowardsTransport() override { sendDown(codec, batch.data(), batch.data() + batch.size()); }
  void sendTowardsHost() override { sendUp(codec, batch.data(), batch.data() + batch.size()); }
  void unload() override { batch.clear(); }

 private:
  template <class Function>
  Function find(const char* operation) {
    void* const symbol = dlsym(library, (std::string("qel_") + operation + "_MarlovanceCodec").c_str());
    if (!symbol) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function>(symbol);
  }

  static void recordMessage(Received& received, const Message& message) {
    nlohmann::json payload = contentOf(message.getPayload());
    if (message.getPayload().is(values::Tag::map))
      if (const char* const name = message.getPayload().get<map_t>().name()) payload["(name)"] = name;
    received.record(contentOf(message.getMetadataMap()), std::move(payload));
  }

  static int takeRequests(void* seen, Message* begin, Message* end) {
    static const data_t requestId("requestId");
    Received& received = *static_cast<Received*>(seen);
    for (Message* request = begin; request != end; ++request) {
      const Message taken(std::move(*request));
      received.requestIds.push_back(taken.getMetadataMap().at(requestId).get<std::int64_t>());
      if (received.isRecording) recordMessage(received, taken);
    }
    return 0;
  }

  static int takeEvents(void* seen, Message* begin, Message* end) {
    Received& received = *static_cast<Received*>(seen);
    for (Message* event = begin; event != end; ++event) {
      const Message taken(std::move(*event));
      ++received.events;
      if (received.isRecording) recordMessage(received, taken);
    }
    return 0;
  }

  void* const library;
  char handle = 0;
  void* codec = nullptr;
  qel_send_function sendDown = nullptr;
  qel_send_function sendUp = nullptr;
  std::vector<Message> batch;
};

}  // namespace

std::unique_ptr<Side> makePluginSide(bool isTimeStubbed) {
  return std::make_unique<PluginSide>(isTimeStubbed ? STUBBED_PLUGIN_LIBRARY : PLUGIN_LIBRARY);
}

void Received::record(nlohmann::json metadata, nlohmann::json payload) {
  metadata.erase("requestSentTime");
  if (const auto metrics = metadata.find("metrics"); metrics != metadata.end()) {
    metrics->erase("individualStartTime");
    metrics->erase("batchStartTime");
  }
  contents.push_back({{"metadata", std::move(metadata)}, {"payload", std::move(payload)}});
}

}  // namespace benchmarks
