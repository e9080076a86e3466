#include "benchmarks/documents.h"

#include <cstdio>
#include <stdexcept>

namespace benchmarks {

namespace {

/// Puts `filler` in place of the '~' in the text, as long as it takes to come to the size.
std::string padded(std::string text, std::size_t size) {
  const std::size_t place = text.find('~');
  if (place == std::string::npos || text.size() - 1 > size)
    throw std::runtime_error("A document of " + std::to_string(text.size()) + " bytes can't be padded to " +
                             std::to_string(size));
  const std::string filler = "abcdefghijklmnopqrstuvwxyz";
  std::string padding;
  while (padding.size() < size - (text.size() - 1)) padding += filler[padding.size() % filler.size()];
  text.replace(place, 1, padding);
  return text;
}

std::string numbered(const char* format, int number) {
  char text[32];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string timeText(int moment) {
  char text[40];
  std::snprintf(text, sizeof text, "2020-09-13T%02d:%02d:%02d.250Z", moment / 3600 % 24, moment / 60 % 60, moment % 60);
  return text;
}

std::string childReference(int number) {
  const std::string id = std::to_string(2504200 + number);
  return R"({"managedObject":{"id":")" + id + R"(","name":"Sensor )" + std::to_string(number) +
         R"(","self":"https://platform.example/inventory/managedObjects/)" + id + "\"}}";
}

}  // namespace

std::string managedObjectDocument() {
  std::string children;
  for (int i = 1; i <= 5; ++i) children += (i > 1 ? "," : "") + childReference(i);
  return padded(
      R"({"id":"2504190","name":"Cold room 7 \"north\"","type":"kv_ColdRoom","owner":"device_coldroom7",)"
      R"("self":"https://platform.example/inventory/managedObjects/2504190",)"
      R"("creationTime":"2020-09-13T12:26:40.250Z","lastUpdated":"2020-09-13T12:27:41.125Z",)"
      R"("q4v_IsDevice":{},"q4v_Position":{"lat":52.0621,"lng":13.4971,"alt":41.5},)"
      R"("q4v_SupportedMeasurements":["kv_Temperature","kv_Humidity","kv_Pressure"],)"
      R"("q4v_SupportedOperations":["q4v_Restart","q4v_Configuration","q4v_Firmware"],)"
      R"("q4v_Hardware":{"model":"CR-7","revision":"3.1","serialNumber":"00 07 1f 88"},"count":7,"isActive":true,)"
      R"("assetParents":{"references":[],"self":"https://platform.example/inventory/managedObjects/2504190/assetParents"},)"
      R"("childDevices":{"references":[)" +
          children +
          R"(],"self":"https://platform.example/inventory/managedObjects/2504190/childDevices"},)"
          R"("notes":"~"})",
      managedObjectSize);
}

std::string measurementDocument(int number, int moment) {
  const std::string id = numbered("%08d", 90000000 + number);
  return padded(R"({"id":")" + id + R"(","time":")" + timeText(moment < 0 ? number : moment) +
                    R"(","type":"kv_Climate","self":"https://platform.example/measurement/measurements/)" + id +
                    R"(","source":{"id":"2504190","self":"https://platform.example/inventory/~"},)"
                    R"("kv_Climate":{"T":{"value":4.)" +
                    numbered("%02d", number % 90 + 10) + R"(,"unit":"C"}}})",
                measurementDocumentSize);
}

std::string measurementPage(int count) {
  std::string page = "[";
  for (int i = 0; i < count; ++i) page += (i > 0 ? "," : "") + measurementDocument(i);
  return page + "]";
}

std::string measurementBody(int count) {
  std::string body = R"({"measurements":[)";
  for (int i = 0; i < count; ++i)
    body += (i > 0 ? "," : "") + padded(R"({"source":{"id":"2504190"},"time":")" + timeText(i) +
                                            R"(","type":"~","kv_Climate":{"T":{"value":4.)" +
                                            numbered("%02d", i % 90 + 10) + R"(,"unit":"C"}}})",
                                        bodyMeasurementSize);
  return body + "]}";
}

}  // namespace benchmarks
