#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

constexpr const char* path = "/messaging/sms/outbound/tel:kelvo/requests";

class SmsTest : public PlatformTest {
 protected:
  static std::string smsTo(const std::string& receiver, const std::string& sender = "tel:kelvo") {
    return R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"hello"},"senderAddress":")" + sender +
           R"(","senderName":"Kelvo","address":[")" + receiver + R"("],"receiptRequest":{"notifyURL":"x"}}})";
  }

  std::vector<std::string> receivers(const std::string& sender = {}) {
    std::vector<std::string> found;
    for (const std::string& text : platform.smsOutbox(sender)) {
      found.emplace_back(object(text).at("address").at(0).as_string());
    }
    return found;
  }
};

TEST_F(SmsTest, IsKeptAndAnsweredWithItsDocument) {
  const Received sent = client.post(path, smsTo("tel:+4412345"));
  const boost::json::object expected =
      object(R"({"id":"2504001","creationTime":"1970-01-01T00:00:00.000Z","outboundSMSTextMessage":{"message":"hello"},
          "senderAddress":"tel:kelvo","senderName":"Kelvo","address":["tel:+4412345"],
          "receiptRequest":{"notifyURL":"x"}})");
  EXPECT_EQ(sent.status, 201);
  EXPECT_EQ(sent.contentType, "application/vnd.com.rdx.marlovance.sms+json");
  EXPECT_EQ(sent.json(), expected);
  ASSERT_EQ(platform.smsOutbox().size(), 1u);
  EXPECT_EQ(object(platform.smsOutbox()[0]), expected);
}

TEST_F(SmsTest, OutboxesOfSendersStayApart) {
  client.post(path, smsTo("tel:1"));
  client.post("/messaging/sms/outbound/tel%3A%2B49/requests", smsTo("tel:2", "tel:+49"));
  client.post(path, smsTo("tel:3"));
  EXPECT_EQ(receivers("tel:kelvo"), (std::vector<std::string>{"tel:1", "tel:3"}));
  EXPECT_EQ(receivers("tel:+49"), std::vector<std::string>{"tel:2"});
  EXPECT_EQ(receivers("tel:nobody"), std::vector<std::string>{});
  EXPECT_EQ(receivers(), (std::vector<std::string>{"tel:1", "tel:2", "tel:3"}));
  EXPECT_EQ(platform.counts().at("SMS"), 3);
}

TEST_F(SmsTest, AdminShowsTheOutboxOfASender) {
  client.post(path, smsTo("tel:1"));
  client.post("/messaging/sms/outbound/tel:other/requests", smsTo("tel:2", "tel:other"));
  client.post(path, smsTo("tel:3"));
  client.post(path, smsTo("tel:4"));
  const Received shown = client.get("/admin/outbox/sms?sender=tel:kelvo&after=2504001&limit=1");
  EXPECT_EQ(shown.status, 200);
  EXPECT_EQ(shown.contentType, "application/json");
  ASSERT_EQ(shown.json().at("messages").as_array().size(), 1u);
  EXPECT_EQ(shown.json().at("messages").at(0).as_object(), object(platform.smsOutbox("tel:kelvo").at(1)));
}

TEST_F(SmsTest, EmptySenderNameIsGood) {
  EXPECT_EQ(client
                .post(path, R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"hello"},
                    "senderAddress":"tel:kelvo","senderName":"","address":["tel:1"]}})")
                .status,
            201);
}

struct BadSms {
  const char* name;
  const char* body;
  const char* message;
};

class BadSmsTest : public PlatformTest, public ::testing::WithParamInterface<BadSms> {};

TEST_P(BadSmsTest, IsRefusedByField) {
  expectError(client.post(path, GetParam().body), 422, "unprocessable", GetParam().message);
  EXPECT_TRUE(platform.smsOutbox().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, BadSmsTest,
    ::testing::Values(
        BadSms{"NoRequest", R"({"address":["tel:1"]})", R"("outboundSMSMessageRequest" is missing)"},
        BadSms{"RequestOfAnotherType", R"({"outboundSMSMessageRequest":[]})",
               R"("outboundSMSMessageRequest" must be an object, not an array)"},
        BadSms{"Nothing", R"({"outboundSMSMessageRequest":{}})",
               R"("outboundSMSTextMessage" is missing; "address" is missing; "senderAddress" is missing)"},
        BadSms{"TextOfAnotherType",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":5},"senderAddress":"tel:kelvo",
                  "address":["tel:1"]}})",
               R"("outboundSMSTextMessage.message" must be a text, not a number)"},
        BadSms{"EmptyText",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":""},"senderAddress":"tel:kelvo",
                  "address":["tel:1"]}})",
               R"("outboundSMSTextMessage.message" must not be empty)"},
        BadSms{"TwoReceivers",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"m"},"senderAddress":"tel:kelvo",
                  "address":["tel:1","tel:2"]}})",
               R"("address" must hold one receiver, not 2)"},
        BadSms{"NoReceiver",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"m"},"senderAddress":"tel:kelvo",
                  "address":[]}})",
               R"("address" must not be empty)"},
        BadSms{"ReceiverWithoutScheme",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"m"},"senderAddress":"tel:kelvo",
                  "address":["+4412345"]}})",
               R"("address" must have a scheme, such as tel:+4412345, unlike "+4412345")"},
        BadSms{"ReceiverOfAnotherType",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"m"},"senderAddress":"tel:kelvo",
                  "address":[5]}})",
               R"("address[0]" must be a text, not a number)"},
        BadSms{"ReceiversAsText",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"m"},"senderAddress":"tel:kelvo",
                  "address":"tel:1"}})",
               R"("address" must be an array of texts, not a text)"},
        BadSms{"AnotherSender",
               R"({"outboundSMSMessageRequest":{"outboundSMSTextMessage":{"message":"m"},"senderAddress":"tel:x",
                  "senderName":7,"address":["tel:1"]}})",
               R"("senderAddress" must be the sender in the path, "tel:kelvo", not "tel:x"; )"
               R"("senderName" must be a text, not a number)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SmsTest, OnlyRequestsOfASenderAreServed) {
  for (const char* other :
       {"/messaging/sms/outbound", "/messaging/sms/outbound/tel:kelvo", "/messaging/sms/outbound/tel:kelvo/answers",
        "/messaging/sms/outbound//requests", "/messaging/sms/outbound/tel:kelvo/requests/1"}) {
    expectError(client.post(other, smsTo("tel:1")), 404, "notFound",
                "nothing is served at \"" + std::string(other) + "\"");
  }
  expectError(client.get(path), 405, "methodNotAllowed",
              "GET is not served at \"/messaging/sms/outbound/tel:kelvo/requests\", but POST");
}

}  // namespace
}  // namespace simulator
