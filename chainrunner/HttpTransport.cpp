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
constexpr std::size_t longBody = 65536;  // an answer of more takes some milliseconds to deliver

/// The key that orders a request, by kind and text; none when it has none. Any value may be a key.
std::optional<std::string> concurrencyKey(const map_t& metadata, const TransportKeys& keys) {
  const auto entry = metadata.find(keys.concurrencyControlKey);
  if (entry == metadata.end() || entry->second.empty()) return std::nullopt;
  return entry->second.type_name() + std::string(" ") + to_string(entry->second);
}

bool isFlush(const map_t& metadata, const TransportKeys& keys) {
  const auto entry = metadata.find(keys.concurrencyControlFlush);
  return entry != metadata.end() && !(entry->second.is(Tag::boolean) && !entry->second.get<bool>());
}

/// Half of what may be in flight, so that senders go on in groups, but enough for all connections.
std::size_t enoughRoom(const TransportOptions& options) {
  const std::size_t most = options.inFlight > 0 ? options.inFlight - 1 : 0;
  return std::min(most, std::max(options.inFlight / 2, options.connections));
}

}  // namespace

HttpTransport::HttpTransport(TransportOptions options, Deliver deliver, RunRecord& record, Pause pause)
    : options(std::move(options)),
      deliver(std::move(deliver)),
      pause(std::move(pause)),
      record(record),
      roomEnough(enoughRoom(this->options)),
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
    roomMade.broadcast();
    answersCame.broadcast();
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
  const auto requestId = metadata.find(keys.requestId);
  if (requestId == metadata.end()) return;

  auto flight = std::make_unique<Flight>();
  flight->head.requestId = std::move(requestId->second);
  record.countRequest();
  enter();
  try {
    flight->request = makeHttpRequest(taken, options.platform, keys);
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
  if (!isOnDeliveryThread())
    while (undelivered >= options.inFlight && !isCancelled && !isStopping) roomMade.wait(mutex);
  ++undelivered;
}

/// Senders that wait are woken when there is much room, or when as many answers as that have been delivered while
/// pages of walks took the room. So whoever waits goes on, and not for each answer anew.
void HttpTransport::leave() {
  bool hasRoom = false;
  bool isIdle = false;
  {
    const MutexLock lock(mutex);
    --undelivered;
    ++left;
    hasRoom = undelivered <= roomEnough || left >= options.inFlight - roomEnough;
    if (hasRoom) left = 0;
    isIdle = undelivered == 0;
  }
  // Whoever wakes up finds the lock free.
  if (hasRoom) roomMade.broadcast();
  if (isIdle) becameIdle.broadcast();
}

/// What the plug-in sends while it takes an answer is the next page of that answer's walk.
void HttpTransport::follow(Flight& flight, const map_t& metadata) {
  if (!isOnDeliveryThread() || !answered) return;
  flight.walk = walks.goOn(answered->walk, answered->description, flight.description, metadata);
}

void HttpTransport::answerAtOnce(std::unique_ptr<Flight> flight, TransportFailure failure) {
  flight->head.requestSentTime = flight->answeredTime = Platform::relativeHighResTimeFloat();
  flight->last.outcome = std::move(failure);
  {
    const MutexLock lock(mutex);
    if (!addAnswer(std::move(flight))) return;
  }
  answersCame.broadcast();
}

/// Whether the delivery thread is to be woken: it takes all answers at once, and sleeps only when it found none.
bool HttpTransport::addAnswer(std::unique_ptr<Flight> flight) {
  answers.push_back(std::move(flight));
  return answers.size() == 1;
}

void HttpTransport::queue(std::unique_ptr<Flight> flight, const map_t& metadata) {
  auto key = concurrencyKey(metadata, keys);
  {
    const MutexLock lock(mutex);
    const Id id = nextId++;
    order.add(id, std::move(key), isFlush(metadata, keys));
    waiting.emplace_hint(waiting.end(), id, std::move(flight));
    if (!std::exchange(mustWakeWire, false)) return;
  }
  wire.wake();
}

void HttpTransport::waitUntilIdle() {
  const MutexLock lock(mutex);
  while (undelivered > 0) becameIdle.wait(mutex);
}

std::size_t HttpTransport::inFlight() const {
  const MutexLock lock(mutex);
  return undelivered;
}

void HttpTransport::cancel() {
  {
    const MutexLock lock(mutex);
    isCancelled = true;
    roomMade.broadcast();
  }
  wire.wake();
}

// --------------------------------------------------------------------------------------------------- wire thread --

