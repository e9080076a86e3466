#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class EmailTest : public HandlerFixture {
 protected:
  EmailTest() { use("SendEmail"); }

  MessageBuilder email(std::string_view payload) const {
    return event("/email/emails").method("POST").payload(payload);
  }

  /// An e-mail with these blind copies, a JSON value.
  MessageBuilder emailWithCopies(std::string_view bcc) const {
    return email(R"({"to": ["a"], "bcc": )" + std::string(bcc) + "}");
  }

  static MessageBuilder delivered() { return response(0).status(200).contentType("application/json").payload("{}"); }

  std::string refusalOf(const MessageBuilder& event) {
    const std::string text = thrownBy([&] { send(event); });
    EXPECT_EQ(parts->transport.takeAll().size(), 0u);
    return text;
  }
};

TEST_F(EmailTest, GoesOutAsItCame) {
  configure(R"({"appKey": "k"})");
  send(email(R"({"to": ["a", 5], "cc": "c", "subject": "s", "source.id": "1", "text": ""})").reqId(7));
  EXPECT_EQ(takeRequest().json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.SendEmail", "requestId": 0, "reqId": 7,
                                  "http": {"method": "POST", "path": "/email/emails",
                                           "headers": {"X-Marlovance-Application-Key": "k",
                                                       "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(},
                     "payload": {"to": ["a", 5], "cc": "c", "subject": "s", "source.id": "1", "text": ""}})"));
}

struct Copies {
  const char* name;
  const char* bcc;
  const char* list;  ///< null when none goes out
};

void PrintTo(const Copies& copies, std::ostream* out) {
  *out << copies.bcc;
}

class BlindCopiesTest : public EmailTest, public testing::WithParamInterface<Copies> {};

TEST_P(BlindCopiesTest, AreSplitAtCommas) {
  send(emailWithCopies(GetParam().bcc));
  EXPECT_EQ(takeRequest().payload(), GetParam().list
                                         ? json(R"({"to": ["a"], "bcc": )" + std::string(GetParam().list) + "}")
                                         : json(R"({"to": ["a"]})"));
}

INSTANTIATE_TEST_SUITE_P(
    Values, BlindCopiesTest,
    testing::Values(Copies{"One", R"("b")", R"(["b"])"}, Copies{"Two", R"("b,c")", R"(["b", "c"])"},
                    Copies{"TwoCommas", R"("b,,c")", R"(["b", "c"])"}, Copies{"Blank", R"("b, c ")", R"(["b", " c "])"},
                    Copies{"CommasAround", R"(",b,")", R"(["b"])"}, Copies{"OnlyAComma", R"(",")", nullptr},
                    Copies{"OnlyCommas", R"(",,,")", nullptr}, Copies{"OnlyABlank", R"(" ")", R"([" "])"},
                    Copies{"EmptyText", R"("")", nullptr}, Copies{"Empty", "null", R"x(["(null)"])x"},
                    Copies{"Number", "5", R"(["5"])"}, Copies{"List", R"(["b", "c"])", R"(["[b", "c]"])"},
                    Copies{"Borrowed", R"({"$borrowed": "b,c"})", R"(["b", "c"])"}),
    NameOfCase());

TEST_F(EmailTest, TakesBlindCopiesOfAMegabyte) {
  const std::string name(15, 'x');
  std::string text;
  for (int number = 0; number < 65536; ++number) text += name + ",";
  send(emailWithCopies(tests::quoted(text)));
  const boost::json::value body = takeRequest().document.at("payload");
  const auto& copies = body.at("bcc").as_array();
  ASSERT_EQ(copies.size(), 65536u);
  for (const auto& copy : copies) ASSERT_EQ(copy.as_string(), name);
}

TEST_F(EmailTest, TakesOneBlindCopyOfAMegabyte) {
  const std::string name(1 << 20, 'x');
  send(emailWithCopies(tests::quoted(name)));
  EXPECT_EQ(takeRequest().document.at("payload").at("bcc").as_array().at(0).as_string(), name);
}

// ---------------------------------------------------------------------------------------- refusals

struct BadEmail {
  const char* name;
  const char* payload;
  const char* text;
};

void PrintTo(const BadEmail& each, std::ostream* out) {
  *out << each.payload;
}

class BadEmailTest : public EmailTest, public testing::WithParamInterface<BadEmail> {};

TEST_P(BadEmailTest, IsRefused) {
  const std::string text = refusalOf(email(GetParam().payload));
  EXPECT_TRUE(text.ends_with(GetParam().text)) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Payloads, BadEmailTest,
    testing::Values(BadEmail{"NoMap", "5", "] as payload is not a map"},
                    BadEmail{"NoReceiver", R"({"bcc": "a"})", "] as receiver address is not provided"},
                    BadEmail{"NoReceivers", R"({"to": []})", "] as receiver address is not provided"},
                    BadEmail{"ReceiverAsText", R"({"to": "a"})",
                             "Incorrect type in get (you asked for list but it's actually string)"},
                    BadEmail{"ReceiverAsBoolean", R"({"to": true})",
                             "Incorrect type in get (you asked for list but it's actually boolean)"},
                    BadEmail{"ReceiverEmpty", R"({"to": null})", "Get from empty"}),
    NameOfCase());

TEST_F(EmailTest, IsRefusedForItsPathBeforeItsPayload) {
  EXPECT_TRUE(refusalOf(email(R"("text")").without("http")).ends_with("] as metadata does not have an HTTP mapping"));
}

// ---------------------------------------------------------------------------------------- answers

TEST_F(EmailTest, SucceedsInOneLine) {
  moveClock();
  send(email(R"({"to": ["a"]})"));
  forgetLogs();
  respond(delivered());
  EXPECT_EQ(takeHostEvents().size(), 0u);
  const Texts lines = takeLogs(debugLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Skipping message {")) << lines[0];
  EXPECT_EQ(endedRequests(), 1u);
}

struct ErrorBody {
  const char* name;
  const char* payload;
  const char* event;
};

void PrintTo(const ErrorBody& body, std::ostream* out) {
  *out << body.payload;
}

class EmailErrorTest : public EmailTest, public testing::WithParamInterface<ErrorBody> {};

TEST_P(EmailErrorTest, IsToldWhateverTheBody) {
  send(email(R"({"to": ["a"]})").reqId(7).responseChannel("c"));
  forgetLogs();
  respond(delivered().status(500).payload(GetParam().payload));
  EXPECT_EQ(jsons(takeHostEvents()),
            Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 0,
                                        "contentType": "application/json",
                                        "http": {"statusCode": 500, "statusReason": "OK"}}, "payload": )" +
                       std::string(GetParam().event) + "}")});
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, EmailErrorTest,
    testing::Values(ErrorBody{"Map", R"({"info": 1})", R"({"info": 1})"},
                    ErrorBody{"Text", R"("no")", R"({"message": "no"})"},
                    ErrorBody{"Nothing", "null", R"({"message": "An error occurred in email handling"})"},
                    ErrorBody{"Boolean", "true", R"({"message": "An error occurred in email handling"})"}),
    NameOfCase());

