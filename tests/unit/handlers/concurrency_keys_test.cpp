#include "handlers/concurrency_keys.h"

#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class ConcurrencyKeysTest : public HandlerFixture {
 protected:
  std::string keyFromField(std::string_view payload, const char* field = "source") {
    return toJson(getIdFromField(messageFromJson("{}", payload), data_t(field), parts->constants));
  }
  std::string keyOfManagedObject(std::string_view path, std::string_view payload = "{}") {
    const Message request = messageFrom(MessageBuilder().path(path).payload(payload));
    return toJson(getManagedObjectId(request, data_t("source"), parts->constants));
  }
};

constexpr const char* noKey = "null";

TEST_F(ConcurrencyKeysTest, TakesThePlainValueOfAField) {
  EXPECT_EQ(keyFromField(R"({"source": "10"})"), R"("10")");
  EXPECT_EQ(keyFromField(R"({"source": 10})"), "10");
  EXPECT_EQ(keyFromField(R"({"source": [10]})"), "[10]");
  EXPECT_EQ(keyFromField(R"({"source": ""})"), R"("")");
  EXPECT_EQ(keyFromField(R"({"deviceId": "20"})", "deviceId"), R"("20")");
}

TEST_F(ConcurrencyKeysTest, TakesTheIdInAFieldThatIsAMap) {
  EXPECT_EQ(keyFromField(R"({"source": {"id": "10", "name": "pump"}})"), R"("10")");
  EXPECT_EQ(keyFromField(R"({"source": {"id": {"id": 1}}})"), json(R"({"id": 1})"));
}

TEST_F(ConcurrencyKeysTest, GivesNoKeyWithoutTheField) {
  EXPECT_EQ(keyFromField(R"({"id": "1"})"), noKey);
  EXPECT_EQ(keyFromField(R"({"source": "10"})", ""), noKey);
}

TEST_F(ConcurrencyKeysTest, GivesNoKeyForAFieldWithoutAValue) {
  EXPECT_EQ(keyFromField(R"({"source": null})"), noKey);
}

TEST_F(ConcurrencyKeysTest, RefusesAMapWithoutAnId) {
  EXPECT_EQ(thrownBy([&] { keyFromField(R"({"source": {"name": "pump"}})"); }), "Element not in map");
  EXPECT_EQ(thrownBy([&] { keyFromField(R"({"source": {}})"); }), "Element not in map");
}

TEST_F(ConcurrencyKeysTest, LeavesTheRequestAsItIs) {
  const Message request = messageFromJson("{}", R"({"source": {"id": "10"}})");
  getIdFromField(request, data_t("source"), parts->constants);
  EXPECT_EQ(toJson(request), json(R"({"metadata": {}, "payload": {"source": {"id": "10"}}})"));
}

TEST_F(ConcurrencyKeysTest, TakesTheIdOfAManagedObjectFromItsPayload) {
  EXPECT_EQ(keyOfManagedObject("/registry/managed-objects/6", R"({"id": "5"})"), R"("5")");
  EXPECT_EQ(keyOfManagedObject("/short", R"({"id": 5})"), "5");
}

TEST_F(ConcurrencyKeysTest, TakesTheIdOfAManagedObjectFromItsPath) {
  EXPECT_EQ(keyOfManagedObject("/registry/managed-objects/5"), R"("5")");
  EXPECT_EQ(keyOfManagedObject("/registry/managed-objects/5/childDevices"), R"("5/childDevices")");
  EXPECT_EQ(keyOfManagedObject("12345678901234567890123456x"), R"("x")");
}

TEST_F(ConcurrencyKeysTest, GivesAnEmptyTextForAPathOf26Characters) {
  EXPECT_EQ(keyOfManagedObject("/registry/managed-objects/"), R"("")");
}

TEST_F(ConcurrencyKeysTest, GivesNoKeyForAShorterPath) {
  EXPECT_EQ(keyOfManagedObject("/registry/managed-objects"), noKey);
  EXPECT_EQ(keyOfManagedObject(""), noKey);
}

TEST_F(ConcurrencyKeysTest, RefusesAPathThatIsMissingOrNoText) {
  EXPECT_EQ(thrownBy([&] { getManagedObjectId(messageFromJson("{}", "{}"), data_t(""), parts->constants); }),
            "Element not in map");
  EXPECT_EQ(
      thrownBy([&] { getManagedObjectId(messageFromJson(R"({"http": {}})", "{}"), data_t(""), parts->constants); }),
      "Element not in map");
  EXPECT_EQ(thrownBy([&] {
              getManagedObjectId(messageFromJson(R"({"http": {"path": 7}})", "{}"), data_t(""), parts->constants);
            }),
            "Incorrect type in get (you asked for string but it's actually integer)");
}

}  // namespace
}  // namespace tests
