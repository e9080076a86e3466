#include "simulator/resources/Sms.h"

#include "simulator/errors.h"
#include "simulator/json_text.h"
#include "simulator/resources/outbox.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr const char* wrapper = "outboundSMSMessageRequest";

void checkReceiver(FieldCheck& check, const json::object& message) {
  const json::value* receivers = message.if_contains("address");
  check.texts("address");
  if (receivers == nullptr || !receivers->is_array() || receivers->get_array().empty()) return;
  const json::array& list = receivers->get_array();
  if (list.size() > 1) {
    check.problem("\"address\" must hold one receiver, not " + std::to_string(list.size()));
  } else if (list[0].is_string() && list[0].get_string().find(':') == json::string::npos) {
    check.problem("\"address\" must have a scheme, such as tel:+4412345, unlike " + quoted(list[0].get_string()));
  }
}

void checkText(FieldCheck& check) {
  json::object* part = check.object("outboundSMSTextMessage");
  if (part == nullptr) return;
  FieldCheck partCheck(*part, "outboundSMSTextMessage.");
  partCheck.text("message");
  check.take(partCheck);
}

void checkSender(FieldCheck& check, const json::object& message, const std::string& sender) {
  check.text("senderAddress");
  const json::value* given = message.if_contains("senderAddress");
  if (given == nullptr || !given->is_string() || given->get_string() == sender) return;
  check.problem("\"senderAddress\" must be the sender in the path, " + quoted(sender) + ", not " +
                quoted(given->get_string()));
}

}  // namespace

Answer Sms::answer(const Request& request, std::span<const std::string> below) {
  if (below.size() != 2 || below[0].empty() || below[1] != "requests") refusePath(request);
  if (request.method != "POST") refuseMethod(request, "POST");
  return send(request, below[0]);
}

Answer Sms::send(const Request& request, const std::string& sender) {
  json::object body = readBody(request, "sms");
  FieldCheck wrapperCheck(body);
  json::object* message = wrapperCheck.object(wrapper);
  wrapperCheck.finish();
  FieldCheck check(*message);
  checkText(check);
  checkReceiver(check, *message);
  checkSender(check, *message, sender);
  check.optionalText("senderName");
  check.finish();
  return keepInOutbox(workplace, Kind::Sms, "sms", *message);
}

}  // namespace simulator
