#include "tests/blackbox/ScenarioPlayer.h"

#include <stdexcept>
#include <utility>

#include "tests/support/TestHost.h"

namespace tests {
namespace {

namespace json = boost::json;

constexpr std::pair<const char*, std::int32_t> levels[] = {
    {"error", errorLevel}, {"warn", warnLevel}, {"info", infoLevel}, {"debug", debugLevel}};

std::int32_t levelNamed(const json::value& name) {
  for (const auto& [word, level] : levels) {
    if (name == word) return level;
  }
  throw std::runtime_error("no such log level: " + textOf(name));
}

std::string textIn(const json::value& value) {
  if (const auto* text = value.if_string()) return text->c_str();
  throw std::runtime_error("a text is expected, not " + textOf(value));
}

double numberIn(const json::value& value) {
  return value.to_number<double>();
}

const json::string* pattern(const json::value& value) {
  const auto* object = value.if_object();
  const json::value* like = object && object->size() == 1 ? object->if_contains("$like") : nullptr;
  return like ? like->if_string() : nullptr;
}

/// `actual`, with the patterns of `expected` in place of the texts that match them.
json::value withPatterns(const json::value& expected, const json::value& actual) {
  if (const auto* like = pattern(expected)) {
    const auto* text = actual.if_string();
    return text && matches({like->data(), like->size()}, {text->data(), text->size()}) ? expected : actual;
  }
  json::value result = actual;
  if (expected.is_object() && actual.is_object()) {
    for (auto& entry : result.get_object()) {
      const json::value* counterpart = expected.get_object().if_contains(entry.key());
      if (counterpart) entry.value() = withPatterns(*counterpart, entry.value());
    }
  } else if (expected.is_array() && actual.is_array()) {
    for (std::size_t index = 0; index < std::min(expected.get_array().size(), actual.get_array().size()); ++index) {
      result.get_array()[index] = withPatterns(expected.get_array()[index], actual.get_array()[index]);
    }
  }
  return result;
}

/// An expected message, with an empty payload or no metadata where it names none.
json::value wholeMessage(const json::value& expected) {
  json::object whole{{"metadata", json::object()}, {"payload", nullptr}};
  for (const auto& part : expected.as_object()) {
    if (!whole.contains(part.key())) throw std::runtime_error("a message has no " + std::string(part.key()));
    whole[part.key()] = part.value();
  }
  return whole;
}

std::string listed(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += "\n    " + line;
  return text.empty() ? "\n    (nothing)" : text;
}

json::array listOf(const json::value& oneOrMany) {
  return oneOrMany.is_array() ? oneOrMany.get_array() : json::array{oneOrMany};
}

}  // namespace

bool matches(std::string_view pattern, std::string_view text) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == text;
  if (!text.starts_with(pattern.substr(0, star))) return false;
  text.remove_prefix(star);
  pattern.remove_prefix(star + 1);
  for (std::size_t skipped = 0; skipped <= text.size(); ++skipped) {
    if (matches(pattern, text.substr(skipped))) return true;
  }
  return false;
}

ScenarioPlayer::ScenarioPlayer(std::string_view scenario, std::string libraryPath)
    : scenario(parseJson(scenario).as_object()), libraryPath(std::move(libraryPath)) {}

std::vector<std::string> ScenarioPlayer::play() {
  checkKeys();
  session = std::make_unique<Session>(libraryPath);
  setUp();
  std::size_t number = 0;
  for (const json::value& step : scenario.at("steps").as_array()) {
    place = "step " + std::to_string(++number);
    playStep(step);
  }
  place = "the end";
  expectNothingMore();
  session.reset();
  return differences;
}

void ScenarioPlayer::checkKeys() const {
  textIn(scenario.at("why"));
  for (const auto& entry : scenario) {
    const auto key = entry.key();
    if (key != "why" && key != "configuration" && key != "environment" && key != "logLevel" && key != "steps") {
      throw std::runtime_error("a scenario has no " + std::string(key));
    }
  }
}

void ScenarioPlayer::setUp() {
  for (const char* name : {"KV_INT_TZ", "Q4V_BASEURL", "Q4V_MICROSERVICE_ISOLATION"}) environment.unset(name);
  environment.set("TZ", "UTC");
  if (const json::value* variables = scenario.if_contains("environment")) {
    for (const auto& entry : variables->as_object()) environment.set(std::string(entry.key()), textIn(entry.value()));
  }
  if (const json::value* level = scenario.if_contains("logLevel")) TestHost::setLogLevel(levelNamed(*level));
  if (!session->create(textOf(scenario.at("configuration")))) {
    throw std::runtime_error("the plug-in was not created:" + listed(takeLogs(errorLevel)));
  }
  session->connect();
}

void ScenarioPlayer::playStep(const json::value& step) {
  if (step.as_object().size() != 1) throw std::runtime_error(place + " must have one key: " + textOf(step));
  const std::string verb(step.get_object().begin()->key());
  const json::value& content = step.get_object().begin()->value();
  place += ", " + verb;
  if (verb == "event" || verb == "batch") return playSend(content);
  if (verb == "response" || verb == "responses") return playResponses(content);
  if (verb == "expectRequest") return expectRequest(content);
  if (verb == "expectEvents") return expectEvents(content);
  if (verb == "expectLog") return expectLog(content.as_object());
  if (verb == "expectStatus") return expectStatus(content.as_object());
  if (verb == "advanceClock") return TestHost::advanceClock(numberIn(content));
  if (verb == "shutdown") return demandZero(session->shutdown());
  if (verb == "destroy") return demandZero(session->destroy());
  throw std::runtime_error(place + ": there is no such step");
}

