// Filters and selecting query parameters, by what a collection answers to them.
#include <boost/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

namespace json = boost::json;

std::string encoded(const std::string& text) {
  static constexpr const char* digits = "0123456789ABCDEF";
  std::string out;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    out += {'%', digits[byte >> 4], digits[byte & 15]};
  }
  return out;
}

class FilterTest : public PlatformTest {
 protected:
  FilterTest() {
    const auto loaded = client.post("/admin/documents", R"({"managedObjects": [
        {"id": "1", "name": "a", "type": "pump", "level": 7, "open": true, "place": {"town": "Brno", "floor": 2.5}},
        {"id": "10", "name": "b", "type": "pump", "level": 12, "open": false},
        {"id": "2", "name": "O'Neill", "type": "valve", "level": "7"},
        {"id": "Č'1", "name": "č", "type": "valve", "mark": {"x": 1}},
        {"id": "ž\"2", "name": "d"}]})");
    EXPECT_EQ(loaded.status, 201) << loaded.body;
  }

  std::vector<std::string> idsOf(const Received& answer, const std::string& collection = "managedObjects") {
    EXPECT_EQ(answer.status, 200) << answer.body;
    std::vector<std::string> ids;
    if (answer.status != 200) return ids;
    const json::value page = json::parse(answer.body);
    for (const json::value& element : page.at(collection).as_array()) ids.emplace_back(element.at("id").as_string());
    return ids;
  }

  std::vector<std::string> found(const std::string& filter) {
    return idsOf(client.get("/registry/managed-objects?pageSize=100&query=" + encoded(filter)));
  }

  std::string refusal(const std::string& filter) {
    const Received answer = client.get("/registry/managed-objects?query=" + encoded(filter));
    EXPECT_EQ(answer.status, 422) << answer.body;
    return std::string(answer.json().at("message").as_string());
  }
};

using Ids = std::vector<std::string>;

TEST_F(FilterTest, EmptyFilterIsMetByEveryDocument) {
  EXPECT_EQ(found(""), (Ids{"1", "10", "2", "Č'1", "ž\"2"}));
  EXPECT_EQ(idsOf(client.get("/registry/managed-objects?q=&type=valve")), (Ids{"2", "Č'1"}));
}

TEST_F(FilterTest, MarkWithoutAFilterIsRefused) {
  EXPECT_NE(refusal("$filter=").find("at column 9"), std::string::npos);
}

TEST_F(FilterTest, DeepestLevelsAreStillAnswered) {
  std::string negated = "level eq 7";
  std::string nested = "level eq 7";
  std::string twice = "level eq 7";
  for (int level = 0; level < 24; ++level) {
    if (level % 2 == 0) negated = "not (name eq 'x' or " + negated + ")";
    nested = std::string("(name eq 'x' ") + (level % 2 == 0 ? "or " : "and ") + nested + ")";
    twice = "not " + twice;
  }
  EXPECT_EQ(found(negated), (Ids{"1"}));
  EXPECT_EQ(found(nested), (Ids{}));
  EXPECT_EQ(found(twice), (Ids{"1"}));
}

TEST_F(FilterTest, NumbersAreFinite) {
  EXPECT_NE(refusal("level gt -inf").find("\"-inf\" is no number"), std::string::npos);
}

TEST_F(FilterTest, ComparesTexts) {
  EXPECT_EQ(found("type eq 'pump'"), (Ids{"1", "10"}));
  EXPECT_EQ(found("type ne 'pump'"), (Ids{"2", "Č'1", "ž\"2"}));
  EXPECT_EQ(found("name gt 'b'"), (Ids{"Č'1", "ž\"2"}));
  EXPECT_EQ(found("name ge 'b'"), (Ids{"10", "Č'1", "ž\"2"}));
  EXPECT_EQ(found("name lt 'a'"), (Ids{"2"}));
  EXPECT_EQ(found("name le 'a'"), (Ids{"1", "2"}));
  EXPECT_EQ(found("place.town eq 'Brno'"), (Ids{"1"}));
}

