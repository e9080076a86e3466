#pragma once

#include "connectivity/hashed_key.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// The names that the codec shares with the host application and with the platform, as ready-made owned strings: built
/// once, read-only afterwards, shared by all threads. A member is named after its text; where a text stands twice, the
/// second is a member of its own.
struct DataConstants {
  // Requests and metadata
  hashed_key requestId{"requestId"};
  hashed_key http{"http"};
  hashed_key method{"method"};
  hashed_key path{"path"};
  hashed_key params{"params"};
  hashed_key id{"id"};
  hashed_key batchedMessagesCount{"batchedMessagesCount"};
  hashed_key contentType{"contentType"};
  hashed_key queryString{"queryString"};
  hashed_key headers{"headers"};
  hashed_key unit{"unit"};
  hashed_key message{"message"};
  hashed_key options{"options"};
  hashed_key system{"system"};
  hashed_key category{"category"};
  hashed_key key{"key"};
  hashed_key value{"value"};
  hashed_key cookies{"cookies"};
  hashed_key headerXsrfToken{"X-XSRF-TOKEN"};
  hashed_key source{"source"};

  // Metrics
  hashed_key metrics{"metrics"};
  hashed_key batchNo{"batchNo"};
  hashed_key requestNo{"requestNo"};
  hashed_key individualStartTime{"individualStartTime"};
  hashed_key batchStartTime{"batchStartTime"};
  hashed_key requestSentTime{"requestSentTime"};

  // Queries and responses
  hashed_key reqId{"reqId"};
  hashed_key query{"query"};
  hashed_key q{"q"};
  hashed_key statusCode{"statusCode"};
  hashed_key statusReason{"statusReason"};
  hashed_key messageOfError{"message"};

  // SMS
  hashed_key address{"address"};
  hashed_key senderAddress{"senderAddress"};
  hashed_key senderName{"senderName"};
  hashed_key messageOfSms{"message"};
  hashed_key outboundSMSTextMessage{"outboundSMSTextMessage"};
  hashed_key outboundSMSMessageRequest{"outboundSMSMessageRequest"};

  // HTTP methods
  hashed_key methodGet{"GET"};
  hashed_key methodPut{"PUT"};
  hashed_key methodPost{"POST"};
  hashed_key methodDelete{"DELETE"};

  // Paging
  hashed_key withTotalPages{"withTotalPages"};
  hashed_key statistics{"statistics"};
  hashed_key currentPage{"currentPage"};
  hashed_key totalPages{"totalPages"};
  hashed_key pagesLeft{"pagesLeft"};
  hashed_key pageSize{"pageSize"};
  hashed_key isPaging{"isPaging"};
  hashed_key getAllPages{"getAllPages"};
  hashed_key simpleQuery{"simpleQuery"};
  hashed_key originalQuery{"originalQuery"};
  hashed_key responseChannel{"responseChannel"};

  // Identity
  hashed_key tenantId{"tenantId"};
  hashed_key authorization{"authorization"};
  hashed_key headerApplicationKey{"X-Marlovance-Application-Key"};

  // Commits and errors
  hashed_key typeObjectCommitted{"com.kelvo.marlovance.ObjectCommitted"};
  hashed_key typeObjectCommitFailed{"com.kelvo.marlovance.ObjectCommitFailed"};
  hashed_key typeError{"com.kelvo.marlovance.Error"};
  hashed_key requiresResponse{"requiresResponse"};

  // Merged measurements
  hashed_key measurements{"measurements"};
  hashed_key pathMeasurements{"/measurement/measurements"};
  hashed_key mediaTypeMeasurementCollection{"application/vnd.com.rdx.marlovance.measurementcollection+json"};

  // Managed objects
  hashed_key references{"references"};
  hashed_key typeManagedObject{"com.kelvo.marlovance.ManagedObject"};
  hashed_key managedObject{"managedObject"};
  hashed_key channelFindManagedObject{"marlovance.finddevice.response"};
  hashed_key typeFindManagedObjectResponse{"com.kelvo.marlovance.FindManagedObjectResponse"};
  hashed_key typeFindManagedObjectResponseAck{"com.kelvo.marlovance.FindManagedObjectResponseAck"};
  hashed_key errorDetails{"errorDetails"};

