#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

constexpr const char* path = "/messaging/email";

class EmailsTest : public PlatformTest {};

TEST_F(EmailsTest, IsKeptAndAnsweredWithItsDocument) {
  const Received sent = client.post(path, R"({"to":["jim@example.com"],"bcc":["jane@example.com"],"subject":"s",
      "text":"","replyTo":"joe@example.com","id":"own"})");
  const boost::json::object expected =
      object(R"({"id":"2504001","creationTime":"1970-01-01T00:00:00.000Z","to":["jim@example.com"],
          "bcc":["jane@example.com"],"subject":"s","text":"","replyTo":"joe@example.com"})");
  EXPECT_EQ(sent.status, 201);
  EXPECT_EQ(sent.contentType, "application/vnd.com.rdx.marlovance.email+json");
  EXPECT_EQ(sent.json(), expected);
  ASSERT_EQ(platform.emailOutbox().size(), 1u);
  EXPECT_EQ(object(platform.emailOutbox()[0]), expected);
  EXPECT_EQ(platform.counts().at("e-mails"), 1);
}

TEST_F(EmailsTest, AdminShowsTheOutboxInOrder) {
  for (const char* receiver : {"a", "b", "c"}) client.post(path, std::string(R"({"to":[")") + receiver + R"("]})");
  const boost::json::object shown = client.get("/admin/outbox/email?after=2504001").json();
  EXPECT_EQ(shown, object(R"({"messages":[{"id":"2504002","creationTime":"1970-01-01T00:00:00.000Z","to":["b"]},
                             {"id":"2504003","creationTime":"1970-01-01T00:00:00.000Z","to":["c"]}]})"));
}

TEST_F(EmailsTest, EmptyOutboxIsAnEmptyList) {
  EXPECT_EQ(client.get("/admin/outbox/email").json(), object(R"({"messages":[]})"));
}

TEST_F(EmailsTest, AdminRefusesWhatItDoesNotKnow) {
  expectError(client.get("/admin/outbox/email?sender=x"), 422, "unprocessable",
              R"(the query parameter "sender" is not known here; known are after, limit)");
  expectError(client.get("/admin/outbox/sms?to=x"), 422, "unprocessable",
              R"(the query parameter "to" is not known here; known are sender, after, limit)");
  expectError(client.get("/admin/outbox/sms?limit=-1"), 422, "unprocessable",
              R"(the query parameter "limit" must be a whole number, not "-1")");
  EXPECT_EQ(client.get("/admin/outbox/fax").status, 404);
  EXPECT_EQ(client.request("DELETE", "/admin/outbox/sms").headers.at("allow"), "GET");
}

struct BadEmail {
  const char* name;
  const char* body;
  const char* message;
};

class BadEmailTest : public PlatformTest, public ::testing::WithParamInterface<BadEmail> {};

TEST_P(BadEmailTest, IsRefusedByField) {
  expectError(client.post(path, GetParam().body), 422, "unprocessable", GetParam().message);
  EXPECT_TRUE(platform.emailOutbox().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, BadEmailTest,
    ::testing::Values(
        BadEmail{"NoReceiver", R"({"subject":"s"})", R"("to" is missing)"},
        BadEmail{"EmptyList", R"({"to":[]})", R"("to" must not be empty)"},
        BadEmail{"ReceiverOfAnotherType", R"({"to":["a",5,6]})", R"("to[1]" must be a text, not a number)"},
        BadEmail{"EmptyReceiver", R"({"to":[""]})", R"("to[0]" must not be empty)"},
        BadEmail{"BlindCopiesAsText", R"({"to":["a"],"cc":{},"bcc":"b","subject":1,"text":[]})",
                 R"("cc" must be an array of texts, not an object; "bcc" must be an array of texts, not a text; )"
                 R"("subject" must be a text, not a number; "text" must be a text, not an array)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(EmailsTest, OtherPathsAndMethodsAreRefused) {
  expectError(client.get(path), 405, "methodNotAllowed", R"(GET is not served at "/messaging/email", but POST)");
  expectError(client.post("/messaging/email/1", "{}"), 404, "notFound", R"(nothing is served at "/messaging/email/1")");
}

}  // namespace
}  // namespace simulator
