#include "chainrunner/ChainFile.h"

#include <gtest/gtest.h>

#include <utility>

#include "chainrunner/json_reader.h"
#include "chainrunner/json_writer.h"

namespace chainrunner {
namespace {

using std::chrono::milliseconds;

std::string failureOf(const std::string& text) {
  try {
    ChainFile chain = ChainFile::builtIn();
    chain.overlay("my.yaml", text);
    return "no failure";
  } catch (const ChainFileError& error) {
    return error.what();
  }
}

TEST(ChainFileTest, BuiltInChainIsComplete) {
  const ChainFile chain = ChainFile::builtIn();
  EXPECT_EQ(chain.pluginName, "codec");
  EXPECT_EQ(chain.chainId, "fleet");
  EXPECT_EQ(chain.configuration, (std::map<std::string, std::string>{{"concurrencyMode", "auto"}}));
  EXPECT_EQ(chain.transport.timeout, milliseconds(30'000));
  EXPECT_EQ(chain.transport.inFlight, 64U);
  EXPECT_EQ(chain.transport.connections, 8U);
  EXPECT_EQ(chain.transport.retries, 2U);
  EXPECT_EQ(chain.transport.pagesPerWalk, 100'000U);
  EXPECT_EQ(chain.source.batch, 100U);
}

TEST(ChainFileTest, OverlayReplacesOnlyWhatItNames) {
  ChainFile chain = ChainFile::builtIn();
  chain.overlay("my.yaml", R"(
plugin:
  configuration: {maxBatchSize: 500, tenantId: "t1"}
transport: {timeoutSeconds: 5, pagesPerWalk: 7, platform: "https://example.com"}
events:
  Alarm: {method: POST, path: /my/alarms}
)");
  EXPECT_EQ(chain.pluginName, "codec");
  EXPECT_EQ(chain.configuration, (std::map<std::string, std::string>{
                                     {"concurrencyMode", "auto"}, {"maxBatchSize", "500"}, {"tenantId", "t1"}}));
  EXPECT_EQ(chain.transport.timeout, milliseconds(5000));
  EXPECT_EQ(chain.transport.pagesPerWalk, 7U);
  EXPECT_EQ(chain.transport.platform, "https://example.com");
  EXPECT_EQ(chain.transport.retries, 2U);
  ASSERT_NE(chain.mapping.find("Alarm"), nullptr);
  EXPECT_EQ(*chain.mapping.find("Alarm"), "com.kelvo.marlovance.Alarm");
  EXPECT_NE(chain.mapping.find("Event"), nullptr);
}

TEST(ChainFileTest, TakesAnEmptyFileAsNothingToSay) {
  ChainFile chain = ChainFile::builtIn();
  chain.overlay("my.yaml", "");
  EXPECT_EQ(chain.chainId, "fleet");
}

TEST(ChainFileTest, EveryEventHoldsForEventsInFrontOfIt) {
  ChainFile chain;
  chain.overlay("my.yaml", "events:\n  x.A: {method: GET, path: /a}\neveryEvent:\n  required: [metadata.reqId]\n");
  EXPECT_THROW(chain.mapping.toMessage("A", data_t(), map_t()), MappingError);
}

/// "http" of the message that the chain makes of an event, as JSON.
std::string requestOf(const ChainFile& chain, const char* type, const char* payload) {
  Message message = chain.mapping.toMessage(type, readJson(payload), map_t());
  return toJson(std::move(message.getMetadataMap()[data_t("http")]));
}

TEST(ChainFileTest, OwnConstantWinsOverAnInheritedOne) {
  ChainFile chain = ChainFile::builtIn();
  chain.overlay("my.yaml", "events:\n  x.System: {like: FindTenantOptions, set: {query.system: true}}\n");
  EXPECT_EQ(requestOf(chain, "System", R"({"reqId":1})"),
            R"({"method":"GET","path":"/tenant/options","queryString":{"system":true}})");
}

TEST(ChainFileTest, OwnMoveWinsOverAnInheritedOne) {
  ChainFile chain = ChainFile::builtIn();
  chain.overlay("my.yaml", "events:\n  x.Kind: {like: FindTenantOptions, move: {category: query.kind}}\n");
  EXPECT_EQ(requestOf(chain, "Kind", R"({"reqId":1,"category":"fleet"})"),
            R"({"method":"GET","path":"/tenant/options","queryString":{"kind":"fleet","system":false}})");
}

TEST(ChainFileTest, OwnKindWinsOverAnInheritedOne) {
  ChainFile chain = ChainFile::builtIn();
  chain.overlay("my.yaml", "events:\n  x.Word: {like: FindTenantOptions, kinds: {system: string}}\n");
  EXPECT_EQ(requestOf(chain, "Word", R"({"reqId":1,"system":"yes"})"),
            R"({"method":"GET","path":"/tenant/options","queryString":{"system":"yes"}})");
}

TEST(ChainFileTest, RulesOfEveryEventAreAddedToAndHoldForTheTypesOfTheFile) {
  ChainFile chain = ChainFile::builtIn();
  chain.overlay("my.yaml", R"(
everyEvent: {set: {header.X-Site: north}}
events:
  Alarm: {method: POST, path: /my/alarms}
)");
  EXPECT_EQ(requestOf(chain, "Alarm", R"({"reqId":1})"),
            R"({"headers":{"X-Site":"north"},"method":"POST","path":"/my/alarms"})");
  EXPECT_EQ(requestOf(chain, "Event", "{}"), R"({"method":"POST","path":"/event/events"})");
}

struct BadFile {
  const char* name;
  const char* text;
  const char* failure;
};

void PrintTo(const BadFile& file, std::ostream* out) {
  *out << file.name;
}

class BadChainFileTest : public testing::TestWithParam<BadFile> {};

TEST_P(BadChainFileTest, IsRefusedWithFileLineAndKey) {
  EXPECT_EQ(failureOf(GetParam().text), GetParam().failure);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadChainFileTest,
    testing::Values(
        BadFile{"UnknownSection", "plugin: {}\nplugins: {}", "my.yaml:2: plugins: unknown key"},
        BadFile{"UnknownKey", "transport:\n  retires: 4", "my.yaml:2: transport/retires: unknown key"},
        BadFile{"KeyTwice", "transport:\n  retries: 4\n  retries: 5", "my.yaml:3: transport/retries: given twice"},
        BadFile{"NotANumber", "transport:\n  retries: many",
                "my.yaml:2: transport/retries: \"many\" is not a whole number"},
        BadFile{"OutOfRange", "transport:\n  inFlight: 0",
                "my.yaml:2: transport/inFlight: 0 is not between 1 and 100000"},
        BadFile{"BeyondNumbers", "source:\n  batch: 99999999999999999999",
                "my.yaml:2: source/batch: 99999999999999999999 is not between 1 and 1000000"},
        BadFile{"NotAMap", "transport: 5", "my.yaml:1: transport: not a map"},
        BadFile{"NotAList", "everyEvent:\n  floats: time", "my.yaml:2: everyEvent/floats: not a list"},
        BadFile{"NoPath", "events:\n  x.Y: {method: GET}", "my.yaml:2: events/x.Y: no path"},
        BadFile{"NoMethod", "events:\n  x.Y: {path: /y}", "my.yaml:2: events/x.Y: no method"},
        BadFile{"NoPlace", "everyEvent:\n  move:\n    a: nowhere.b",
                "my.yaml:3: everyEvent/move/a: \"nowhere.b\" is no place in a message"},
        BadFile{
            "Password", "plugin:\n  configuration:\n    password: secret",
            "my.yaml:3: plugin/configuration/password: credentials come from the environment, not from a chain file"},
        BadFile{"NoKind", "everyEvent:\n  kinds: {a: text}",
                "my.yaml:2: everyEvent/kinds/a: \"text\" is none of boolean, integer, string, object and list"},
        BadFile{"NoSwitch", "events:\n  x.Y: {closed: yes}",
                "my.yaml:2: events/x.Y/closed: \"yes\" is neither true nor false"},
        BadFile{"LikeNothing", "events:\n  x.Y: {like: x.Z}", "my.yaml:2: events/x.Y/like: unknown event type \"x.Z\""},
        BadFile{"RequiredQuery", "everyEvent:\n  required: [query.a]",
                "my.yaml:2: everyEvent/required: \"query.a\" is neither metadata nor the path"},
        BadFile{"NotYaml", "plugin:\n  - {", "my.yaml:2: end of map flow not found"}),
    [](const auto& each) { return each.param.name; });

TEST(ChainFileTest, NamesAFileThatIsNotThere) {
  ChainFile chain;
  try {
    chain.overlayFile("/nowhere/chain.yaml");
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "/nowhere/chain.yaml: No such file or directory");
  }
}

}  // namespace
}  // namespace chainrunner
