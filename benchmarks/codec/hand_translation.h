// The codec's translation written by hand over a JSON library, as somebody would who has no host to please: the same
// checks, removals, conversions, records and answers, with the library's own objects as messages.
//
// A library is a class with Value, Object, List and Key, and static operations on them; see boost_side.cpp.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "benchmarks/codec/icu_time.h"
#include "benchmarks/codec/sides.h"

namespace benchmarks {

template <class Library>
class HandTranslation {
 public:
  using Value = typename Library::Value;
  using Object = typename Library::Object;
  using List = typename Library::List;
  using Key = typename Library::Key;

  struct Message {
    Object metadata;
    Value payload;
    std::string name;
  };

  HandTranslation(bool isTimeStubbed, Received& received) : time(isTimeStubbed), received(received) {}

  void sendTowardsTransport(std::vector<Message>& events) {
    ++batchNumber;
    {
      const std::lock_guard lock(metricsMutex);
      batches[batchNumber].startTime = now();
    }
    for (Message& event : events) translate(event);
    flush();
    const std::lock_guard lock(metricsMutex);
    batches[batchNumber].allSent = true;
  }

  void sendTowardsHost(std::vector<Message>& responses) {
    for (Message& response : responses) answer(response);
  }

 private:
  enum class Kind { other, alarm, measurement, findMeasurement };

  struct Record {
    Message request;
    Kind kind;
  };

  struct Batch {
    double startTime = 0;
    std::uint64_t outstanding = 0;
    bool allSent = false;
  };

  struct Average {
    double coefficient;
    double value = 0;
    std::string status;
    void update(double sample) {
      value = value == 0.0 ? sample : (1 - coefficient) * value + coefficient * sample;
      status = std::to_string(static_cast<std::int64_t>(value));
    }
  };

  static double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }

  // ------------------------------------------------------------------------------------------------- request half --

  void translate(Message& event) {
    const auto kind = kinds.find(Library::text(*required(event.metadata, keys.type)));
    if (kind == kinds.end()) throw std::runtime_error("No such type");
    Value* const http = required(event.metadata, keys.http);
    if (!Library::find(Library::object(*http), keys.path)) throw std::runtime_error("No path");
    if (kind->second == Kind::findMeasurement) return startWalk(event);

    Object& body = Library::object(event.payload);
    for (const Key& name : hostOnly) Library::erase(body, name);
    removeEmpty(body, kind->second == Kind::alarm ? alarmFields : measurementFields);
    if (kind->second == Kind::alarm) {
      addHeaders(event, [&] { convertTimes(body); });
      chooseMethod(event, body);
      return sendRequest(event, Kind::alarm);
    }
    convertTimes(body);
    chooseMethod(event, body);
    if (Library::find(event.metadata, keys.requiresResponse)) throw std::runtime_error("Only merged here");
    flatten(body);
    pending.push_back(std::move(event));
  }

  template <class Between>
  void addHeaders(Message& request, Between&& between) {
    Object stamp;
    Library::insert(stamp, keys.batchNo, Library::make(static_cast<std::int64_t>(batchNumber)));
    Library::insert(stamp, keys.requestNo, Library::make(static_cast<std::int64_t>(requestNumber++)));
    Library::insert(stamp, keys.batchStartTime, Library::make(now()));
    Library::set(request.metadata, keys.metrics, Library::make(std::move(stamp)));
    {
      const std::lock_guard lock(metricsMutex);
      ++batches[batchNumber].outstanding;
    }
    between();
    authorize(request);
  }

  void authorize(Message& request) {
    Object& http = Library::object(*required(request.metadata, keys.http));
    Value* headers = Library::find(http, keys.headers);
    if (!headers) headers = &Library::set(http, keys.headers, Library::make(Object()));
    Object& fields = Library::object(*headers);
    if (!Library::find(fields, keys.applicationKey))
      Library::set(fields, keys.applicationKey, Library::make(std::string_view(configuredApplicationKey)));
    if (Library::text(*required(fields, keys.applicationKey)).empty()) Library::erase(fields, keys.applicationKey);
    Library::set(fields, keys.authorization, Library::make(std::string_view(configuredAuthorization)));
  }

  void convertTimes(Object& body) {
    warnOfSmallTime(body);
    for (const Key& name : writtenTimes)
      if (Value* const value = Library::find(body, name)) *value = Library::make(time.format(Library::number(*value)));
  }

