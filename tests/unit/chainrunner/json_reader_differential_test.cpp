// The reader beside Boost.JSON's parser: on any text both refuse, or both accept and give equal values.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json.hpp>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "chainrunner/json_reader.h"

namespace chainrunner {
namespace {

namespace json = boost::json;

/// What Boost.JSON gives, apart from doubles: its own are not always the nearest to their text.
bool isEqual(const data_t& ours, const json::value& theirs) {
  switch (theirs.kind()) {
    case json::kind::null:
      return ours.empty();
    case json::kind::bool_:
      return ours.is(Tag::boolean) && ours.get<bool>() == theirs.get_bool();
    case json::kind::int64:
      return ours.is(Tag::integer) && ours.get<std::int64_t>() == theirs.get_int64();
    case json::kind::uint64:
      return ours.is(Tag::number) && ours.get<double>() == static_cast<double>(theirs.get_uint64());
    case json::kind::double_:
      return ours.is(Tag::number) && std::signbit(ours.get<double>()) == std::signbit(theirs.get_double()) &&
             std::fabs(ours.get<double>() - theirs.get_double()) <= 1e-14 * std::fabs(theirs.get_double());
    case json::kind::string:
      return ours.is(Tag::string) && ours.get<std::string_view>() == theirs.get_string();
    case json::kind::array: {
      if (!ours.is(Tag::list) || ours.get<list_t>().size() != theirs.get_array().size()) return false;
      auto element = theirs.get_array().begin();
      for (const data_t& each : ours.get<list_t>()) {
        if (!isEqual(each, *element++)) return false;
      }
      return true;
    }
    case json::kind::object:
      break;
  }
  if (!ours.is(Tag::map) || ours.get<map_t>().size() != theirs.get_object().size()) return false;
  for (const auto& [key, value] : ours.get<map_t>()) {
    const json::value* const other = theirs.get_object().if_contains(key.get<std::string_view>());
    if (!other || !isEqual(value, *other)) return false;
  }
  return true;
}

bool holdsNul(const json::value& value) {
  if (value.is_string()) return value.get_string().find('\0') != json::string::npos;
  if (value.is_array())
    return std::any_of(value.get_array().begin(), value.get_array().end(),
                       [](const auto& each) { return holdsNul(each); });
  if (!value.is_object()) return false;
  return std::any_of(value.get_object().begin(), value.get_object().end(), [](const auto& each) {
    return each.key().find('\0') != json::string_view::npos || holdsNul(each.value());
  });
}

bool holdsInfinity(const json::value& value) {
  if (value.is_double()) return std::isinf(value.get_double());
  if (value.is_array())
    return std::any_of(value.get_array().begin(), value.get_array().end(),
                       [](const auto& each) { return holdsInfinity(each); });
  return value.is_object() && std::any_of(value.get_object().begin(), value.get_object().end(),
                                          [](const auto& each) { return holdsInfinity(each.value()); });
}

/// Gives what both make of the text, "values" or "refusal", or how they differ.
std::string verdictOn(const std::string& text) {
  json::error_code code;
  json::parse_options options;
  options.max_depth = JsonLimits().depth;
  const json::value theirs = json::parse(text, code, {}, options);
  try {
    const data_t ours = readJson(text);
    if (code) return "accepted, but refused as \"" + code.message() + "\": " + text;
    return isEqual(ours, theirs) ? "values" : "other values: " + text;
  } catch (const JsonError& error) {
    if (error.offset > text.size()) return "an offset beyond the text: " + text;
    if (code) return "refusal";
    const std::string reason = error.what();
    // A value can't hold these, so they are refused here alone. A replaced duplicate counts too.
    if (reason == "a text holds the character NUL" && (holdsNul(theirs) || text.find("\\u0000") != std::string::npos))
      return "refusal";
    if (reason == "a number is beyond the range of a double" &&
        (holdsInfinity(theirs) || text.find_first_of("eE") != std::string::npos))
      return "refusal";
    return "refused as \"" + reason + "\", but accepted: " + text;
  }
}

std::vector<std::string> scenarioTexts() {
  std::vector<std::string> texts;
  for (const auto& entry : std::filesystem::directory_iterator(SCENARIOS)) {
    if (entry.path().extension() != ".json") continue;
    std::ostringstream text;
    text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    texts.push_back(text.str());
  }
  return texts;
}

TEST(JsonReaderDifferentialTest, ReadsTheScenarios) {
  const std::vector<std::string> texts = scenarioTexts();
  ASSERT_GT(texts.size(), 100u);
  for (const std::string& text : texts) EXPECT_EQ(verdictOn(text), "values");
}

/// Documents of every shape, seeded: the same ones on every run.
class Generator {
 public:
  explicit Generator(std::uint32_t seed) : random(seed) {}

