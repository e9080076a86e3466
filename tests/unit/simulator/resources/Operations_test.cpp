#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class OperationsTest : public PlatformTest {
 protected:
  static std::string operationOf(const std::string& id) { return R"({"deviceId":")" + id + R"(","restart":{}})"; }
};

TEST_F(OperationsTest, NewOperationIsPending) {
  const Received created = client.post("/operation/operations", operationOf(device()));
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/vnd.com.rdx.marlovance.operation+json");
  boost::json::object expected = object(R"({"id":"2504002","deviceId":"2504001","status":"PENDING","restart":{},
      "creationTime":"1970-01-01T00:00:00.000Z","lastUpdated":"1970-01-01T00:00:00.000Z"})");
  expected["self"] = platform.url() + "/operation/operations/2504002";
  EXPECT_EQ(created.json(), expected);
  EXPECT_EQ(client.get("/operation/operations/2504002").json(), expected);
}

TEST_F(OperationsTest, UpdatesMoveTheStatusOn) {
  const std::string id = client.post("/operation/operations", operationOf(device())).id();
  for (const char* status : {"EXECUTING", "SUCCESSFUL", "FAILED"}) {
    const Received updated =
        client.put("/operation/operations/" + id, std::string(R"({"status":")") + status + R"("})");
    EXPECT_EQ(updated.status, 200);
    EXPECT_EQ(updated.json().at("status"), status);
  }
}

TEST_F(OperationsTest, RefusesUnknownStatus) {
  const std::string id = client.post("/operation/operations", operationOf(device())).id();
  expectError(client.put("/operation/operations/" + id, R"({"status":"DONE"})"), 422, "unprocessable",
              R"("status" must be one of PENDING, EXECUTING, SUCCESSFUL, FAILED, not "DONE")");
}

TEST_F(OperationsTest, OperationOfADeletedDeviceCanBeEnded) {
  const std::string device = this->device();
  const std::string id = client.post("/operation/operations", R"({"deviceId":")" + device + R"("})").id();
  client.request("DELETE", "/registry/managed-objects/" + device);
  EXPECT_EQ(client.put("/operation/operations/" + id, R"({"status":"FAILED"})").status, 200);
  EXPECT_EQ(client.put("/operation/operations/" + id, R"({"deviceId":)" + device + "}").status, 200);
}

TEST_F(OperationsTest, CannotBeginWithAnotherStatus) {
  device();
  expectError(client.post("/operation/operations", R"({"deviceId":"2504001","status":"EXECUTING"})"), 422,
              "unprocessable", R"("status" of a new operation must be PENDING, or be left out)");
}

TEST_F(OperationsTest, DeviceMustExist) {
  expectError(client.post("/operation/operations", "{}"), 422, "unprocessable", R"("deviceId" is missing)");
  expectError(client.post("/operation/operations", R"({"deviceId":"77"})"), 422, "unprocessable",
              R"("deviceId" names no managed object: "77")");
  expectError(client.post("/operation/operations", R"({"deviceId":{}})"), 422, "unprocessable",
              R"("deviceId" must be a text, not an object)");
}

TEST_F(OperationsTest, DeviceAndDeliveryAreFixed) {
  const std::string id = client.post("/operation/operations", operationOf(device())).id();
  const std::string other = device();
  expectError(client.put("/operation/operations/" + id, R"({"deviceId":")" + other + R"(","delivery":{}})"), 422,
              "unprocessable",
              R"("deviceId" is fixed at creation, an update can't change it; )"
              R"("delivery" is fixed at creation, an update can't change it)");
}

}  // namespace
}  // namespace simulator