  void warnOfSmallTime(Object& body) {
    const Value* const seconds = Library::find(body, keys.time);
    Value* const source = Library::find(body, keys.source);
    if (!seconds || !source) return;
    const std::string id(Library::text(*required(Library::object(*source), keys.id)));
    constexpr double oneYear = 31536000.0;
    if (Library::number(*seconds) < oneYear && !id.empty()) throw std::runtime_error("No such times here");
  }

  void chooseMethod(Message& request, Object& body) {
    std::string id;
    if (Library::find(body, keys.id)) {
      const Value taken = Library::take(body, keys.id);
      id = Library::text(taken);
    }
    Object& http = Library::object(*required(request.metadata, keys.http));
    Library::set(http, keys.method, Library::make(std::string_view(id.empty() ? "POST" : "PUT")));
    if (!id.empty())
      Library::set(http, keys.path, Library::make(std::string(Library::text(*required(http, keys.path))) + "/" + id));
  }

  void removeEmpty(Object& body, const std::vector<Key>& names) {
    for (const Key& name : names) {
      const Value* const value = Library::find(body, name);
      if (value && Library::isEmpty(*value)) Library::erase(body, name);
    }
  }

  void flatten(Object& body) {
    if (!Library::find(body, keys.measurements)) return;
    Value taken = Library::take(body, keys.measurements);
    Library::forEach(Library::object(taken), [&](const Key& name, Value& fragment) {
      if (Library::isObject(fragment))
        Library::forEach(Library::object(fragment), [&](const Key&, Value& series) {
          if (Library::isObject(series)) removeEmpty(Library::object(series), unitFields);
        });
      Library::insert(body, name, std::move(fragment));
    });
  }

  void flush() {
    if (pending.empty()) return;
    List measurements;
    for (Message& event : pending) measurements.push_back(std::move(event.payload));
    Message out;
    Object body;
    Library::insert(body, keys.measurements, Library::make(std::move(measurements)));
    out.payload = Library::make(std::move(body));
    Object http;
    Library::insert(http, keys.path, Library::make(std::string_view("/measurement/measurements")));
    Library::insert(http, keys.method, Library::make(std::string_view("POST")));
    Library::set(out.metadata, keys.http, Library::make(std::move(http)));
    Library::set(out.metadata, keys.contentType, Library::make(std::string_view(collectionType)));
    Library::set(out.metadata, keys.type, Library::make(std::string_view("com.kelvo.marlovance.Measurement")));
    addHeaders(out, [] {});
    Library::set(out.metadata, keys.batchedMessagesCount, Library::make(static_cast<std::int64_t>(pending.size())));
    sendRequest(out, Kind::measurement);
    pending.clear();
  }

  void sendRequest(Message& request, Kind kind) {
    Object& stamp = Library::object(*required(request.metadata, keys.metrics));
    Library::set(stamp, keys.individualStartTime, Library::make(now()));
    {
      const std::lock_guard lock(senderMutex);
      const std::int64_t id = nextRequestId++;
      Library::set(request.metadata, keys.requestId, Library::make(id));
      addOrderingHints(request, kind);
      Message clone = request;
      const std::lock_guard tableLock(tableMutex);
      outstanding.try_emplace(id, Record{std::move(clone), kind});
    }
    takeRequest(request);
  }

  void addOrderingHints(Message& request, Kind kind) {
    Object& http = Library::object(*required(request.metadata, keys.http));
    const Value* const method = Library::find(http, keys.method);
    const bool isWrite = !method || Library::text(*method) != "GET";
    if (isWrite || lastWasWrite) {
      std::string key;
      if (kind == Kind::alarm) {
        Value* const source = required(Library::object(request.payload), keys.source);
        key = Library::text(*required(Library::object(*source), keys.id));
      }
      if (isWrite != lastWasWrite) Library::set(request.metadata, keys.concurrencyControlFlush, Library::make(true));
      Library::set(request.metadata, keys.concurrencyControlKey, Library::make(std::string_view(key)));
    }
    lastWasWrite = isWrite;
  }

  void takeRequest(Message& request) {
    const Message taken = std::move(request);
    received.requestIds.push_back(Library::integer(*Library::find(taken.metadata, keys.requestId)));
    if (received.isRecording) record(taken);
  }

  // ------------------------------------------------------------------------------------------------ response half --

  void answer(Message& response) {
    Record record = takeRecord(response);
    if (Library::find(response.metadata, keys.requestSentTime))
      Library::set(record.request.metadata, keys.requestSentTime,
                   Library::take(response.metadata, keys.requestSentTime));
    requestResponded(record.request);
    if (isError(response)) throw std::runtime_error("No failures here");
    bool goesOn = false;
    if (record.kind == Kind::alarm)
      acknowledge(response, record.request);
    else if (record.kind == Kind::findMeasurement)
      goesOn = handlePage(response, record.request);
    if (!goesOn) requestFinished(record);
  }

