#include "simulator/fault_json.h"

#include "simulator/errors.h"
#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

namespace {

[[noreturn]] void refuse(std::string_view name, const std::string& expected, const json::value& given) {
  throw RequestError(422, quoted(name) + " must be " + expected + ", not " + toJson(given));
}

std::string readText(std::string_view name, const json::value& value) {
  if (!value.is_string()) refuse(name, "a text", value);
  return std::string(value.get_string());
}

std::uint64_t readNumber(std::string_view name, const json::value& value, std::int64_t lowest, std::int64_t highest) {
  const std::int64_t* number = value.if_int64();
  if (number != nullptr && *number >= lowest && *number <= highest) return static_cast<std::uint64_t>(*number);
  refuse(name, "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest), value);
}

std::uint64_t readCount(std::string_view name, const json::value& value) {
  return readNumber(name, value, 0, 1'000'000'000);
}

std::chrono::milliseconds readMilliseconds(std::string_view name, const json::value& value) {
  return std::chrono::milliseconds(readNumber(name, value, 0, 3'600'000));
}

double readProbability(std::string_view name, const json::value& value) {
  if (value.is_number()) {
    const double number = value.to_number<double>();
    if (number >= 0 && number <= 1) return number;
  }
  refuse(name, "a number from 0 to 1", value);
}

Ending readEnding(std::string_view name, const json::value& value) {
  std::string words;
  for (const Ending ending : {Ending::Whole, Ending::Truncated, Ending::Garbage, Ending::Reset, Ending::Closed}) {
    if (value.is_string() && std::string_view(value.get_string()) == wordFor(ending)) return ending;
    words.append(words.empty() ? "" : ", ").append(wordFor(ending));
  }
  refuse(name, "one of " + words, value);
}

void readField(Fault& fault, std::string_view name, const json::value& value) {
  if (name == "method") {
    fault.method = readText(name, value);
  } else if (name == "path") {
    fault.path = readText(name, value);
  } else if (name == "skip") {
    fault.skip = readCount(name, value);
  } else if (name == "times") {
    fault.times = readCount(name, value);
  } else if (name == "probability") {
    fault.probability = readProbability(name, value);
  } else if (name == "seed") {
    fault.seed = readCount(name, value);
  } else if (name == "status") {
    fault.status = static_cast<int>(readNumber(name, value, 200, 599));
  } else if (name == "body") {
    fault.body = readText(name, value);
  } else if (name == "contentType") {
    fault.contentType = readText(name, value);
  } else if (name == "delayMs") {
    fault.delay = readMilliseconds(name, value);
  } else if (name == "dribbleMs") {
    fault.dribble = readMilliseconds(name, value);
  } else if (name == "ending") {
    fault.ending = readEnding(name, value);
  } else if (name == "takesEffect") {
    if (!value.is_bool()) refuse(name, "true or false", value);
    fault.takesEffect = value.get_bool();
  } else {
    throw RequestError(422,
                       quoted(name) +
                           " is no field of a fault; known are method, path, skip, times, probability, seed, status, "
                           "body, contentType, delayMs, dribbleMs, ending, takesEffect");
  }
}

}  // namespace

Fault readFault(const json::object& object) {
  Fault fault;
  for (const auto& [name, value] : object) readField(fault, name, value);
  if (!mayHaveBody(fault.status) && !fault.body.empty()) {
    throw RequestError(
        422, "\"body\" can't go with the status " + std::to_string(fault.status) + ", whose answers have none");
  }
  return fault;
}

json::object describeFault(const FaultState& state) {
  const Fault& fault = state.fault;
  json::object object({{"method", fault.method},
                       {"path", fault.path},
                       {"skip", fault.skip},
                       {"times", fault.times},
                       {"probability", fault.probability},
                       {"seed", fault.seed},
                       {"delayMs", fault.delay.count()},
                       {"ending", wordFor(fault.ending)},
                       {"takesEffect", fault.takesEffect}});
  if (fault.status != 0) object["status"] = fault.status;
  if (!fault.body.empty()) {
    object["body"] = fault.body;
    object["contentType"] = fault.contentType;
  }
  if (fault.dribble) object["dribbleMs"] = fault.dribble->count();
  object["seen"] = state.seen;
  object["hits"] = state.hits;
  return object;
}

}  // namespace simulator
