// W10 to W12: the codec's translation, beside the same by hand over two JSON libraries. "stub" stands for the variants
// in which ICU's conversions of times are left out.
#include <chrono>
#include <memory>
#include <thread>

#include "benchmarks/codec/driving.h"
#include "benchmarks/harness.h"

namespace benchmarks {

namespace {

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
         runWalk(side, Walk(), unmeasured);
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
  const auto walk = [](Side& side, Stopwatch& stopwatch) { runWalk(side, Walk(), stopwatch); };
  const auto steadyWalk = [](Side& side, Stopwatch& stopwatch) { runWalk(side, Walk{.isSteady = true}, stopwatch); };
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
