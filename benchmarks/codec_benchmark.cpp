// W10 to W12: the codec's translation, beside the same by hand over two JSON libraries. "stub" stands for the variants
// in which ICU's conversions of times are left out.
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "benchmarks/codec/sides.h"
#include "benchmarks/harness.h"

namespace benchmarks {

namespace {

using MakeSide = std::unique_ptr<Side> (*)(bool isTimeStubbed);

/// Numbers that no two rounds share, so that no time is converted twice.
int nextNumbers(int count) {
  static int next = 0;
  next += count;
  return next - count;
}

/// Sends what `texts` say, the part under the stopwatch, and cleans up.
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

void runWalk(Side& side, bool isSteady, Stopwatch& stopwatch) {
  Stopwatch unmeasured;
  send(side, {findEvent(1)}, &Side::sendTowardsTransport, unmeasured);
  for (int page = 1; page <= pagesPerWalk; ++page) {
    const std::int64_t id = side.received.requestIds.at(0);
    side.received.requestIds.clear();
    send(side, {findResponse(id, page, isSteady)}, &Side::sendTowardsHost, stopwatch);
  }
}

/// A first answer that was slow: later ones are no new maximum of the hour, which would cost a report.
std::shared_ptr<Side> settled(MakeSide make, bool isTimeStubbed) {
  using namespace std::chrono_literals;
  std::shared_ptr<Side> side = make(isTimeStubbed);
  Stopwatch unmeasured;
  const int number = nextNumbers(1);
  requestAlarms(*side, 1, number, unmeasured);
  std::this_thread::sleep_for(500ms);
  answerAlarms(*side, number, unmeasured);
  return side;
}

nlohmann::json recorded(MakeSide make, bool isTimeStubbed, void (*workload)(Side&)) {
  const std::unique_ptr<Side> side = make(isTimeStubbed);
  side->received.isRecording = true;
  workload(*side);
  return side->received.contents;
}

/// Compares all that reaches the transport and the host with what the plug-in sends there.
void checkSide(const char* peer, MakeSide make) {
  struct {
    const char* name;
    void (*run)(Side&);
  } const workloads[] = {
      {"W10",
       [](Side& side) {
         Stopwatch unmeasured;
         requestAlarms(side, 3, 0, unmeasured);
         answerAlarms(side, 0, unmeasured);
       }},
      {"W11",
       [](Side& side) {
         Stopwatch unmeasured;
         send(side, {measurementEvent(1), measurementEvent(2)}, &Side::sendTowardsTransport, unmeasured);
       }},
      {"W12", [](Side& side) {
         Stopwatch unmeasured;
         runWalk(side, false, unmeasured);
       }}};
  for (const auto& workload : workloads)
    for (const bool isTimeStubbed : {false, true})
      expectSame(std::string(workload.name) + (isTimeStubbed ? "stub " : " ") + peer,
                 recorded(make, isTimeStubbed, workload.run).dump(),
                 recorded(makePluginSide, isTimeStubbed, workload.run).dump());
}

void addCases(const char* peer, MakeSide make) {
  const auto addCase = [&](const char* workload, double operations, bool isTimeStubbed, auto run) {
    add({workload, peer, operations, [make, isTimeStubbed, run] {
           return Round([side = settled(make, isTimeStubbed), run](Stopwatch& stopwatch) { run(*side, stopwatch); });
         }});
  };
  const auto alarms = [](Side& side, Stopwatch& stopwatch) { runAlarms(side, alarmsPerRound, stopwatch); };
  const auto merged = [](Side& side, Stopwatch& stopwatch) { runMeasurements(side, measurementsPerBatch, stopwatch); };
  const auto walk = [](Side& side, Stopwatch& stopwatch) { runWalk(side, false, stopwatch); };
  const auto steadyWalk = [](Side& side, Stopwatch& stopwatch) { runWalk(side, true, stopwatch); };
  constexpr double elements = pagesPerWalk * measurementsPerPage;
  addCase("W10", alarmsPerRound, false, alarms);
  addCase("W10stub", alarmsPerRound, true, alarms);
  addCase("W11", measurementsPerBatch, false, merged);
  addCase("W11stub", measurementsPerBatch, true, merged);
  addCase("W12", elements, false, walk);
  addCase("W12same", elements, false, steadyWalk);
  addCase("W12stub", elements, true, walk);
}

}  // namespace

}  // namespace benchmarks

int main(int argumentCount, char** arguments) {
  using namespace benchmarks;
  addCases("codec", makePluginSide);
  addCases("boost_json", makeBoostJsonSide);
  addCases("nlohmann", makeNlohmannSide);
  addCheck([] { checkSide("boost_json", makeBoostJsonSide); });
  addCheck([] { checkSide("nlohmann", makeNlohmannSide); });
  return run(argumentCount, arguments);
}
