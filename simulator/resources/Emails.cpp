#include "simulator/resources/Emails.h"

#include "simulator/resources/outbox.h"

namespace simulator {

Answer Emails::answer(const Request& request, std::span<const std::string> below) {
  if (!below.empty()) refusePath(request);
  if (request.method != "POST") refuseMethod(request, "POST");
  boost::json::object email = readBody(request, "email");
  FieldCheck check(email);
  check.texts("to");
  check.optionalTexts("cc");
  check.optionalTexts("bcc");
  check.optionalText("subject");
  check.optionalText("text");
  check.finish();
  return keepInOutbox(workplace, Kind::Email, "email", email);
}

}  // namespace simulator
