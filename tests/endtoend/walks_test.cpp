// Walks over pages through the plug-in itself: what comes out is what the store holds, also when the store changes
// underneath and when the platform fails half-way.
#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <string>
#include <vector>

#include "tests/endtoend/FleetChain.h"

namespace tests {
namespace {

namespace json = boost::json;
using Lines = std::vector<std::string>;

constexpr int pageSize = 7;

/// One of the two ways from page to page, and the parameters that lead to it.
struct Continuation {
  const char* name;
  const char* params;
  bool asksBehindAFullLastPage;
};

constexpr Continuation byNumber{"ByNumber", R"("pageSize": 7)", false};
constexpr Continuation byId{"ById", R"("pageSize": 7, "query": "type eq 'pump'")", true};

std::string shortType(const json::object& event) {
  const std::string type(event.at("type").as_string());
  return type.substr(type.rfind('.') + 1);
}

/// An event in short: "found ID NAME", "error TEXT", "end ERROR STATUS TEXT" or the whole of it.
std::string summary(const std::string& line) {
  const json::object event = json::parse(line).as_object();
  const std::string type = shortType(event);
  const json::object& payload = event.at("payload").as_object();
  const auto text = [](const json::value& value) {
    return value.is_string() ? std::string(value.as_string()) : json::serialize(value);
  };
  if (type == "Error") return "error " + text(payload.at("message"));
  if (type == "FindManagedObjectResponseAck")
    return "end " + text(payload.at("error")) + " " + text(payload.at("statusCode")) + " " +
           text(payload.at("errorDetails"));
  if (type != "FindManagedObjectResponse") return line;
  const json::object& object = payload.at("managedObject").as_object();
  const json::value* id = object.if_contains("id");
  const json::value* name = object.if_contains("name");
  return "found " + (id ? text(*id) : "-") + (name ? " " + text(*name) : "");
}

Lines summaries(const Lines& lines) {
  Lines all;
  for (const std::string& line : lines) all.push_back(summary(line));
  return all;
}

/// The id of the n-th object: they ascend as text, too.
std::string idOf(int n) {
  return "p" + std::to_string(1000 + n);
}

class WalkTest : public testing::Test {
 protected:
  /// Puts objects from `first` up to `last` into the store.
  void store(int first, int last) {
    json::array objects;
    for (int n = first; n <= last; ++n)
      objects.push_back({{"id", idOf(n)}, {"name", "Pump " + std::to_string(n)}, {"type", "pump"}});
    load(objects);
  }

  void load(const json::array& objects) {
    chain.platform.load(json::serialize(json::object({{"managedObjects", objects}})));
  }

  Lines find(const std::string& params) {
    return summaries(chain.play("FindManagedObject", R"({"reqId": 3, "params": {)" + params + "}}"));
  }

  static Lines foundFrom(int first, int last) {
    Lines all;
    for (int n = first; n <= last; ++n) all.push_back("found " + idOf(n) + " Pump " + std::to_string(n));
    return all;
  }

