#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class ManagedObjectsTest : public PlatformTest {
 protected:
  Received addChild(const std::string& parent, const std::string& collection, const std::string& child) {
    return client.post("/registry/managed-objects/" + parent + "/" + collection,
                       R"({"managedObject":{"id":")" + child + R"("}})");
  }

  std::string link(const std::string& id) const { return platform.url() + "/registry/managed-objects/" + id; }

  /// The ids in a reference collection of a document, each with a blank behind it.
  std::string ids(const std::string& id, const char* collection) {
    std::string all;
    const boost::json::object document = client.get("/registry/managed-objects/" + id).json();
    for (const boost::json::value& reference : document.at(collection).at("references").as_array()) {
      all += std::string(reference.at("managedObject").at("id").as_string()) + " ";
    }
    return all;
  }
};

TEST_F(ManagedObjectsTest, CreateAnswersWithTheWholeDocument) {
  now = Moment(std::chrono::milliseconds(1600000000250));
  const Received created = client.post("/registry/managed-objects", R"({"name":"Pump","type":"pump","power":1.50})");
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/vnd.com.rdx.marlovance.managedobject+json");
  EXPECT_EQ(created.headers.at("location"), link("2504001"));
  boost::json::object expected = object(R"({"id":"2504001","name":"Pump","type":"pump","power":1.5,
      "creationTime":"2020-09-13T12:26:40.250Z","lastUpdated":"2020-09-13T12:26:40.250Z"})");
  expected["self"] = link("2504001");
  for (const char* name :
       {"childDevices", "childAssets", "childAdditions", "deviceParents", "assetParents", "additionParents"}) {
    expected[name] = boost::json::object{{"references", boost::json::array{}}, {"self", link("2504001") + "/" + name}};
  }
  EXPECT_EQ(created.json(), expected);
}

TEST_F(ManagedObjectsTest, NothingIsRequired) {
  EXPECT_EQ(client.post("/registry/managed-objects", "{}").status, 201);
}

TEST_F(ManagedObjectsTest, ReadGivesWhatCreateGave) {
  const Received created = client.post("/registry/managed-objects", R"({"name":"Pump","q4v_Position":{"lat":52.1}})");
  const Received read = client.get("/registry/managed-objects/" + created.id());
  EXPECT_EQ(read.status, 200);
  EXPECT_EQ(read.contentType, "application/vnd.com.rdx.marlovance.managedobject+json");
  EXPECT_EQ(read.json(), created.json());
}

TEST_F(ManagedObjectsTest, UpdateMergesTopLevelFieldsAndNullRemoves) {
  const Received created =
      client.post("/registry/managed-objects", R"({"name":"Pump","type":"pump","a":{"x":1,"y":2},"b":1})");
  now = Moment(std::chrono::milliseconds(1000));
  const Received updated =
      client.put("/registry/managed-objects/" + created.id(), R"({"name":"Big pump","a":{"x":3},"b":null,"c":true})");
  EXPECT_EQ(updated.status, 200);
  EXPECT_EQ(updated.contentType, "application/vnd.com.rdx.marlovance.managedobject+json");
  boost::json::object expected = created.json();
  expected["name"] = "Big pump";
  expected["a"] = object(R"({"x":3})");
  expected.erase("b");
  expected["c"] = true;
  expected["lastUpdated"] = "1970-01-01T00:00:01.000Z";
  EXPECT_EQ(updated.json(), expected);
  EXPECT_EQ(client.get("/registry/managed-objects/" + created.id()).json(), expected);
}

TEST_F(ManagedObjectsTest, IgnoresFieldsThatThePlatformKeeps) {
  const Received created = client.post(
      "/registry/managed-objects",
      R"({"id":"1","self":"x","creationTime":"x","lastUpdated":1,"childDevices":[],"assetParents":7,"name":"Pump"})");
  EXPECT_EQ(created.id(), "2504001");
  EXPECT_EQ(created.json().at("creationTime"), "1970-01-01T00:00:00.000Z");
  EXPECT_TRUE(created.json().at("childDevices").is_object());
}