  Record takeRecord(Message& response) {
    const std::int64_t id = Library::integer(*required(response.metadata, keys.requestId));
    const std::lock_guard lock(tableMutex);
    auto node = outstanding.extract(id);
    if (node.empty()) throw std::runtime_error("No such request");
    return std::move(node.mapped());
  }

  void requestResponded(Message& request) {
    const double moment = now();
    Object& stamp = Library::object(*required(request.metadata, keys.metrics));
    maximumLatency = std::max(maximumLatency, moment - Library::number(*required(stamp, keys.batchStartTime)));
    const double individual = moment - Library::number(*required(stamp, keys.individualStartTime));
    const Value* const pages = Library::find(request.metadata, keys.totalPages);
    slowest = std::max(slowest, individual * (pages ? static_cast<double>(Library::integer(*pages)) : 1));
    const double sent = Library::number(*required(request.metadata, keys.requestSentTime));
    reportTimes.emplace(Library::integer(*required(stamp, keys.requestNo)), sent);
    sentTimes.emplace(Library::integer(*required(stamp, keys.batchNo)), sent);
  }

  bool isError(Message& response) {
    const Value* const type = Library::find(response.metadata, keys.contentType);
    if (!type) return true;
    Object& http = Library::object(*required(response.metadata, keys.http));
    const std::int64_t status = Library::integer(*required(http, keys.statusCode));
    return (status >= 400 && status < 600) || Library::text(*type) == "application/vnd.com.rdx.marlovance.error+json";
  }

  void acknowledge(Message& response, Message& request) {
    if (!Library::find(request.metadata, keys.requiresResponse)) return;
    const Value* const channel = Library::find(request.metadata, keys.responseChannel);
    Library::set(response.metadata, keys.channel, channel ? *channel : Library::make(std::string_view()));
    Library::set(response.metadata, keys.reqId, *required(request.metadata, keys.reqId));
    parseTimes(Library::object(response.payload));
    Library::set(response.metadata, keys.type, Library::make(std::string_view("com.kelvo.marlovance.ObjectCommitted")));
    response.name = "com.kelvo.marlovance.Alarm";
    takeEvent(response);
  }

  void parseTimes(Object& document) {
    for (const Key& name : readTimes)
      if (Value* const value = Library::find(document, name)) *value = Library::make(time.parse(Library::text(*value)));
  }

  void requestFinished(Record& record) {
    if (record.kind == Kind::findMeasurement) sendFinalEvent(record.request);
    const double moment = now();
    Object& stamp = Library::object(*required(record.request.metadata, keys.metrics));
    const double total = moment - Library::number(*required(stamp, keys.batchStartTime));
    const std::int64_t number = Library::integer(*required(stamp, keys.requestNo));
    longest = std::max(longest, moment - reportTimes[number]);
    reportTimes.erase(number);
    longRunning.erase(number);
    longAverage.update(total * 1000);
    shortAverage.update(total * 1000);
    const std::int64_t batch = Library::integer(*required(stamp, keys.batchNo));
    const std::lock_guard lock(metricsMutex);
    const auto found = batches.find(static_cast<std::uint64_t>(batch));
    if (--found->second.outstanding != 0 || !found->second.allSent) return;
    batches.erase(found);
    sentTimes.erase(batch);
  }

  void takeEvent(Message& event) {
    const Message taken = std::move(event);
    ++received.events;
    if (received.isRecording) record(taken);
  }

  void record(const Message& message) {
    nlohmann::json payload = Library::content(message.payload);
    if (!message.name.empty()) payload["(name)"] = message.name;
    received.record(Library::content(message.metadata), std::move(payload));
  }

  // -------------------------------------------------------------------------------------------------------- walks --

  void startWalk(Message& event) {
    authorize(event);
    Object& http = Library::object(*required(event.metadata, keys.http));
    Object& query = Library::object(*required(http, keys.queryString));
    if (!Library::find(query, keys.pageSize))
      Library::set(query, keys.pageSize, Library::make(std::string_view("1000")));
    Library::set(query, keys.withTotalPages, Library::make(true));
    Library::set(event.metadata, keys.getAllPages, Library::make(true));
    addHeaders(event, [&] { convertTimes(query); });
    sendRequest(event, Kind::findMeasurement);
  }

