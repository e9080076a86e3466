#pragma once

#include "connectivity/data_t.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// The names that the codec shares with the host application and with the platform, as ready-made owned strings: built
/// once, read-only afterwards, shared by all threads. A member is named after its text; where a text stands twice, the
/// second is a member of its own.
struct DataConstants {
  // Requests and metadata
  data_t requestId{"requestId"};
  data_t http{"http"};
  data_t method{"method"};
  data_t path{"path"};
  data_t params{"params"};
  data_t id{"id"};
  data_t batchedMessagesCount{"batchedMessagesCount"};
  data_t contentType{"contentType"};
  data_t queryString{"queryString"};
  data_t headers{"headers"};
  data_t unit{"unit"};
  data_t message{"message"};
  data_t options{"options"};
  data_t system{"system"};
  data_t category{"category"};
  data_t key{"key"};
  data_t value{"value"};
  data_t cookies{"cookies"};
  data_t headerXsrfToken{"X-XSRF-TOKEN"};
  data_t source{"source"};

  // Metrics
  data_t metrics{"metrics"};
  data_t batchNo{"batchNo"};
  data_t requestNo{"requestNo"};
  data_t individualStartTime{"individualStartTime"};
  data_t batchStartTime{"batchStartTime"};
  data_t requestSentTime{"requestSentTime"};

  // Queries and responses
  data_t reqId{"reqId"};
  data_t query{"query"};
  data_t q{"q"};
  data_t statusCode{"statusCode"};
  data_t statusReason{"statusReason"};
  data_t messageOfError{"message"};

  // SMS
  data_t address{"address"};
  data_t senderAddress{"senderAddress"};
  data_t senderName{"senderName"};
  data_t messageOfSms{"message"};
  data_t outboundSMSTextMessage{"outboundSMSTextMessage"};
  data_t outboundSMSMessageRequest{"outboundSMSMessageRequest"};

  // HTTP methods
  data_t methodGet{"GET"};
  data_t methodPut{"PUT"};
  data_t methodPost{"POST"};
  data_t methodDelete{"DELETE"};

  // Paging
  data_t withTotalPages{"withTotalPages"};
  data_t statistics{"statistics"};
  data_t currentPage{"currentPage"};
  data_t totalPages{"totalPages"};
  data_t pagesLeft{"pagesLeft"};
  data_t pageSize{"pageSize"};
  data_t isPaging{"isPaging"};
  data_t getAllPages{"getAllPages"};
  data_t simpleQuery{"simpleQuery"};
  data_t originalQuery{"originalQuery"};
  data_t responseChannel{"responseChannel"};

  // Identity
  data_t tenantId{"tenantId"};
  data_t authorization{"authorization"};
  data_t headerApplicationKey{"X-Marlovance-Application-Key"};

  // Commits and errors
  data_t typeObjectCommitted{"com.kelvo.marlovance.ObjectCommitted"};
  data_t typeObjectCommitFailed{"com.kelvo.marlovance.ObjectCommitFailed"};
  data_t typeError{"com.kelvo.marlovance.Error"};
  data_t requiresResponse{"requiresResponse"};

  // Merged measurements
  data_t measurements{"measurements"};
  data_t pathMeasurements{"/measurement/measurements"};
  data_t mediaTypeMeasurementCollection{"application/vnd.com.rdx.marlovance.measurementcollection+json"};

  // Managed objects
  data_t references{"references"};
  data_t typeManagedObject{"com.kelvo.marlovance.ManagedObject"};
  data_t managedObject{"managedObject"};
  data_t channelFindManagedObject{"marlovance.finddevice.response"};
  data_t typeFindManagedObjectResponse{"com.kelvo.marlovance.FindManagedObjectResponse"};
  data_t typeFindManagedObjectResponseAck{"com.kelvo.marlovance.FindManagedObjectResponseAck"};
  data_t errorDetails{"errorDetails"};

  // Alarms
  data_t typeAlarm{"com.kelvo.marlovance.Alarm"};
  data_t alarm{"alarm"};
  data_t channelFindAlarm{"marlovance.findalarm.response"};
  data_t typeFindAlarmResponse{"com.kelvo.marlovance.FindAlarmResponse"};
  data_t typeFindAlarmResponseAck{"com.kelvo.marlovance.FindAlarmResponseAck"};

  // Events
  data_t typeEvent{"com.kelvo.marlovance.Event"};
  data_t evt{"evt"};
  data_t channelFindEvent{"marlovance.findevent.response"};
  data_t typeFindEventResponse{"com.kelvo.marlovance.FindEventResponse"};
  data_t typeFindEventResponseAck{"com.kelvo.marlovance.FindEventResponseAck"};

  // Operations
  data_t typeOperation{"com.kelvo.marlovance.Operation"};
  data_t operation{"operation"};
  data_t channelFindOperation{"marlovance.findoperation.response"};
  data_t typeFindOperationResponse{"com.kelvo.marlovance.FindOperationResponse"};
  data_t typeFindOperationResponseAck{"com.kelvo.marlovance.FindOperationResponseAck"};

  // Measurements
  data_t typeMeasurement{"com.kelvo.marlovance.Measurement"};
  data_t typeMeasurementFragment{"com.kelvo.marlovance.MeasurementFragment"};
  data_t measurement{"measurement"};
  data_t channelFindMeasurement{"marlovance.findmeasurement.response"};
  data_t typeFindMeasurementResponse{"com.kelvo.marlovance.FindMeasurementResponse"};
  data_t typeFindMeasurementResponseAck{"com.kelvo.marlovance.FindMeasurementResponseAck"};
  data_t valueFragment{"valueFragment"};
  data_t valueSeries{"valueSeries"};

  // Current user
  data_t user{"user"};
  data_t channelFindCurrentUser{"marlovance.findcurrentuser.response"};
  data_t typeGetCurrentUserResponse{"com.kelvo.marlovance.GetCurrentUserResponse"};
  data_t typeGetCurrentUserResponseFailed{"com.kelvo.marlovance.GetCurrentUserResponseFailed"};

  // Tenant options
  data_t typeFindTenantOptions{"com.kelvo.marlovance.FindTenantOptions"};
  data_t optionsOfTenant{"options"};
  data_t channelFindTenant{"marlovance.findtenant.response"};
  data_t typeFindTenantOptionsResponse{"com.kelvo.marlovance.FindTenantOptionsResponse"};

  // All devices and generic requests
  data_t typeRequestAllDevices{"com.kelvo.marlovance.RequestAllDevices"};
  data_t typeRequestAllDevicesComplete{"com.kelvo.marlovance.RequestAllDevicesComplete"};
  data_t typeGenericResponse{"com.kelvo.marlovance.GenericResponse"};
  data_t typeGenericResponseComplete{"com.kelvo.marlovance.GenericResponseComplete"};
  data_t channelGeneric{"marlovance.generic.response"};
  data_t body{"body"};
  data_t error{"error"};
  data_t details{"details"};
  data_t sentError{"sentError"};

  // Concurrency control
  data_t concurrencyControlKey{"concurrencyControlKey"};
  data_t concurrencyControlFlush{"concurrencyControlFlush"};
};
static_assert(sizeof(DataConstants) == 112 * sizeof(data_t));

}  // namespace com::tallowmere::connectivity::plugins
