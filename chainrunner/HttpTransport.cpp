#include "chainrunner/HttpTransport.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "chainrunner/log.h"
#include "connectivity/host_platform.h"
#include "connectivity/to_string.h"

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

namespace {

constexpr const char* logCategory = "marlovance-chain.transport";

/// The key that orders a request, by kind and text; none when it has none. Any value may be a key.
std::optional<std::string> concurrencyKey(const map_t& metadata) {
  const auto entry = metadata.find(data_t("concurrencyControlKey"));
  if (entry == metadata.end() || entry->second.empty()) return std::nullopt;
  return entry->second.type_name() + std::string(" ") + to_string(entry->second);
}

bool isFlush(const map_t& metadata) {
  const auto entry = metadata.find(data_t("concurrencyControlFlush"));
  return entry != metadata.end() && !(entry->second.is(Tag::boolean) && !entry->second.get<bool>());
}

}  // namespace

HttpTransport::HttpTransport(TransportOptions options, Deliver deliver, RunRecord& record)
    : options(std::move(options)),
      deliver(std::move(deliver)),
      record(record),
      wire(this->options),
      walks(this->options.pagesPerWalk) {
  deliveryThread = std::thread([this] { runDelivery(); });
  wireThread = std::thread([this] { runWire(); });
}

void HttpTransport::stop() {
  if (!wireThread.joinable()) return;
  {
    const MutexLock lock(mutex);
    isStopping = true;
    changed.broadcast();
  }
  wire.wake();
  wireThread.join();
  deliveryThread.join();
}

// ------------------------------------------------------------------------------------------------------- senders --

int HttpTransport::sendBatch(void* self, qel_message* begin, qel_message* end) noexcept {
  try {
    for (Message* message = begin; message != end; ++message) static_cast<HttpTransport*>(self)->send(*message);
    return 0;
  } catch (const std::exception& error) {
    log(logCategory, LogLevel::error, "A request is lost: %s", error.what());
    return 1;
  }
}

void HttpTransport::send(Message& message) {
  Message taken(std::move(message));
  map_t& metadata = taken.getMetadataMap();
  const auto requestId = metadata.find(data_t("requestId"));
  if (requestId == metadata.end()) return;

  auto flight = std::make_unique<Flight>();
  flight->head.requestId = std::move(requestId->second);
  record.countRequest();
  enter();
  try {
    flight->request = makeHttpRequest(taken, options.platform);
  } catch (const std::exception& error) {
    return answerAtOnce(std::move(flight),
                        {400, "transport/refused", std::string(error.what()) + "; nothing was sent"});
  }
  flight->description = flight->request.method + " " + flight->request.url.substr(options.platform.size());
  follow(*flight, metadata);
  if (walks.isTooLong(flight->walk)) {
    const std::string reason = flight->description + ": the walk may not have more than " +
                               std::to_string(options.pagesPerWalk) + " pages; nothing was sent";
    return answerAtOnce(std::move(flight), {400, "transport/tooManyPages", reason});
  }
  queue(std::move(flight), metadata);
}

void HttpTransport::enter() {
  const MutexLock lock(mutex);
  if (std::this_thread::get_id() != deliveryThread.get_id())
    while (undelivered >= options.inFlight && !isCancelled && !isStopping) changed.wait(mutex);
  ++undelivered;
}

/// What the plug-in sends while it takes an answer is the next page of that answer's walk.
void HttpTransport::follow(Flight& flight, const map_t& metadata) {
  if (std::this_thread::get_id() != deliveryThread.get_id() || !answered) return;
  flight.walk = walks.goOn(answered->walk, answered->description, flight.description, metadata);
}

void HttpTransport::answerAtOnce(std::unique_ptr<Flight> flight, TransportFailure failure) {
  flight->head.requestSentTime = flight->answeredTime = Platform::relativeHighResTimeFloat();
  flight->last.outcome = std::move(failure);
  const MutexLock lock(mutex);
  answers.push_back(std::move(flight));
  changed.broadcast();
}

void HttpTransport::queue(std::unique_ptr<Flight> flight, const map_t& metadata) {
  {
    const MutexLock lock(mutex);
    const Id id = nextId++;
    order.add(id, concurrencyKey(metadata), isFlush(metadata));
    flights.emplace(id, std::move(flight));
  }
  wire.wake();
}

void HttpTransport::waitUntilIdle() {
  const MutexLock lock(mutex);
  while (undelivered > 0) changed.wait(mutex);
}

std::size_t HttpTransport::inFlight() const {
  const MutexLock lock(mutex);
  return undelivered;
}

