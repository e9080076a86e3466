#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "chainrunner/LineReader.h"
#include "chainrunner/Mapping.h"
#include "chainrunner/options.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// What a line of the source says.
struct SourceStep {
  enum class Kind {
    event,    ///< send `message`
    wait,     ///< go on when everything so far has its answer
    refused,  ///< the line is no good; `reason` tells file, line, column and why
    end
  };
  Kind kind;
  const std::string* type = nullptr;  ///< the event's full type name, which is the mapping's
  Message message{};
  std::string reason{};
};

/// Reads events as JSON Lines: {"type": "Alarm", "payload": {...}, "metadata": {...}}, and {"wait": true}. Empty lines
/// and lines that begin with "#" are skipped; a byte order mark is too. A bad line costs that line only. [one thread]
class EventSource {
 public:
  /// `fileName` is for messages. `mapping` must outlive the source.
  EventSource(std::string fileName, LineReader lines, const Mapping& mapping, const SourceOptions& options);

  /// The next step. Throws InputError.
  SourceStep next();

  /// Whether `next` would give something without waiting for the file. Throws likewise.
  bool isReady();

 private:
  SourceStep read(std::string_view line) const;
  SourceStep refused(std::size_t column, const std::string& reason) const;

  const std::string fileName;
  LineReader lines;
  const Mapping& mapping;
  const SourceOptions options;
  std::uint64_t lineNumber = 0;
};

}  // namespace chainrunner
