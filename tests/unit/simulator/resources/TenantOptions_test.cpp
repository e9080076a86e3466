#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class TenantOptionsTest : public PlatformTest {
 protected:
  /// The list without its link.
  boost::json::object list(const std::string& target) {
    const Received answer = client.get(target);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.contentType, "application/vnd.com.rdx.marlovance.optioncollection+json");
    boost::json::object body = answer.json();
    EXPECT_EQ(body.at("self"), boost::json::value(platform.url() + target));
    body.erase("self");
    return body;
  }
};

TEST_F(TenantOptionsTest, FreshStoreListsItsDefaultsByCategoryAndKey) {
  EXPECT_EQ(list("/tenant/options?pageSize=1000&withTotalPages=true"),
            object(R"({"options":[{"category":"alarms","key":"retention.days","value":"90"},
                {"category":"fleet","key":"region","value":"north"},{"category":"fleet","key":"units","value":"metric"},
                {"category":"measurements","key":"retention.days","value":"30"}],
                "statistics":{"currentPage":1,"pageSize":1000,"totalPages":1}})"));
}

TEST_F(TenantOptionsTest, ListIsServedInPages) {
  EXPECT_EQ(list("/tenant/options?pageSize=3&withTotalPages=true&currentPage=2"),
            object(R"({"options":[{"category":"measurements","key":"retention.days","value":"30"}],
                "statistics":{"currentPage":2,"pageSize":3,"totalPages":2}})"));
}

TEST_F(TenantOptionsTest, SystemOptionsAreOptionsOfTheirOwn) {
  EXPECT_EQ(list("/tenant/system/options?pageSize=1"),
            object(R"({"options":[{"category":"limits","key":"page.size","value":"2000"}],
                "statistics":{"currentPage":1,"pageSize":1}})"));
  EXPECT_EQ(client.get("/tenant/system/options/fleet").status, 404);
}

TEST_F(TenantOptionsTest, CategoryIsAMapOfKeysToValues) {
  const Received answer = client.get("/tenant/options/fleet?pageSize=1000");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.contentType, "application/vnd.com.rdx.marlovance.option+json");
  EXPECT_EQ(answer.json(), object(R"({"region":"north","units":"metric"})"));
}

TEST_F(TenantOptionsTest, CategoryAndKeyAreOneOption) {
  const Received answer = client.get("/tenant/system/options/limits/retention.days");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.contentType, "application/vnd.com.rdx.marlovance.option+json");
  EXPECT_EQ(answer.json(), object(R"({"category":"limits","key":"retention.days","value":"365"})"));
}

TEST_F(TenantOptionsTest, LoadedOptionsOfAnyNameAndValueAreServed) {
  platform.load(R"({"tenantOptions":[{"category":"Größe & Maß","key":"a/b","value":{"m":[1.0,2]}},
      {"category":"fleet","key":"region","value":"south"}]})");
  EXPECT_EQ(client.get("/tenant/options/Gr%C3%B6%C3%9Fe%20&%20Ma%C3%9F/a%2Fb").json(),
            object(R"({"category":"Größe & Maß","key":"a/b","value":{"m":[1.0,2]}})"));
  EXPECT_EQ(client.get("/tenant/options/fleet").json(), object(R"({"region":"south","units":"metric"})"));
}

TEST_F(TenantOptionsTest, MissingOptionsAreNotFound) {
  expectError(client.get("/tenant/options/nothing"), 404, "notFound",
              R"(there is no tenant option of the category "nothing")");
  expectError(client.get("/tenant/options/fleet/colour"), 404, "notFound",
              R"(there is no tenant option of the category "fleet" with the key "colour")");
  expectError(client.get("/tenant/system/options/limits/colour"), 404, "notFound",
              R"(there is no system option of the category "limits" with the key "colour")");
}

TEST_F(TenantOptionsTest, OtherPathsMethodsAndParametersAreRefused) {
  EXPECT_EQ(client.get("/tenant").status, 404);
  EXPECT_EQ(client.get("/tenant/system").status, 404);
  EXPECT_EQ(client.get("/tenant/options/a/b/c").status, 404);
  EXPECT_EQ(client.post("/tenant/options", "{}").headers.at("allow"), "GET");
  EXPECT_EQ(client.get("/tenant/options?colour=red").status, 422);
  EXPECT_EQ(client.get("/tenant/options/fleet?pageSize=many").status, 422);
}

}  // namespace
}  // namespace simulator