TEST_F(ManagedObjectsTest, DoublesComeBackToTheLastBit) {
  const Received created = client.post("/registry/managed-objects",
                                       R"({"v":[0.1,1.0,5e-324,1.7976931348623157e308,0.30000000000000004,-0.0,7]})");
  EXPECT_NE(created.body.find("[0.1,1.0,5e-324,1.7976931348623157e+308,0.30000000000000004,-0.0,7]"), std::string::npos)
      << created.body;
  EXPECT_NE(client.put("/registry/managed-objects/" + created.id(), "{\"w\":2.5}")
                .body.find("[0.1,1.0,5e-324,1.7976931348623157e+308,0.30000000000000004,-0.0,7]"),
            std::string::npos);
}

TEST_F(ManagedObjectsTest, RefusesNameAndTypeThatAreNoTexts) {
  expectError(client.post("/registry/managed-objects", R"({"name":7,"type":[]})"), 422, "unprocessable",
              R"("name" must be a text, not a number; "type" must be a text, not an array)");
}

TEST_F(ManagedObjectsTest, UnknownIdIsNotFound) {
  expectError(client.get("/registry/managed-objects/42"), 404, "notFound",
              R"(there is no managed object with the id "42")");
  expectError(client.put("/registry/managed-objects/42", "{}"), 404, "notFound",
              R"(there is no managed object with the id "42")");
}

TEST_F(ManagedObjectsTest, ChildShowsOnBothSides) {
  const std::string parent = device("Station");
  const std::string child = device("Pump");
  const Received added = addChild(parent, "childDevices", child);
  EXPECT_EQ(added.status, 201);
  EXPECT_EQ(added.contentType, "application/vnd.com.rdx.marlovance.managedobjectreference+json");
  EXPECT_EQ(added.headers.at("location"), link(parent) + "/childDevices/" + child);
  const boost::json::object reference{
      {"managedObject", boost::json::object{{"id", child}, {"name", "Pump"}, {"self", link(child)}}},
      {"self", link(parent) + "/childDevices/" + child}};
  EXPECT_EQ(added.json(), reference);
  EXPECT_EQ(client.get("/registry/managed-objects/" + parent).json().at("childDevices"),
            (boost::json::object{{"references", {reference}}, {"self", link(parent) + "/childDevices"}}));
  EXPECT_EQ(
      client.get("/registry/managed-objects/" + child).json().at("deviceParents"),
      (boost::json::object{
          {"references",
           {boost::json::object{
               {"managedObject", boost::json::object{{"id", parent}, {"name", "Station"}, {"self", link(parent)}}},
               {"self", link(child) + "/deviceParents/" + parent}}}},
          {"self", link(child) + "/deviceParents"}}));
}

TEST_F(ManagedObjectsTest, RelationsDoNotMix) {
  const std::string parent = device();
  const std::string first = device();
  const std::string second = device();
  addChild(parent, "childAssets", second);
  addChild(parent, "childAssets", first);
  addChild(parent, "childAdditions", first);
  EXPECT_EQ(ids(parent, "childAssets"), second + " " + first + " ");
  EXPECT_EQ(ids(parent, "childAdditions"), first + " ");
  EXPECT_EQ(ids(parent, "childDevices"), "");
  EXPECT_EQ(ids(first, "assetParents"), parent + " ");
  EXPECT_EQ(ids(first, "additionParents"), parent + " ");
  EXPECT_EQ(ids(first, "deviceParents"), "");
}

TEST_F(ManagedObjectsTest, AddingAChildAgainChangesNothing) {
  const std::string parent = device();
  const std::string child = device();
  addChild(parent, "childDevices", child);
  EXPECT_EQ(addChild(parent, "childDevices", child).status, 201);
  EXPECT_EQ(ids(parent, "childDevices"), child + " ");
}

TEST_F(ManagedObjectsTest, ReferenceHasNoNameWhenTheObjectHasNone) {
  const std::string parent = device();
  const std::string child = client.post("/registry/managed-objects", "{}").id();
  EXPECT_FALSE(addChild(parent, "childDevices", child).json().at("managedObject").as_object().contains("name"));
}