TEST_F(FilterTest, ComparesIdsAsText) {
  EXPECT_EQ(found("_id gt '0'"), (Ids{"1", "10", "2", "Č'1", "ž\"2"}));
  EXPECT_EQ(found("_id gt '1'"), (Ids{"10", "2", "Č'1", "ž\"2"}));
  EXPECT_EQ(found("_id gt '2'"), (Ids{"Č'1", "ž\"2"}));
  EXPECT_EQ(found("_id gt 'Č''1'"), (Ids{"ž\"2"}));
  EXPECT_EQ(found("_id eq 'ž\"2'"), (Ids{"ž\"2"}));
}

TEST_F(FilterTest, ReadsAQuoteThatStandsTwice) {
  EXPECT_EQ(found("name eq 'O''Neill'"), (Ids{"2"}));
}

TEST_F(FilterTest, ComparesNumbersWithNumbersOnly) {
  EXPECT_EQ(found("level eq 7"), (Ids{"1"}));
  EXPECT_EQ(found("level eq '7'"), (Ids{"2"}));
  EXPECT_EQ(found("level gt 6"), (Ids{"1", "10"}));
  EXPECT_EQ(found("level ge 12"), (Ids{"10"}));
  EXPECT_EQ(found("level lt 1e3"), (Ids{"1", "10"}));
  EXPECT_EQ(found("level gt '0'"), (Ids{"2"}));
  EXPECT_EQ(found("level ne 7"), (Ids{"10", "2", "Č'1", "ž\"2"}));
  EXPECT_EQ(found("level gt -1.5"), (Ids{"1", "10"}));
  EXPECT_EQ(found("place.floor eq 2.5"), (Ids{"1"}));
}

TEST_F(FilterTest, ComparesBooleans) {
  EXPECT_EQ(found("open eq true"), (Ids{"1"}));
  EXPECT_EQ(found("open eq false"), (Ids{"10"}));
  EXPECT_EQ(found("open ne true"), (Ids{"10", "2", "Č'1", "ž\"2"}));
  EXPECT_EQ(found("open eq 1"), (Ids{"1"}));
}

TEST_F(FilterTest, AsksForFields) {
  EXPECT_EQ(found("has(place)"), (Ids{"1"}));
  EXPECT_EQ(found("has(mark.x) or has( open )"), (Ids{"1", "10", "Č'1"}));
}

TEST_F(FilterTest, BindsAndBeforeOr) {
  EXPECT_EQ(found("name eq 'd' or type eq 'pump' and level gt 10"), (Ids{"10", "ž\"2"}));
  EXPECT_EQ(found("(name eq 'd' or type eq 'pump') and _id gt '1'"), (Ids{"10", "ž\"2"}));
  EXPECT_EQ(found("not type eq 'pump' and _id lt '9'"), (Ids{"2"}));
  EXPECT_EQ(found("not (type eq 'pump' or type eq 'valve') or level eq 7"), (Ids{"1"}));
}

TEST_F(FilterTest, TakesMarkAndOrder) {
  EXPECT_EQ(found("$filter=type eq 'pump'"), (Ids{"1", "10"}));
  EXPECT_EQ(found("$filter=((type eq 'pump') and (_id gt '1')) $orderby=_id asc"), (Ids{"10"}));
  EXPECT_EQ(found("  type  eq  'pump'  $orderby=_id  asc  "), (Ids{"1", "10"}));
}

TEST_F(FilterTest, IsNeverSql) {
  EXPECT_EQ(found("name eq ''' OR 1=1 --'"), Ids{});
  EXPECT_EQ(found("name eq 'x\"; DROP TABLE managed_objects; --'"), Ids{});
  EXPECT_EQ(found("_id gt '0'").size(), 5u);
}

