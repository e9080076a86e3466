#include "simulator/AdminRoutes.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "simulator/document_loader.h"
#include "simulator/documents.h"
#include "simulator/errors.h"
#include "simulator/fault_json.h"
#include "simulator/fleet_maker.h"
#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr std::uint64_t defaultLimit = 1000;

Answer jsonAnswer(int status, const json::value& body) {
  Answer answer;
  answer.status = status;
  answer.contentType = "application/json";
  answer.body = toJson(body);
  return answer;
}

Answer emptyAnswer() {
  Answer answer;
  answer.status = 204;
  return answer;
}

std::uint64_t readNumber(const std::string& name, const std::string& text) {
  std::uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, number);
  if (code == std::errc() && stop == end) return number;
  throw RequestError(422, "the query parameter " + quoted(name) + " must be a whole number, not " + quoted(text));
}

[[noreturn]] void refuseParameter(const std::string& name, const std::string& known) {
  throw RequestError(422, "the query parameter " + quoted(name) + " is not known here; known are " + known);
}

json::object describeCounts(Store& store) {
  json::object counts;
  for (const auto& [name, count] : store.counts()) counts[name] = count;
  return counts;
}

json::object describeEntry(const JournalEntry& entry) {
  json::array headers;
  for (const Header& header : entry.headers) {
    headers.push_back(json::object({{"name", header.name}, {"value", header.value}}));
  }
  return json::object({{"number", entry.number},
                       {"time", formatTimestamp(entry.time)},
                       {"method", entry.method},
                       {"target", entry.target},
                       {"headers", std::move(headers)},
                       {"body", entry.body},
                       {"status", entry.status},
                       {"fault", entry.fault}});
}

}  // namespace

Answer AdminRoutes::answer(const Request& request, std::span<const std::string> below) {
  if (below.size() == 2 && below[0] == "outbox") return answerOutbox(request, below[1]);
  if (below.size() != 1) refusePath(request);
  if (below[0] == "counts") return answerCounts(request);
  if (below[0] == "documents") return answerDocuments(request);
  if (below[0] == "fleet") return answerFleet(request);
  if (below[0] == "journal") return answerJournal(request);
  if (below[0] == "faults") return answerFaults(request);
  refusePath(request);
}

Answer AdminRoutes::answerCounts(const Request& request) {
  if (request.method != "GET") refuseMethod(request, "GET");
  return jsonAnswer(200, describeCounts(workplace.store));
}

Answer AdminRoutes::answerDocuments(const Request& request) {
  if (request.method != "POST") refuseMethod(request, "POST");
  loadDocuments(workplace.store, readBody(request, "documents"), formatTimestamp(workplace.now()));
  return jsonAnswer(201, describeCounts(workplace.store));
}

Answer AdminRoutes::answerFleet(const Request& request) {
  if (request.method != "POST") refuseMethod(request, "POST");
  makeFleet(workplace.store, readFleet(readBody(request, "fleet")));
  return jsonAnswer(201, describeCounts(workplace.store));
}

Answer AdminRoutes::answerOutbox(const Request& request, const std::string& kind) {
  const bool isSms = kind == "sms";
  if (!isSms && kind != "email") refusePath(request);
  if (request.method != "GET") refuseMethod(request, "GET");
  std::string sender;
  std::string after;
  std::uint64_t limit = defaultLimit;
  for (const auto& [name, value] : request.queries) {
    if (name == "after") {
      after = value;
    } else if (name == "limit") {
      limit = readNumber(name, value);
    } else if (isSms && name == "sender") {
      sender = value;
    } else {
      refuseParameter(name, isSms ? "sender, after, limit" : "after, limit");
    }
  }
  const auto most = static_cast<std::int64_t>(std::min<std::uint64_t>(limit, std::numeric_limits<std::int64_t>::max()));
  Answer answer = jsonAnswer(200, nullptr);
  answer.body = "{\"messages\":[";
  const char* separator = "";
  for (const StoredDocument& message :
       isSms ? workplace.store.smsOutbox(sender, after, most) : workplace.store.emailOutbox(after, most)) {
    answer.body += separator + message.text;
    separator = ",";
  }
  answer.body += "]}";
  return answer;
}

Answer AdminRoutes::answerJournal(const Request& request) {
  if (request.method == "DELETE") {
    journal.clear();
    return emptyAnswer();
  }
  if (request.method != "GET") refuseMethod(request, "GET, DELETE");
  std::uint64_t after = 0;
  std::uint64_t limit = defaultLimit;
  for (const auto& [name, value] : request.queries) {
    if (name == "after") {
      after = readNumber(name, value);
    } else if (name == "limit") {
      limit = readNumber(name, value);
    } else {
      refuseParameter(name, "after, limit");
    }
  }
  json::array entries;
  for (const JournalEntry& entry : journal.entries(after, limit)) entries.push_back(describeEntry(entry));
  return jsonAnswer(200, json::object({{"requests", std::move(entries)}}));
}

Answer AdminRoutes::answerFaults(const Request& request) {
  if (request.method == "DELETE") {
    faults.clear();
    return emptyAnswer();
  }
  if (request.method == "POST") {
    faults.add(readFault(readBody(request, "fault")));
    return jsonAnswer(201, describeFault(faults.states().back()));
  }
  if (request.method != "GET") refuseMethod(request, "GET, POST, DELETE");
  json::array rules;
  for (const FaultState& state : faults.states()) rules.push_back(describeFault(state));
  return jsonAnswer(200, json::object({{"faults", std::move(rules)}}));
}

}  // namespace simulator
