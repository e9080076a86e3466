#include "codec/CodecConfig.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "connectivity/conversion.h"
#include "tests/support/Environment.h"
#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

class CodecConfigTest : public testing::Test {
 protected:
  CodecConfigTest() {
    environment.unset("Q4V_BASEURL");
    environment.unset("Q4V_MICROSERVICE_ISOLATION");
  }

  /// Reads a configuration that has user name and password beside `options`.
  CodecConfig read(std::string_view options = "{}") const {
    return CodecConfig(configuration(options), Logger("connectivity.MarlovanceCodec.c1"));
  }

  /// The complaint about exactly this configuration.
  std::string complaintAbout(std::string_view whole) const {
    return thrownBy([&] { CodecConfig(mapFromJson(whole), Logger("connectivity.MarlovanceCodec.c1")); });
  }

  std::string authorizationOf(const std::string& username, const std::string& password) const {
    return read(R"({"username": )" + tests::quoted(username) + R"(, "password": )" + tests::quoted(password) + "}")
        .authorization.get<std::string>();
  }

  Environment environment;
};

TEST_F(CodecConfigTest, HasADefaultForAllButUserNameAndPassword) {
  const CodecConfig config = read();
  EXPECT_EQ(config.smsAddressScheme, "tel");
  EXPECT_EQ(config.genericResponseBodyMap.get<std::string>(), "body");
  EXPECT_EQ(config.maxBatchSize, 9223372036854775807);
  EXPECT_EQ(config.latencySecsSlowThreshold, 1);
  EXPECT_EQ(config.latencySecsLogThreshold, 10);
  EXPECT_EQ(config.batchLatencySecsThreshold, 50);
  EXPECT_EQ(config.appKey.get<std::string>(), "");
  EXPECT_EQ(config.smsSenderName, "Kelvo");
  EXPECT_EQ(config.smsSenderAddress.get<std::string>(), "tel:kelvo");
  EXPECT_EQ(config.tenantId, "");
  EXPECT_EQ(config.notificationsChannelPrefix, "");
  EXPECT_EQ(config.queryResponsesChannelPrefix, "");
  EXPECT_FALSE(config.isMultitenantIsolation);
  EXPECT_FALSE(config.automaticConcurrency);
}

TEST_F(CodecConfigTest, StoresEachKeyInItsField) {
  const CodecConfig config = read(R"({
      "username": "u", "password": "p", "appKey": "app", "smsSenderName": "sender", "smsSenderAddress": "555",
      "tenantId": "t7", "notificationsChannelPrefix": "n.", "queryResponsesChannelPrefix": "q.",
      "concurrencyMode": "auto", "isMultitenantIsolation": true, "batchLatencySecsThreshold": 51,
      "latencySecsLogThreshold": 11, "latencySecsSlowThreshold": 2, "maxBatchSize": 3,
      "genericResponseBodyMap": "content"})");
  EXPECT_EQ(config.smsAddressScheme, "tel");
  EXPECT_EQ(config.authorization.get<std::string>(), "Basic dTpw");
  EXPECT_EQ(config.appKey.get<std::string>(), "app");
  EXPECT_EQ(config.smsSenderName, "sender");
  EXPECT_EQ(config.smsSenderAddress.get<std::string>(), "tel:555");
  EXPECT_EQ(config.tenantId, "t7");
  EXPECT_EQ(config.notificationsChannelPrefix, "n.");
  EXPECT_EQ(config.queryResponsesChannelPrefix, "q.");
  EXPECT_TRUE(config.automaticConcurrency);
  EXPECT_TRUE(config.isMultitenantIsolation);
  EXPECT_EQ(config.batchLatencySecsThreshold, 51);
  EXPECT_EQ(config.latencySecsLogThreshold, 11);
  EXPECT_EQ(config.latencySecsSlowThreshold, 2);
  EXPECT_EQ(config.maxBatchSize, 3);
  EXPECT_EQ(config.genericResponseBodyMap.get<std::string>(), "content");
}

TEST_F(CodecConfigTest, ReadsIntegersAndBooleansFromTextToo) {
  const CodecConfig config = read(R"({"maxBatchSize": "+5", "latencySecsLogThreshold": "12",
                                      "isMultitenantIsolation": "TRUE"})");
  EXPECT_EQ(config.maxBatchSize, 5);
  EXPECT_EQ(config.latencySecsLogThreshold, 12);
  EXPECT_TRUE(config.isMultitenantIsolation);
}

