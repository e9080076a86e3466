#include "simulator/document_loader.h"

#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class DocumentLoaderTest : public PlatformTest {};

TEST_F(DocumentLoaderTest, StoresDocumentsOfEveryKindUnderTheirIds) {
  const Received loaded = client.post("/admin/documents", R"({"managedObjects":[{"id":"p1","name":"Pump"}],
      "alarms":[{"id":"a1","type":"leak"}],"events":[{"id":"e1"}],"operations":[{"id":"o1"}],
      "measurements":[{"id":"m1","temperature":{"T":{"value":21.0}}}]})");
  EXPECT_EQ(loaded.status, 201);
  EXPECT_EQ(loaded.json().at("managed objects"), 1);
  EXPECT_EQ(client.get("/registry/managed-objects/p1").json().at("name"), "Pump");
  boost::json::object expected = object(R"({"id":"a1","type":"leak","creationTime":"1970-01-01T00:00:00.000Z",
      "lastUpdated":"1970-01-01T00:00:00.000Z"})");
  expected["self"] = platform.url() + "/alarm/alarms/a1";
  EXPECT_EQ(client.get("/alarm/alarms/a1").json(), expected);
  EXPECT_EQ(client.get("/event/events/e1").status, 200);
  EXPECT_EQ(client.get("/operation/operations/o1").status, 200);
  EXPECT_EQ(client.get("/measurement/measurements/m1").json().at("temperature").at("T").at("value"), 21.0);
}

TEST_F(DocumentLoaderTest, IdsMayHoldQuotesAndAnyLetters) {
  platform.load(R"({"managedObjects":[{"id":"O'Ж\"\\"}]})");
  const boost::json::object document = client.get("/registry/managed-objects/O'%D0%96%22%5C").json();
  EXPECT_EQ(document.at("id"), "O'Ж\"\\");
}

TEST_F(DocumentLoaderTest, DocumentWithoutAnIdGetsTheNextOne) {
  platform.load(R"({"events":[{"text":"first"},{"text":"second"}]})");
  EXPECT_EQ(client.get("/event/events/2504002").json().at("text"), "second");
}

TEST_F(DocumentLoaderTest, NewDocumentsGetIdsAboveLoadedOnes) {
  platform.load(R"({"managedObjects":[{"id":"2504001"},{"id":"2504003"},{"name":"next"}]})");
  EXPECT_EQ(client.get("/registry/managed-objects/2504004").json().at("name"), "next");
  EXPECT_EQ(device(), "2504005");
}

TEST_F(DocumentLoaderTest, NothingIsCreatedAboveTheLastId) {
  platform.load(R"({"managedObjects":[{"id":"9999999"}]})");
  expectError(client.post("/registry/managed-objects", "{}"), 507, "insufficientStorage",
              "all ids are given, the last one is 9999999");
  EXPECT_EQ(client.put("/registry/managed-objects/9999999", R"({"name":"Pump"})").status, 200);
}

TEST_F(DocumentLoaderTest, GivenTimesStay) {
  platform.load(R"({"events":[{"id":"e","creationTime":"2020-01-01T00:00:00Z","lastUpdated":"soon"}]})");
  EXPECT_EQ(client.get("/event/events/e").json().at("creationTime"), "2020-01-01T00:00:00Z");
  EXPECT_EQ(client.get("/event/events/e").json().at("lastUpdated"), "soon");
}

TEST_F(DocumentLoaderTest, LoadingAnIdAgainReplacesTheDocument) {
  platform.load(R"({"events":[{"id":"e","text":"before","colour":"red"}]})");
  platform.load(R"({"events":[{"id":"e","text":"after"}]})");
  const boost::json::object document = client.get("/event/events/e").json();
  EXPECT_EQ(document.at("text"), "after");
  EXPECT_FALSE(document.contains("colour"));
  EXPECT_EQ(platform.counts().at("events"), 1);
}

TEST_F(DocumentLoaderTest, NewActiveAlarmJoinsALoadedOne) {
  platform.load(R"({"managedObjects":[{"id":"p"}],
      "alarms":[{"id":"a","source":{"id":"p"},"type":"leak","status":"ACTIVE"}]})");
  const Received repeated = client.post("/alarm/alarms", alarmOf("p"));
  EXPECT_EQ(repeated.status, 201);
  EXPECT_EQ(repeated.id(), "a");
  EXPECT_EQ(repeated.json().at("count"), 2);
}

TEST_F(DocumentLoaderTest, NothingStaysOfALoadThatFails) {
  EXPECT_EQ(client.post("/admin/documents", R"({"events":[{"id":"e"},7]})").status, 422);
  EXPECT_EQ(platform.counts().at("events"), 0);
  EXPECT_THROW(platform.load(R"({"events":[{"id":"e"},7]})"), std::runtime_error);
  EXPECT_EQ(platform.counts().at("events"), 0);
}

TEST_F(DocumentLoaderTest, EmbeddingProgramLearnsWhatIsWrong) {
  const auto refusalOf = [&](const char* text) -> std::string {
    try {
      platform.load(text);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "loaded";
  };
  EXPECT_EQ(refusalOf("[]"), "the documents must be a JSON object, not an array");
  EXPECT_EQ(refusalOf("{"), "line 1, column 2: incomplete JSON");
  EXPECT_EQ(refusalOf(R"({"events":7})"), R"("events" must be an array, not a number)");
}

struct BadDocuments {
  const char* name;
  const char* documents;
  const char* message;
};

class BadDocumentsTest : public PlatformTest, public ::testing::WithParamInterface<BadDocuments> {};

TEST_P(BadDocumentsTest, AreRefusedByPlace) {
  expectError(client.post("/admin/documents", GetParam().documents), 422, "unprocessable", GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Places, BadDocumentsTest,
    ::testing::Values(
        BadDocuments{"Unknown", R"({"pumps":[]})",
                     R"("pumps" can't be loaded; known are managedObjects, alarms, events, operations, measurements, )"
                     R"(tenantOptions, systemOptions, currentUser)"},
        BadDocuments{"NoArray", R"({"alarms":{}})", R"("alarms" must be an array, not an object)"},
        BadDocuments{"NoObject", R"({"alarms":[{},"x"]})", R"("alarms[1]" must be an object, not a text)"},
        BadDocuments{"NumericId", R"({"alarms":[{"id":7}]})", R"("alarms[0].id" must be a text, not a number)"},
        BadDocuments{"EmptyId", R"({"alarms":[{"id":""}]})", R"("alarms[0].id" must not be empty)"},
        BadDocuments{"OptionWithoutValue", R"({"tenantOptions":[{"category":"a","key":"b"}]})",
                     R"("tenantOptions[0].value" is missing)"},
        BadDocuments{"OptionWithoutKey", R"({"systemOptions":[{"category":"a","value":"b"}]})",
                     R"("systemOptions[0].key" is missing)"},
        BadDocuments{"User", R"({"currentUser":"fleet"})", R"("currentUser" must be an object, not a text)"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace simulator
