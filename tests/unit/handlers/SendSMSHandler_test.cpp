#include <stdexcept>

#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class SmsTest : public HandlerFixture {
 protected:
  SmsTest() { use("SendSMS"); }

  MessageBuilder sms(std::string_view payload) const { return event("/sms/outbound").method("POST").payload(payload); }

  /// One SMS to receivers "1" to "COUNT".
  MessageBuilder smsTo(int count) const {
    std::string list;
    for (int number = 1; number <= count; ++number)
      list += (list.empty() ? "" : ", ") + tests::quoted(std::to_string(number));
    return sms(R"({"message": "hello", "address": [)" + list + "]}");
  }

  static MessageBuilder delivered(std::int64_t requestId) {
    return response(requestId).status(201).contentType("application/json").payload("{}");
  }

  std::string refusalOf(const MessageBuilder& event) {
    const std::string text = thrownBy([&] { send(event); });
    EXPECT_EQ(parts->transport.takeAll().size(), 0u);
    return text;
  }

  /// From now on the transport fails at the hand-over of its message of this number, counted from 1.
  void failAt(int number) {
    parts->transport.onMessage = [left = number](const Received&) mutable {
      if (--left == 0) throw std::runtime_error("no line");
    };
  }
};

// ---------------------------------------------------------------------------------------- requests

