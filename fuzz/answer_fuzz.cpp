// Bytes as the platform's answer to a request of each kind, through the library's entry points: whatever comes, the
// request ends, and nothing leaves the plug-in but messages.
//
// The first byte says which event asked, the second which status came; the rest is the body, page after page the same.
#include <dlfcn.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "chainrunner/json_reader.h"
#include "connectivity/Message.h"
#include "connectivity/host_platform.h"
#include "connectivity/plugin_abi.h"
#include "devhost/devhost.h"
#include "fuzz/require.h"

namespace {

using namespace com::tallowmere::connectivity10_15_4;

struct Kind {
  const char* type;
  const char* http;
  const char* payload;
};

// A document, a merged write, receivers, walks by id and by page, collections in one piece.
constexpr std::array kinds = {
    Kind{"ManagedObject", R"({"path":"/inventory/managedObjects","method":"POST"})", R"({"name":"n"})"},
    Kind{"Alarm", R"({"path":"/alarm/alarms","method":"POST"})", R"({"type":"t","time":1600000000.5})"},
    Kind{"Measurement", R"({"path":"/measurement/measurements","method":"POST"})",
         R"({"source":{"id":"1"},"type":"t","time":1600000000.5,"measurements":{"f":{"s":{"value":1.0}}}})"},
    Kind{"MeasurementFragment", R"({"path":"/measurement/measurements","method":"POST"})",
         R"({"source":"1","type":"t","time":1600000000.5,"valueFragment":"f","valueSeries":"s","value":1.0})"},
    Kind{"SendSMS", R"({"path":"/service/sms","method":"POST"})",
         R"({"address":["tel:1","tel:2"],"senderAddress":"tel:3","outboundSMSTextMessage":{"message":"m"}})"},
    Kind{"SendEmail", R"({"path":"/service/email","method":"POST"})", R"({"receivers":["a@b"],"text":"t"})"},
    Kind{
        "FindManagedObject",
        R"({"path":"/inventory/managedObjects","method":"GET","queryString":{"pageSize":"2","withTotalPages":"true"}})",
        "{}"},
    Kind{"FindMeasurement", R"({"path":"/measurement/measurements","method":"GET","queryString":{"pageSize":"2"}})",
         "{}"},
    Kind{"FindAlarm", R"({"path":"/alarm/alarms","method":"GET","queryString":{"currentPage":"1"}})", "{}"},
    Kind{"GetCurrentUser", R"({"path":"/user/currentUser","method":"GET"})", "{}"},
    Kind{"FindTenantOptions", R"({"path":"/tenant/options","method":"GET","queryString":{}})", "{}"},
    Kind{"RequestAllDevices", R"({"path":"/inventory/managedObjects","method":"GET","queryString":{}})", "{}"},
    Kind{"GenericRequest", R"({"path":"/service/any","method":"GET","queryString":{}})", "{}"}};

constexpr std::array statuses = {200, 201, 204, 302, 404, 422, 500, 999};
constexpr std::int64_t pagesAtMost = 20;

class Codec {
 public:
  Codec() : library(dlopen(PLUGIN_LIBRARY, RTLD_NOW)) {
    // A line for each bad answer would only slow things down.
    devhost::setLogSink([](const devhost::LogLine&) {});
    fuzz::require(library != nullptr, "the library can't be loaded");
    map_t configuration;
    configuration.insert("username", "user");
    configuration.insert("password", "secret");
    const data_t held(std::move(configuration));
    codec = find<qel_create_plugin_function>("create_plugin_with_params")("MarlovanceCodec", "fuzz", held.view(), this,
                                                                          this);
    fuzz::require(codec != nullptr, "the plug-in can't be made");
    find<qel_plugin_set_next_function>("plugin_setNextTowardsTransport")(codec, &requests, takeAll);
    find<qel_plugin_set_next_function>("plugin_setNextTowardsHost")(codec, &events, takeAll);
    sendDown = find<qel_send_function>("plugin_sendBatchTowardsTransport");
    sendUp = find<qel_send_function>("plugin_sendBatchTowardsHost");
  }

  /// Sends the event, and the answer to whatever is asked, until nothing is.
  void play(Message event, const Message& answer) {
    fuzz::require(sendDown(codec, &event, &event + 1) == 0, "the event was not taken");
    for (std::int64_t page = 0; !requests.empty(); ++page) {
      std::vector<Message> asked;
      asked.swap(requests);
      for (Message& request : asked) {
        Message reply = answer.copy();
        // A walk that each page prolongs is cut by a page without content.
        if (page >= pagesAtMost) reply = Message(map_t(), reply.getMetadataMap().copy());
        reply.putMetadataValue("requestId", request.getMetadataMap().at("requestId").copy());
        fuzz::require(sendUp(codec, &reply, &reply + 1) == 0, "the answer was not taken");
      }
      events.clear();
      fuzz::require(page < 2 * pagesAtMost, "a request doesn't end");
    }
  }

 private:
  template <class Function>
  Function find(const std::string& operation) {
    void* const symbol = dlsym(library, ("qel_" + operation + "_MarlovanceCodec").c_str());
    fuzz::require(symbol != nullptr, "an entry point is missing");
    return reinterpret_cast<Function>(symbol);
  }

  static int takeAll(void* messages, Message* begin, Message* end) {
    for (Message* message = begin; message != end; ++message)
      static_cast<std::vector<Message>*>(messages)->push_back(std::move(*message));
    return 0;
  }

  void* const library;
  void* codec;
  std::vector<Message> requests, events;
  qel_send_function sendDown, sendUp;
};

Message eventOf(const Kind& kind) {
  Message event(chainrunner::readJson(kind.payload));
  event.putMetadataValue("qel.type", std::string("com.kelvo.marlovance.") + kind.type);
  event.putMetadataValue("http", chainrunner::readJson(kind.http));
  event.putMetadataValue("requiresResponse", true);
  event.putMetadataValue("reqId", std::int64_t{1});
  return event;
}

/// As the transport makes it: a body that is no JSON comes as text.
Message answerOf(int status, std::string_view body) {
  data_t payload;
  const char* contentType = "application/json";
  try {
    payload = chainrunner::readJson(body);
  } catch (const chainrunner::JsonError&) {
    payload = data_t("no JSON");
    contentType = "text/plain";
  }
  Message answer(std::move(payload));
  map_t http;
  http.insert("statusCode", std::int64_t{status});
  http.insert("statusReason", "");
  answer.putMetadataValue("http", std::move(http));
  answer.putMetadataValue("contentType", contentType);
  answer.putMetadataValue("requestSentTime", Platform::relativeHighResTimeFloat());
  return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) return 0;
  static Codec codec;
  const std::string_view body(reinterpret_cast<const char*>(bytes) + 2, size - 2);
  codec.play(eventOf(kinds[bytes[0] % kinds.size()]), answerOf(statuses[bytes[1] % statuses.size()], body));
  return 0;
}