TEST_F(CodecConfigTest, LeavesTheConfigurationAsItWas) {
  const map_t given = configuration(R"({"maxBatchSize": 3})");
  CodecConfig(given, Logger("connectivity.MarlovanceCodec.c1"));
  EXPECT_EQ(toJson(given), R"({"maxBatchSize":3,"password":"secret","username":"user"})");
}

// Complaints

TEST_F(CodecConfigTest, NeedsUserNameAndPassword) {
  EXPECT_EQ(complaintAbout(R"({"password": "p"})"), "MarlovanceCodec missing required configuration element username");
  EXPECT_EQ(complaintAbout(R"({"username": "u"})"), "MarlovanceCodec missing required configuration element password");
}

TEST_F(CodecConfigTest, NamesThePasswordWhenBothAreMissing) {
  EXPECT_EQ(complaintAbout("{}"), "MarlovanceCodec missing required configuration element password");
}

TEST_F(CodecConfigTest, RefusesAKeyThatItDoesNotKnow) {
  EXPECT_EQ(complaintAbout(R"({"username": "u", "password": "p", "userName": "u"})"),
            "Unknown configuration element userName in MarlovanceCodec");
  EXPECT_EQ(complaintAbout(R"({"username": "u", "password": "p", "smsAddressScheme": "tel"})"),
            "Unknown configuration element smsAddressScheme in MarlovanceCodec");
}

TEST_F(CodecConfigTest, ReportsAMissingKeyAheadOfAnUnknownOne) {
  EXPECT_EQ(complaintAbout(R"({"password": "p", "userName": "u"})"),
            "MarlovanceCodec missing required configuration element username");
}

struct KeyCase {
  const char* key;
  const char* bad;
  const char* good;
  const char* noun;
};

// In the order in which the keys are looked up.
constexpr std::array<KeyCase, 15> keyCases = {{
    {"isMultitenantIsolation", R"("yes")", "false", "a boolean"},
    {"concurrencyMode", R"("sometimes")", R"("auto")", "always or auto"},
    {"queryResponsesChannelPrefix", "1", R"("q")", "a string"},
    {"notificationsChannelPrefix", "1.5", R"("n")", "a string"},
    {"tenantId", "true", R"("t")", "a string"},
    {"smsSenderAddress", "[]", R"("5")", "a string"},
    {"smsSenderName", "null", R"("n")", "a string"},
    {"appKey", R"({"a": 1})", R"("k")", "a string"},
    {"password", "7", R"("p")", "a string"},
    {"username", "7", R"("u")", "a string"},
    {"batchLatencySecsThreshold", R"("5x")", "5", "an integer"},
    {"latencySecsLogThreshold", R"("")", "5", "an integer"},
    {"latencySecsSlowThreshold", "1.0", "5", "an integer"},
    {"maxBatchSize", R"("9223372036854775808")", "5", "an integer"},
    {"genericResponseBodyMap", "7", R"("b")", "a string"},
}};

TEST_F(CodecConfigTest, ComplainsAboutTheFirstBadValueInItsOwnOrder) {
  for (std::size_t good = 0; good < keyCases.size(); ++good) {
    boost::json::object whole;
    for (std::size_t index = 0; index < keyCases.size(); ++index)
      whole[keyCases[index].key] = parseJson(index < good ? keyCases[index].good : keyCases[index].bad);
    EXPECT_EQ(complaintAbout(textOf(whole)),
              std::string("MarlovanceCodec configuration ") + keyCases[good].key + " must be " + keyCases[good].noun);
  }
}

TEST_F(CodecConfigTest, ComplainsAboutABadValueAheadOfAnUnknownKey) {
  EXPECT_EQ(complaintAbout(R"({"username": "u", "password": "p", "genericResponseBodyMap": 1, "a": 1})"),
            "MarlovanceCodec configuration genericResponseBodyMap must be a string");
}

TEST_F(CodecConfigTest, ComplainsAboutAnEarlierBadValueAheadOfAMissingKey) {
  EXPECT_EQ(complaintAbout(R"({"appKey": 1})"), "MarlovanceCodec configuration appKey must be a string");
  EXPECT_EQ(complaintAbout(R"({"maxBatchSize": "x"})"),
            "MarlovanceCodec missing required configuration element password");
}