  // Alarms
  hashed_key typeAlarm{"com.kelvo.marlovance.Alarm"};
  hashed_key alarm{"alarm"};
  hashed_key channelFindAlarm{"marlovance.findalarm.response"};
  hashed_key typeFindAlarmResponse{"com.kelvo.marlovance.FindAlarmResponse"};
  hashed_key typeFindAlarmResponseAck{"com.kelvo.marlovance.FindAlarmResponseAck"};

  // Events
  hashed_key typeEvent{"com.kelvo.marlovance.Event"};
  hashed_key evt{"evt"};
  hashed_key channelFindEvent{"marlovance.findevent.response"};
  hashed_key typeFindEventResponse{"com.kelvo.marlovance.FindEventResponse"};
  hashed_key typeFindEventResponseAck{"com.kelvo.marlovance.FindEventResponseAck"};

  // Operations
  hashed_key typeOperation{"com.kelvo.marlovance.Operation"};
  hashed_key operation{"operation"};
  hashed_key channelFindOperation{"marlovance.findoperation.response"};
  hashed_key typeFindOperationResponse{"com.kelvo.marlovance.FindOperationResponse"};
  hashed_key typeFindOperationResponseAck{"com.kelvo.marlovance.FindOperationResponseAck"};

  // Measurements
  hashed_key typeMeasurement{"com.kelvo.marlovance.Measurement"};
  hashed_key typeMeasurementFragment{"com.kelvo.marlovance.MeasurementFragment"};
  hashed_key measurement{"measurement"};
  hashed_key channelFindMeasurement{"marlovance.findmeasurement.response"};
  hashed_key typeFindMeasurementResponse{"com.kelvo.marlovance.FindMeasurementResponse"};
  hashed_key typeFindMeasurementResponseAck{"com.kelvo.marlovance.FindMeasurementResponseAck"};
  hashed_key valueFragment{"valueFragment"};
  hashed_key valueSeries{"valueSeries"};

  // Current user
  hashed_key user{"user"};
  hashed_key channelFindCurrentUser{"marlovance.findcurrentuser.response"};
  hashed_key typeGetCurrentUserResponse{"com.kelvo.marlovance.GetCurrentUserResponse"};
  hashed_key typeGetCurrentUserResponseFailed{"com.kelvo.marlovance.GetCurrentUserResponseFailed"};

  // Tenant options
  hashed_key typeFindTenantOptions{"com.kelvo.marlovance.FindTenantOptions"};
  hashed_key optionsOfTenant{"options"};
  hashed_key channelFindTenant{"marlovance.findtenant.response"};
  hashed_key typeFindTenantOptionsResponse{"com.kelvo.marlovance.FindTenantOptionsResponse"};

  // All devices and generic requests
  hashed_key typeRequestAllDevices{"com.kelvo.marlovance.RequestAllDevices"};
  hashed_key typeRequestAllDevicesComplete{"com.kelvo.marlovance.RequestAllDevicesComplete"};
  hashed_key typeGenericResponse{"com.kelvo.marlovance.GenericResponse"};
  hashed_key typeGenericResponseComplete{"com.kelvo.marlovance.GenericResponseComplete"};
  hashed_key channelGeneric{"marlovance.generic.response"};
  hashed_key body{"body"};
  hashed_key error{"error"};
  hashed_key details{"details"};
  hashed_key sentError{"sentError"};

  // Concurrency control
  hashed_key concurrencyControlKey{"concurrencyControlKey"};
  hashed_key concurrencyControlFlush{"concurrencyControlFlush"};
};
static_assert(sizeof(DataConstants) == 112 * sizeof(hashed_key));

}  // namespace com::tallowmere::connectivity::plugins
