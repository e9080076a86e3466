// The headers that every request gets: application key, authorisation, and what a cookie makes of it.
#include "tests/unit/handlers/HandlerFixture.h"
#include "tests/unit/handlers/PlainHandler.h"

namespace tests {
namespace {

class CredentialsTest : public HandlerFixture {
 protected:
  /// What a helper makes of a request's "http", as JSON.
  std::string after(void (PlainHandler::*helper)(Message&) const, std::string_view http) {
    Message request = messageFromJson(R"({"http": )" + std::string(http) + "}", "{}");
    (PlainHandler(services()).*helper)(request);
    return toJson(request.getMetadataMap().at(data_t("http")));
  }
};

// ---------------------------------------------------------------------------------------- application key

constexpr const char* emptyKeyLine = "X-Marlovance-Application-Key is empty so removing it from headers";

TEST_F(CredentialsTest, TakesTheKeyOutAgainWhereNoneIsConfigured) {
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, R"({"path": "/p"})"), json(R"({"path": "/p", "headers": {}})"));
  EXPECT_EQ(takeLogs(debugLevel), (Texts{emptyKeyLine}));
}

TEST_F(CredentialsTest, TellsOfAnEmptyKeyAtEveryRequest) {
  after(&PlainHandler::addApplicationKey, "{}");
  after(&PlainHandler::addApplicationKey, "{}");
  EXPECT_EQ(takeLogs(debugLevel), (Texts{emptyKeyLine, emptyKeyLine}));
}

TEST_F(CredentialsTest, AddsTheConfiguredKey) {
  configure(R"({"appKey": "k"})");
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, "{}"),
            json(R"({"headers": {"X-Marlovance-Application-Key": "k"}})"));
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(CredentialsTest, AddsTheConfiguredKeyToHeadersThatExist) {
  configure(R"({"appKey": "k"})");
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, R"({"headers": {"a": "b"}})"),
            json(R"({"headers": {"a": "b", "X-Marlovance-Application-Key": "k"}})"));
}

TEST_F(CredentialsTest, LeavesTheEventsOwnKeyWhateverIsConfigured) {
  constexpr const char* http = R"({"headers": {"X-Marlovance-Application-Key": "own"}})";
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, http), json(http));
  configure(R"({"appKey": "k"})");
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, http), json(http));
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(CredentialsTest, TakesOutAnEmptyKeyOfTheEventWhateverIsConfigured) {
  for (const char* options : {"{}", R"({"appKey": "k"})"}) {
    configure(options);
    EXPECT_EQ(after(&PlainHandler::addApplicationKey, R"({"headers": {"a": "b", "X-Marlovance-Application-Key": ""}})"),
              json(R"({"headers": {"a": "b"}})"));
    EXPECT_EQ(takeLogs(debugLevel), (Texts{emptyKeyLine}));
  }
}

TEST_F(CredentialsTest, DoesNothingWithAKeyThatHasNoValueAtAll) {
  parts->config.appKey = data_t();
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, R"({"path": "/p"})"), json(R"({"path": "/p"})"));
  EXPECT_EQ(after(&PlainHandler::addApplicationKey, R"({"headers": {"X-Marlovance-Application-Key": ""}})"),
            json(R"({"headers": {"X-Marlovance-Application-Key": ""}})"));
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(CredentialsTest, RefusesAKeyOrHeadersOfAWrongType) {
  EXPECT_EQ(
      thrownBy([&] { after(&PlainHandler::addApplicationKey, R"({"headers": {"X-Marlovance-Application-Key": 7}})"); }),
      "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(thrownBy([&] { after(&PlainHandler::addApplicationKey, R"({"headers": []})"); }),
            "Incorrect type in get (you asked for map but it's actually list)");
}

// ---------------------------------------------------------------------------------------- authorisation

TEST_F(CredentialsTest, AddsTheConfiguredCredentials) {
  EXPECT_EQ(after(&PlainHandler::addAuthorization, R"({"path": "/p"})"),
            json(R"({"path": "/p", "headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}})"));
}

