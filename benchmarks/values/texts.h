// The keys and texts of the message that the value workloads build, and the content that every library must come to.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace benchmarks {

// Lengths count here: they decide who keeps a text in place and who needs a block for it.
inline constexpr const char* typeText = "com.kelvo.marlovance.Alarm";
inline constexpr const char* channelText = "platform.notifications";
inline constexpr const char* pathText = "/alarm/alarms";
inline constexpr const char* methodText = "POST";
inline constexpr const char* authorizationText = "Basic dGVuYW50L29wZXJhdG9yOm5vdC1hLXNlY3JldC1h";
inline constexpr const char* acceptText = "application/json";
inline constexpr const char* contentTypeText = "application/vnd.com.rdx.marlovance.alarm+json";
inline constexpr long long reqIdNumber = 4711;
inline constexpr const char* sourceIdText = "2504190";
inline constexpr const char* sourceNameText = "Cold room 7 sensor A";
inline constexpr const char* alarmTypeText = "kv_TemperatureAlarm";
inline constexpr double timeNumber = 1600000000.25;
inline constexpr const char* textText = "The cold room is warmer than it should be.";
inline constexpr const char* severityText = "MAJOR";
inline constexpr const char* statusText = "ACTIVE";
inline constexpr long long countNumber = 3;
static_assert(std::char_traits<char>::length(authorizationText) == 46);
static_assert(std::char_traits<char>::length(textText) == 42);

/// The ready-made keys, each as the library under test likes it best.
template <class Key>
struct MessageKeys {
  Key type{"qel.type"}, channel{"qel.channel"}, http{"http"}, path{"path"}, method{"method"}, headers{"headers"},
      authorization{"authorization"}, accept{"accept"}, contentType{"contentType"}, reqId{"reqId"},
      requiresResponse{"requiresResponse"};
  Key source{"source"}, id{"id"}, name{"name"}, alarmType{"type"}, time{"time"}, text{"text"}, severity{"severity"},
      status{"status"}, count{"count"};
  // Absent: four names that never go out, four other names of times, two of the metadata.
  Key notificationType{".kelvo_notificationType"}, sourceName{"source.name"}, sourceValue{"source.value"},
      sourceSelf{"source.self"}, creationTime{"creationTime"}, lastUpdated{"lastUpdated"},
      firstOccurrenceTime{"firstOccurrenceTime"}, deliveryTime{"deliveryTime"}, requestId{"requestId"},
      individualStartTime{"individualStartTime"};
};

/// The texts "sensor.0000.temperature" to "sensor.0999.temperature".
std::vector<std::string> sensorNames();

/// The message as {"metadata":..., "payload":...}.
nlohmann::json expectedMessage();

/// The message as unquoted text; the order of a map's entries is the library's own.
std::string unquotedRendering();

/// Compares the two JSON texts that " / " parts with the message. Throws as expectSame does.
void checkSerialisation(const std::string& what, const std::string& text);

/// The characters in order, for texts whose parts may stand in any order.
std::string sortedCharacters(std::string text);

}  // namespace benchmarks