TEST_F(FilterTest, SaysWhatItCannotRead) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"type", R"~(column 5: eq, ne, gt, ge, lt or le was expected, not the end)~"},
      {"type like 'p'", R"~(column 6: eq, ne, gt, ge, lt or le was expected, not "like")~"},
      {"type eq pump", R"~(column 9: a text in single quotes, a number, true or false was expected, not "pump")~"},
      {"type eq 'pump", R"~(column 9: the text has no closing quote)~"},
      {"type eq 7up", R"~(column 9: "7up" is no number)~"},
      {"(type eq 'a'", R"~(column 13: ")" was expected, not the end)~"},
      {"type eq 'a')", R"~(column 12: "and", "or", "$orderby=_id asc" or the end was expected, not ")")~"},
      {"type eq 'a' type eq 'b'",
       R"~(column 13: "and", "or", "$orderby=_id asc" or the end was expected, not "type")~"},
      {"type eq 'a' and", R"~(column 16: a field, "not", "has" or "(" was expected, not the end)~"},
      {"type = 'a'", R"~(column 6: nothing begins with "=")~"},
      {"open gt true", R"~(column 9: true and false go with eq and ne only)~"},
      {"a..b eq 1", R"~(column 1: "a..b" is no field)~"},
      {".a eq 1", R"~(column 1: ".a" is no field)~"},
      {"has(7)", R"~(column 5: a field was expected, not "7")~"},
      {"type eq 'a' $orderby=name asc", R"~(column 13: the one order is "$orderby=_id asc")~"},
      {"type eq 'a' $orderby=_id asc and", R"~(column 30: nothing may follow the order)~"},
      {"type eq 'a' $top=1", R"~(column 13: nothing begins with "$")~"}};
  for (const auto& [filter, message] : cases)
    EXPECT_EQ(refusal(filter), "the filter in \"query\" can't be read at " + message) << filter;
}

TEST_F(FilterTest, HasLimits) {
  std::string long_ = "level eq 0";
  for (int comparison = 1; comparison < 500; ++comparison) long_ += " or a eq 1";
  EXPECT_EQ(found(long_), Ids{});
  EXPECT_NE(refusal(long_ + " or a eq 1").find("more than 500 comparisons"), std::string::npos);
  EXPECT_EQ(found(std::string(24, '(') + "level eq 7" + std::string(24, ')')), (Ids{"1"}));
  EXPECT_NE(refusal(std::string(25, '(') + "level eq 7").find("more than 24 levels"), std::string::npos);
}

TEST_F(FilterTest, CountsWhatItFinds) {
  const json::object answer =
      client.get("/registry/managed-objects?pageSize=2&withTotalPages=true&q=" + encoded("_id gt '1'")).json();
  EXPECT_EQ(answer.at("statistics"), json::parse(R"({"currentPage":1,"pageSize":2,"totalPages":2})"));
}

TEST_F(FilterTest, AndParametersMustAllBeMet) {
  EXPECT_EQ(idsOf(client.get("/registry/managed-objects?type=pump&q=" + encoded("level gt 10"))), (Ids{"10"}));
  EXPECT_EQ(
      idsOf(client.get("/registry/managed-objects?q=" + encoded("type eq 'pump'") + "&query=" + encoded("level eq 7"))),
      (Ids{"1"}));
  EXPECT_EQ(idsOf(client.get("/registry/managed-objects?fragmentType=mark&owner=nobody")), Ids{});
}

class SelectionTest : public PlatformTest {
 protected:
  SelectionTest() {
    const auto loaded = client.post("/admin/documents", R"({"alarms": [
        {"id": "a", "source": {"id": "1"}, "type": "t", "severity": "MAJOR", "status": "ACTIVE",
         "time": "2024-05-01T12:00:00.000+02:00"},
        {"id": "b", "source": {"id": "1"}, "type": "u", "severity": "MINOR", "status": "CLEARED",
         "time": "2024-05-01T10:00:00.001Z"},
        {"id": "c", "source": {"id": "2"}, "type": "t", "severity": "MINOR", "status": "ACKNOWLEDGED", "time": "soon"}],
      "measurements": [{"id": "m", "source": {"id": "1"}, "type": "r", "time": "2024-05-01T12:00:00Z", "c_T": {"T": {"value": 1}}},
                       {"id": "n", "source": {"id": "1"}, "type": "r", "time": "2024-05-01T12:00:00Z", "c_P": {"P": {"value": 1}}}]})");
    EXPECT_EQ(loaded.status, 201) << loaded.body;
  }

  std::string found(const std::string& path, const std::string& collection) {
    const Received answer = client.get(path);
    EXPECT_EQ(answer.status, 200) << answer.body;
    std::string ids;
    const json::value page = json::parse(answer.body);
    for (const json::value& element : page.at(collection).as_array()) ids += element.at("id").as_string();
    return ids;
  }
  std::string alarms(const std::string& parameters) { return found("/alarm/alarms?" + parameters, "alarms"); }
};