// Batch size

struct BatchSizeCase {
  const char* options;
  std::int64_t stored;
  const char* line;
};

TEST_F(CodecConfigTest, LimitsBatchesOnlyByAPositiveSize) {
  TestHost::setLogLevel(infoLevel);
  constexpr BatchSizeCase cases[] = {
      {R"({"maxBatchSize": 1})", 1, "Marlovance transport is batching measurements with a maximum batch size of 1"},
      {R"({"maxBatchSize": 2000})", 2000,
       "Marlovance transport is batching measurements with a maximum batch size of 2000"},
      {R"({"maxBatchSize": 0})", -1, "Marlovance transport is batching measurements with a maximum batch size of 1024"},
      {R"({"maxBatchSize": -5})", -1,
       "Marlovance transport is batching measurements with a maximum batch size of 1024"},
      {"{}", 9223372036854775807,
       "Marlovance transport is batching measurements with a maximum batch size of 9223372036854775807"},
  };
  for (const BatchSizeCase& each : cases) {
    takeLogs(infoLevel);
    EXPECT_EQ(read(each.options).maxBatchSize, each.stored) << each.options;
    EXPECT_EQ(takeLogs(infoLevel).at(0), each.line) << each.options;
  }
}

TEST_F(CodecConfigTest, WritesTheBatchSizeThroughItsFormat) {
  TestHost::setLogLevel(infoLevel);
  read();
  EXPECT_EQ(TestHost::drain(infoLevel).at(0).format,
            "<%s> Marlovance transport is batching measurements with a maximum batch size of %I64d");
  read(R"({"maxBatchSize": 0})");
  EXPECT_EQ(TestHost::drain(infoLevel).at(0).format,
            "<%s> Marlovance transport is batching measurements with a maximum batch size of 1024");
}

// Concurrency

TEST_F(CodecConfigTest, AcceptsTheConcurrencyModeInAnyCase) {
  for (const char* word : {"auto", "AUTO", "Auto"})
    EXPECT_TRUE(read(R"({"concurrencyMode": )" + quoted(word) + "}").automaticConcurrency) << word;
  for (const char* word : {"always", "ALWAYS", "aLWAYs"})
    EXPECT_FALSE(read(R"({"concurrencyMode": )" + quoted(word) + "}").automaticConcurrency) << word;
}

TEST_F(CodecConfigTest, TellsTheConcurrencyMode) {
  TestHost::setLogLevel(infoLevel);
  read(R"({"concurrencyMode": "AUTO"})");
  EXPECT_EQ(takeLogs(infoLevel).at(1), "Using automatic concurrency");
  read(R"({"concurrencyMode": "ALWAYS"})");
  EXPECT_EQ(takeLogs(infoLevel).at(1), "Using full concurrency");
  read();
  EXPECT_EQ(takeLogs(infoLevel).at(1), "Using full concurrency");
}

TEST_F(CodecConfigTest, RefusesAnyOtherConcurrencyMode) {
  for (const char* word : {R"("never")", R"("")", R"("auto ")", "true"})
    EXPECT_EQ(complaintAbout(R"({"username": "u", "password": "p", "concurrencyMode": )" + std::string(word) + "}"),
              "MarlovanceCodec configuration concurrencyMode must be always or auto")
        << word;
}

// Thresholds

TEST_F(CodecConfigTest, ReplacesNegativeThresholdsOnly) {
  struct Case {
    std::int64_t configured, slow, log, batch;
  };
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  for (const Case& each :
       {Case{-1, 1, 10, 50}, Case{least, 1, 10, 50}, Case{0, 0, 0, 0}, Case{1, 1, 1, 1}, Case{77, 77, 77, 77}}) {
    const std::string value = std::to_string(each.configured);
    const CodecConfig config = read(R"({"latencySecsSlowThreshold": )" + value + R"(, "latencySecsLogThreshold": )" +
                                    value + R"(, "batchLatencySecsThreshold": )" + value + "}");
    EXPECT_EQ(config.latencySecsSlowThreshold, each.slow) << value;
    EXPECT_EQ(config.latencySecsLogThreshold, each.log) << value;
    EXPECT_EQ(config.batchLatencySecsThreshold, each.batch) << value;
  }
}