void HttpTransport::cancel() {
  {
    const MutexLock lock(mutex);
    isCancelled = true;
    changed.broadcast();
  }
  wire.wake();
}

// --------------------------------------------------------------------------------------------------- wire thread --

void HttpTransport::runWire() {
  for (;;) {
    bool cancelling = false;
    {
      const MutexLock lock(mutex);
      if (isStopping) return;
      cancelling = isCancelled;
    }
    if (cancelling) cancelRequests();
    startRequests();
    startRetries();
    wire.poll(patience(), [this](Id id, Attempt result) { attemptEnded(id, std::move(result)); });
  }
}

void HttpTransport::startRequests() {
  std::vector<Id> fresh;
  {
    const MutexLock lock(mutex);
    while (running.size() < options.connections) {
      const auto id = order.next();
      if (!id) break;
      running.emplace(*id, flights.at(*id).get());
      fresh.push_back(*id);
    }
  }
  for (const Id id : fresh) attempt(id);
}

void HttpTransport::startRetries() {
  const auto now = Clock::now();
  const auto firstDue =
      std::partition(retries.begin(), retries.end(), [&](const Retry& retry) { return retry.due > now; });
  const std::vector<Retry> due(firstDue, retries.end());
  retries.erase(firstDue, retries.end());
  for (const Retry& retry : due) attempt(retry.id);
}

void HttpTransport::attempt(Id id) {
  Flight& flight = *running.at(id);
  if (flight.attempts++ == 0) flight.head.requestSentTime = Platform::relativeHighResTimeFloat();
  try {
    wire.start(id, flight.request, flight.description);
  } catch (const std::exception& error) {
    attemptEnded(id,
                 {TransportFailure{502, "transport/failed", flight.description + ": " + error.what()}, false, false});
  }
}

void HttpTransport::attemptEnded(Id id, Attempt result) {
  Flight& flight = *running.at(id);
  if (result.mayRepeat && flight.attempts <= options.retries && !platformIsAway) {
    record.countRetry();
    retries.push_back({Clock::now() + options.retryDelay * (1 << std::min(flight.attempts - 1, 16U)), id});
    return;
  }
  platformIsAway = result.nothingSent;
  flight.answeredTime = Platform::relativeHighResTimeFloat();
  flight.last = std::move(result);
  running.erase(id);

  const MutexLock lock(mutex);
  order.finish(id);
  answers.push_back(std::move(flights.extract(id).mapped()));
  changed.broadcast();
}

void HttpTransport::cancelRequests() {
  wire.abandonAll();
  retries.clear();
  running.clear();
  const double now = Platform::relativeHighResTimeFloat();
  const MutexLock lock(mutex);
  for (auto& [id, flight] : flights) {
    order.finish(id);
    flight->answeredTime = now;
    if (flight->attempts == 0) flight->head.requestSentTime = now;
    flight->last.outcome = TransportFailure{503, "transport/cancelled", flight->description + ": the run was ended"};
    answers.push_back(std::move(flight));
  }
  flights.clear();
  changed.broadcast();
}

std::chrono::milliseconds HttpTransport::patience() const {
  using std::chrono::milliseconds;
  Clock::duration wait = std::chrono::seconds(10);
  for (const Retry& retry : retries) wait = std::min(wait, retry.due - Clock::now());
  return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(wait));
}

// ----------------------------------------------------------------------------------------------- delivery thread --

void HttpTransport::runDelivery() {
  for (;;) {
    std::unique_ptr<Flight> flight;
    {
      const MutexLock lock(mutex);
      while (answers.empty() && !isStopping) changed.wait(mutex);
      if (isStopping) return;
      flight = std::move(answers.front());
      answers.pop_front();
    }
    deliverAnswer(*flight);
    walks.endPage(flight->walk);
    const MutexLock lock(mutex);
    --undelivered;
    changed.broadcast();
  }
}

void HttpTransport::deliverAnswer(Flight& flight) {
  const double latency = flight.answeredTime - flight.head.requestSentTime;
  auto* answer = std::get_if<HttpAnswer>(&flight.last.outcome);
  Message message = answer ? makeAnswer(std::move(flight.head), std::move(*answer), flight.description, options.json)
                           : makeFailureAnswer(std::move(flight.head), std::get<TransportFailure>(flight.last.outcome));
  const std::string status = answerStatus(message);
  record.countAnswer(status, latency);
  log(logCategory, LogLevel::debug, "%s: %s after %f seconds", flight.description.c_str(), status.c_str(), latency);
  flight.walk.elements += elementsOf(message.getPayload());
  answered = &flight;
  deliver(message);
  answered = nullptr;
}

}  // namespace chainrunner
