#include "chainrunner/http_answer.h"

#include <algorithm>
#include <utility>

#include "chainrunner/utf8.h"

namespace chainrunner {

namespace {

constexpr const char* errorMediaType = "application/vnd.com.rdx.marlovance.error+json";

const char* reasonPhrase(std::int64_t status) {
  switch (status) {
    case 400:
      return "Bad Request";
    case 503:
      return "Service Unavailable";
    case 504:
      return "Gateway Timeout";
    default:
      return "Bad Gateway";
  }
}

/// "application/json" of "application/json; charset=utf-8".
std::string withoutParameters(const std::string& contentType) {
  std::string type = contentType.substr(0, contentType.find(';'));
  while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) type.pop_back();
  return type;
}

bool isJson(std::string mediaType) {
  std::transform(mediaType.begin(), mediaType.end(), mediaType.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return mediaType.ends_with("+json") || mediaType.ends_with("/json");
}

Message makeMessage(AnswerHead head, std::int64_t status, const std::string& reason, const std::string& contentType,
                    data_t payload) {
  map_t http;
  http[data_t("statusCode")] = status;
  http[data_t("statusReason")] = reason;
  map_t metadata;
  metadata[data_t("requestId")] = std::move(head.requestId);
  metadata[data_t("requestSentTime")] = head.requestSentTime;
  metadata[data_t("http")] = std::move(http);
  if (!contentType.empty()) metadata[data_t("contentType")] = contentType;
  return Message(std::move(payload), std::move(metadata));
}

/// The body as a payload. Throws std::runtime_error with the reason when it can't be one.
data_t readBody(const HttpAnswer& answer, const std::string& mediaType, const JsonLimits& limits) {
  if (answer.body.empty() && answer.status == 204) return data_t("");
  if (isJson(mediaType)) return readJson(answer.body, limits);
  if (answer.body.find('\0') != std::string::npos) throw std::runtime_error("a text holds the character NUL");
  return data_t(repairedUtf8(answer.body));
}

}  // namespace

Message makeAnswer(AnswerHead head, HttpAnswer answer, const std::string& description, const JsonLimits& limits) {
  const std::string statusText = std::to_string(answer.status) + (answer.reason.empty() ? "" : " " + answer.reason);
  if (answer.status >= 300 && answer.status < 400)
    return makeFailureAnswer(
        std::move(head),
        {502, "transport/redirect",
         description + ": the platform answered " + statusText + " and redirects are not followed (to " +
             (answer.location.empty() ? "nowhere" : repairedUtf8(answer.location)) + ")"});
  const std::string mediaType = withoutParameters(answer.contentType);
  data_t payload;
  try {
    payload = readBody(answer, mediaType, limits);
  } catch (const std::runtime_error& error) {
    const auto status = answer.status >= 400 && answer.status < 600 ? answer.status : 502;
    return makeFailureAnswer(std::move(head),
                             {status, "transport/badBody",
                              description + ": the platform answered " + statusText +
                                  " with a body that can't be read as " + mediaType + ": " + error.what()});
  }
  return makeMessage(std::move(head), answer.status, repairedUtf8(answer.reason), mediaType, std::move(payload));
}

Message makeFailureAnswer(AnswerHead head, const TransportFailure& failure) {
  map_t body;
  body[data_t("error")] = failure.error;
  body[data_t("message")] = failure.message;
  return makeMessage(std::move(head), failure.status, reasonPhrase(failure.status), errorMediaType,
                     data_t(std::move(body)));
}

std::string answerStatus(const Message& answer) {
  const map_t& http = answer.getMetadataMap().at(data_t("http")).get<map_t>();
  std::string status = std::to_string(http.at(data_t("statusCode")).get<std::int64_t>());
  if (!answer.getPayload().is(Tag::map)) return status;
  const map_t& body = answer.getPayload().get<map_t>();
  const auto error = body.find(data_t("error"));
  if (error == body.end() || !error->second.isString()) return status;
  const std::string kind = error->second.get<std::string>();
  return kind.starts_with("transport/") ? status + " " + kind : status;
}

}  // namespace chainrunner