TEST_F(CodecConfigTest, TellsTheThresholdsInForceAtDebug) {
  TestHost::setLogLevel(debugLevel);
  read(R"({"latencySecsSlowThreshold": -1, "latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 7})");
  const std::vector<LogLine> lines = TestHost::drain(debugLevel);
  EXPECT_EQ(lines.at(1).format,
            "<%s> Latency Slow Threshold: %I64d, Latency Log Threshold: %I64d, Latency Batch Threshold: %I64d");
  EXPECT_EQ(lines.at(1).text,
            "<connectivity.MarlovanceCodec.c1> Latency Slow Threshold: 1, Latency Log Threshold: 0, Latency Batch "
            "Threshold: 7");
}

// What stands in the log

TEST_F(CodecConfigTest, WritesItsLinesInOrder) {
  TestHost::setLogLevel(debugLevel);
  read();
  std::vector<std::pair<std::int32_t, std::string>> formats;
  for (const LogLine& line : TestHost::drain()) formats.emplace_back(line.level, line.format);
  const std::vector<std::pair<std::int32_t, std::string>> expected = {
      {debugLevel, "<%s> config: %s"},
      {infoLevel, "<%s> Marlovance transport is batching measurements with a maximum batch size of %I64d"},
      {infoLevel, "<%s> Using %s concurrency"},
      {debugLevel, "<%s> Latency Slow Threshold: %I64d, Latency Log Threshold: %I64d, Latency Batch Threshold: %I64d"}};
  EXPECT_EQ(formats, expected);
}

TEST_F(CodecConfigTest, ShowsTheWholeConfigurationAtDebugWithThePassword) {
  TestHost::setLogLevel(debugLevel);
  complaintAbout(R"({"password": "s3cr3t"})");
  EXPECT_EQ(takeLogs(debugLevel), Texts{"config: {password:s3cr3t}"});
}

TEST_F(CodecConfigTest, ShowsTheConfigurationBeforeItRefusesIt) {
  TestHost::setLogLevel(debugLevel);
  EXPECT_EQ(complaintAbout(R"({"unknown": 1})"), "MarlovanceCodec missing required configuration element password");
  EXPECT_EQ(takeLogs(debugLevel), Texts{"config: {unknown:1}"});
  EXPECT_EQ(takeLogs(infoLevel), Texts{});
}

TEST_F(CodecConfigTest, KeepsTheConfigurationOutOfTheLogBelowDebug) {
  TestHost::setLogLevel(infoLevel);
  read();
  for (const LogLine& line : TestHost::drain()) EXPECT_EQ(line.text.find("secret"), std::string::npos) << line.text;
}

// Authorisation

