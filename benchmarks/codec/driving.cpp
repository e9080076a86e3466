#include "benchmarks/codec/driving.h"

#include <utility>

namespace benchmarks {

int nextNumbers(int count) {
  static int next = 0;
  next += count;
  return next - count;
}

void send(Side& side, const std::vector<MessageText>& texts, void (Side::*direction)(), Stopwatch& stopwatch) {
  side.load(texts);
  stopwatch.timed([&] { (side.*direction)(); });
  side.unload();
}

void requestAlarms(Side& side, int count, int number, Stopwatch& stopwatch) {
  std::vector<MessageText> events;
  for (int i = 0; i < count; ++i) events.push_back(alarmEvent(number + i));
  send(side, events, &Side::sendTowardsTransport, stopwatch);
}

void answerAlarms(Side& side, int number, Stopwatch& stopwatch) {
  std::vector<MessageText> responses;
  for (const std::int64_t id : std::exchange(side.received.requestIds, {}))
    responses.push_back(alarmResponse(id, number++));
  send(side, responses, &Side::sendTowardsHost, stopwatch);
}

void runAlarms(Side& side, int count, Stopwatch& stopwatch) {
  const int number = nextNumbers(count);
  requestAlarms(side, count, number, stopwatch);
  answerAlarms(side, number, stopwatch);
}

void runMeasurements(Side& side, int count, Stopwatch& stopwatch) {
  const int number = nextNumbers(count);
  std::vector<MessageText> events;
  for (int i = 0; i < count; ++i) events.push_back(measurementEvent(number + i));
  send(side, events, &Side::sendTowardsTransport, stopwatch);
  Stopwatch unmeasured;
  for (const std::int64_t id : std::exchange(side.received.requestIds, {}))
    send(side, {collectionResponse(id)}, &Side::sendTowardsHost, unmeasured);
}

void runWalk(Side& side, const Walk& walk, Stopwatch& stopwatch) {
  Stopwatch unmeasured;
  send(side, {findEvent(1, walk)}, &Side::sendTowardsTransport, unmeasured);
  for (int page = 1; page <= walk.pages; ++page) {
    const std::int64_t id = side.received.requestIds.at(0);
    side.received.requestIds.clear();
    send(side, {findResponse(id, page, walk)}, &Side::sendTowardsHost, stopwatch);
  }
}

}  // namespace benchmarks