TEST_F(SelectionTest, GoesByFields) {
  EXPECT_EQ(alarms("source=1"), "ab");
  EXPECT_EQ(alarms("type=t"), "ac");
  EXPECT_EQ(alarms("severity=MINOR&type=t"), "c");
  EXPECT_EQ(alarms("status=ACTIVE,CLEARED"), "ab");
  EXPECT_EQ(alarms("resolved=true"), "b");
  EXPECT_EQ(alarms("resolved=false"), "ac");
}

TEST_F(SelectionTest, TakesListsOfTexts) {
  EXPECT_EQ(alarms("status=ACTIVE,CLEARED"), "ab");
  EXPECT_EQ(alarms("status=,"), "");
  std::string many = "status=CLEARED";
  for (int value = 1; value < 199; ++value) many += ",A";
  EXPECT_EQ(alarms(many + "&type=u"), "b");
}

TEST_F(SelectionTest, HasAsManyConditionsAsTheStoreCanTake) {
  std::string filter = "a eq 0";
  for (int level = 0; level < 24; ++level) filter = "not " + filter;
  for (int comparison = 2; comparison < 500; ++comparison) filter += " or a eq 1";
  std::string conditions = "q=" + encoded(filter + " or type eq 't'");
  for (int parameter = 1; parameter < 200; ++parameter) conditions += "&type=t";
  EXPECT_EQ(alarms(conditions), "ac");
}

TEST_F(SelectionTest, RefusesMoreConditions) {
  const std::string refusal =
      "the query parameters set more than 200 conditions, of which each value between commas is one";
  std::string repeated = "type=t";
  std::string list = "type=t&status=A";
  for (int condition = 1; condition < 200; ++condition) {
    repeated += "&type=t";
    list += ",A";
  }
  expectError(client.get("/alarm/alarms?" + list), 422, "unprocessable", refusal);
  expectError(client.get("/alarm/alarms?type=t&" + repeated), 422, "unprocessable", refusal);
  EXPECT_EQ(alarms(repeated), "ac");
}

TEST_F(SelectionTest, DatesAreInstantsFromOneUpToBeforeAnother) {
  EXPECT_EQ(alarms("dateFrom=2024-05-01T10:00:00Z"), "ab");
  EXPECT_EQ(alarms("dateFrom=2024-05-01T12:00:00.001%2B02:00"), "b");
  EXPECT_EQ(alarms("dateTo=2024-05-01T10:00:00.001Z"), "a");
  EXPECT_EQ(alarms("dateFrom=2024-05-01T10:00:00Z&dateTo=2024-05-01T10:00:00Z"), "");
}

TEST_F(SelectionTest, MeasurementsGoByFragmentAndSeries) {
  EXPECT_EQ(found("/measurement/measurements?valueFragmentType=c_T", "measurements"), "m");
  EXPECT_EQ(found("/measurement/measurements?valueFragmentSeries=P", "measurements"), "n");
  EXPECT_EQ(found("/measurement/measurements?valueFragmentType=c_T&valueFragmentSeries=P", "measurements"), "");
}

TEST_F(SelectionTest, RefusesValuesThatMakeNoSense) {
  expectError(client.get("/alarm/alarms?dateFrom=yesterday"), 422, "unprocessable",
              R"(the query parameter "dateFrom" must be a timestamp such as 2024-05-01T12:00:00Z, not "yesterday")");
  expectError(client.get("/alarm/alarms?resolved=maybe"), 422, "unprocessable",
              R"(the query parameter "resolved" must be true or false, not "maybe")");
  expectError(client.get("/event/events?fragmentType="), 422, "unprocessable",
              R"(the query parameter "fragmentType" must be the name of a field, not "")");
}

TEST_F(SelectionTest, RefusesParametersThatTheCollectionDoesNotKnow) {
  expectError(client.get("/operation/operations?severity=MAJOR"), 422, "unprocessable",
              "the query parameter \"severity\" is not known here; known are pageSize, currentPage, withTotalPages, "
              "deviceId, status, fragmentType, dateFrom, dateTo, q, query");
}

}  // namespace
}  // namespace simulator
