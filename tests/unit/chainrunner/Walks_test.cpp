#include "chainrunner/Walks.h"

#include <gtest/gtest.h>

#include "chainrunner/json_reader.h"
#include "devhost/devhost.h"

namespace chainrunner {
namespace {

class WalksTest : public testing::Test {
 protected:
  WalksTest() {
    devhost::setLogSink([this](const devhost::LogLine& line) { logged.push_back(line.text); });
  }
  ~WalksTest() override { devhost::setLogSink({}); }

  Walk goOn(const Walk& before, const std::string& lineBefore, const std::string& line) {
    return walks.goOn(before, lineBefore, line, metadata);
  }

  /// "FindAlarm 7 page 2 elements 5" for each walk.
  std::vector<std::string> progress() const {
    std::vector<std::string> all;
    for (const WalkProgress& walk : walks.inProgress())
      all.push_back(walk.name + " page " + std::to_string(walk.page) + " elements " + std::to_string(walk.elements));
    return all;
  }

  const map_t metadata =
      std::move(readJson(R"({"qel.type": "com.kelvo.marlovance.FindAlarm", "reqId": 7})").get<map_t>());
  std::vector<std::string> logged;
  Walks walks{3};
};

using Lines = std::vector<std::string>;

TEST_F(WalksTest, ShowsARequestThatStandsAloneAsNoWalk) {
  walks.endPage(Walk{});
  EXPECT_EQ(progress(), Lines{});
}

TEST_F(WalksTest, ShowsAWalkFromItsSecondPageToItsEnd) {
  Walk first;
  first.elements = 5;
  Walk second = goOn(first, "GET /a", "GET /b");
  walks.endPage(first);
  EXPECT_EQ(progress(), Lines{"FindAlarm 7 page 2 elements 5"});
  second.elements += 4;
  const Walk third = goOn(second, "GET /b", "GET /c");
  walks.endPage(second);
  EXPECT_EQ(progress(), Lines{"FindAlarm 7 page 3 elements 9"});
  walks.endPage(third);
  EXPECT_EQ(progress(), Lines{});
}

TEST_F(WalksTest, KeepsWalksOfTheSameNameApart) {
  const Walk one = goOn(Walk{}, "GET /a", "GET /b");
  const Walk other = goOn(goOn(Walk{}, "GET /a", "GET /b"), "GET /b", "GET /c");
  EXPECT_EQ(progress(), (Lines{"FindAlarm 7 page 2 elements 0", "FindAlarm 7 page 3 elements 0"}));
  walks.endPage(one);
  EXPECT_EQ(progress(), Lines{"FindAlarm 7 page 3 elements 0"});
  walks.endPage(other);
}

TEST_F(WalksTest, WarnsOnceOfAPageThatIsAskedForThreeTimesInARow) {
  const Walk second = goOn(Walk{}, "GET /a?n=1", "GET /a?n=1");
  EXPECT_EQ(logged, Lines{});
  const Walk third = goOn(second, "GET /a?n=1", "GET /a?n=1");
  const Walk fourth = goOn(third, "GET /a?n=1", "GET /a?n=1");
  goOn(fourth, "GET /a?n=1", "GET /a?n=2");
  EXPECT_EQ(logged, Lines{"FindAlarm 7 asks for the same page for the third time in a row: GET /a?n=1"});
}

TEST_F(WalksTest, DoesNotWarnOfAPageThatIsAskedForAgainLater) {
  Walk walk = goOn(Walk{}, "GET /a", "GET /a");
  walk = goOn(walk, "GET /a", "GET /b");
  walk = goOn(walk, "GET /b", "GET /a");
  goOn(walk, "GET /a", "GET /a");
  EXPECT_EQ(logged, Lines{});
}

TEST_F(WalksTest, BoundsThePagesOfAWalk) {
  const Walk third = goOn(goOn(Walk{}, "1", "2"), "2", "3");
  EXPECT_FALSE(walks.isTooLong(third));
  EXPECT_TRUE(walks.isTooLong(goOn(third, "3", "4")));
}

TEST(ElementsOfTest, CountsWhatIsInTheListsOfAPage) {
  EXPECT_EQ(elementsOf(readJson(R"({"alarms": [1, {"x": [1, 2]}], "statistics": {"l": [1]}})")), 2U);
  EXPECT_EQ(elementsOf(readJson("[1, 2]")), 0U);
  EXPECT_EQ(elementsOf(data_t()), 0U);
}

}  // namespace
}  // namespace chainrunner
