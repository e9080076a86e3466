#include "simulator/errors.h"

#include "simulator/documents.h"
#include "simulator/json_text.h"

namespace simulator {

namespace {

constexpr std::size_t longestQuote = 80;

std::string_view wordFor(int status) {
  switch (status) {
    case 400:
      return "badRequest";
    case 401:
      return "unauthorized";
    case 404:
      return "notFound";
    case 405:
      return "methodNotAllowed";
    case 413:
      return "payloadTooLarge";
    case 415:
      return "unsupportedMediaType";
    case 422:
      return "unprocessable";
    case 429:
      return "tooManyRequests";
    case 431:
      return "headersTooLarge";
    case 503:
      return "serviceUnavailable";
    case 507:
      return "insufficientStorage";
    default:
      return status < 500 ? "badRequest" : "internalError";
  }
}

}  // namespace

Answer errorAnswer(int status, std::string_view message) {
  Answer answer;
  answer.status = status;
  answer.contentType = mediaType("error");
  answer.body = "{\"error\":";
  appendJsonString(answer.body, wordFor(status));
  answer.body += ",\"message\":";
  appendJsonString(answer.body, message);
  answer.body += '}';
  return answer;
}

Answer errorAnswer(const RequestError& refusal) {
  Answer answer = errorAnswer(refusal.status, refusal.what());
  answer.headers = refusal.headers;
  return answer;
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  out += text.substr(0, longestQuote);
  return out += text.size() > longestQuote ? "...\"" : "\"";
}

}  // namespace simulator
