// Strict access: every form of get on values of every tag.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "connectivity/data_t.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::buffer_t;
using product::data_t;
using product::list_t;
using product::map_t;

// What a form gives, as text.
std::string shown(bool value) {
  return value ? "yes" : "no";
}
std::string shown(std::int64_t value) {
  return std::to_string(value);
}
std::string shown(double value) {
  return std::to_string(value);
}
std::string shown(const std::string& value) {
  return value;
}
std::string shown(std::string_view value) {
  return std::string(value);
}
std::string shown(const char* value) {
  return value;
}
template <class Container>
std::string shown(const Container& value) {
  return std::to_string(value.size()) + " inside";
}

/// The text of the failure, without the line that comes on standard error.
template <class Body>
std::string quietFailureOf(Body&& body) {
  testing::internal::CaptureStderr();
  const std::string failure = failureOf(body);
  testing::internal::GetCapturedStderr();
  return failure;
}

/// The result of a read, or its failure, and what came on standard error meanwhile.
template <class T>
std::string outcomeOf(data_t& value, bool readOnly) {
  testing::internal::CaptureStderr();
  std::string result;
  const std::string failure =
      failureOf([&] { result = readOnly ? shown(std::as_const(value).get<T>()) : shown(value.get<T>()); });
  const std::string line = testing::internal::GetCapturedStderr();
  return line + (failure == "(no failure)" ? result : failure);
}

struct Form {
  const char* name;
  const char* word;
  const char* line;  // on standard error, at a mismatch
  std::function<std::string(data_t&, bool)> read;
};

struct Value {
  const char* name;
  const char* word;  // null: counts as empty
  std::function<data_t()> make;
  const char* form;    // the word of the forms that read it
  const char* result;  // what they read
};

void PrintTo(const Form& form, std::ostream* out) {
  *out << form.name;
}
void PrintTo(const Value& value, std::ostream* out) {
  *out << value.name;
}

const Form forms[] = {
    {"Bool", "boolean", "GetVisitor<b>.operator()(b)\n", outcomeOf<bool>},
    {"Integer", "integer", "GetVisitor<l>.operator()(l)\n", outcomeOf<std::int64_t>},
    {"Double", "double", "GetVisitor<d>.operator()(d)\n", outcomeOf<double>},
    {"Pointer", "string", "GetVisitor<PKc>.operator()(PKc)\n", outcomeOf<const char*>},
    {"StandardString", "string", "", outcomeOf<std::string>},
    {"View", "string", "", outcomeOf<std::string_view>},
    {"List", "list",
     "GetVisitor<N3com10tallowmere19connectivity10_15_46list_tE>.operator()(N3com10tallowmere19connectivity10_15_"
     "46list_"
     "tE)\n",
     outcomeOf<list_t>},
    {"Map", "map",
     "GetVisitor<N3com10tallowmere19connectivity10_15_45map_tE>.operator()(N3com10tallowmere19connectivity10_15_45map_"
     "tE)\n",
     outcomeOf<map_t>},
    {"Buffer", "buffer",
     "GetVisitor<N3com10tallowmere19connectivity10_15_48buffer_tE>.operator()(N3com10tallowmere19connectivity10_15_"
     "48buffer_tE)\n",
     outcomeOf<buffer_t>},
};

const Value values[] = {
    {"Empty", nullptr, [] { return data_t(); }, "", ""},
    {"True", "boolean", [] { return data_t(true); }, "boolean", "yes"},
    {"False", "boolean", [] { return data_t(false); }, "boolean", "no"},
    {"Double", "double", [] { return data_t(0.5); }, "double", "0.500000"},
    {"Integer", "integer", [] { return integer(-7); }, "integer", "-7"},
    {"Decimal", "decimal", [] { return decimal(12); }, "", ""},
    {"String", "string", [] { return text("words"); }, "string", "words"},
    {"EmptyString", "string", [] { return text(""); }, "string", ""},
    {"List", "list", [] { return dataFromJson("[1, 2]"); }, "list", "2 inside"},
    {"ListWithoutBlock", "list", [] { return withoutBlockOf(QEL_LIST); }, "list", "0 inside"},
    {"Map", "map", [] { return dataFromJson(R"({"a": 1})"); }, "map", "1 inside"},
    {"MapWithoutBlock", "map", [] { return withoutBlockOf(QEL_MAP); }, "map", "0 inside"},
    {"Buffer", "buffer", [] { return buffer("abc"); }, "buffer", "3 inside"},
    {"BufferWithoutBlock", "buffer", [] { return withoutBlockOf(QEL_BUFFER); }, "buffer", "0 inside"},
    {"Custom", "custom", [] { return custom(); }, "", ""},
    {"BorrowedString", "string", [] { return borrowed("words"); }, "string", "words"},
    {"Tag11", nullptr, [] { return withTag(11, 1); }, "", ""},
    {"HighestTag", nullptr, [] { return withTag(0xFFFFFFFF, 1); }, "", ""},
};

