#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

constexpr const char* path = "/measurement/measurements";

class MeasurementsTest : public PlatformTest {
 protected:
  static std::string measurementOf(const std::string& source, const std::string& temperature = "21.5") {
    return R"({"source":{"id":")" + source + R"("},"type":"reading","time":"2024-05-01T12:00:00.000Z",)" +
           R"("c_Temperature":{"T":{"value":)" + temperature + R"(,"unit":"C"}}})";
  }

  Received postAs(const std::string& name, const std::string& body) {
    return client.request("POST", path, body,
                          {{"Content-Type", "application/vnd.com.rdx.marlovance." + name + "+json"}});
  }

  /// The ids that a query finds, each with a blank behind it.
  std::string found(const std::string& query) {
    std::string ids;
    const boost::json::object page = client.get(std::string(path) + "?pageSize=100&" + query).json();
    for (const auto& each : page.at("measurements").as_array()) ids.append(each.at("id").as_string()).append(" ");
    return ids;
  }

  /// Posts a collection of these elements, joined by commas.
  Received postMany(const std::string& elements) {
    return postAs("measurementcollection", R"({"measurements":[)" + elements + "]}");
  }
};

TEST_F(MeasurementsTest, CreateAnswersWithTheWholeDocument) {
  const Received created = postAs("measurement", measurementOf(device()));
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/vnd.com.rdx.marlovance.measurement+json");
  EXPECT_EQ(created.headers.at("location"), platform.url() + "/measurement/measurements/2504002");
  boost::json::object expected = object(R"({"id":"2504002","source":{"id":"2504001"},"type":"reading",
      "time":"2024-05-01T12:00:00.000Z","c_Temperature":{"T":{"value":21.5,"unit":"C"}},
      "creationTime":"1970-01-01T00:00:00.000Z","lastUpdated":"1970-01-01T00:00:00.000Z"})");
  expected["self"] = platform.url() + "/measurement/measurements/2504002";
  EXPECT_EQ(created.json(), expected);
  EXPECT_EQ(client.get("/measurement/measurements/2504002").json(), expected);
}

TEST_F(MeasurementsTest, CollectionAnswersWithItsIdsInOrder) {
  const std::string source = device();
  const Received created = postMany(measurementOf(source, "1.5") + "," + measurementOf(source, "2.5"));
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/vnd.com.rdx.marlovance.measurementcollection+json");
  EXPECT_EQ(created.json(), object(R"({"measurements":[{"id":"2504002"},{"id":"2504003"}]})"));
  const auto valueOf = [&](const char* id) {
    return client.get(std::string(path) + "/" + id).json().at("c_Temperature").at("T").at("value");
  };
  EXPECT_EQ(valueOf("2504002"), 1.5);
  EXPECT_EQ(valueOf("2504003"), 2.5);
}

TEST_F(MeasurementsTest, EmptyCollectionIsGood) {
  const Received created = postMany("");
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.json(), object(R"({"measurements":[]})"));
}

TEST_F(MeasurementsTest, PlainJsonWithAListIsACollection) {
  const Received created = client.post(path, R"({"measurements":[)" + measurementOf(device()) + "]}");
  EXPECT_EQ(created.json(), object(R"({"measurements":[{"id":"2504002"}]})"));
}

TEST_F(MeasurementsTest, PlainJsonWithoutAListIsOneMeasurement) {
  std::string body = measurementOf(device());
  body.insert(1, R"("measurements":{"T":{"value":1}},)");
  const Received created = client.post(path, body);
  EXPECT_EQ(created.json().at("measurements"), boost::json::parse(R"({"T":{"value":1}})"));
}

TEST_F(MeasurementsTest, MediaTypeOfOneMeasurementNeverMakesACollection) {
  std::string body = measurementOf(device());
  body.insert(1, R"("measurements":[1,2],)");
  EXPECT_EQ(postAs("measurement", body).json().at("measurements"), boost::json::parse("[1,2]"));
}

TEST_F(MeasurementsTest, BadElementIsNamedByItsIndexAndLeavesNothing) {
  const std::string source = device();
  expectError(postMany(measurementOf(source) + R"(,{"source":{"id":"9"},"time":"noon"},)" + measurementOf(source)), 422,
              "unprocessable",
              R"("measurements[1]": "source.id" names no managed object: "9"; "type" is missing; "time" must be an )"
              R"(ISO 8601 timestamp with an offset or Z, such as 2024-05-01T12:00:00.000+02:00, not "noon")");
  EXPECT_EQ(platform.counts().at("measurements"), 0);
  EXPECT_EQ(postAs("measurement", measurementOf(source)).id(), "2504002");
}

TEST_F(MeasurementsTest, ElementThatIsNoObjectIsNamedByItsIndex) {
  expectError(postMany(measurementOf(device()) + ",[]"), 422, "unprocessable",
              R"("measurements[1]" must be an object, not an array)");
}

TEST_F(MeasurementsTest, CollectionWithoutItsListIsRefused) {
  expectError(postAs("measurementcollection", "{}"), 422, "unprocessable", R"("measurements" is missing)");
}

TEST_F(MeasurementsTest, CollectionWithAnotherListIsRefused) {
  expectError(postAs("measurementcollection", R"({"measurements":{}})"), 422, "unprocessable",
              R"("measurements" must be an array, not an object)");
}

