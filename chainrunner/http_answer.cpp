#include "chainrunner/http_answer.h"

#include <string_view>
#include <utility>

#include "chainrunner/http_text.h"
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

/// Leaves "application/json" of "application/json; charset=utf-8".
void cutParameters(std::string& contentType) {
  if (const std::size_t end = contentType.find(';'); end != std::string::npos) contentType.resize(end);
  while (!contentType.empty() && (contentType.back() == ' ' || contentType.back() == '\t')) contentType.pop_back();
}

bool isJson(std::string_view mediaType) {
  constexpr std::size_t length = std::string_view("+json").size();
  if (mediaType.size() < length) return false;
  const std::string_view end = mediaType.substr(mediaType.size() - length);
  return (end[0] == '+' || end[0] == '/') && isSameName(end.substr(1), "json");
}

std::string statusText(const HttpAnswer& answer) {
  return std::to_string(answer.status) + (answer.reason.empty() ? "" : " " + answer.reason);
}

Message redirectFailure(AnswerHead head, const HttpAnswer& answer, const std::string& description,
                        const TransportKeys& keys) {
  const std::string place = answer.location.empty() ? "nowhere" : repairedUtf8(answer.location);
  return makeFailureAnswer(std::move(head),
                           {502, "transport/redirect",
                            description + ": the platform answered " + statusText(answer) +
                                " and redirects are not followed (to " + place + ")"},
                           keys);
}

Message bodyFailure(AnswerHead head, const HttpAnswer& answer, const std::string& description,
                    const std::string& reason, const TransportKeys& keys) {
  const auto status = answer.status >= 400 && answer.status < 600 ? answer.status : 502;
  return makeFailureAnswer(std::move(head),
                           {status, "transport/badBody",
                            description + ": the platform answered " + statusText(answer) +
                                " with a body that can't be read as " + answer.contentType + ": " + reason},
                           keys);
}

Message makeMessage(AnswerHead head, std::int64_t status, const char* reason, const char* contentType, data_t payload,
                    const TransportKeys& keys) {
  map_t http;
  http.set(keys.statusCode, status);
  http.set(keys.statusReason, reason);
  map_t metadata;
  metadata.set(keys.requestId, std::move(head.requestId));
  metadata.set(keys.requestSentTime, head.requestSentTime);
  metadata.set(keys.http, std::move(http));
  if (*contentType) metadata.set(keys.contentType, contentType);
  return Message(std::move(payload), std::move(metadata));
}

/// The body as a payload. Throws std::runtime_error with the reason when it can't be one.
data_t readBody(const HttpAnswer& answer, const JsonLimits& limits) {
  if (answer.body.empty() && answer.status == 204) return data_t("");
  if (isJson(answer.contentType)) return readJson(answer.body, limits);
  if (answer.body.find('\0') != std::string::npos) throw std::runtime_error("a text holds the character NUL");
  return data_t(repairedUtf8(answer.body));
}

}  // namespace

Message makeAnswer(AnswerHead head, HttpAnswer answer, const std::string& description, const JsonLimits& limits,
                   const TransportKeys& keys) {
  if (answer.status >= 300 && answer.status < 400) return redirectFailure(std::move(head), answer, description, keys);
  cutParameters(answer.contentType);
  data_t payload;
  try {
    payload = readBody(answer, limits);
  } catch (const std::runtime_error& error) {
    return bodyFailure(std::move(head), answer, description, error.what(), keys);
  }
  return makeMessage(std::move(head), answer.status, repairedUtf8(answer.reason).c_str(), answer.contentType.c_str(),
                     std::move(payload), keys);
}

Message makeFailureAnswer(AnswerHead head, const TransportFailure& failure, const TransportKeys& keys) {
  map_t body;
  body.set(keys.error, failure.error);
  body.set(keys.message, failure.message);
  return makeMessage(std::move(head), failure.status, reasonPhrase(failure.status), errorMediaType,
                     data_t(std::move(body)), keys);
}

std::string answerStatus(const Message& answer, const TransportKeys& keys) {
  const map_t& http = answer.getMetadataMap().at(keys.http).get<map_t>();
  std::string status = std::to_string(http.at(keys.statusCode).get<std::int64_t>());
  if (!answer.getPayload().is(Tag::map)) return status;
  const map_t& body = answer.getPayload().get<map_t>();
  const auto error = body.find(keys.error);
  if (error == body.end() || !error->second.isString()) return status;
  const auto kind = error->second.get<std::string_view>();
  if (kind.starts_with("transport/")) status.append(" ").append(kind);
  return status;
}

}  // namespace chainrunner