void ScenarioPlayer::playSend(const json::value& events) {
  std::vector<MessageBuilder> batch;
  for (const json::value& event : listOf(events)) batch.push_back(eventFrom(event.as_object()));
  demandZero(session->sendTowardsTransport(batch));
}

void ScenarioPlayer::playResponses(const json::value& responses) {
  std::vector<MessageBuilder> batch;
  for (const json::value& response : listOf(responses)) batch.push_back(responseFrom(response.as_object()));
  demandZero(session->sendTowardsHost(batch));
}

MessageBuilder ScenarioPlayer::eventFrom(const json::object& description) const {
  MessageBuilder event;
  for (const auto& entry : description) {
    const std::string key(entry.key());
    const json::value& content = entry.value();
    if (key == "type") {
      event.type(textIn(content));
    } else if (key == "path") {
      event.path(textIn(content));
    } else if (key == "metadata") {
      for (const auto& each : content.as_object()) event.metadata(std::string(each.key()), textOf(each.value()));
    } else if (key == "http") {
      for (const auto& each : content.as_object()) event.http(std::string(each.key()), textOf(each.value()));
    } else if (key == "payload") {
      event.payload(textOf(content));
    } else {
      throw std::runtime_error(place + ": an event has no " + key);
    }
  }
  return event;
}

MessageBuilder ScenarioPlayer::responseFrom(const json::object& description) const {
  const json::value* to = description.if_contains("to");
  MessageBuilder response = tests::response(to ? to->as_int64() : lastRequestId);
  for (const auto& entry : description) {
    const std::string key(entry.key());
    const json::value& content = entry.value();
    if (key == "status") {
      response.status(content.as_int64());
    } else if (key == "reason") {
      response.reason(textIn(content));
    } else if (key == "contentType") {
      response.contentType(textIn(content));
    } else if (key == "metadata") {
      for (const auto& each : content.as_object()) response.metadata(std::string(each.key()), textOf(each.value()));
    } else if (key == "payload") {
      response.payload(textOf(content));
    } else if (key == "without") {
      for (const json::value& each : content.as_array()) response.without(textIn(each));
    } else if (key != "to") {
      throw std::runtime_error(place + ": a response has no " + key);
    }
  }
  return response;
}

void ScenarioPlayer::expectRequest(const json::value& expected) {
  const auto request = session->transport.take();
  if (!request) return difference("no request reached the transport");
  if (request->metadata("requestId") != "absent") lastRequestId = request->requestId();
  const json::value whole = wholeMessage(expected);
  const std::string wanted = textOf(whole);
  const std::string came = textOf(withPatterns(whole, request->document));
  if (came != wanted) difference("expected the request\n    " + wanted + "\n  but it was\n    " + came);
}

void ScenarioPlayer::expectEvents(const json::value& expected) {
  const std::vector<Received> events = session->host.takeAll();
  std::vector<std::string> wanted, came;
  for (const json::value& event : expected.as_array()) {
    const json::value whole = wholeMessage(event);
    if (wanted.size() < events.size()) came.push_back(textOf(withPatterns(whole, events[wanted.size()].document)));
    wanted.push_back(textOf(whole));
  }
  for (std::size_t index = wanted.size(); index < events.size(); ++index) came.push_back(events[index].json());
  if (came != wanted) difference("expected the events" + listed(wanted) + "\n  but they were" + listed(came));
}

void ScenarioPlayer::expectLog(const json::object& expected) {
  std::vector<std::string> wanted;
  for (const json::value& line : expected.at("lines").as_array()) wanted.push_back(textIn(line));
  std::vector<std::string> came = takeLogs(levelNamed(expected.at("level")));
  for (std::size_t index = 0; index < std::min(wanted.size(), came.size()); ++index) {
    if (matches(wanted[index], came[index])) came[index] = wanted[index];
  }
  if (came != wanted) difference("expected the lines" + listed(wanted) + "\n  but they were" + listed(came));
}

void ScenarioPlayer::expectStatus(const json::object& expected) {
  const auto items = TestHost::statusItems();
  for (const auto& entry : expected) {
    const std::string key(entry.key());
    const std::string wanted = textIn(entry.value());
    const auto found = items.find(key);
    if (found == items.end()) {
      difference("there is no status item " + key);
    } else if (!matches(wanted, found->second)) {
      difference("expected the status " + key + " to be \"" + wanted + "\" but it was \"" + found->second + "\"");
    }
  }
}

void ScenarioPlayer::expectNothingMore() {
  const auto requests = jsons(session->transport.takeAll());
  if (!requests.empty()) difference("requests that nobody expected:" + listed(requests));
  const auto events = jsons(session->host.takeAll());
  if (!events.empty()) difference("events that nobody expected:" + listed(events));
  for (const char* level : {"error", "warn"}) {
    const auto lines = takeLogs(levelNamed(level));
    if (!lines.empty()) difference("lines of level " + std::string(level) + " that nobody expected:" + listed(lines));
  }
}

void ScenarioPlayer::demandZero(int result) {
  if (result != 0) difference("the plug-in answered " + std::to_string(result));
}

void ScenarioPlayer::difference(const std::string& what) {
  differences.push_back(place + ": " + what);
}

}  // namespace tests