void HttpTransport::runWire() {
  while (takeTurn()) wire.poll(patience(), [this](Id id, Attempt result) { attemptEnded(id, std::move(result)); });
}

/// Hands over the answers that came, and starts what may start; false when the transport is stopping.
bool HttpTransport::takeTurn() {
  std::vector<Id> startable;
  bool cancelling = false;
  bool wakesDelivery = false;
  {
    const MutexLock lock(mutex);
    if (isStopping) return false;
    cancelling = isCancelled;
    for (auto& [id, flight] : ended) {
      order.finish(id);
      wakesDelivery |= addAnswer(std::move(flight));
    }
    if (!cancelling) startable = takeStartable();
  }
  ended.clear();
  if (wakesDelivery) answersCame.broadcast();
  if (cancelling) {
    cancelRequests();
  } else {
    startRetries();
    for (const Id id : startable) attempt(id);
  }
  return true;
}

/// While all connections are busy, a new request needs no wake-up: it starts when one of them is free.
std::vector<HttpTransport::Id> HttpTransport::takeStartable() {
  std::vector<Id> ids;
  while (running.size() < options.connections) {
    const auto id = order.next();
    if (!id) break;
    running.insert(waiting.extract(*id));
    ids.push_back(*id);
  }
  mustWakeWire = running.size() < options.connections;
  return ids;
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
  const auto place = running.find(id);
  auto& flight = place->second;
  if (result.mayRepeat && flight->attempts <= options.retries && !platformIsAway) {
    record.countRetry();
    retries.push_back({Clock::now() + options.retryDelay * (1 << std::min(flight->attempts - 1, 16U)), id});
    return;
  }
  platformIsAway = result.nothingSent;
  flight->answeredTime = Platform::relativeHighResTimeFloat();
  flight->last = std::move(result);
  ended.push_back({id, std::move(flight)});
  running.erase(place);
}

void HttpTransport::cancelRequests() {
  wire.abandonAll();
  retries.clear();
  const double now = Platform::relativeHighResTimeFloat();
  {
    const MutexLock lock(mutex);
    order.clear();
    running.merge(waiting);
    for (auto& [id, flight] : running) {
      flight->answeredTime = now;
      if (flight->attempts == 0) flight->head.requestSentTime = now;
      flight->last.outcome = TransportFailure{503, "transport/cancelled", flight->description + ": the run was ended"};
      addAnswer(std::move(flight));
    }
    running.clear();
    mustWakeWire = true;
  }
  answersCame.broadcast();
}

std::chrono::milliseconds HttpTransport::patience() const {
  using std::chrono::milliseconds;
  if (!ended.empty()) return milliseconds(0);
  Clock::duration wait = std::chrono::seconds(10);
  for (const Retry& retry : retries) wait = std::min(wait, retry.due - Clock::now());
  return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(wait));
}

// ----------------------------------------------------------------------------------------------- delivery thread --

void HttpTransport::runDelivery() {
  Flights taken;
  while (takeAnswers(taken)) {
    for (auto& next : taken) {
      const auto flight = std::move(next);
      if (isLong(*flight)) pause();
      deliverAnswer(*flight);
      walks.endPage(flight->walk);
      if (&next == &taken.back()) pause();
      leave();
    }
    taken.clear();
  }
}

bool HttpTransport::isLong(const Flight& flight) {
  const auto* const answer = std::get_if<HttpAnswer>(&flight.last.outcome);
  return answer && answer->body.size() >= longBody;
}

/// Waits for answers and takes all there are; false when the transport is stopping.
bool HttpTransport::takeAnswers(Flights& taken) {
  const MutexLock lock(mutex);
  while (answers.empty() && !isStopping) answersCame.wait(mutex);
  taken.swap(answers);
  return !isStopping;
}

void HttpTransport::deliverAnswer(Flight& flight) {
  const double latency = flight.answeredTime - flight.head.requestSentTime;
  auto* answer = std::get_if<HttpAnswer>(&flight.last.outcome);
  Message message =
      answer ? makeAnswer(std::move(flight.head), std::move(*answer), flight.description, options.json, keys)
             : makeFailureAnswer(std::move(flight.head), std::get<TransportFailure>(flight.last.outcome), keys);
  const std::string status = answerStatus(message, keys);
  record.countAnswer(status, latency);
  log(logCategory, LogLevel::debug, "%s: %s after %f seconds", flight.description.c_str(), status.c_str(), latency);
  if (flight.request.method == "GET") flight.walk.elements += elementsOf(message.getPayload());
  answered = &flight;
  deliver(message);
  answered = nullptr;
}

}  // namespace chainrunner
