#include "codec/DataConstants.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "connectivity/conversion.h"
#include "tests/support/TestHost.h"

namespace tests {
namespace {

using namespace com::tallowmere::connectivity::plugins;

const std::vector<std::string> texts = {
    // Requests and metadata
    "requestId", "http", "method", "path", "params", "id", "batchedMessagesCount", "contentType", "queryString",
    "headers", "unit", "message", "options", "system", "category", "key", "value", "cookies", "X-XSRF-TOKEN", "source",
    // Metrics
    "metrics", "batchNo", "requestNo", "individualStartTime", "batchStartTime", "requestSentTime",
    // Queries and responses
    "reqId", "query", "q", "statusCode", "statusReason", "message",
    // SMS
    "address", "senderAddress", "senderName", "message", "outboundSMSTextMessage", "outboundSMSMessageRequest",
    // HTTP methods
    "GET", "PUT", "POST", "DELETE",
    // Paging
    "withTotalPages", "statistics", "currentPage", "totalPages", "pagesLeft", "pageSize", "isPaging", "getAllPages",
    "simpleQuery", "originalQuery", "responseChannel",
    // Identity
    "tenantId", "authorization", "X-Marlovance-Application-Key",
    // Commits and errors
    "com.kelvo.marlovance.ObjectCommitted", "com.kelvo.marlovance.ObjectCommitFailed", "com.kelvo.marlovance.Error",
    "requiresResponse",
    // Merged measurements
    "measurements", "/measurement/measurements", "application/vnd.com.rdx.marlovance.measurementcollection+json",
    // Managed objects
    "references", "com.kelvo.marlovance.ManagedObject", "managedObject", "marlovance.finddevice.response",
    "com.kelvo.marlovance.FindManagedObjectResponse", "com.kelvo.marlovance.FindManagedObjectResponseAck",
    "errorDetails",
    // Alarms
    "com.kelvo.marlovance.Alarm", "alarm", "marlovance.findalarm.response", "com.kelvo.marlovance.FindAlarmResponse",
    "com.kelvo.marlovance.FindAlarmResponseAck",
    // Events
    "com.kelvo.marlovance.Event", "evt", "marlovance.findevent.response", "com.kelvo.marlovance.FindEventResponse",
    "com.kelvo.marlovance.FindEventResponseAck",
    // Operations
    "com.kelvo.marlovance.Operation", "operation", "marlovance.findoperation.response",
    "com.kelvo.marlovance.FindOperationResponse", "com.kelvo.marlovance.FindOperationResponseAck",
    // Measurements
    "com.kelvo.marlovance.Measurement", "com.kelvo.marlovance.MeasurementFragment", "measurement",
    "marlovance.findmeasurement.response", "com.kelvo.marlovance.FindMeasurementResponse",
    "com.kelvo.marlovance.FindMeasurementResponseAck", "valueFragment", "valueSeries",
    // Current user
    "user", "marlovance.findcurrentuser.response", "com.kelvo.marlovance.GetCurrentUserResponse",
    "com.kelvo.marlovance.GetCurrentUserResponseFailed",
    // Tenant options
    "com.kelvo.marlovance.FindTenantOptions", "options", "marlovance.findtenant.response",
    "com.kelvo.marlovance.FindTenantOptionsResponse",
    // All devices and generic requests
    "com.kelvo.marlovance.RequestAllDevices", "com.kelvo.marlovance.RequestAllDevicesComplete",
    "com.kelvo.marlovance.GenericResponse", "com.kelvo.marlovance.GenericResponseComplete",
    "marlovance.generic.response", "body", "error", "details", "sentError",
    // Concurrency control
    "concurrencyControlKey", "concurrencyControlFlush"};

std::vector<const data_t*> membersOf(const DataConstants& constants) {
  static_assert(sizeof(DataConstants) % sizeof(hashed_key) == 0);
  const auto* first = reinterpret_cast<const hashed_key*>(&constants);
  std::vector<const data_t*> members;
  for (std::size_t index = 0; index < sizeof(DataConstants) / sizeof(hashed_key); ++index)
    members.push_back(first + index);
  return members;
}

TEST(DataConstantsTest, HoldsEachTextInItsPlace) {
  const DataConstants constants;
  std::vector<std::string> found;
  for (const data_t* member : membersOf(constants)) found.push_back(member->get<std::string>());
  EXPECT_EQ(found.size(), 112u);
  EXPECT_EQ(found, texts);
}

TEST(DataConstantsTest, OwnsEachText) {
  const LiveBlocks before = TestHost::liveBlocks();
  const DataConstants constants;
  EXPECT_EQ(TestHost::liveBlocks().strings - before.strings, 112);
  for (const data_t* member : membersOf(constants)) EXPECT_TRUE(member->is(Tag::string));
}

TEST(DataConstantsTest, KeepsEqualTextsApart) {
  DataConstants constants;
  constants.message = hashed_key("changed");
  constants.options = hashed_key("changed");
  EXPECT_EQ(constants.messageOfError.get<std::string>(), "message");
  EXPECT_EQ(constants.messageOfSms.get<std::string>(), "message");
  EXPECT_EQ(constants.optionsOfTenant.get<std::string>(), "options");
}

}  // namespace
}  // namespace tests
