#include "handlers/Handler.h"

#include <cstdint>
#include <cstring>
#include <limits>

#include "codec/exceptions.h"
#include "tests/unit/handlers/HandlerFixture.h"
#include "tests/unit/handlers/PlainHandler.h"

namespace tests {
namespace {

class HandlerTest : public HandlerFixture {
 protected:
  PlainHandler plain() { return PlainHandler(services()); }
};

// ---------------------------------------------------------------------------------------- checks

TEST_F(HandlerTest, RefusesARequestWithoutHttpMetadata) {
  EXPECT_EQ(thrownBy([&] { plain().checkHttpMetadata(messageFromJson(R"({"a": 1})", R"("x")")); }),
            "Dropping [{a:1} / x] as metadata does not have an HTTP mapping");
}

TEST_F(HandlerTest, RefusesARequestWithoutAPath) {
  EXPECT_EQ(thrownBy([&] { plain().checkHttpMetadata(messageFromJson(R"({"http": {"method": "GET"}})", "{}")); }),
            "Dropping [{http:{method:GET}} / {}] as metadata.http does not have path value");
}

TEST_F(HandlerTest, RefusesHttpMetadataThatIsNoMap) {
  EXPECT_EQ(thrownBy([&] { plain().checkHttpMetadata(messageFromJson(R"({"http": "GET"})", "{}")); }),
            "Incorrect type in get (you asked for map but it's actually string)");
}

TEST_F(HandlerTest, AcceptsARequestWithAPath) {
  EXPECT_NO_THROW(plain().checkHttpMetadata(messageFromJson(R"({"http": {"path": "/p"}})", "null")));
}

TEST_F(HandlerTest, RefusesAPayloadOfAnyTagButMap) {
  for (const char* payload : {"null", "true", "1.5", "7", R"({"$decimal": 1})", R"("{}")", "[]", R"({"$buffer": "00"})",
                              R"({"$custom": 1})", R"({"$borrowed": "x"})"}) {
    const std::string text = thrownBy([&] { plain().checkPayloadIsMap(messageFromJson("{}", payload)); });
    EXPECT_TRUE(text.starts_with("Dropping [{} / ") && text.ends_with("] as payload is not a map")) << text;
  }
  EXPECT_NO_THROW(plain().checkPayloadIsMap(messageFromJson("{}", "{}")));
}

TEST_F(HandlerTest, RefusesWithADropMessage) {
  EXPECT_THROW(plain().checkHttpMetadata(messageFromJson("{}", "{}")), DropMessage);
  EXPECT_THROW(plain().checkHttpMetadata(messageFromJson(R"({"http": {}})", "{}")), DropMessage);
  EXPECT_THROW(plain().checkPayloadIsMap(messageFromJson("{}", "null")), DropMessage);
}

// ---------------------------------------------------------------------------------------- tenant, reply channel

TEST_F(HandlerTest, AddsNoTenantWhereNoneIsConfigured) {
  map_t parsed = mapFromJson(R"({"tenantId": "theirs"})");
  plain().addTenantId(parsed);
  EXPECT_EQ(toJson(parsed), json(R"({"tenantId": "theirs"})"));
}

TEST_F(HandlerTest, SetsTheConfiguredTenant) {
  configure(R"({"tenantId": "t1"})");
  for (const char* before :
       {R"({"id": "1"})", R"({"id": "1", "tenantId": "theirs"})", R"({"id": "1", "tenantId": []})"}) {
    map_t parsed = mapFromJson(before);
    plain().addTenantId(parsed);
    EXPECT_EQ(toJson(parsed), json(R"({"id": "1", "tenantId": "t1"})"));
  }
}

TEST_F(HandlerTest, KnowsTheReplyChannelOfARequest) {
  EXPECT_EQ(toJson(plain().responseChannelOf(messageFromJson(R"({"responseChannel": "c"})", "{}"))), R"("c")");
  EXPECT_EQ(toJson(plain().responseChannelOf(messageFromJson(R"({"responseChannel": 7})", "{}"))), "7");
  EXPECT_EQ(toJson(plain().responseChannelOf(messageFromJson("{}", "{}"))), R"("")");
}

TEST_F(HandlerTest, TakesThePresenceOfTheKeyForTheWishOfAResponse) {
  for (const char* value : {"true", "false", "null", R"("")", "0"})
    EXPECT_TRUE(plain().requiresResponse(messageFromJson(R"({"requiresResponse": )" + std::string(value) + "}", "{}")));
  EXPECT_FALSE(plain().requiresResponse(messageFromJson(R"({"reqId": 7})", "{}")));
}

TEST_F(HandlerTest, PassesAChannelUnchangedWithoutAPrefix) {
  for (const char* channel : {R"("c")", R"("")", "7", R"({"a": 1})", "null", R"({"$borrowed": "c"})"}) {
    EXPECT_EQ(toJson(parts->config.prefixNotificationChannel(dataFromJson(channel))), json(channel));
    EXPECT_EQ(toJson(parts->config.prefixQueryChannel(dataFromJson(channel))), json(channel));
  }
}

TEST_F(HandlerTest, JoinsPrefixAndChannelWithoutASeparator) {
  configure(R"({"notificationsChannelPrefix": "n.", "queryResponsesChannelPrefix": "q"})");
  EXPECT_EQ(toJson(parts->config.prefixNotificationChannel(data_t("c"))), R"("n.c")");
  EXPECT_EQ(toJson(parts->config.prefixNotificationChannel(data_t(""))), R"("n.")");
  EXPECT_EQ(toJson(parts->config.prefixQueryChannel(dataFromJson(R"({"$borrowed": "c"})"))), R"("qc")");
}

TEST_F(HandlerTest, RefusesAChannelThatIsNoTextBehindAPrefix) {
  configure(R"({"notificationsChannelPrefix": "n."})");
  EXPECT_EQ(thrownBy([&] { parts->config.prefixNotificationChannel(std::int64_t{7}); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(thrownBy([&] { parts->config.prefixNotificationChannel(data_t()); }), "Get from empty");
  EXPECT_EQ(toJson(parts->config.prefixQueryChannel(std::int64_t{7})), "7") << "the other prefix is empty";
}

// ---------------------------------------------------------------------------------------- error responses

struct Answer {
  const char* name;
  const char* metadata;
  bool isError;
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.metadata;
}

class AnswerTest : public HandlerTest, public testing::WithParamInterface<Answer> {};

TEST_P(AnswerTest, IsAnErrorOrNot) {
  EXPECT_EQ(plain().isErrorResponse(messageFromJson(GetParam().metadata, "{}")), GetParam().isError);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AnswerTest,
    testing::Values(
        Answer{"NoContentType", R"({"http": {"statusCode": 200}})", true}, Answer{"NothingAtAll", "{}", true},
        Answer{"ErrorMediaType",
               R"({"contentType": "application/vnd.com.rdx.marlovance.error+json", "http": {"statusCode": 200}})",
               true},
        Answer{"ErrorMediaTypeWithParameter",
               R"({"contentType": "application/vnd.com.rdx.marlovance.error+json;charset=UTF-8",
                   "http": {"statusCode": 200}})",
               false},
        Answer{"BorrowedErrorMediaType",
               R"({"contentType": {"$borrowed": "application/vnd.com.rdx.marlovance.error+json"},
                   "http": {"statusCode": 200}})",
               false},
        Answer{"ContentTypeThatIsNoText", R"({"contentType": 7, "http": {"statusCode": 200}})", false},
        Answer{"Status200", R"({"contentType": "text/plain", "http": {"statusCode": 200}})", false},
        Answer{"Status0", R"({"contentType": "text/plain", "http": {"statusCode": 0}})", false},
        Answer{"Status399", R"({"contentType": "text/plain", "http": {"statusCode": 399}})", false},
        Answer{"Status400", R"({"contentType": "text/plain", "http": {"statusCode": 400}})", true},
        Answer{"Status404", R"({"contentType": "text/plain", "http": {"statusCode": 404}})", true},
        Answer{"Status500", R"({"contentType": "text/plain", "http": {"statusCode": 500}})", true},
        Answer{"Status599", R"({"contentType": "text/plain", "http": {"statusCode": 599}})", true},
        Answer{"Status600", R"({"contentType": "text/plain", "http": {"statusCode": 600}})", false},
        Answer{"NegativeStatus", R"({"contentType": "text/plain", "http": {"statusCode": -500}})", false},
        Answer{"LeastStatus", R"({"contentType": "text/plain", "http": {"statusCode": -9223372036854775808}})", false},
        Answer{"GreatestStatus", R"({"contentType": "text/plain", "http": {"statusCode": 9223372036854775807}})",
               false}),
    NameOfCase());

TEST_F(HandlerTest, ReadsTheStatusBeforeItLooksAtTheContentType) {
  for (const char* contentType : {"text/plain", "application/vnd.com.rdx.marlovance.error+json"}) {
    const std::string type = R"({"contentType": )" + tests::quoted(contentType);
    const auto failure = [&](const std::string& rest) {
      return thrownBy([&] { plain().isErrorResponse(messageFromJson(type + rest, "{}")); });
    };
    EXPECT_EQ(failure("}"), "Element not in map");
    EXPECT_EQ(failure(R"(, "http": {}})"), "Element not in map");
    EXPECT_EQ(failure(R"(, "http": 7})"), "Incorrect type in get (you asked for map but it's actually integer)");
    EXPECT_EQ(failure(R"(, "http": {"statusCode": "200"}})"),
              "Incorrect type in get (you asked for integer but it's actually string)");
    EXPECT_EQ(failure(R"(, "http": {"statusCode": 200.0}})"),
              "Incorrect type in get (you asked for integer but it's actually double)");
  }
}

// ---------------------------------------------------------------------------------------- batches, finishing, order

TEST_F(HandlerTest, MergesNoMessages) {
  BatchSender batch = parts->openBatch();
  PlainHandler handler(services());
  EXPECT_THROW(handler.sendBatch(batch), BatchingNotSupported);
  EXPECT_EQ(thrownBy([&] { handler.sendBatch(batch); }), "Batching not supported for these messages: ");
}

TEST_F(HandlerTest, TellsTheMetricsThatARequestIsFinished) {
  Message request = requestOf("GET");
  EXPECT_EQ(thrownBy([&] { plain().finishedHandling(request); }), "Element not in map")
      << "the metrics look for their stamp";
}

/// The slot of a virtual operation in the table of its class.
template <class Operation>
std::uintptr_t slotOf(Operation operation) {
  std::uintptr_t word;
  std::memcpy(&word, &operation, sizeof word);
  return (word - 1) / sizeof(void*);
}

TEST_F(HandlerTest, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(slotOf(&Handler::handleRequest), 0u);
  EXPECT_EQ(slotOf(&Handler::handleResponse), 1u);
  EXPECT_EQ(slotOf(&Handler::handleError), 2u);
  EXPECT_EQ(slotOf(&Handler::isBatchable), 3u);
  EXPECT_EQ(slotOf(&Handler::getConcurrencyKey), 4u);
  EXPECT_EQ(slotOf(&Handler::sendBatch), 5u);
  // The destructor has two slots of the table.
  EXPECT_EQ(slotOf(&Handler::finishedHandling), 8u);
  EXPECT_EQ(slotOf(&Handler::addTenantId), 9u);
  EXPECT_EQ(slotOf(&Handler::isErrorResponse), 10u);
  EXPECT_TRUE(std::has_virtual_destructor_v<Handler>);
}

}  // namespace
}  // namespace tests
