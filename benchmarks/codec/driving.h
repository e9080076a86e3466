// Rounds of the codec workloads, over any side.
#pragma once

#include <memory>
#include <vector>

#include "benchmarks/codec/sides.h"
#include "benchmarks/harness.h"

namespace benchmarks {

using MakeSide = std::unique_ptr<Side> (*)(bool isTimeStubbed);

/// The first of `count` numbers that no two callers share, so that no time is converted twice.
int nextNumbers(int count);

/// Sends what `texts` say as one batch, the part under the stopwatch, and cleans up.
void send(Side& side, const std::vector<MessageText>& texts, void (Side::*direction)(), Stopwatch& stopwatch);

/// Sends alarms of the numbers from `number` on.
void requestAlarms(Side& side, int count, int number, Stopwatch& stopwatch);

/// Answers the requests that the side has made since the last answers.
void answerAlarms(Side& side, int number, Stopwatch& stopwatch);

/// Alarms and their answers.
void runAlarms(Side& side, int count, Stopwatch& stopwatch);

/// Measurements that are merged into one request; its answer is not measured.
void runMeasurements(Side& side, int count, Stopwatch& stopwatch);

/// The pages of a walk; its beginning is not measured.
void runWalk(Side& side, const Walk& walk, Stopwatch& stopwatch);

}  // namespace benchmarks
