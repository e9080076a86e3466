#include "benchmarks/codec/inputs.h"

#include <cstdio>

#include "benchmarks/documents.h"

namespace benchmarks {

namespace {

constexpr int firstSecond = 1600000000;  // 2020-09-13T12:26:40Z

/// The text of a moment of some day; no two of 86,400 numbers give the same.
std::string timeText(int number, const char* fraction) {
  char text[40];
  std::snprintf(text, sizeof text, "2020-09-14T%02d:%02d:%02d.%sZ", number / 3600 % 24, number / 60 % 60, number % 60,
                fraction);
  return text;
}

std::string responseMetadata(std::int64_t requestId, int status, const char* reason, const std::string& mediaType) {
  return R"({"http":{"statusCode":)" + std::to_string(status) + R"(,"statusReason":")" + reason +
         R"("},"contentType":"application/vnd.com.rdx.marlovance.)" + mediaType + R"(+json","requestId":)" +
         std::to_string(requestId) + R"(,"requestSentTime":1.5})";
}

}  // namespace

MessageText alarmEvent(int number) {
  return {R"({"qel.type":"com.kelvo.marlovance.Alarm","qel.channel":"platform.notifications",)"
          R"("http":{"path":"/alarm/alarms","method":"POST","headers":{"accept":"application/json"}},)"
          R"("contentType":"application/vnd.com.rdx.marlovance.alarm+json","reqId":)" +
              std::to_string(number) + R"(,"requiresResponse":true})",
          R"({"source":{"id":"2504190","name":"Cold room 7 sensor A"},"type":"kv_TemperatureAlarm","time":)" +
              std::to_string(firstSecond + number) +
              R"(.25,"text":"The cold room is warmer than it should be.","severity":"MAJOR","status":"ACTIVE",)"
              R"("count":3})"};
}

MessageText alarmResponse(std::int64_t requestId, int number) {
  const std::string id = std::to_string(10000000 + number);
  std::string document =
      R"({"id":")" + id + R"(","self":"https://platform.example/alarm/alarms/)" + id +
      R"(","source":{"id":"2504190","name":"Cold room 7 sensor A","self":)"
      R"("https://platform.example/inventory/managedObjects/2504190"},"type":"kv_TemperatureAlarm","time":")" +
      timeText(number, "250") + R"(","creationTime":")" + timeText(number, "875") +
      R"(","text":"The cold room is warmer than it should be.","severity":"MAJOR","status":"ACTIVE","count":3,)"
      R"("history":{"auditRecords":[]},"note":")";
  document += std::string(alarmDocumentSize - document.size() - 2, 'x') + "\"}";
  return {responseMetadata(requestId, 201, "Created", "alarm"), document};
}

MessageText measurementEvent(int number) {
  return {R"({"qel.type":"com.kelvo.marlovance.Measurement","qel.channel":"platform.notifications",)"
          R"("http":{"path":"/measurement/measurements","method":"POST"},)"
          R"("contentType":"application/vnd.com.rdx.marlovance.measurement+json"})",
          R"({"source":{"id":"2504190"},"type":"kv_Climate","time":)" + std::to_string(firstSecond + number) +
              R"(.25,"measurements":{"kv_Climate":{"T":{"value":4.)" + std::to_string(number % 90 + 10) +
              R"(,"unit":"C"}}}})"};
}

MessageText collectionResponse(std::int64_t requestId) {
  return {responseMetadata(requestId, 201, "Created", "measurementcollection"), "{}"};
}

MessageText findEvent(int reqId, const Walk& walk) {
  return {R"({"qel.type":"com.kelvo.marlovance.FindMeasurement","qel.channel":"platform.queries",)"
          R"("http":{"path":"/measurement/measurements","method":"GET","queryString":{"source":"2504190",)"
          R"("pageSize":")" +
              std::to_string(walk.pageSize) + R"("}},"reqId":)" + std::to_string(reqId) + "}",
          R"({})"};
}

MessageText findResponse(std::int64_t requestId, int page, const Walk& walk) {
  std::string elements;
  for (int i = 0; i < walk.pageSize; ++i)
    elements += (i > 0 ? "," : "") + measurementDocument(page * walk.pageSize + i, walk.isSteady ? page : -1);
  return {responseMetadata(requestId, 200, "OK", "measurementcollection"),
          R"({"self":"https://platform.example/measurement/measurements","statistics":{"currentPage":)" +
              std::to_string(page) + R"(,"pageSize":)" + std::to_string(walk.pageSize) + R"(,"totalPages":)" +
              std::to_string(walk.pages) + R"(},"measurements":[)" + elements + "]}"};
}

}  // namespace benchmarks
