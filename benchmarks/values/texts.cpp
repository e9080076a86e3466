#include "benchmarks/values/texts.h"

#include <algorithm>
#include <cstdio>

#include "benchmarks/harness.h"

namespace benchmarks {

std::vector<std::string> sensorNames() {
  std::vector<std::string> names;
  for (int i = 0; i < 1000; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "sensor.%04d.temperature", i);
    names.emplace_back(name);
  }
  return names;
}

nlohmann::json expectedMessage() {
  return {{"metadata",
           {{"qel.type", typeText},
            {"qel.channel", channelText},
            {"http",
             {{"path", pathText},
              {"method", methodText},
              {"headers", {{"authorization", authorizationText}, {"accept", acceptText}}}}},
            {"contentType", contentTypeText},
            {"reqId", reqIdNumber},
            {"requiresResponse", true}}},
          {"payload",
           {{"source", {{"id", sourceIdText}, {"name", sourceNameText}}},
            {"type", alarmTypeText},
            {"time", timeNumber},
            {"text", textText},
            {"severity", severityText},
            {"status", statusText},
            {"count", countNumber}}}};
}

std::string unquotedRendering() {
  return std::string("{qel.type:") + typeText + ",qel.channel:" + channelText + ",http:{path:" + pathText +
         ",method:" + methodText + ",headers:{authorization:" + authorizationText + ",accept:" + acceptText +
         "}},contentType:" + contentTypeText + ",reqId:4711,requiresResponse:true} / {source:{id:" + sourceIdText +
         ",name:" + sourceNameText + "},type:" + alarmTypeText + ",time:1600000000.25,text:" + textText +
         ",severity:" + severityText + ",status:" + statusText + ",count:3}";
}

void checkSerialisation(const std::string& what, const std::string& text) {
  const std::size_t border = text.find(" / ");
  if (border == std::string::npos) throw std::runtime_error(what + ": no \" / \" in " + text);
  const nlohmann::json content = {{"metadata", nlohmann::json::parse(text.substr(0, border))},
                                  {"payload", nlohmann::json::parse(text.substr(border + 3))}};
  expectSame(what, content.dump(), expectedMessage().dump());
}

std::string sortedCharacters(std::string text) {
  std::sort(text.begin(), text.end());
  return text;
}

}  // namespace benchmarks