  /// Hands the page's documents to the host and asks for the next page; false after the last one.
  bool handlePage(Message& response, Message& request) {
    Object& http = Library::object(*required(response.metadata, keys.http));
    Library::set(request.metadata, keys.statusCode, Library::make(Library::integer(*required(http, keys.statusCode))));
    Object& payload = Library::object(response.payload);
    Value statistics = Library::take(payload, keys.statistics);
    List* elements = nullptr;
    Library::forEach(payload, [&](const Key&, Value& value) {
      if (!elements && Library::isList(value)) elements = &Library::list(value);
    });
    const std::int64_t reqId = Library::integer(*required(request.metadata, keys.reqId));
    std::vector<Message> events;
    events.reserve(elements->size());
    for (Value& element : *elements) events.push_back(eventOf(element, reqId));
    for (Message& event : events) takeEvent(event);

    Object& requestHttp = Library::object(*required(request.metadata, keys.http));
    Object& query = Library::object(*required(requestHttp, keys.queryString));
    const std::string pageSize(Library::text(*required(query, keys.pageSize)));
    if (events.size() < std::stoull(pageSize)) return false;
    Object& totals = Library::object(statistics);
    if (!Library::find(request.metadata, keys.totalPages)) {
      Library::set(request.metadata, keys.totalPages,
                   Library::make(Library::integer(*required(totals, keys.totalPages))));
      Library::set(request.metadata, keys.withTotalPages, Library::make(false));
    }
    const std::int64_t page = Library::integer(*required(totals, keys.currentPage));
    if (page >= Library::integer(*required(request.metadata, keys.totalPages))) return false;
    Library::set(query, keys.currentPage, Library::make(page + 1));
    sendRequest(request, Kind::findMeasurement);
    return true;
  }

  Message eventOf(Value& element, std::int64_t reqId) {
    Object& document = Library::object(element);
    parseTimes(document);
    gatherFragments(document);
    Message event;
    Library::set(event.metadata, keys.type,
                 Library::make(std::string_view("com.kelvo.marlovance.FindMeasurementResponse")));
    Library::set(event.metadata, keys.channel, Library::make(std::string_view("marlovance.findmeasurement.response")));
    Object payload;
    Library::insert(payload, keys.measurement, std::move(element));
    Library::set(payload, keys.reqId, Library::make(reqId));
    event.payload = Library::make(std::move(payload));
    return event;
  }

  void gatherFragments(Object& document) {
    Object fragments;
    Library::forEach(document, [&](const Key& name, Value& value) {
      if (isFragment(value)) Library::insert(fragments, name, std::move(value));
    });
    Library::forEach(fragments, [&](const Key& name, Value&) { Library::erase(document, name); });
    Library::insert(document, keys.measurements, Library::make(std::move(fragments)));
  }

  bool isFragment(Value& value) {
    if (!Library::isObject(value)) return false;
    bool hasValue = false;
    Library::forEach(Library::object(value), [&](const Key&, Value& series) {
      hasValue = hasValue || (Library::isObject(series) && Library::find(Library::object(series), keys.value));
    });
    return hasValue;
  }

  void sendFinalEvent(Message& request) {
    Object payload;
    Library::insert(payload, keys.error, Library::make(false));
    Library::insert(payload, keys.statusCode,
                    Library::make(Library::integer(*required(request.metadata, keys.statusCode))));
    Library::insert(payload, keys.errorDetails, Library::make(std::string_view()));
    Library::insert(payload, keys.reqId, Library::make(Library::integer(*required(request.metadata, keys.reqId))));
    Message event;
    event.payload = Library::make(std::move(payload));
    Library::set(event.metadata, keys.type,
                 Library::make(std::string_view("com.kelvo.marlovance.FindMeasurementResponseAck")));
    Library::set(event.metadata, keys.channel, Library::make(std::string_view("marlovance.findmeasurement.response")));
    takeEvent(event);
  }

  static Value* required(Object& object, const Key& key) {
    Value* const value = Library::find(object, key);
    if (!value) throw std::runtime_error("A field is missing");
    return value;
  }

  static constexpr const char* collectionType = "application/vnd.com.rdx.marlovance.measurementcollection+json";