TEST_F(ManagedObjectsTest, ReferenceCollectionsCanBeReadAlone) {
  const std::string parent = device();
  const std::string child = device();
  const boost::json::object reference = addChild(parent, "childDevices", child).json();
  const std::string path = "/registry/managed-objects/" + parent + "/childDevices";
  const Received all = client.get(path);
  EXPECT_EQ(all.status, 200);
  EXPECT_EQ(all.contentType, "application/vnd.com.rdx.marlovance.managedobjectreferencecollection+json");
  EXPECT_EQ(all.json().at("references"), boost::json::array{reference});
  EXPECT_EQ(client.get(path + "/" + child).json(), reference);
  expectError(client.get(path + "/77"), 404, "notFound", R"("77" is not among the childDevices of ")" + parent + "\"");
}

TEST_F(ManagedObjectsTest, RefusesChildrenThatCannotBe) {
  const std::string parent = device();
  expectError(addChild(parent, "childDevices", "77"), 422, "unprocessable",
              R"("managedObject.id" names no managed object: "77")");
  expectError(addChild(parent, "childDevices", parent), 422, "unprocessable",
              R"("managedObject.id" names the managed object itself: ")" + parent + "\"");
  expectError(client.post("/registry/managed-objects/" + parent + "/childDevices", "{}"), 422, "unprocessable",
              R"("managedObject" is missing)");
  expectError(addChild("77", "childDevices", parent), 404, "notFound",
              R"(there is no managed object with the id "77")");
}

TEST_F(ManagedObjectsTest, ParentsAreReadOnly) {
  const std::string id = device();
  const Received answer = client.post("/registry/managed-objects/" + id + "/deviceParents", "{}");
  EXPECT_EQ(answer.status, 405);
  EXPECT_EQ(answer.headers.at("allow"), "GET");
}

TEST_F(ManagedObjectsTest, ListGivesPagesInTheOrderOfIds) {
  for (int count = 0; count < 3; ++count) device();
  const Received first = client.get("/registry/managed-objects?pageSize=2&withTotalPages=true");
  EXPECT_EQ(first.status, 200);
  EXPECT_EQ(first.contentType, "application/vnd.com.rdx.marlovance.managedobjectcollection+json");
  EXPECT_EQ(first.json().at("self"),
            boost::json::value(platform.url() + "/registry/managed-objects?pageSize=2&withTotalPages=true"));
  EXPECT_EQ(first.json().at("statistics"), object(R"({"currentPage":1,"pageSize":2,"totalPages":2})"));
  ASSERT_EQ(first.json().at("managedObjects").as_array().size(), 2u);
  EXPECT_EQ(first.json().at("managedObjects").at(0), client.get("/registry/managed-objects/2504001").json());
  const boost::json::object second = client.get("/registry/managed-objects?pageSize=2&currentPage=2").json();
  EXPECT_EQ(second.at("statistics"), object(R"({"currentPage":2,"pageSize":2})"));
  ASSERT_EQ(second.at("managedObjects").as_array().size(), 1u);
  EXPECT_EQ(second.at("managedObjects").at(0).at("id"), "2504003");
}

TEST_F(ManagedObjectsTest, ListRefusesParametersItDoesNotKnow) {
  expectError(
      client.get("/registry/managed-objects?colour=red"), 422, "unprocessable",
      "the query parameter \"colour\" is not known here; known are pageSize, currentPage, withTotalPages, type, "
      "name, owner, fragmentType, createdFrom, createdTo, q, query");
  expectError(client.get("/registry/managed-objects?pageSize=-1"), 422, "unprocessable",
              R"(the query parameter "pageSize" must be a whole number from 0 to 100000, not "-1")");
  expectError(client.get("/registry/managed-objects?withTotalPages=yes"), 422, "unprocessable",
              R"(the query parameter "withTotalPages" must be true or false, not "yes")");
}

TEST_F(ManagedObjectsTest, DeletePartsItFromItsRelatives) {
  const std::string parent = device("Plant");
  const std::string child = device("Pump");
  client.post("/registry/managed-objects/" + parent + "/childDevices",
              R"({"managedObject":{"id":")" + child + R"("}})");
  EXPECT_EQ(client.request("DELETE", "/registry/managed-objects/" + child).status, 204);
  EXPECT_EQ(client.get("/registry/managed-objects/" + child).status, 404);
  EXPECT_EQ(client.get("/registry/managed-objects/" + parent).json().at("childDevices").at("references"),
            boost::json::array{});
}

}  // namespace
}  // namespace simulator