TEST_F(MeasurementsTest, TellsAllRequiredFieldsAtOnce) {
  expectError(client.post(path, "{}"), 422, "unprocessable",
              R"("source" is missing; "type" is missing; "time" is missing)");
}

TEST_F(MeasurementsTest, OtherMediaTypesAreRefused) {
  expectError(postAs("alarm", "{}"), 415, "unsupportedMediaType",
              "the content type is \"application/vnd.com.rdx.marlovance.alarm+json\", where application/json or "
              "application/vnd.com.rdx.marlovance.measurement+json is expected");
}

TEST_F(MeasurementsTest, ThousandsOfSeriesComeBackAsTheyWere) {
  std::string fragment = "{";
  for (int series = 0; series < 10'000; ++series) {
    fragment +=
        (series == 0 ? "\"s" : ",\"s") + std::to_string(series) + "\":{\"value\":" + std::to_string(series) + "}";
  }
  fragment += "}";
  std::string body = measurementOf(device());
  body.insert(1, "\"c_Wide\":" + fragment + ",");
  const std::string id = client.post(path, body).id();
  EXPECT_EQ(client.get(std::string(path) + "/" + id).json().at("c_Wide"), boost::json::parse(fragment));
}

TEST_F(MeasurementsTest, QueriesFindByFragmentAndSeries) {
  const std::string source = device();
  const auto with = [&](const std::string& fragments) {
    return R"({"source":{"id":")" + source + R"("},"type":"reading","time":"2024-05-01T12:00:00Z",)" + fragments + "}";
  };
  postMany(with(R"("c_T":{"T":{"value":1}})") + "," + with(R"("c_T":{"U":{"value":1}})") + "," +
           with(R"("c_V":{"T":{"value":1}})") + "," + with(R"("c.T":{"T":{"value":1}})") + "," +
           with(R"("c_W":{"W":{"value":1}},"c_X":{"X":{"value":1}})"));
  EXPECT_EQ(found("valueFragmentType=c_T"), "2504002 2504003 ");
  EXPECT_EQ(found("valueFragmentType=c_T&valueFragmentSeries=T"), "2504002 ");
  EXPECT_EQ(found("valueFragmentSeries=T&valueFragmentType=c_V"), "2504004 ");
  EXPECT_EQ(found("valueFragmentType=c.T&valueFragmentSeries=T"), "2504005 ");
  EXPECT_EQ(found("valueFragmentType=c_W&valueFragmentSeries=X"), "");
  EXPECT_EQ(found("valueFragmentSeries=X"), "2504006 ");
}

TEST_F(MeasurementsTest, QueriesFindBySourceTypeAndTime) {
  const std::string source = device();
  const std::string other = device();
  const auto at = [](const std::string& from, const std::string& type, const std::string& time) {
    return R"({"source":{"id":")" + from + R"("},"type":")" + type + R"(","time":")" + time + R"("})";
  };
  postMany(at(source, "a", "2024-05-01T12:00:00Z") + "," + at(source, "b", "2024-05-01T14:30:00+02:00") + "," +
           at(other, "a", "2024-05-01T13:00:00Z"));
  EXPECT_EQ(found("source=" + source), "2504003 2504004 ");
  EXPECT_EQ(found("type=a"), "2504003 2504005 ");
  EXPECT_EQ(found("dateFrom=2024-05-01T12:30:00Z"), "2504004 2504005 ");
  EXPECT_EQ(found("dateTo=2024-05-01T12:30:00Z"), "2504003 ");
  EXPECT_EQ(found("source=" + source + "&type=a&dateFrom=2024-05-01T12:30:00Z"), "");
}

TEST_F(MeasurementsTest, QueriesTellHowManyPagesThereAre) {
  const std::string source = device();
  postMany(measurementOf(source) + "," + measurementOf(source) + "," + measurementOf(source));
  const boost::json::object page =
      client.get(std::string(path) + "?pageSize=2&currentPage=2&withTotalPages=true").json();
  EXPECT_EQ(page.at("measurements").as_array().size(), 1u);
  EXPECT_EQ(page.at("measurements").at(0).at("id"), "2504004");
  EXPECT_EQ(page.at("statistics"), boost::json::parse(R"({"currentPage":2,"pageSize":2,"totalPages":2})"));
}

TEST_F(MeasurementsTest, UpdateCannotMoveAMeasurement) {
  const std::string id = client.post(path, measurementOf(device())).id();
  const std::string document = std::string(path) + "/" + id;
  EXPECT_EQ(client.put(document, R"({"note":"checked"})").json().at("note"), "checked");
  expectError(client.put(document, R"({"time":"2024-05-02T12:00:00Z"})"), 422, "unprocessable",
              R"("time" is fixed at creation, an update can't change it)");
}

TEST_F(MeasurementsTest, DeleteLeavesTheOthers) {
  const std::string source = device();
  postMany(measurementOf(source) + "," + measurementOf(source));
  const Received answer = client.request("DELETE", "/measurement/measurements/2504002");
  EXPECT_EQ(answer.status, 204);
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(platform.counts().at("measurements"), 1);
  expectError(client.request("DELETE", "/measurement/measurements/2504002"), 404, "notFound",
              R"(there is no measurement with the id "2504002")");
}

}  // namespace
}  // namespace simulator
