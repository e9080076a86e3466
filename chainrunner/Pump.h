#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "chainrunner/Chain.h"
#include "chainrunner/Console.h"
#include "chainrunner/EventSource.h"
#include "chainrunner/Interruption.h"
#include "chainrunner/RunRecord.h"

namespace chainrunner {

/// Moves events from a source into a chain, in batches. A batch goes out when it is full, and also when the source has
/// nothing at hand. [one thread]
class Pump {
 public:
  /// All but the number must outlive the pump. Lines that the source refuses are counted and told on the console.
  Pump(EventSource& source, Chain& chain, RunRecord& record, Console& console, std::size_t batchSize);

  /// Runs to the end of the source, or until an interruption, an input or an output that fails, and waits until all
  /// that was sent has its outcome. Gives why the input could not be read to its end; empty when all is well.
  std::string run(const Interruption& interruption);

 private:
  bool step();
  bool take(SourceStep step);
  void flush();

  EventSource& source;
  Chain& chain;
  RunRecord& record;
  Console& console;
  const std::size_t batchSize;
  std::vector<Message> batch;
};

}  // namespace chainrunner
