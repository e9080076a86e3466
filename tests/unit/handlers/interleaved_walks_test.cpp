// Many walks at once on shared handlers: events come down on one thread, pages come up on another, in any order.
#include <algorithm>
#include <array>
#include <map>

#include "tests/unit/handlers/QueryFixture.h"
#include "tests/unit/handlers/ShufflingThread.h"

namespace tests {
namespace {

constexpr int walks = 200;
constexpr std::size_t pageSize = 3;

/// One walk: which handler, in which way, and the elements that the platform has for it.
struct Walk {
  explicit Walk(int number) : number(number), byId(number / 8 % 2 == 1 && !isOfOptions()) {
    const std::size_t pages = 1 + static_cast<std::size_t>(number) % 5;
    const std::size_t rest = static_cast<std::size_t>(number) % pageSize;
    for (std::size_t index = 0; index < pageSize * (pages - 1) + rest; ++index)
      ids.push_back("w" + std::to_string(number) + "-" + std::to_string(100 + index));
  }

  const char* type() const {
    static constexpr std::array types{"FindAlarm",     "FindEvent",         "FindManagedObject", "FindMeasurement",
                                      "FindOperation", "RequestAllDevices", "GenericRequest",    "FindTenantOptions"};
    return types[static_cast<std::size_t>(number) % types.size()];
  }
  bool isOfOptions() const { return std::string_view(type()) == "FindTenantOptions"; }

  int number;
  bool byId;
  Texts ids;
};

class InterleavedWalksTest : public QueryFixture {
 protected:
  InterleavedWalksTest() {
    TestHost::setLogLevel(warnLevel);
    configure("{}");
    for (int number = 0; number < walks; ++number) all.emplace_back(number);
  }

  void start(const Walk& walk) {
    use(walk.type());
    MessageBuilder event = query(walk.number)
                               .query("pageSize", std::to_string(pageSize))
                               .metadata("isPaging", "true")
                               .responseChannel(std::to_string(walk.number));
    if (walk.byId) event.query("q", "walk eq 1");
    if (walk.isOfOptions()) event.http("queryString", R"({"system": false, "pageSize": 3})");
    send(event);
  }

  /// The page that a request asks for: by the bound of its filter, or by its number.
  MessageBuilder answerTo(const Received& request) const {
    const Walk& walk = all.at(std::stoul(request.metadata("reqId")));
    std::size_t from = 0;
    const std::string number = asked(request, "currentPage");
    if (number != "absent") from = (std::stoul(number) - 1) * pageSize;
    const std::string filter = asked(request, "q");
    if (const std::size_t bound = filter.find("_id gt '"); bound != std::string::npos) {
      const std::string last = filter.substr(bound + 8, filter.find('\'', bound + 8) - bound - 8);
      from = static_cast<std::size_t>(std::upper_bound(walk.ids.begin(), walk.ids.end(), last) - walk.ids.begin());
    }

    std::string elements;
    for (std::size_t index = from; index < std::min(from + pageSize, walk.ids.size()); ++index)
      elements += (elements.empty() ? R"({"id": )" : R"(, {"id": )") + tests::quoted(walk.ids[index]) + "}";
    const std::size_t totalPages = walk.byId ? 1 : walk.ids.size() / pageSize + 1;
    const std::string name = walk.isOfOptions() ? "options" : "things";
    return answer(request.requestId(), "application/vnd.com.rdx.marlovance.optioncollection+json",
                  "{" + tests::quoted(name) + ": [" + elements + R"(], "statistics": {"currentPage": )" +
                      std::to_string(from / pageSize + 1) + R"(, "totalPages": )" + std::to_string(totalPages) + "}}");
  }

  /// Adds what an event tells to the walk that it belongs to: ids, and "end" for a final event.
  static void note(const Received& event, std::map<int, Texts>& seen) {
    const auto& payload = event.document.at("payload").as_object();
    const std::string reqId = payload.contains("reqId") ? textOf(payload.at("reqId")) : event.metadata("reqId");
    const std::string type = event.type();
    if (type == "com.kelvo.marlovance.ManagedObject") {
      const std::string channel = event.metadata("qel.channel");
      seen[std::stoi(channel.substr(1))].emplace_back(payload.at("id").as_string());
      return;
    }
    Texts& walk = seen[std::stoi(reqId)];
    if (type == "com.kelvo.marlovance.FindTenantOptionsResponse") {
      for (const auto& option : payload.at("options").as_array()) walk.emplace_back(option.at("id").as_string());
      walk.push_back("end");
      return;
    }
    for (const char* body : {"alarm", "evt", "managedObject", "measurement", "operation", "body"})
      if (const auto* element = payload.if_contains(body)) {
        walk.emplace_back(element->at("id").as_string());
        return;
      }
    walk.push_back("end");
  }

  std::vector<Walk> all;
};

TEST_F(InterleavedWalksTest, DeliverEachElementOnceInOrderAndThenTheirEnd) {
  for (const std::uint32_t seed : {1u, 2u}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    configure("{}");
    {
      ShufflingThread platform(seed);
      parts->transport.onMessage = [&](const Received& request) {
        platform.post([this, request] { respond(answerTo(request)); });
      };
      for (const Walk& walk : all) start(walk);
    }
    parts->transport.onMessage = nullptr;

    std::map<int, Texts> seen;
    for (const Received& event : takeHostEvents()) note(event, seen);
    for (const Walk& walk : all) {
      Texts expected = walk.ids;
      expected.push_back("end");
      EXPECT_EQ(seen[walk.number], expected) << walk.type() << (walk.byId ? " by id" : " by number");
    }
    EXPECT_EQ(parts->outstanding.size(), 0u);
    EXPECT_EQ(takeLogs(errorLevel), Texts{});
  }
}

}  // namespace
}  // namespace tests