TEST_F(SmsTest, GoesToEachReceiverByItself) {
  configure(R"({"appKey": "k", "smsSenderAddress": "123", "smsSenderName": "me"})");
  send(sms(R"({"address": ["1", "sip:2"], "message": "hello", "own": [1]})").header("h", "1").reqId(7));
  const auto expected = [](int requestId, const char* receiver) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.SendSMS", "reqId": 7, "requestId": )" +
                std::to_string(requestId) + R"(,
                                 "http": {"method": "POST", "path": "/sms/outbound/tel:123/requests",
                                          "headers": {"h": "1", "X-Marlovance-Application-Key": "k",
                                                      "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                 "metrics": )" +
                std::string(firstStamp) + R"(},
                    "payload": {"outboundSMSMessageRequest": {
                        "outboundSMSTextMessage": {"message": "hello"}, "senderAddress": "tel:123",
                        "senderName": "me", "own": [1], "address": [)" +
                tests::quoted(receiver) + "]}}}");
  };
  EXPECT_EQ(jsons(parts->transport.takeAll()), (Texts{expected(0, "tel:1"), expected(1, "sip:2")}));
}

// A receiver's request is made only when those before it are on their way.
TEST_F(SmsTest, GoesToOneReceiverAfterTheOther) {
  forgetLogs();
  send(smsTo(2));
  Texts heads;
  for (const std::string& line : takeLogs(debugLevel)) heads.push_back(line.substr(0, line.find(": {")));
  EXPECT_EQ(heads, (Texts{"X-Marlovance-Application-Key is empty so removing it from headers", "Formatted message",
                          "X-Marlovance-Application-Key is empty so removing it from headers", "Formatted message"}));
}

struct Address {
  const char* name;
  const char* address;
  const char* normal;
};

void PrintTo(const Address& address, std::ostream* out) {
  *out << address.address;
}

class SmsAddressTest : public SmsTest, public testing::WithParamInterface<Address> {};

TEST_P(SmsAddressTest, IsRenderedAndThenNormalised) {
  const std::string address = GetParam().address;
  send(sms(R"({"message": "hello", "address": [)" + address + R"(], "senderAddress": )" + address + "}"));
  const Received request = takeRequest();
  const auto& body = request.document.at("payload").at("outboundSMSMessageRequest");
  EXPECT_EQ(textOf(body.at("address")), "[" + tests::quoted(GetParam().normal) + "]");
  EXPECT_EQ(textOf(body.at("senderAddress")), tests::quoted(GetParam().normal));
  EXPECT_EQ(request.http("path"), tests::quoted("/sms/outbound/" + std::string(GetParam().normal) + "/requests"));
}

INSTANTIATE_TEST_SUITE_P(
    Values, SmsAddressTest,
    testing::Values(Address{"Number", "12345", "tel:12345"}, Address{"Text", R"("+49 1")", "tel:+49 1"},
                    Address{"WithAScheme", R"("sip:a@b")", "sip:a@b"}, Address{"ColonAnywhere", R"("a:")", "a:"},
                    Address{"EmptyText", R"("")", "tel:"}, Address{"Borrowed", R"({"$borrowed": "5"})", "tel:5"},
                    Address{"Boolean", "false", "tel:false"}, Address{"Float", "2.5", "tel:2.5"},
                    Address{"Empty", "null", "tel:(null)"}, Address{"List", R"(["1", 2])", "tel:[1,2]"},
                    Address{"Map", R"({"a": 1})", "{a:1}"}, Address{"EmptyMap", "{}", "tel:{}"},
                    Address{"Buffer", R"({"$buffer": "0aff"})", "tel:[0x0A,0xFF]"},
                    Address{"Custom", R"({"$custom": 7})", "tel:(custom)"},
                    Address{"Decimal", R"({"$decimal": 12})", "dec:c"},
                    Address{"NotANumber", R"({"$double": "nan"})", "tel:nan"}),
    NameOfCase());

struct Sender {
  const char* name;
  const char* payload;
  const char* address;
  const char* senderName;
};

void PrintTo(const Sender& sender, std::ostream* out) {
  *out << sender.payload;
}

class SmsSenderTest : public SmsTest, public testing::WithParamInterface<Sender> {};

TEST_P(SmsSenderTest, IsThatOfTheEventOrTheConfiguredOne) {
  configure(R"({"smsSenderAddress": "conf", "smsSenderName": "Conf"})");
  boost::json::object whole{{"message", "hello"}, {"address", {"1"}}};
  const boost::json::value more = parseJson(GetParam().payload);
  for (const auto& entry : more.as_object()) whole[entry.key()] = entry.value();
  send(sms(textOf(whole)));
  const Received request = takeRequest();
  const auto& body = request.document.at("payload").at("outboundSMSMessageRequest");
  EXPECT_EQ(textOf(body.at("senderAddress")), tests::quoted(GetParam().address));
  EXPECT_EQ(textOf(body.at("senderName")), GetParam().senderName);
}

INSTANTIATE_TEST_SUITE_P(Events, SmsSenderTest,
                         testing::Values(Sender{"Neither", "{}", "tel:conf", R"("Conf")"},
                                         Sender{"Address", R"({"senderAddress": "77"})", "tel:77", R"("Conf")"},
                                         Sender{"EmptyAddress", R"({"senderAddress": ""})", "tel:", R"("Conf")"},
                                         Sender{"Name", R"({"senderName": "Own"})", "tel:conf", R"("Own")"},
                                         Sender{"EmptyName", R"({"senderName": ""})", "tel:conf", R"("")"},
                                         Sender{"NameOfAnotherType", R"({"senderName": 5})", "tel:conf", "5"}),
                         NameOfCase());

TEST_F(SmsTest, KeepsATextPartThatItBrings) {
  send(sms(R"({"message": "hello", "address": ["1"], "outboundSMSTextMessage": {"own": 1}})"));
  EXPECT_EQ(textOf(takeRequest().document.at("payload").at("outboundSMSMessageRequest").at("outboundSMSTextMessage")),
            json(R"({"own": 1})"));
}

TEST_F(SmsTest, TakesATextThatIsNoTextAsItIs) {
  for (const char* text : {"5", "null", "[1]", R"({"$borrowed": ""})"}) {
    send(sms(R"({"address": ["1"], "message": )" + std::string(text) + "}"));
    EXPECT_EQ(textOf(takeRequest().document.at("payload").at("outboundSMSMessageRequest").at("outboundSMSTextMessage")),
              json(R"({"message": )" + std::string(text) + "}"));
  }
}

// ---------------------------------------------------------------------------------------- refusals

struct BadSms {
  const char* name;
  const char* payload;
  const char* text;
};

void PrintTo(const BadSms& each, std::ostream* out) {
  *out << each.payload;
}

class BadSmsTest : public SmsTest, public testing::WithParamInterface<BadSms> {};

TEST_P(BadSmsTest, IsRefused) {
  const std::string text = refusalOf(sms(GetParam().payload));
  EXPECT_TRUE(text.ends_with(GetParam().text)) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Payloads, BadSmsTest,
    testing::Values(
        BadSms{"NoMap", R"("text")", "] as payload is not a map"},
        BadSms{"NoAddress", R"({"message": "hello"})", "] as message or receiver address is not found"},
        BadSms{"NoMessage", R"({"address": ["1"]})", "] as message or receiver address is not found"},
        BadSms{"NoReceivers", R"({"address": [], "message": "hello"})", "] as no receiver address is provided"},
        BadSms{"NoReceiversAndNoText", R"({"address": [], "message": ""})", "] as no receiver address is provided"},
        BadSms{"NoText", R"({"address": ["1"], "message": ""})", "] as no message is provided"},
        BadSms{"ReceiverAsText", R"({"address": "1", "message": "hello"})",
               "Incorrect type in get (you asked for list but it's actually string)"},
        BadSms{"ReceiverAsNumber", R"({"address": 1, "message": "hello"})",
               "Incorrect type in get (you asked for list but it's actually integer)"},
        BadSms{"ReceiverAsMap", R"({"address": {"a": 1}, "message": "hello"})",
               "Incorrect type in get (you asked for list but it's actually map)"},
        BadSms{"ReceiverEmpty", R"({"address": null, "message": "hello"})", "Get from empty"}),
    NameOfCase());

TEST_F(SmsTest, IsRefusedForItsPayloadBeforeItsPath) {
  EXPECT_TRUE(refusalOf(sms(R"("text")").without("http")).ends_with("] as payload is not a map"));
  EXPECT_TRUE(refusalOf(sms("{}").without("http")).ends_with("] as metadata does not have an HTTP mapping"));
}

TEST_F(SmsTest, IsRefusedWithAPathThatIsNoText) {
  EXPECT_EQ(refusalOf(smsTo(2).http("path", "5")),
            "Incorrect type in get (you asked for string but it's actually integer)");
}

// ---------------------------------------------------------------------------------------- answers

TEST_F(SmsTest, IsFinishedOnceAfterItsLastReceiver) {
  for (const int receivers : {1, 2, 50}) {
    configure("{}");
    moveClock();
    const std::size_t before = endedRequests();
    send(smsTo(receivers));
    ASSERT_EQ(parts->transport.takeAll().size(), static_cast<std::size_t>(receivers));
    for (int number = receivers - 1; number >= 0; --number) {
      EXPECT_EQ(endedRequests(), before);
      respond(delivered(number));
    }
    EXPECT_EQ(endedRequests(), before + 1);
  }
}

TEST_F(SmsTest, SucceedsInOneLine) {
  send(smsTo(1));
  forgetLogs();
  respond(delivered(0));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  const Texts lines = takeLogs(debugLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Skipping message {")) << lines[0];
  EXPECT_TRUE(lines[0].ends_with("} / {}")) << lines[0];
}

TEST_F(SmsTest, IsFinishedOnceThoughAReceiverFails) {
  moveClock();
  send(smsTo(3));
  respond(delivered(0));
  respond(delivered(1).status(500).payload(R"({"message": "no"})"));
  EXPECT_EQ(jsons(takeHostEvents()),
            Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 1,
                                        "contentType": "application/json",
                                        "http": {"statusCode": 500, "statusReason": "OK"}},
                           "payload": {"message": "no"}})")});
  EXPECT_EQ(endedRequests(), 0u);
  respond(delivered(2));
  EXPECT_EQ(endedRequests(), 1u);
}

TEST_F(SmsTest, IsFinishedApartFromOthers) {
  moveClock();
  send(smsTo(2));
  send(smsTo(2));
  respond(delivered(0));
  respond(delivered(2));
  EXPECT_EQ(endedRequests(), 0u);
  respond(delivered(3));
  EXPECT_EQ(endedRequests(), 1u);
  respond(delivered(1));
  EXPECT_EQ(endedRequests(), 2u);
}

struct ErrorBody {
  const char* name;
  const char* payload;
  const char* event;
};

void PrintTo(const ErrorBody& body, std::ostream* out) {
  *out << body.payload;
}

class SmsErrorTest : public SmsTest, public testing::WithParamInterface<ErrorBody> {};

TEST_P(SmsErrorTest, IsToldWhateverTheBody) {
  send(smsTo(1));
  respond(delivered(0).status(400).payload(GetParam().payload));
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(GetParam().event));
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, SmsErrorTest,
    testing::Values(ErrorBody{"Map", R"({"info": 1})", R"({"info": 1})"},
                    ErrorBody{"Text", R"("no")", R"({"message": "no"})"},
                    ErrorBody{"EmptyText", R"("")", R"({"message": ""})"},
                    ErrorBody{"Nothing", "null", R"({"message": "An error occurred in SMS handling"})"},
                    ErrorBody{"Number", "5", R"({"message": "An error occurred in SMS handling"})"},
                    ErrorBody{"List", "[1]", R"({"message": "An error occurred in SMS handling"})"}),
    NameOfCase());

TEST_F(SmsTest, FailsByItsStatusAlone) {
  const auto isError = [this](std::int64_t status, const char* mediaType) {
    return handler->isErrorResponse(messageFrom(response(0).status(status).contentType(mediaType)));
  };
  EXPECT_FALSE(isError(200, "application/vnd.com.rdx.marlovance.error+json"));
  EXPECT_FALSE(isError(399, "a"));
  EXPECT_TRUE(isError(400, "a"));
  EXPECT_TRUE(isError(599, "a"));
  EXPECT_FALSE(isError(600, "a"));
  EXPECT_FALSE(handler->isErrorResponse(messageFrom(response(0).status(204)))) << "without a content type";
}

TEST_F(SmsTest, CannotTellAnOutcomeWithoutAStatus) {
  for (const char* metadata : {"{}", R"({"http": {}})", R"({"contentType": "a", "http": {"statusReason": "OK"}})"})
    EXPECT_EQ(thrownBy([&] { handler->isErrorResponse(messageFromJson(metadata, "{}")); }), "Element not in map");
}

TEST_F(SmsTest, SharesOneOrderingKeyAndIsNotBatchable) {
  const Message request = messageFrom(smsTo(1));
  EXPECT_EQ(toJson(handler->getConcurrencyKey(request)), R"("")");
  EXPECT_FALSE(handler->isBatchable(request));
}

// ---------------------------------------------------------------------------------------- half-way

// The request whose hand-over failed is recorded, and may be answered all the same.
struct Broken {
  const char* name;
  int receivers;
  int failing;  ///< counted from 1
};

void PrintTo(const Broken& broken, std::ostream* out) {
  *out << broken.failing << " of " << broken.receivers;
}

class BrokenSmsTest : public SmsTest, public testing::WithParamInterface<Broken> {};

TEST_P(BrokenSmsTest, FinishesOnceWithTheRequestsThatWereMade) {
  moveClock();
  failAt(GetParam().failing);
  EXPECT_NE(thrownBy([&] { send(smsTo(GetParam().receivers)); }), "nothing thrown");
  ASSERT_EQ(parts->transport.takeAll().size(), static_cast<std::size_t>(GetParam().failing));
  EXPECT_EQ(parts->outstanding.size(), static_cast<std::size_t>(GetParam().failing));
  for (int number = 0; number < GetParam().failing; ++number) {
    EXPECT_EQ(endedRequests(), 0u);
    respond(delivered(number));
  }
  EXPECT_EQ(endedRequests(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Moments, BrokenSmsTest,
                         testing::Values(Broken{"OnlyOne", 1, 1}, Broken{"FirstOfThree", 3, 1},
                                         Broken{"SecondOfThree", 3, 2}, Broken{"LastOfThree", 3, 3},
                                         Broken{"TwentiethOfFifty", 50, 20}),
                         NameOfCase());

TEST_F(SmsTest, FinishesOnceWhenItsAnswersOutrunABreak) {
  moveClock();
  parts->transport.onMessage = [this, left = 3](const Received& request) mutable {
    if (--left == 0) throw std::runtime_error("no line");
    respond(delivered(request.requestId()));
  };
  EXPECT_NE(thrownBy([&] { send(smsTo(5)); }), "nothing thrown");
  EXPECT_EQ(endedRequests(), 0u);
  respond(delivered(2));
  EXPECT_EQ(endedRequests(), 1u);
}

// What can't be made any more is counted off, and what went out before it finishes the event.
TEST_F(SmsTest, FinishesOnceWithTheRequestsBeforeOneThatCannotBeMade) {
  moveClock();
  parts->transport.onMessage = [left = 2](const Received&) mutable {
    if (--left == 0) TestHost::throwFrom(HostCall::qel_copy_string, [] { throw std::runtime_error("no room"); });
  };
  EXPECT_EQ(thrownBy([&] { send(smsTo(4)); }), "no room");
  TestHost::throwFrom(HostCall::qel_copy_string, nullptr);
  EXPECT_EQ(parts->transport.takeAll().size(), 2u);
  EXPECT_EQ(parts->outstanding.size(), 2u);
  respond(delivered(0));
  EXPECT_EQ(endedRequests(), 0u);
  respond(delivered(1));
  EXPECT_EQ(endedRequests(), 1u);
}

TEST_F(SmsTest, FinishesWithTheCodecAfterABreak) {
  moveClock();
  failAt(2);
  EXPECT_NE(thrownBy([&] { send(smsTo(3)); }), "nothing thrown");
  respond(delivered(0));
  EXPECT_EQ(endedRequests(), 0u);
  configure("{}");
  EXPECT_EQ(endedRequests(), 1u);
}

TEST_F(SmsTest, LeavesTheNextOneWholeAfterABreak) {
  moveClock();
  failAt(1);
  EXPECT_NE(thrownBy([&] { send(smsTo(2)); }), "nothing thrown");
  parts->transport.onMessage = nullptr;
  send(smsTo(2));
  respond(delivered(1));
  EXPECT_EQ(endedRequests(), 0u);
  respond(delivered(2));
  EXPECT_EQ(endedRequests(), 1u);
}

// What waits in front of it is sent on first; when that fails, no request of its own is made.
TEST_F(SmsTest, MakesNoRequestWhenWhatWaitsBeforeItFails) {
  moveClock();
  BatchSender batch = parts->openBatch();
  Message measurement = messageFrom(tests::event("com.kelvo.marlovance.Measurement").path("/m").payload("{}"));
  handlers.at("com.kelvo.marlovance.Measurement")->handleRequest(measurement, batch);
  failAt(1);
  Message message = messageFrom(smsTo(3));
  EXPECT_NE(thrownBy([&] { handler->handleRequest(message, batch); }), "nothing thrown");
  batch.finish();
  EXPECT_EQ(parts->transport.takeAll().size(), 1u);
  EXPECT_EQ(parts->outstanding.size(), 1u);
  respond(delivered(0));
  EXPECT_EQ(endedRequests(), 1u) << "that of the measurement";
}

}  // namespace
}  // namespace tests
