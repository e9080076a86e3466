#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "chainrunner/RequestOrder.h"
#include "chainrunner/RunRecord.h"
#include "chainrunner/TransportKeys.h"
#include "chainrunner/Walks.h"
#include "chainrunner/Wire.h"
#include "chainrunner/options.h"
#include "chainrunner/values.h"
#include "connectivity/plugin_abi.h"
#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// The last element of the chain: takes request messages and gives exactly one answer message for each, whatever
/// happens on the wire. What has no answer of the platform's (a refused connection, a time-out, a body that isn't JSON)
/// gets an error answer made here.
///
/// Three kinds of threads meet in it. Senders bring requests and wait while too many are without an answer. The wire
/// thread speaks HTTP, in the order that "concurrencyControlKey" and "concurrencyControlFlush" ask for. The delivery
/// thread hands answers to the plug-in one at a time; requests that the plug-in sends from there (the next page of a
/// query) never wait, so the two can't lock each other up.
///
/// Threads wake each other as seldom as can be: a wake-up costs more than most of what they do for a request.
class HttpTransport {
 public:
  /// Takes an answer towards the host. Called on the delivery thread only; lets nothing out.
  using Deliver = std::function<void(Message& answer)>;

  /// Told to let go of what was kept of the delivered answers: after the last of those that were taken together, before
  /// that one counts as delivered, and before a long one, which would keep the others waiting. Called on the delivery
  /// thread only; lets nothing out.
  using Pause = std::function<void()>;

  /// Starts the threads. `record` must outlive the transport; `options.platform` is as `checkedPlatform` gives it.
  HttpTransport(
      TransportOptions options, Deliver deliver, RunRecord& record, Pause pause = [] {});

  ~HttpTransport() { stop(); }
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  /// Takes the message's contents. A message without "requestId" (a control object) ends here. Waits when `inFlight`
  /// requests are without an answer, until there is room for some more, unless it runs on the delivery thread. [any
  /// thread]
  void send(Message& message) EXCLUDES(mutex);

  /// `send` as a chain element's entry point; `self` is the transport. [any thread]
  static int sendBatch(void* self, qel_message* begin, qel_message* end) noexcept;

  /// Waits until every request has its answer and every answer has been delivered. [any thread but the delivery thread]
  void waitUntilIdle() EXCLUDES(mutex);

  /// Requests whose answers have not been delivered. [any thread]
  std::size_t inFlight() const EXCLUDES(mutex);

  /// Whether it runs on the delivery thread. [any thread]
  bool isOnDeliveryThread() const { return std::this_thread::get_id() == deliveryThread.get_id(); }

  /// The walks from page to page that are under way. [any thread]
  std::vector<WalkProgress> walksInProgress() const { return walks.inProgress(); }

  /// From now on every request, also those on the wire, gets the error answer "transport/cancelled". [any thread]
  void cancel() EXCLUDES(mutex);

  /// Stops the threads. Requests without an answer get none any more: call `waitUntilIdle` first. [one thread]
  void stop() EXCLUDES(mutex);

 private:
  using Id = RequestOrder::Id;
  using Clock = std::chrono::steady_clock;

  /// A request from its arrival to the delivery of its answer. Belongs to one thread at a time.
  struct Flight {
    AnswerHead head;
    HttpRequest request;
    std::string description;
    Walk walk;
    unsigned attempts = 0;
    double answeredTime = 0;
    Attempt last;
  };
  using Flights = std::vector<std::unique_ptr<Flight>>;
  using FlightsById = std::map<Id, std::unique_ptr<Flight>>;
  using Condition = com::tallowmere::connectivity10_15_4::Condition;
  struct Retry {
    Clock::time_point due;
    Id id;
  };
  struct Ended {
    Id id;
    std::unique_ptr<Flight> flight;
  };

  void enter() EXCLUDES(mutex);
  void leave() EXCLUDES(mutex);
  void follow(Flight& flight, const map_t& metadata);
  void answerAtOnce(std::unique_ptr<Flight> flight, TransportFailure failure) EXCLUDES(mutex);
  void queue(std::unique_ptr<Flight> flight, const map_t& metadata) EXCLUDES(mutex);
  bool addAnswer(std::unique_ptr<Flight> flight) REQUIRES(mutex);

  void runWire();
  bool takeTurn() EXCLUDES(mutex);
  std::vector<Id> takeStartable() REQUIRES(mutex);
  void startRetries();
  void attempt(Id id);
  void attemptEnded(Id id, Attempt result);
  void cancelRequests() EXCLUDES(mutex);
  std::chrono::milliseconds patience() const;

  void runDelivery();
  static bool isLong(const Flight& flight);
  bool takeAnswers(Flights& taken) EXCLUDES(mutex);
  void deliverAnswer(Flight& flight);

  const TransportOptions options;
  const Deliver deliver;
  const Pause pause;
  RunRecord& record;

  const TransportKeys keys;
  const std::size_t roomEnough;  ///< of the requests in flight; when so few are left, waiting senders go on

  mutable com::tallowmere::connectivity10_15_4::Mutex mutex;
  Condition roomMade, answersCame, becameIdle;
  RequestOrder order GUARDED_BY(mutex);
  FlightsById waiting GUARDED_BY(mutex);  ///< to be started
  Flights answers GUARDED_BY(mutex);      ///< to be delivered
  std::size_t undelivered GUARDED_BY(mutex) = 0;
  std::size_t left GUARDED_BY(mutex) = 0;  ///< answers delivered since waiting senders were told to go on
  Id nextId GUARDED_BY(mutex) = 0;
  bool mustWakeWire GUARDED_BY(mutex) = true;  ///< for a new request, which the wire thread might sleep through
  bool isCancelled GUARDED_BY(mutex) = false;
  bool isStopping GUARDED_BY(mutex) = false;

  // Of the wire thread, but for `wire.wake`.
  Wire wire;
  FlightsById running;  ///< on the wire, or waiting for a retry
  std::vector<Retry> retries;
  std::vector<Ended> ended;     ///< since the last turn
  bool platformIsAway = false;  ///< no connection after all retries: until one succeeds, each request is tried once

  Walks walks;
  const Flight* answered = nullptr;  ///< whose answer the plug-in is taking; of the delivery thread

  std::thread wireThread;
  std::thread deliveryThread;
};

}  // namespace chainrunner