  struct Keys {
    Key type{"qel.type"}, channel{"qel.channel"}, http{"http"}, path{"path"}, method{"method"}, headers{"headers"},
        authorization{"authorization"}, applicationKey{"X-Marlovance-Application-Key"}, contentType{"contentType"},
        reqId{"reqId"}, requiresResponse{"requiresResponse"}, responseChannel{"responseChannel"},
        requestId{"requestId"}, requestSentTime{"requestSentTime"}, metrics{"metrics"}, batchNo{"batchNo"},
        requestNo{"requestNo"}, batchStartTime{"batchStartTime"}, individualStartTime{"individualStartTime"},
        concurrencyControlKey{"concurrencyControlKey"}, concurrencyControlFlush{"concurrencyControlFlush"},
        batchedMessagesCount{"batchedMessagesCount"}, statusCode{"statusCode"};
    Key source{"source"}, id{"id"}, time{"time"}, measurements{"measurements"}, measurement{"measurement"},
        value{"value"}, statistics{"statistics"}, queryString{"queryString"}, pageSize{"pageSize"},
        currentPage{"currentPage"}, totalPages{"totalPages"}, withTotalPages{"withTotalPages"},
        getAllPages{"getAllPages"}, error{"error"}, errorDetails{"errorDetails"};
  };
  const Keys keys;
  const std::vector<Key> hostOnly{Key(".kelvo_notificationType"),
                                  Key("source.name"),
                                  Key("source.value"),
                                  Key("source.id"),
                                  Key("source.self"),
                                  Key("source.type")};
  const std::vector<Key> alarmFields{Key("source"), Key("type"),   Key("time"),
                                     Key("text"),   Key("status"), Key("severity")};
  const std::vector<Key> measurementFields{Key("source"), Key("")};
  const std::vector<Key> unitFields{Key("unit")};
  const std::vector<Key> writtenTimes{Key("time"), Key("dateTo"), Key("dateFrom"), Key("createdFrom"),
                                      Key("createdTo")};
  const std::vector<Key> readTimes{Key("time"), Key("creationTime"), Key("lastUpdated"), Key("firstOccurrenceTime")};
  const std::unordered_map<std::string_view, Kind> kinds{
      {"com.kelvo.marlovance.ManagedObject", Kind::other},
      {"com.kelvo.marlovance.Measurement", Kind::measurement},
      {"com.kelvo.marlovance.MeasurementFragment", Kind::other},
      {"com.kelvo.marlovance.Alarm", Kind::alarm},
      {"com.kelvo.marlovance.Event", Kind::other},
      {"com.kelvo.marlovance.Operation", Kind::other},
      {"com.kelvo.marlovance.SendSMS", Kind::other},
      {"com.kelvo.marlovance.SendEmail", Kind::other},
      {"com.kelvo.marlovance.FindManagedObject", Kind::other},
      {"com.kelvo.marlovance.FindMeasurement", Kind::findMeasurement},
      {"com.kelvo.marlovance.FindAlarm", Kind::other},
      {"com.kelvo.marlovance.FindEvent", Kind::other},
      {"com.kelvo.marlovance.FindOperation", Kind::other},
      {"com.kelvo.marlovance.GetCurrentUser", Kind::other},
      {"com.kelvo.marlovance.FindTenantOptions", Kind::other},
      {"com.kelvo.marlovance.RequestAllDevices", Kind::other},
      {"com.kelvo.marlovance.GenericRequest", Kind::other}};

  IcuTime time;
  Received& received;
  std::vector<Message> pending;
  std::mutex senderMutex;
  std::mutex tableMutex;
  std::mutex metricsMutex;
  std::unordered_map<std::int64_t, Record> outstanding;
  std::map<std::uint64_t, Batch> batches;
  std::unordered_map<std::int64_t, double> reportTimes, sentTimes, longRunning;
  Average longAverage{0.01, 0, {}}, shortAverage{0.1, 0, {}};
  double maximumLatency = 0, slowest = 0, longest = 0;
  std::uint64_t batchNumber = 0;
  std::uint64_t requestNumber = 0;
  std::int64_t nextRequestId = 0;
  bool lastWasWrite = false;
};

/// The translation as a side of the workloads.
template <class Library>
class HandSide : public Side {
 public:
  explicit HandSide(bool isTimeStubbed) : translation(isTimeStubbed, received) {}

  void load(const std::vector<MessageText>& texts) override {
    batch.reserve(texts.size());
    for (const MessageText& text : texts) {
      typename Library::Value metadata = Library::parse(text.metadata);
      batch.push_back({std::move(Library::object(metadata)), Library::parse(text.payload), {}});
    }
  }
  void sendTowardsTransport() override { translation.sendTowardsTransport(batch); }
  void sendTowardsHost() override { translation.sendTowardsHost(batch); }
  void unload() override { batch.clear(); }

 private:
  HandTranslation<Library> translation;
  std::vector<typename HandTranslation<Library>::Message> batch;
};

}  // namespace benchmarks
