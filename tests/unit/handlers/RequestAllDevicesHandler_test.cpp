#include "handlers/RequestAllDevicesHandler.h"

#include "tests/unit/handlers/QueryFixture.h"

namespace tests {
namespace {

constexpr const char* deviceType = "com.kelvo.marlovance.ManagedObject";
constexpr const char* completeType = "com.kelvo.marlovance.RequestAllDevicesComplete";

class AllDevicesTest : public QueryFixture {
 protected:
  AllDevicesTest() { use("RequestAllDevices"); }

  MessageBuilder devices(const char* channel = "c", std::int64_t reqId = 7) const {
    return query(reqId).responseChannel(channel);
  }

  static std::string device(const std::string& channel, const std::string& payload) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.ManagedObject", "qel.channel": )" + channel +
                R"(}, "payload": )" + payload + "}");
  }

  static std::string complete(const std::string& channel, const std::string& payload) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.RequestAllDevicesComplete", "qel.channel": )" +
                channel + R"(}, "payload": )" + payload + "}");
  }

  static MessageBuilder refused(std::string_view payload) {
    return response(0).status(500).reason("Oops").contentType("application/json").payload(payload);
  }

  std::string refusalOf(const MessageBuilder& event) {
    return thrownBy([&] { send(event); });
  }
};

TEST_F(AllDevicesTest, AreManagedObjectsOnTheChannelOfTheRequest) {
  send(devices());
  respond(
      page(0, R"([{"id": "1", "childDevices": {"references": [{"managedObject": {"id": "9"}}]}}, {"id": "2"}])", 1, 1));
  EXPECT_EQ(jsons(takeHostEvents()),
            (Texts{device(R"("c")", R"({"id": "1", "childDeviceIds": ["9"]})"), device(R"("c")", R"({"id": "2"})"),
                   complete(R"("c")", R"({"reqId": 7})")}));
}

TEST_F(AllDevicesTest, KeepTheResponseChannelInTheRequest) {
  send(devices());
  EXPECT_EQ(takeRequest().metadata("responseChannel"), R"("c")");
}

TEST_F(AllDevicesTest, BearAnEmptyChannelWithoutAResponseChannel) {
  send(query());
  respond(page(0, R"([{"id": "1"}])", 1, 1));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{device("null", R"({"id": "1"})"), complete("null", R"({"reqId": 7})")}));
}

TEST_F(AllDevicesTest, BearAChannelOfAnyTypeWithoutAPrefix) {
  for (const char* channel : {"7", "true", "[1]", R"({"a": 1})"}) {
    configure("{}");
    send(query().metadata("responseChannel", channel));
    respond(page(0, R"([{"id": "1"}])", 1, 1));
    EXPECT_EQ(jsons(takeHostEvents()),
              (Texts{device(channel, R"({"id": "1"})"), complete(channel, R"({"reqId": 7})")}));
  }
}

TEST_F(AllDevicesTest, BearThePrefixOfNotifications) {
  configure(R"({"notificationsChannelPrefix": "n.", "queryResponsesChannelPrefix": "q."})");
  send(devices());
  respond(page(0, R"([{"id": "1"}])", 1, 1));
  EXPECT_EQ(jsons(takeHostEvents()),
            (Texts{device(R"("n.c")", R"({"id": "1"})"), complete(R"("n.c")", R"({"reqId": 7})")}));
}

TEST_F(AllDevicesTest, AreLostOneByOneOnAPrefixedChannelThatIsNoText) {
  configure(R"({"notificationsChannelPrefix": "n."})");
  send(query().metadata("responseChannel", "7"));
  forgetLogs();
  respond(page(0, R"([{"id": "1"}, {"id": "2"}])", 1, 1));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeLogs(warnLevel).size(), 2u);
  EXPECT_EQ(takeLogs(errorLevel),
            Texts{"Exception during finishedHandling in OutstandingRequest finalization: Incorrect type in get (you "
                  "asked for string but it's actually integer)"});
}

TEST_F(AllDevicesTest, BearTheTenant) {
  configure(R"({"tenantId": "t1"})");
  send(devices());
  respond(page(0, R"([{"id": "1"}])", 1, 1));
  EXPECT_EQ(jsons(takeHostEvents()),
            (Texts{device(R"("c")", R"({"id": "1", "tenantId": "t1"})"), complete(R"("c")", R"({"reqId": 7})")}));
}

TEST_F(AllDevicesTest, KeepTheChannelsOfTwoRequestersApart) {
  send(devices("a", 1));
  send(devices("b", 2));
  respond(page(1, R"([{"id": "2"}])", 1, 1));
  respond(page(0, R"([{"id": "1"}])", 1, 1));
  EXPECT_EQ(jsons(takeHostEvents()),
            (Texts{device(R"("b")", R"({"id": "2"})"), complete(R"("b")", R"({"reqId": 2})"),
                   device(R"("a")", R"({"id": "1"})"), complete(R"("a")", R"({"reqId": 1})")}));
}