// The line on the failure needs the request's method, and comes first.
TEST_F(EmailTest, IsNotToldToHaveFailedWhenThatCannotBeLogged) {
  send(event("/email/emails").payload(R"({"to": ["a"]})"));
  EXPECT_EQ(thrownBy([&] { respond(delivered().status(500)); }), "Element not in map");
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(EmailTest, IsToldToHaveFailedWhereNothingIsLogged) {
  configure(R"({"isMultitenantIsolation": true})");
  send(event("/email/emails").payload(R"({"to": ["a"]})"));
  respond(delivered().status(500));
  EXPECT_EQ(types(takeHostEvents()), Texts{"com.kelvo.marlovance.Error"});
}

TEST_F(EmailTest, SharesOneOrderingKeyAndIsNotBatchable) {
  const Message request = messageFrom(email("{}"));
  EXPECT_EQ(toJson(handler->getConcurrencyKey(request)), R"("")");
  EXPECT_FALSE(handler->isBatchable(request));
}

TEST_F(EmailTest, FailsByItsStatusAlone) {
  EXPECT_FALSE(
      handler->isErrorResponse(messageFrom(delivered().contentType("application/vnd.com.rdx.marlovance.error+json"))));
  EXPECT_FALSE(handler->isErrorResponse(messageFrom(delivered().without("contentType"))));
  EXPECT_TRUE(handler->isErrorResponse(messageFrom(delivered().status(404))));
}

TEST_F(EmailTest, CannotTellAnOutcomeWithoutAStatus) {
  for (const char* metadata : {"{}", R"({"http": {}})", R"({"contentType": "a", "http": {"statusReason": "OK"}})"})
    EXPECT_EQ(thrownBy([&] { handler->isErrorResponse(messageFromJson(metadata, "{}")); }), "Element not in map");
}

}  // namespace
}  // namespace tests
