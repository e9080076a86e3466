#include "chainrunner/http_answer.h"

#include <gtest/gtest.h>

#include "chainrunner/json_writer.h"

namespace chainrunner {
namespace {

/// {"metadata": ..., "payload": ...} of the answer's message.
std::string textOf(Message message) {
  map_t both;
  both[data_t("metadata")] = std::move(message.getMetadataMap());
  both[data_t("payload")] = std::move(message.getPayload());
  return toJson(data_t(std::move(both)));
}

std::string answered(HttpAnswer answer) {
  return textOf(makeAnswer({data_t(std::int64_t{7}), 1.5}, std::move(answer), "GET /a", JsonLimits(), TransportKeys()));
}

std::string sorted(const char* json) {
  return toJson(readJson(json));
}

TEST(HttpAnswerTest, GivesAJsonBodyAsAValue) {
  EXPECT_EQ(answered({200, "OK", "application/vnd.x+json; charset=utf-8", "", R"({"a": [1, 2.0]})"}),
            sorted(R"({"metadata": {"requestId": 7, "requestSentTime": 1.5, "contentType": "application/vnd.x+json",
                                    "http": {"statusCode": 200, "statusReason": "OK"}}, "payload": {"a": [1, 2.0]}})"));
}

TEST(HttpAnswerTest, GivesAnyOtherBodyAsText) {
  EXPECT_EQ(answered({500, "", "text/plain", "", "it's broken"}),
            sorted(R"({"metadata": {"requestId": 7, "requestSentTime": 1.5, "contentType": "text/plain",
                                    "http": {"statusCode": 500, "statusReason": ""}}, "payload": "it's broken"})"));
}

TEST(HttpAnswerTest, LeavesOutAContentTypeThatWasNotSent) {
  EXPECT_EQ(answered({204, "No Content", "", "", ""}), sorted(R"({"metadata": {"requestId": 7, "requestSentTime": 1.5,
                                    "http": {"statusCode": 204, "statusReason": "No Content"}}, "payload": ""})"));
}

TEST(HttpAnswerTest, RepairsTextThatIsNotUtf8) {
  EXPECT_EQ(answered({200, "OK", "text/plain", "", "caf\xe9"}),
            sorted(R"({"metadata": {"requestId": 7, "requestSentTime": 1.5, "contentType": "text/plain",
                                    "http": {"statusCode": 200, "statusReason": "OK"}}, "payload": "caf\ufffd"})"));
}

/// What a failure answer looks like.
std::string failure(const char* status, const char* reason, const char* error, const char* message) {
  return sorted((std::string(R"({"metadata": {"requestId": 7, "requestSentTime": 1.5,
                              "contentType": "application/vnd.com.rdx.marlovance.error+json",
                              "http": {"statusCode": )") +
                 status + R"(, "statusReason": ")" + reason + R"("}}, "payload": {"error": ")" + error +
                 R"(", "message": ")" + message + R"("}})")
                    .c_str());
}

TEST(HttpAnswerTest, TurnsBrokenJsonIntoAFailure) {
  EXPECT_EQ(answered({200, "OK", "application/json", "", "{\"a\":"}),
            failure("502", "Bad Gateway", "transport/badBody",
                    "GET /a: the platform answered 200 OK with a body that can't be read as application/json: the text "
                    "ends too early"));
}

TEST(HttpAnswerTest, KeepsAnErrorStatusInThatFailure) {
  EXPECT_EQ(answered({404, "Not Found", "application/json", "", "<html>"}),
            failure("404", "Bad Gateway", "transport/badBody",
                    "GET /a: the platform answered 404 Not Found with a body that can't be read as application/json: "
                    "syntax error: a value is expected"));
}

TEST(HttpAnswerTest, TurnsARedirectIntoAFailure) {
  EXPECT_EQ(answered({302, "Found", "", "http://elsewhere/", ""}),
            failure("502", "Bad Gateway", "transport/redirect",
                    "GET /a: the platform answered 302 Found and redirects are not followed (to http://elsewhere/)"));
}

TEST(HttpAnswerTest, TurnsATextWithNulIntoAFailure) {
  EXPECT_EQ(answered({200, "OK", "text/plain", "", std::string("a\0b", 3)}),
            failure("502", "Bad Gateway", "transport/badBody",
                    "GET /a: the platform answered 200 OK with a body that can't be read as text/plain: a text holds "
                    "the character NUL"));
}

TEST(HttpAnswerTest, NamesTheReasonOfEachFailureStatus) {
  const auto reasonOf = [](std::int64_t status) {
    const Message message =
        makeFailureAnswer({data_t(std::int64_t{1}), 0}, {status, "transport/x", "m"}, TransportKeys());
    return message.getMetadataMap().at(data_t("http")).get<map_t>().at(data_t("statusReason")).get<std::string>();
  };
  EXPECT_EQ(reasonOf(400), "Bad Request");
  EXPECT_EQ(reasonOf(502), "Bad Gateway");
  EXPECT_EQ(reasonOf(503), "Service Unavailable");
  EXPECT_EQ(reasonOf(504), "Gateway Timeout");
}

TEST(HttpAnswerTest, IsCountedByStatusAndFailure) {
  const TransportKeys keys;
  EXPECT_EQ(answerStatus(makeFailureAnswer({data_t(std::int64_t{1}), 0}, {504, "transport/timeout", "m"}, keys), keys),
            "504 transport/timeout");
  EXPECT_EQ(answerStatus(makeAnswer({data_t(std::int64_t{1}), 0},
                                    {422, "", "a/json", "", R"({"error": "unprocessable"})"}, "", JsonLimits(), keys),
                         keys),
            "422");
}

}  // namespace
}  // namespace chainrunner
