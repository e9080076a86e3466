#include "chainrunner/Pump.h"

#include <utility>

namespace chainrunner {

Pump::Pump(EventSource& source, Chain& chain, RunRecord& record, Console& console, std::size_t batchSize)
    : source(source), chain(chain), record(record), console(console), batchSize(batchSize) {}

std::string Pump::run(const Interruption& interruption) {
  std::string failure;
  try {
    while (!interruption.happened() && chain.writeError() == 0 && step()) {
    }
  } catch (const InputError& error) {
    failure = error.what();
  }
  flush();
  chain.waitUntilIdle();
  return failure;
}

bool Pump::step() {
  if (batch.size() >= batchSize || (!batch.empty() && !source.isReady())) flush();
  return take(source.next());
}

bool Pump::take(SourceStep step) {
  switch (step.kind) {
    case SourceStep::Kind::event:
      record.countEventIn(*step.type);
      batch.push_back(std::move(step.message));
      return true;
    case SourceStep::Kind::wait:
      flush();
      chain.waitUntilIdle();
      return true;
    case SourceStep::Kind::refused:
      record.countRefusedLine();
      console.line(step.reason);
      return true;
    default:
      return false;
  }
}

void Pump::flush() {
  if (!batch.empty()) chain.send(batch);
}

}  // namespace chainrunner