std::string expectedOutcome(const Form& form, const Value& value) {
  if (!value.word) return "Get from empty";
  if (std::string(value.form) == form.word) return value.result;
  return form.line + std::string("Incorrect type in get (you asked for ") + form.word + " but it's actually " +
         value.word + ")";
}

class GetTest : public testing::TestWithParam<std::tuple<Form, Value>> {};

TEST_P(GetTest, GivesTheValueOrTellsWhatIsWrong) {
  const auto& [form, value] = GetParam();
  data_t made = value.make();
  EXPECT_EQ(form.read(made, true), expectedOutcome(form, value));
  EXPECT_EQ(form.read(made, false), expectedOutcome(form, value));
}

INSTANTIATE_TEST_SUITE_P(Matrix, GetTest, testing::Combine(testing::ValuesIn(forms), testing::ValuesIn(values)),
                         [](const auto& each) {
                           return std::string(std::get<0>(each.param).name) + "Of" + std::get<1>(each.param).name;
                         });

TEST(GetFailureTest, NamesTheTypes) {
  const data_t words("true"), number(0.5);
  EXPECT_EQ(quietFailureOf([&] { words.get<bool>(); }),
            "Incorrect type in get (you asked for boolean but it's actually string)");
  EXPECT_EQ(quietFailureOf([&] { number.get<map_t>().size(); }),
            "Incorrect type in get (you asked for map but it's actually double)");
  EXPECT_EQ(quietFailureOf([&] { number.get<std::int64_t>(); }),
            "Incorrect type in get (you asked for integer but it's actually double)");
}

TEST(GetFailureTest, WritesItsLineEachTime) {
  const data_t value(0.5);
  testing::internal::CaptureStderr();
  failureOf([&] { value.get<bool>(); });
  failureOf([&] { value.get<bool>(); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "GetVisitor<b>.operator()(b)\nGetVisitor<b>.operator()(b)\n");
}

TEST(GetFailureTest, ChangesNothing) {
  data_t value = dataFromJson(R"({"a": 1})");
  quietFailureOf([&] { value.get<list_t>().size(); });
  quietFailureOf([&] { value.get<std::string>(); });
  EXPECT_EQ(toJson(value), R"({"a":1})");
}

// ---- results

TEST(GetResultTest, IsAReferenceIntoTheValue) {
  data_t number(0.5), count = integer(1), map{map_t()}, list{list_t()};
  number.get<double>() = 1.5;
  count.get<std::int64_t>() = 2;
  map.get<map_t>()["a"] = true;
  list.get<list_t>().push_back(integer(3));
  EXPECT_EQ(toJson(number), "1.5");
  EXPECT_EQ(toJson(count), "2");
  EXPECT_EQ(toJson(map), R"({"a":true})");
  EXPECT_EQ(toJson(list), "[3]");
}

TEST(GetResultTest, OfAStringIsThePointerInThePayload) {
  const data_t owned("words"), lent = borrowed("words");
  EXPECT_EQ(reinterpret_cast<std::uint64_t>(owned.get<const char*>()), owned.bits());
  EXPECT_EQ(reinterpret_cast<std::uint64_t>(lent.get<const char*>()), lent.bits());
}

TEST(GetResultTest, OfAStandardStringIsNew) {
  data_t value("words");
  std::string words = value.get<std::string>();
  words[0] = 'W';
  EXPECT_STREQ(value.get<const char*>(), "words");
}

TEST(GetResultTest, NeedsNothingOfTheHost) {
  data_t words("words"), map{map_t()};
  TestHost::forgetCalls();
  words.get<const char*>();
  map.get<map_t>();
  for (std::size_t call = 0; call < hostCallCount; ++call) {
    EXPECT_EQ(TestHost::calls(static_cast<HostCall>(call)), 0u) << "host call number " << call;
  }
}

TEST(GetResultTest, IsHadOfElementsToo) {
  const map_t map = mapFromJson(R"({"list": [1, {"deep": "x"}]})");
  EXPECT_STREQ(map.at("list").get<list_t>()[1].get<map_t>().at("deep").get<const char*>(), "x");
  EXPECT_EQ(failureOf([&] { map.at("list").get<list_t>()[0].get<std::string>(); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
}

}  // namespace
}  // namespace tests