TEST_F(CredentialsTest, AddsTheCredentialsToHeadersThatExist) {
  EXPECT_EQ(after(&PlainHandler::addAuthorization, R"({"headers": {"a": "b"}})"),
            json(R"({"headers": {"a": "b", "authorization": "Basic dXNlcjpzZWNyZXQ="}})"));
}

TEST_F(CredentialsTest, OverwritesTheEventsOwnCredentials) {
  EXPECT_EQ(after(&PlainHandler::addAuthorization, R"({"headers": {"authorization": "Bearer own"}})"),
            json(R"({"headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}})"));
}

TEST_F(CredentialsTest, RefusesHeadersThatAreNoMap) {
  EXPECT_EQ(thrownBy([&] { after(&PlainHandler::addAuthorization, R"({"headers": "x"})"); }),
            "Incorrect type in get (you asked for map but it's actually string)");
}

struct CookieCase {
  const char* name;
  const char* before;
  const char* after;
};

void PrintTo(const CookieCase& each, std::ostream* out) {
  *out << each.before;
}

class CookieTest : public CredentialsTest, public testing::WithParamInterface<CookieCase> {};

TEST_P(CookieTest, DecidesOnTheCredentials) {
  EXPECT_EQ(after(&PlainHandler::addAuthorizationUnlessCookie, GetParam().before), json(GetParam().after));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CookieTest,
    testing::Values(
        CookieCase{"NoHeaders", R"({"path": "/p"})",
                   R"({"path": "/p", "headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}})"},
        CookieCase{"NoHeadersButACookie", R"({"cookies": {"authorization": "c"}})",
                   R"({"cookies": {"authorization": "c"}, "headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}})"},
        CookieCase{"OwnHeader", R"({"headers": {"authorization": "own", "X-XSRF-TOKEN": ""},
                                    "cookies": {"authorization": "c"}})",
                   R"({"headers": {"authorization": "own", "X-XSRF-TOKEN": ""}, "cookies": {"authorization": "c"}})"},
        CookieCase{"NoCookies", R"({"headers": {"X-XSRF-TOKEN": "t"}})",
                   R"({"headers": {"X-XSRF-TOKEN": "t", "authorization": "Basic dXNlcjpzZWNyZXQ="}})"},
        CookieCase{"EmptyHeaderAndNoCookies", R"({"headers": {"authorization": ""}})",
                   R"({"headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}})"},
        CookieCase{"EmptyCookies", R"({"headers": {"X-XSRF-TOKEN": "t"}, "cookies": {}})",
                   R"({"headers": {"X-XSRF-TOKEN": "t", "authorization": "Basic dXNlcjpzZWNyZXQ="}, "cookies": {}})"},
        CookieCase{"CookieAndToken",
                   R"({"headers": {"X-XSRF-TOKEN": "t"}, "cookies": {"authorization": "c", "a": "b"}})",
                   R"({"headers": {"X-XSRF-TOKEN": "t"}, "cookies": {"authorization": "c", "a": "b"}})"},
        CookieCase{"CookieTokenAndEmptyHeader",
                   R"({"headers": {"authorization": "", "X-XSRF-TOKEN": "t"}, "cookies": {"authorization": "c"}})",
                   R"({"headers": {"authorization": "", "X-XSRF-TOKEN": "t"}, "cookies": {"authorization": "c"}})"},
        CookieCase{"EmptyToken", R"({"headers": {"X-XSRF-TOKEN": ""}, "cookies": {"authorization": "c", "a": "b"}})",
                   R"({"headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}, "cookies": {"a": "b"}})"},
        CookieCase{"NoToken", R"({"headers": {"a": "b"}, "cookies": {"authorization": "c"}})",
                   R"({"headers": {"a": "b", "authorization": "Basic dXNlcjpzZWNyZXQ="}, "cookies": {}})"},
        CookieCase{"EmptyCookie", R"({"headers": {"X-XSRF-TOKEN": "t"}, "cookies": {"authorization": ""}})",
                   R"({"headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}, "cookies": {}})"},
        CookieCase{"OtherCookie", R"({"headers": {"X-XSRF-TOKEN": "t"}, "cookies": {"a": "b"}})",
                   R"({"headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}, "cookies": {"a": "b"}})"}),
    NameOfCase());

}  // namespace
}  // namespace tests