TEST_F(CodecConfigTest, EncodesUserNameAndPassword) {
  EXPECT_EQ(authorizationOf("a", "b"), "Basic YTpi");
  EXPECT_EQ(authorizationOf("ab", "c"), "Basic YWI6Yw==");
  EXPECT_EQ(authorizationOf("Aladdin", "open sesame"), "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
  EXPECT_EQ(authorizationOf("user", "secret"), "Basic dXNlcjpzZWNyZXQ=");
}

TEST_F(CodecConfigTest, EncodesEmptyUserNameAndPassword) {
  EXPECT_EQ(authorizationOf("", ""), "Basic Og==");
  EXPECT_EQ(authorizationOf("", ":"), "Basic Ojo=");
}

TEST_F(CodecConfigTest, EncodesTheWholeAlphabetAndBytesAboveAscii) {
  EXPECT_EQ(authorizationOf("?>?>", "\x7f~~~"), "Basic Pz4/Pjp/fn5+");
  EXPECT_EQ(authorizationOf("\xc3\xbc", "\xc3\x9f"), "Basic w7w6w58=");
  EXPECT_EQ(authorizationOf("t1/admin", "p\xc3\xa4ss w\xc3\xb6rd"), "Basic dDEvYWRtaW46cMOkc3Mgd8O2cmQ=");
}

TEST_F(CodecConfigTest, PutsNoTenantInFrontOfTheUserName) {
  EXPECT_EQ(read(R"({"username": "a", "password": "b", "tenantId": "t7"})").authorization.get<std::string>(),
            "Basic YTpi");
}

// Addresses

TEST_F(CodecConfigTest, PutsTheSchemeInFrontOfASenderAddressWithoutOne) {
  const auto stored = [&](const char* address) {
    return read(R"({"smsSenderAddress": )" + quoted(address) + "}").smsSenderAddress.get<std::string>();
  };
  EXPECT_EQ(stored("12345"), "tel:12345");
  EXPECT_EQ(stored("mailto:x"), "mailto:x");
  EXPECT_EQ(stored(":"), ":");
  EXPECT_EQ(stored("tel:1"), "tel:1");
  EXPECT_EQ(stored(""), "");
}

TEST_F(CodecConfigTest, NormalisesAnAddressByItsColon) {
  const CodecConfig config = read();
  EXPECT_EQ(config.normaliseAddress("12345"), "tel:12345");
  EXPECT_EQ(config.normaliseAddress("12345:"), "12345:");
  EXPECT_EQ(config.normaliseAddress(""), "tel:");
}

TEST_F(CodecConfigTest, KeepsAnEmptyApplicationKeyAsAnEmptyText) {
  const CodecConfig config = read(R"({"appKey": ""})");
  EXPECT_TRUE(config.appKey.is(Tag::string));
  EXPECT_EQ(config.appKey.get<std::string>(), "");
}

// Channels

TEST_F(CodecConfigTest, PutsEachPrefixInFrontOfItsChannels) {
  const CodecConfig config = read(R"({"notificationsChannelPrefix": "n.", "queryResponsesChannelPrefix": "q."})");
  EXPECT_EQ(toJson(config.prefixNotificationChannel("channel")), R"("n.channel")");
  EXPECT_EQ(toJson(config.prefixQueryChannel("channel")), R"("q.channel")");
  EXPECT_EQ(toJson(config.prefixNotificationChannel("")), R"("n.")");
}

TEST_F(CodecConfigTest, PassesAnyChannelOnWithoutAPrefix) {
  const CodecConfig config = read();
  for (const char* channel : {"7", "null", R"("channel")", "[1]"}) {
    EXPECT_EQ(toJson(config.prefixNotificationChannel(dataFromJson(channel))), channel);
    EXPECT_EQ(toJson(config.prefixQueryChannel(dataFromJson(channel))), channel);
  }
}

TEST_F(CodecConfigTest, NeedsATextBehindAPrefix) {
  const CodecConfig config = read(R"({"notificationsChannelPrefix": "n.", "queryResponsesChannelPrefix": "q."})");
  EXPECT_EQ(thrownBy([&] { config.prefixNotificationChannel(std::int64_t{7}); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(thrownBy([&] { config.prefixQueryChannel(data_t()); }), "Get from empty");
}

// Tenants

struct IsolationCase {
  const char* baseUrl;
  const char* isolation;
  bool whenConfigured;
  bool whenNot;
};

TEST_F(CodecConfigTest, LetsTheEnvironmentOverruleTheIsolationWhereThePlatformIsNamed) {
  constexpr IsolationCase cases[] = {
      {nullptr, nullptr, true, false},
      {nullptr, "MULTI_TENANT", true, false},
      {nullptr, "PER_TENANT", true, false},
      {"http://p", nullptr, false, false},
      {"http://p", "MULTI_TENANT", true, true},
      {"http://p", "PER_TENANT", false, false},
      {"http://p", "multi_tenant", false, false},
      {"http://p", "MULTI_TENANT ", false, false},
      {"http://p", "", false, false},
      {"", "MULTI_TENANT", true, true},
      {"", nullptr, false, false},
  };
  const auto apply = [&](const char* name, const char* value) {
    value ? environment.set(name, value) : environment.unset(name);
  };
  for (const IsolationCase& each : cases) {
    apply("Q4V_BASEURL", each.baseUrl);
    apply("Q4V_MICROSERVICE_ISOLATION", each.isolation);
    const auto shown = [](const char* value) { return value ? quoted(value) : std::string("unset"); };
    SCOPED_TRACE("Q4V_BASEURL " + shown(each.baseUrl) + ", Q4V_MICROSERVICE_ISOLATION " + shown(each.isolation));
    EXPECT_EQ(read(R"({"isMultitenantIsolation": true})").isMultitenantIsolation, each.whenConfigured);
    EXPECT_EQ(read(R"({"isMultitenantIsolation": false})").isMultitenantIsolation, each.whenNot);
    EXPECT_EQ(read().isMultitenantIsolation, each.whenNot);
  }
}

}  // namespace
}  // namespace tests
