// The codec alone, as a host drives it: alarms with requiresResponse go down through the loaded library to a transport
// that takes their contents, and an answer of the platform's size comes back up for each. Counts events per second, and
// instructions when run under callgrind, which collects in the loop only:
//
//   benchmarks/instructions [EVENTS]
#include <dlfcn.h>
#include <valgrind/callgrind.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "connectivity/Message.h"
#include "connectivity/conversion.h"
#include "connectivity/host_platform.h"
#include "connectivity/plugin_abi.h"

namespace {

using namespace com::tallowmere::connectivity10_15_4;

/// What the transport keeps of a request: the metadata, from which an answer is made.
struct Transport {
  std::vector<std::int64_t> requestIds;
};

int takeRequests(void* transport, Message* begin, Message* end) {
  for (Message* request = begin; request != end; ++request) {
    const Message taken(std::move(*request));
    static_cast<Transport*>(transport)->requestIds.push_back(
        taken.getMetadataMap().at("requestId").get<std::int64_t>());
  }
  return 0;
}

int takeEvents(void* count, Message* begin, Message* end) {
  for (Message* event = begin; event != end; ++event) {
    const Message taken(std::move(*event));
    ++*static_cast<std::int64_t*>(count);
  }
  return 0;
}

map_t sourceOf(const char* id) {
  map_t source;
  source.insert("id", id);
  return source;
}

Message makeAlarm(std::int64_t reqId) {
  map_t payload;
  payload.insert("source", sourceOf("2504190"));
  payload.insert("type", "kv_TemperatureAlarm");
  payload.insert("time", 1600000000.25 + static_cast<double>(reqId));
  payload.insert("text", "The cold room is warmer than it should be.");
  payload.insert("severity", "MAJOR");
  payload.insert("status", "ACTIVE");
  map_t http;
  http.insert("path", "/alarm/alarms");
  http.insert("method", "POST");
  Message event(std::move(payload));
  event.putMetadataValue("qel.type", "com.kelvo.marlovance.Alarm");
  event.putMetadataValue("http", std::move(http));
  event.putMetadataValue("contentType", "application/vnd.com.rdx.marlovance.alarm+json");
  event.putMetadataValue("requiresResponse", true);
  event.putMetadataValue("reqId", reqId);
  return event;
}

Message makeAnswer(std::int64_t requestId) {
  map_t payload;
  payload.insert("id", "2504777");
  payload.insert("self", "http://platform.example/alarm/alarms/2504777");
  payload.insert("source", sourceOf("2504190"));
  payload.insert("type", "kv_TemperatureAlarm");
  payload.insert("time", "2020-09-13T12:26:40.250Z");
  payload.insert("creationTime", "2020-09-13T12:26:41.000Z");
  payload.insert("text", "The cold room is warmer than it should be.");
  payload.insert("severity", "MAJOR");
  payload.insert("status", "ACTIVE");
  payload.insert("count", std::int64_t{1});
  map_t http;
  http.insert("statusCode", std::int64_t{201});
  http.insert("statusReason", "Created");
  Message response(std::move(payload));
  response.putMetadataValue("http", std::move(http));
  response.putMetadataValue("contentType", "application/vnd.com.rdx.marlovance.alarm+json");
  response.putMetadataValue("requestId", requestId);
  response.putMetadataValue("requestSentTime", Platform::relativeHighResTimeFloat());
  return response;
}

template <class Function>
Function find(void* library, const char* operation) {
  const std::string name = std::string("qel_") + operation + "_MarlovanceCodec";
  void* const symbol = dlsym(library, name.c_str());
  if (!symbol) {
    std::fprintf(stderr, "%s: no symbol %s\n", PLUGIN_LIBRARY, name.c_str());
    std::exit(1);
  }
  return reinterpret_cast<Function>(symbol);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::int64_t events = argumentCount > 1 ? std::atoll(arguments[1]) : 100'000;
  constexpr std::int64_t batchSize = 100;
  void* const library = dlopen(PLUGIN_LIBRARY, RTLD_NOW);
  if (!library) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }

  map_t configuration;
  configuration.insert("username", "user");
  configuration.insert("password", "secret");
  const data_t held(std::move(configuration));
  char handle = 0;
  void* const codec = find<qel_create_plugin_function>(library, "create_plugin_with_params")(
      "MarlovanceCodec", "loop", held.view(), &handle, &handle);
  if (!codec) return 1;
  Transport transport;
  std::int64_t delivered = 0;
  find<qel_plugin_set_next_function>(library, "plugin_setNextTowardsTransport")(codec, &transport, takeRequests);
  find<qel_plugin_set_next_function>(library, "plugin_setNextTowardsHost")(codec, &delivered, takeEvents);
  const auto sendDown = find<qel_send_function>(library, "plugin_sendBatchTowardsTransport");
  const auto sendUp = find<qel_send_function>(library, "plugin_sendBatchTowardsHost");

  double seconds = 0;
  for (std::int64_t sent = 0; sent < events; sent += batchSize) {
    std::vector<Message> batch;
    for (std::int64_t i = 0; i < batchSize; ++i) batch.push_back(makeAlarm(sent + i));
    transport.requestIds.clear();

    const auto begin = std::chrono::steady_clock::now();
    CALLGRIND_TOGGLE_COLLECT;
    sendDown(codec, batch.data(), batch.data() + batch.size());
    CALLGRIND_TOGGLE_COLLECT;
    const auto between = std::chrono::steady_clock::now();

    std::vector<Message> answers;
    for (const std::int64_t id : transport.requestIds) answers.push_back(makeAnswer(id));

    const auto again = std::chrono::steady_clock::now();
    CALLGRIND_TOGGLE_COLLECT;
    sendUp(codec, answers.data(), answers.data() + answers.size());
    CALLGRIND_TOGGLE_COLLECT;
    seconds += std::chrono::duration<double>(between - begin + (std::chrono::steady_clock::now() - again)).count();
  }

  find<qel_destroy_plugin_function>(library, "destroy_plugin")(codec);
  std::printf("%lld events, %lld acknowledged, %.2f us per event\n", static_cast<long long>(events),
              static_cast<long long>(delivered), seconds / static_cast<double>(events) * 1e6);
  return delivered == events ? 0 : 1;
}
