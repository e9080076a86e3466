#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class ServiceDocumentsTest : public PlatformTest {
 protected:
  Received putAs(const std::string& path, const std::string& contentType, const std::string& body) {
    return client.request("PUT", path, body, {{"Content-Type", contentType}});
  }
};

TEST_F(ServiceDocumentsTest, MessageOfTheDayIsPlainText) {
  const Received message = client.get("/service/motd");
  EXPECT_EQ(message.status, 200);
  EXPECT_EQ(message.contentType, "text/plain");
  EXPECT_EQ(message.body, "Welcome to the platform.");
}

TEST_F(ServiceDocumentsTest, ComeBackAsTheyWerePut) {
  for (const char* body : {R"({"b": 1.0,  "a":[1e2]})", "[1, 2]", "\"text\"", "7", "null"}) {
    const Received put = client.put("/service/weather/today", body);
    EXPECT_EQ(put.body, body);
    EXPECT_EQ(put.contentType, "application/json");
    EXPECT_EQ(client.get("/service/weather/today").body, body);
  }
}

TEST_F(ServiceDocumentsTest, PutTellsNewFromReplaced) {
  EXPECT_EQ(client.put("/service/a", "1").status, 201);
  EXPECT_EQ(client.put("/service/a", "2").status, 200);
}

TEST_F(ServiceDocumentsTest, ContentTypeIsKept) {
  const std::string bytes("a\0\xFF", 3);
  putAs("/service/bytes", "application/octet-stream", bytes);
  const Received read = client.get("/service/bytes");
  EXPECT_EQ(read.contentType, "application/octet-stream");
  EXPECT_EQ(read.body, bytes);
}

TEST_F(ServiceDocumentsTest, PostGivesAnId) {
  const Received created = client.post("/service/tickets", R"({"id":"own","title":"Leak"})");
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/json");
  EXPECT_EQ(created.headers.at("location"), platform.url() + "/service/tickets/2504001");
  EXPECT_EQ(created.json(), object(R"({"id":"2504001","title":"Leak"})"));
  EXPECT_EQ(client.get("/service/tickets/2504001").json(), created.json());
}

TEST_F(ServiceDocumentsTest, PathWithoutADocumentListsThoseBelow) {
  client.put("/service/rooms/b", R"({"size":2})");
  client.put("/service/rooms/a", R"({"size":1})");
  client.put("/service/rooms/c", "3");
  client.put("/service/rooms/a/door", R"({"open":true})");
  putAs("/service/rooms/note", "text/plain", "no JSON");
  const Received list = client.get("/service/rooms?pageSize=2&withTotalPages=true");
  EXPECT_EQ(list.status, 200);
  EXPECT_EQ(list.contentType, "application/vnd.com.rdx.marlovance.documentcollection+json");
  EXPECT_EQ(list.json(), object(R"({"documents":[{"size":1},{"size":2}],
                                    "statistics":{"currentPage":1,"pageSize":2,"totalPages":2}})"));
  EXPECT_EQ(client.get("/service/rooms?pageSize=2&currentPage=2").json(),
            object(R"({"documents":[3],"statistics":{"currentPage":2,"pageSize":2}})"));
}

TEST_F(ServiceDocumentsTest, RootListsTheTopLevel) {
  client.post("/service", R"({"title":"Leak"})");
  EXPECT_EQ(client.get("/service").json().at("documents"), boost::json::parse(R"([{"id":"2504001","title":"Leak"}])"));
}

TEST_F(ServiceDocumentsTest, EncodedPathsAreThePathsTheyMean) {
  client.put("/service/caf%C3%A9/tea%20room", "1");
  EXPECT_EQ(client.get("/service/caf\xC3\xA9/tea%20room").status, 400);
  EXPECT_EQ(client.get("/service/%63af%c3%a9/tea%20room").body, "1");
}

TEST_F(ServiceDocumentsTest, DeleteAnswersWithoutABody) {
  client.put("/service/a", "1");
  const Received answer = client.request("DELETE", "/service/a");
  EXPECT_EQ(answer.status, 204);
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.contentType, "");
  expectError(client.get("/service/a"), 404, "notFound", R"(nothing is served at "/service/a")");
}

TEST_F(ServiceDocumentsTest, DeleteOfNothingIsRefused) {
  client.put("/service/a/b", "1");
  expectError(client.request("DELETE", "/service/a"), 404, "notFound", R"(nothing is served at "/service/a")");
}

TEST_F(ServiceDocumentsTest, BrokenJsonIsRefused) {
  expectError(client.put("/service/a", "{"), 400, "badRequest",
              "the body is no JSON: line 1, column 2: incomplete JSON");
  expectError(putAs("/service/a", "application/vnd.x+json; charset=utf-8", "x"), 400, "badRequest",
              "the body is no JSON: line 1, column 1: syntax error");
}

TEST_F(ServiceDocumentsTest, BodyWithoutAContentTypeIsRefused) {
  expectError(putAs("/service/a", "", "1"), 415, "unsupportedMediaType", "the request has no content type");
}

TEST_F(ServiceDocumentsTest, PostMustBringAnObject) {
  expectError(client.post("/service/a", "[]"), 422, "unprocessable", "the body must be a JSON object, not an array");
}

TEST_F(ServiceDocumentsTest, OtherMethodsAreRefused) {
  expectError(client.request("PATCH", "/service/a", "{}"), 405, "methodNotAllowed",
              R"(PATCH is not served at "/service/a", but GET, POST, PUT, DELETE)");
  expectError(client.request("DELETE", "/service"), 405, "methodNotAllowed",
              R"(DELETE is not served at "/service", but GET, POST)");
}

}  // namespace
}  // namespace simulator