  FleetChain chain;
};

struct Walk {
  Continuation continuation;
  int objects;
};

void PrintTo(const Walk& walk, std::ostream* out) {
  *out << walk.continuation.name << walk.objects;
}

class WholeWalkTest : public WalkTest, public testing::WithParamInterface<Walk> {};

TEST_P(WholeWalkTest, FindsWhatTheStoreHoldsElementByElement) {
  const auto& [continuation, objects] = GetParam();
  store(1, objects);
  Lines expected = foundFrom(1, objects);
  expected.push_back("end false 200 ");
  EXPECT_EQ(find(continuation.params), expected);
  const int pages =
      continuation.asksBehindAFullLastPage ? objects / pageSize + 1 : std::max(1, (objects + pageSize - 1) / pageSize);
  EXPECT_EQ(chain.requests().size(), static_cast<std::size_t>(pages));
}

INSTANTIATE_TEST_SUITE_P(
    PagesOfSeven, WholeWalkTest,
    testing::Values(Walk{byNumber, 0}, Walk{byNumber, 1}, Walk{byNumber, 6}, Walk{byNumber, 7}, Walk{byNumber, 8},
                    Walk{byNumber, 14}, Walk{byNumber, 345}, Walk{byNumber, 350}, Walk{byId, 0}, Walk{byId, 1},
                    Walk{byId, 6}, Walk{byId, 7}, Walk{byId, 8}, Walk{byId, 14}, Walk{byId, 345}, Walk{byId, 350}),
    [](const auto& each) {
      return each.param.continuation.name + std::string("Over") + std::to_string(each.param.objects);
    });

TEST_F(WalkTest, ByIdKeepsItsPlaceWhileTheStoreChanges) {
  store(1, 30);
  chain.atEvent = [this](const std::string& event) {
    // In the middle of the second page.
    if (summary(event) != "found p1010 Pump 10") return;
    load({{{"id", "p0"}, {"name", "Behind"}, {"type", "pump"}},
          {{"id", "p1020x"}, {"name", "Ahead"}, {"type", "pump"}},
          {{"id", "q"}, {"name", "Last"}, {"type", "pump"}}});
    chain.remove("/registry/managed-objects/" + idOf(2));
    chain.remove("/registry/managed-objects/" + idOf(25));
  };
  Lines expected = foundFrom(1, 20);
  expected.push_back("found p1020x Ahead");
  for (const std::string& line : foundFrom(21, 24)) expected.push_back(line);
  for (const std::string& line : foundFrom(26, 30)) expected.push_back(line);
  expected.push_back("found q Last");
  expected.push_back("end false 200 ");
  EXPECT_EQ(find(byId.params), expected);
}

TEST_F(WalkTest, ByNumberEndsWhileTheStoreShrinks) {
  store(1, 30);
  chain.atEvent = [this](const std::string& event) {
    if (summary(event) != "found p1010 Pump 10") return;
    for (int n = 1; n <= 7; ++n) chain.remove("/registry/managed-objects/" + idOf(n));
  };
  // What moved up by a page is not seen: that is what pages by number are.
  Lines expected = foundFrom(1, 14);
  for (const std::string& line : foundFrom(22, 30)) expected.push_back(line);
  expected.push_back("end false 200 ");
  EXPECT_EQ(find(byNumber.params), expected);
}

TEST_F(WalkTest, ByIdEndsWithAnErrorBehindAnIdThatHoldsAQuote) {
  store(1, 6);
  load({{{"id", "q'1"}, {"name", "Quoted"}, {"type", "pump"}}, {{"id", "r"}, {"name", "Behind"}, {"type", "pump"}}});
  const Lines events = find(byId.params);
  Lines expected = foundFrom(1, 6);
  expected.push_back("found q'1 Quoted");
  ASSERT_EQ(events.size(), expected.size() + 2);
  EXPECT_EQ(Lines(events.begin(), events.end() - 2), expected);
  EXPECT_TRUE(events.back().starts_with("end true 422 the filter in \"query\" can't be read")) << events.back();
}

struct FailedWalk {
  Continuation continuation;
  int failingPage;
};

void PrintTo(const FailedWalk& walk, std::ostream* out) {
  *out << walk.continuation.name << walk.failingPage;
}

class FailedWalkTest : public WalkTest, public testing::WithParamInterface<FailedWalk> {};

TEST_P(FailedWalkTest, EndsWithTheErrorBehindWhatWasFound) {
  const auto& [continuation, failingPage] = GetParam();
  store(1, 3 * pageSize - 1);
  simulator::Fault fault;
  fault.skip = failingPage - 1;
  fault.status = 503;
  fault.body = R"({"error": "away", "message": "gone fishing"})";
  fault.contentType = "application/vnd.com.rdx.marlovance.error+json";
  chain.platform.addFault(fault);
  Lines expected = foundFrom(1, (failingPage - 1) * pageSize);
  expected.push_back("error gone fishing");
  expected.push_back("end true 503 gone fishing");
  EXPECT_EQ(find(continuation.params), expected);
}

TEST_P(FailedWalkTest, GoesOnWhenALostPageComesWithTheRetry) {
  const auto& [continuation, failingPage] = GetParam();
  store(1, 3 * pageSize - 1);
  simulator::Fault fault;
  fault.skip = failingPage - 1;
  fault.ending = simulator::Ending::Reset;
  chain.platform.addFault(fault);
  Lines expected = foundFrom(1, 3 * pageSize - 1);
  expected.push_back("end false 200 ");
  EXPECT_EQ(find(continuation.params), expected);
}

INSTANTIATE_TEST_SUITE_P(FirstMiddleAndLast, FailedWalkTest,
                         testing::Values(FailedWalk{byNumber, 1}, FailedWalk{byNumber, 2}, FailedWalk{byNumber, 3},
                                         FailedWalk{byId, 1}, FailedWalk{byId, 2}, FailedWalk{byId, 3}),
                         [](const auto& each) {
                           return each.param.continuation.name + std::string("OnPage") +
                                  std::to_string(each.param.failingPage);
                         });

constexpr const char* collection = "application/vnd.com.rdx.marlovance.managedobjectcollection+json";

/// A page as the platform should not answer it.
struct Page {
  const char* body;
  const char* contentType = collection;
};

struct BadWalk {
  const char* name;
  const char* params;
  std::vector<Page> pages;
  Lines events;
};

void PrintTo(const BadWalk& walk, std::ostream* out) {
  *out << walk.name;
}

class BadWalkTest : public WalkTest, public testing::WithParamInterface<BadWalk> {
 protected:
  void answerWith(const Page& page) {
    simulator::Fault fault;
    fault.status = 200;
    fault.body = page.body;
    fault.contentType = page.contentType;
    chain.platform.addFault(fault);
  }
};

TEST_P(BadWalkTest, EndsOnceAndLeavesTheChainWhole) {
  for (const Page& page : GetParam().pages) answerWith(page);
  EXPECT_EQ(find(GetParam().params), GetParam().events);
  EXPECT_EQ(chain.requests().size(), GetParam().pages.size());
  store(1, 8);
  Lines expected = foundFrom(1, 8);
  expected.push_back("end false 200 ");
  EXPECT_EQ(find(byNumber.params), expected);
}

constexpr const char* two = R"("pageSize": 2)";
constexpr const char* brokenPage =
    "GET /registry/managed-objects?currentPage=2&pageSize=2&withTotalPages=true: the platform answered 200 OK with a "
    "body that can't be read as application/vnd.com.rdx.marlovance.managedobjectcollection+json: the text ends too "
    "early";
constexpr const char* twoById = R"("pageSize": 2, "query": "a eq 'b'")";

INSTANTIATE_TEST_SUITE_P(
    All, BadWalkTest,
    testing::Values(
        BadWalk{"NoStatistics",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}]})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"StatisticsAreText",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}], "statistics": "many"})"}},
                {"end false 200 "}},
        BadWalk{"TotalIsMissing",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}], "statistics": {"currentPage": 1}})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"TotalIsText",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 1, "totalPages": "3"}})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"TotalIsNegative",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 1, "totalPages": -3}})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"CurrentIsTheLargestNumber",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 9223372036854775807, "totalPages": 9223372036854775807}})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"TotalIsTheLargestNumber",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 1, "totalPages": 9223372036854775807}})"},
                 {R"({"managedObjects": [{"id": "3"}], "statistics": {"currentPage": 2}})"}},
                {"found 1", "found 2", "found 3", "end false 200 "}},
        BadWalk{"CurrentGoesBack",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": -5, "totalPages": 3}})"},
                 {R"({"managedObjects": [], "statistics": {"currentPage": 2}})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"ElementsAreNoMaps",
                two,
                {{R"({"managedObjects": [1, "two", null, {"id": "4"}],
                      "statistics": {"currentPage": 1, "totalPages": 1}})"}},
                {"found 4", "end false 200 "}},
        BadWalk{"FirstElementByIdIsNoMap",
                twoById,
                {{R"({"managedObjects": [1, {"id": "2"}], "statistics": {"currentPage": 1, "totalPages": 1}})"}},
                {"end false 200 "}},
        BadWalk{"IdsAreMissing",
                twoById,
                {{R"({"managedObjects": [{"name": "a"}, {"name": "b"}],
                      "statistics": {"currentPage": 1, "totalPages": 2}})"},
                 {R"({"managedObjects": [], "statistics": {"currentPage": 1, "totalPages": 2}})"}},
                {"found - a", "found - b", "end false 200 "}},
        BadWalk{"IdsAreNumbers",
                twoById,
                {{R"({"managedObjects": [{"id": 1}, {"id": 2}],
                      "statistics": {"currentPage": 1, "totalPages": 2}})"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"IdsHoldQuotes",
                twoById,
                {{R"({"managedObjects": [{"id": "a'b"}, {"id": "c' or 'd"}],
                      "statistics": {"currentPage": 1, "totalPages": 2}})"},
                 {R"({"managedObjects": [{"id": "e"}], "statistics": {"currentPage": 1, "totalPages": 1}})"}},
                {"found a'b", "found c' or 'd", "found e", "end false 200 "}},
        BadWalk{"ContentTypeChanges",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 1, "totalPages": 3}})"},
                 {R"({"id": "3", "statistics": {"currentPage": 2}})",
                  "application/vnd.com.rdx.marlovance.managedobject+json"}},
                {"found 1", "found 2", "found 3", "end false 200 "}},
        BadWalk{"SecondPageIsText",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 1, "totalPages": 3}})"},
                 {"out of order", "text/plain"}},
                {"found 1", "found 2", "end false 200 "}},
        BadWalk{"SecondPageIsNoJson",
                two,
                {{R"({"managedObjects": [{"id": "1"}, {"id": "2"}],
                      "statistics": {"currentPage": 1, "totalPages": 3}})"},
                 {R"({"managedObjects": [)"}},
                {"found 1", "found 2", std::string("error ") + brokenPage, std::string("end true 502 ") + brokenPage}},
        BadWalk{"PageIsAList", two, {{"[1, 2]"}}, {"end false 200 "}}),
    [](const auto& each) { return each.param.name; });

TEST_F(WalkTest, TakesAPageOfAHundredThousandElements) {
  std::string body = R"({"statistics": {"currentPage": 1, "totalPages": 1}, "managedObjects": [)";
  for (int n = 0; n < 100'000; ++n) body += (n == 0 ? R"({"id": ")" : R"(,{"id": ")") + idOf(n) + R"("})";
  simulator::Fault fault;
  fault.status = 200;
  fault.body = body + "]}";
  fault.contentType = collection;
  chain.platform.addFault(fault);
  const Lines events = find(R"("pageSize": 100000)");
  ASSERT_EQ(events.size(), 100'001U);
  for (int n = 0; n < 100'000; ++n) ASSERT_EQ(events[n], "found " + idOf(n));
  EXPECT_EQ(events.back(), "end false 200 ");
}

}  // namespace
}  // namespace tests
