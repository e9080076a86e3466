#include "handlers/request_body.h"

#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class RequestBodyTest : public HandlerFixture {
 protected:
  std::string withoutEmpty(std::string_view body, const FieldNames& fields) {
    map_t map = mapFromJson(body);
    removeEmptyFields(map, fields, parts->logger);
    return toJson(map);
  }
};

struct FieldValue {
  const char* name;
  const char* value;
  bool isEmpty;
};

void PrintTo(const FieldValue& value, std::ostream* out) {
  *out << value.value;
}

class FieldValueTest : public RequestBodyTest, public testing::WithParamInterface<FieldValue> {};

TEST_P(FieldValueTest, LeavesTheBodyWhenItIsEmpty) {
  const std::string body = R"({"field": )" + std::string(GetParam().value) + R"(, "other": ""})";
  EXPECT_EQ(withoutEmpty(body, fieldNames({"field"})), GetParam().isEmpty ? json(R"({"other": ""})") : json(body));
  EXPECT_EQ(takeLogs(debugLevel), GetParam().isEmpty ? Texts{"Removing \"field\" field"} : Texts{});
}

INSTANTIATE_TEST_SUITE_P(Tags, FieldValueTest,
                         testing::Values(FieldValue{"Empty", "null", true}, FieldValue{"True", "true", false},
                                         FieldValue{"False", "false", false}, FieldValue{"Double", "1.5", false},
                                         FieldValue{"DoubleZero", "0.0", false}, FieldValue{"Integer", "7", false},
                                         FieldValue{"IntegerZero", "0", false},
                                         FieldValue{"DecimalZero", R"({"$decimal": 0})", false},
                                         FieldValue{"Text", R"("x")", false}, FieldValue{"Blank", R"(" ")", false},
                                         FieldValue{"EmptyText", R"("")", true},
                                         FieldValue{"BorrowedText", R"({"$borrowed": "x"})", false},
                                         FieldValue{"EmptyBorrowedText", R"({"$borrowed": ""})", true},
                                         FieldValue{"List", "[null]", false}, FieldValue{"EmptyList", "[]", true},
                                         FieldValue{"Map", R"({"": null})", false}, FieldValue{"EmptyMap", "{}", true},
                                         FieldValue{"EmptyNamedMap", R"({"$name": "n", "$map": {}})", true},
                                         FieldValue{"Buffer", R"({"$buffer": "00"})", false},
                                         FieldValue{"EmptyBuffer", R"({"$buffer": ""})", true},
                                         FieldValue{"Custom", R"({"$custom": 1})", false}),
                         NameOfCase());

TEST_F(RequestBodyTest, TakesContainersWithoutABlockForEmpty) {
  map_t body;
  body["list"] = list_t();
  body["map"] = map_t();
  body["buffer"] = data_t::adopt(withoutBlock(QEL_BUFFER));
  removeEmptyFields(body, fieldNames({"list", "map", "buffer"}), parts->logger);
  EXPECT_EQ(toJson(body), "{}");
}

TEST_F(RequestBodyTest, GoesThroughTheNamesInTheirOrder) {
  EXPECT_EQ(withoutEmpty(R"({"b": "", "a": [], "c": "x", "e": ""})", fieldNames({"a", "b", "c", "d"})),
            json(R"({"c": "x", "e": ""})"));
  EXPECT_EQ(takeLogs(debugLevel), (Texts{"Removing \"a\" field", "Removing \"b\" field"}));
}

TEST_F(RequestBodyTest, SaysNothingOfAFieldThatIsAbsent) {
  EXPECT_EQ(withoutEmpty("{}", fieldNames({"a"})), "{}");
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(RequestBodyTest, KnowsAFieldWhoseNameIsEmpty) {
  EXPECT_EQ(withoutEmpty(R"({"": "", "a": ""})", fieldNames({"source", ""})), json(R"({"a": ""})"));
  EXPECT_EQ(withoutEmpty(R"({"": "x"})", fieldNames({"source", ""})), json(R"({"": "x"})"));
  EXPECT_EQ(takeLogs(debugLevel), (Texts{"Removing \"\" field"}));
}

TEST_F(RequestBodyTest, LooksAtTheTopLevelOnly) {
  EXPECT_EQ(withoutEmpty(R"({"a": {"a": ""}})", fieldNames({"a"})), json(R"({"a": {"a": ""}})"));
}

TEST_F(RequestBodyTest, EmptiesALargeBody) {
  map_t body;
  FieldNames fields;
  for (int number = 0; number < 200; ++number) {
    fields.emplace_back("f" + std::to_string(number));
    body["f" + std::to_string(number)] = "";
  }
  removeEmptyFields(body, fields, parts->logger);
  EXPECT_EQ(toJson(body), "{}");
}

TEST_F(RequestBodyTest, RemovesNamedFieldsWhateverTheyHold) {
  map_t body = mapFromJson(R"({"a": "x", "b": {"c": 1}, "c": null, "d": 0})");
  removeFields(body, fieldNames({"a", "b", "c", "absent"}));
  EXPECT_EQ(toJson(body), json(R"({"d": 0})"));
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(RequestBodyTest, LeavesItsListOfNamesAsItIs) {
  const FieldNames fields = fieldNames({"a"});
  for (int round = 0; round < 2; ++round) {
    map_t body = mapFromJson(R"({"a": 1})");
    removeFields(body, fields);
    EXPECT_EQ(toJson(body), "{}");
  }
}

TEST_F(RequestBodyTest, KnowsWhatIsForTheHostAlone) {
  Texts names;
  for (const data_t& name : hostOnlyFields) names.push_back(name.get<std::string>());
  EXPECT_EQ(names, (Texts{".kelvo_notificationType", "source.name", "source.value", "source.id", "source.self",
                          "source.type"}));
}

}  // namespace
}  // namespace tests