  std::size_t below(std::size_t limit) { return random() % limit; }

  std::string document(int depth = 5) {
    switch (below(depth > 0 ? 9 : 6)) {
      case 0:
        return pick({"null", "true", "false"});
      case 1:
        return std::to_string(static_cast<std::int64_t>(random() << 32 | random()) >> below(64));
      case 2:
        return number();
      case 3:
      case 4:
      case 5:
        return text();
      case 6:
        return container('[', ']', [&] { return document(depth - 1); });
      default:
        return container('{', '}', [&] { return key() + blanks() + ":" + blanks() + document(depth - 1); });
    }
  }

  /// The text with some bytes changed, dropped, doubled or cut off.
  std::string mutated(std::string text) {
    static const std::string bytes =
        "{}[]\",:\\/bfnrtu0123456789abcdefE+-. \n\t\x01\x7f\x80\xbf\xc0\xc3\xe2\xed\xf0\xf5\xff";
    for (std::size_t changes = 1 + below(3); changes > 0 && !text.empty(); --changes) {
      const std::size_t place = below(text.size());
      switch (below(5)) {
        case 0:
          text.erase(place, 1 + below(4));
          break;
        case 1:
          text.insert(place, text.substr(below(text.size()), below(16)));
          break;
        case 2:
          text.insert(place, 1, bytes[below(bytes.size())]);
          break;
        case 3:
          if (below(8) == 0) text.resize(place);
          break;
        default:
          text[place] = bytes[below(bytes.size())];
      }
    }
    return text;
  }

 private:
  std::string pick(const std::vector<std::string>& choices) { return choices[below(choices.size())]; }

  std::string blanks() { return below(4) == 0 ? pick({" ", "\n", "\t", "\r\n", "    "}) : ""; }

  std::string number() {
    std::string result = below(2) == 0 ? "-" : "";
    result += std::to_string(random() >> below(32));
    if (below(2) == 0) result += "." + std::to_string(random() >> below(32));
    if (below(3) == 0) result += pick({"e", "E", "e+", "e-"}) + std::to_string(below(280));
    return result;
  }

  std::string text() {
    static const std::vector<std::string> parts = {
        "a",   "Cold room 7", "2504190",        "\\n",      "\\\"",         "\\\\",
        "\\/", "\\u00e9",     "\\ud83d\\ude00", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
        " ",   "temperature", "\\u0001"};
    std::string result = "\"";
    for (std::size_t count = below(8); count > 0; --count) result += parts[below(parts.size())];
    return result + "\"";
  }

  std::string key() {
    static const std::vector<std::string> keys = {"id", "time", "type",          "self", "source", "value", "unit",
                                                  "T",  "",     "temperature_1", "name", "self",   "id"};
    return below(5) == 0 ? text() : "\"" + keys[below(keys.size())] + "\"";
  }

  template <class Element>
  std::string container(char opening, char closing, Element element) {
    std::string result(1, opening);
    for (std::size_t count = below(10), i = 0; i < count; ++i)
      result += (i > 0 ? "," : "") + blanks() + element() + blanks();
    return result + closing;
  }

  std::mt19937 random;
};

TEST(JsonReaderDifferentialTest, ReadsGeneratedDocuments) {
  Generator generate(1);
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(verdictOn(generate.document()), "values") << i;
}

TEST(JsonReaderDifferentialTest, JudgesDamagedDocumentsAlike) {
  Generator generate(2);
  int refusals = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string verdict = verdictOn(generate.mutated(generate.document(3)));
    ASSERT_TRUE(verdict == "values" || verdict == "refusal") << verdict;
    if (verdict == "refusal") ++refusals;
  }
  EXPECT_GT(refusals, 1000);
  EXPECT_LT(refusals, 19000);
}

TEST(JsonReaderDifferentialTest, JudgesDamagedScenariosAlike) {
  Generator generate(3);
  for (const std::string& text : scenarioTexts()) {
    for (int i = 0; i < 5; ++i) {
      const std::string verdict = verdictOn(generate.mutated(text));
      EXPECT_TRUE(verdict == "values" || verdict == "refusal") << verdict;
    }
  }
}

TEST(JsonReaderDifferentialTest, JudgesEveryBeginningOfADocumentAlike) {
  const std::string text = R"([{"id":"25","v":[-1.5e+3,true,null,"\u00e9\ud83d\ude00"]},{"id":"26","v":{}}])";
  for (std::size_t length = 0; length < text.size(); ++length)
    EXPECT_EQ(verdictOn(text.substr(0, length)), "refusal") << length;
}

}  // namespace
}  // namespace chainrunner