TEST_F(AllDevicesTest, KeepTheirChannelFromPageToPage) {
  send(devices().query("pageSize", "1"));
  respond(page(0, objects(1, 1), 1, 2));
  respond(page(1, objects(2, 2), 2, 2));
  const std::vector<Received> events = takeHostEvents();
  EXPECT_EQ(types(events), (Texts{deviceType, deviceType, completeType}));
  for (const Received& event : events) EXPECT_EQ(event.metadata("qel.channel"), R"("c")");
}

// ---------------------------------------------------------------------------------------- errors

TEST_F(AllDevicesTest, PassARefusalWithAMessageOnAsItIs) {
  send(devices());
  respond(refused(R"({"message": "gone", "info": 1})"));
  EXPECT_EQ(jsons(takeHostEvents()),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 0,
                                         "contentType": "application/json",
                                         "http": {"statusCode": 500, "statusReason": "Oops"}},
                            "payload": {"message": "gone", "info": 1}})"),
                   complete(R"("c")", R"({"reqId": 7, "msg": "gone"})")}));
}

struct Message500 {
  const char* name;
  const char* message;
  const char* completion;
};

void PrintTo(const Message500& each, std::ostream* out) {
  *out << each.message;
}

class RefusalMessageTest : public AllDevicesTest, public testing::WithParamInterface<Message500> {};

TEST_P(RefusalMessageTest, IsRenderedInTheCompletion) {
  send(devices());
  respond(refused(R"({"message": )" + std::string(GetParam().message) + "}"));
  const std::vector<Received> events = takeHostEvents();
  EXPECT_EQ(types(events), (Texts{"com.kelvo.marlovance.Error", completeType}));
  EXPECT_EQ(events.back().payload(), json(GetParam().completion));
}

INSTANTIATE_TEST_SUITE_P(Kinds, RefusalMessageTest,
                         testing::Values(Message500{"Empty", "null", R"({"reqId": 7})"},
                                         Message500{"EmptyText", R"("")", R"({"reqId": 7})"},
                                         Message500{"Number", "5", R"({"reqId": 7, "msg": "5"})"},
                                         Message500{"List", R"(["a", 1])", R"({"reqId": 7, "msg": "[a,1]"})"}),
                         NameOfCase());

TEST_F(AllDevicesTest, ComposeARefusalWithoutAMessage) {
  send(devices());
  respond(refused(R"({"info": 1})"));
  const std::vector<Received> events = takeHostEvents();
  ASSERT_EQ(types(events), (Texts{"com.kelvo.marlovance.Error", completeType}));
  const std::string text(events[0].document.at("payload").at("message").as_string());
  EXPECT_TRUE(text.starts_with("Error 500 received: {info:1}  while performing GET /some/things, params: {")) << text;
  EXPECT_EQ(textOf(events[0].document.at("payload").at("reqId")), "7");
  EXPECT_EQ(events[1].payload(), json(R"({"reqId": 7, "msg": )" + tests::quoted(text) + "}"));
}

TEST_F(AllDevicesTest, CompleteWithoutATextAfterARefusalThatIsNoMap) {
  send(devices());
  respond(refused(R"("text")"));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete(R"("c")", R"({"reqId": 7})")});
}

TEST_F(AllDevicesTest, CompleteWithTheReasonWhenATimeCannotBeRead) {
  const std::string reason = "dateTo query param should be given in seconds since epoch. Instead it got soon";
  EXPECT_EQ(refusalOf(devices().query("dateTo", "soon")), reason);
  EXPECT_EQ(jsons(takeHostEvents()),
            Texts{complete(R"("c")", R"({"reqId": 7, "msg": )" + tests::quoted(reason) + "}")});
}

TEST_F(AllDevicesTest, AreRefusedWithoutARequestId) {
  EXPECT_EQ(refusalOf(devices().without("reqId")), "Element not in map");
  EXPECT_EQ(refusalOf(devices().metadata("reqId", R"("7")")),
            "Incorrect type in get (you asked for integer but it's actually string)");
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

// A channel that outlived its request would be one for the next request of that id.
TEST_F(AllDevicesTest, ForgetTheChannelOfARefusedRequest) {
  EXPECT_EQ(refusalOf(devices().query("q", "a").http("queryString", "null")), "Get from empty");
  EXPECT_EQ(takeHostEvents().size(), 0u);
  Message lost = messageFrom(devices("other"));
  dynamic_cast<RequestAllDevicesHandler&>(*handler).sendAck(7, "", lost);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete("null", R"({"reqId": 7})")});
}

TEST_F(AllDevicesTest, ForgetTheirChannelWithTheirEnd) {
  send(devices());
  respond(page(0, "[]", 1, 1));
  takeHostEvents();
  Message lost = messageFrom(devices("other"));
  dynamic_cast<RequestAllDevicesHandler&>(*handler).sendAck(7, "", lost);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete("null", R"({"reqId": 7})")});
}

}  // namespace
}  // namespace tests
