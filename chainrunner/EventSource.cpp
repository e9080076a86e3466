#include "chainrunner/EventSource.h"

#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "chainrunner/json_reader.h"

namespace chainrunner {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// The parts of a line's document.
struct Line {
  data_t type, payload, metadata, wait;

  /// Throws JsonError, or MappingError when the document has other parts.
  Line(std::string_view text, const JsonLimits& limits) {
    std::optional<std::string> unknownKey;
    data_t ignored;
    const auto placeOf = [&](std::string_view key) -> data_t& {
      if (data_t* const part = find(key)) return *part;
      if (!unknownKey) unknownKey = key;
      return ignored;
    };
    const std::optional<data_t> other = readJsonMembers(text, std::ref(placeOf), limits);
    if (other) throw MappingError(std::string("the line is not an object but ") + other->type_name());
    if (unknownKey) throw MappingError("unknown key \"" + *unknownKey + "\"");
  }

  bool asksToWait() const { return wait.is(Tag::boolean) && wait.get<bool>(); }

 private:
  data_t* find(std::string_view key) {
    if (key == "type") return &type;
    if (key == "payload") return &payload;
    if (key == "metadata") return &metadata;
    if (key == "wait") return &wait;
    return nullptr;
  }
};

map_t takeMetadata(data_t& metadata) {
  if (metadata.empty()) return map_t();
  if (!metadata.is(Tag::map)) throw MappingError(std::string("metadata is not an object but ") + metadata.type_name());
  return std::move(metadata.get<map_t>());
}

bool isSkipped(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t");
  return first == std::string_view::npos || line[first] == '#';
}

}  // namespace

EventSource::EventSource(std::string fileName, LineReader lines, const Mapping& mapping, const SourceOptions& options)
    : fileName(std::move(fileName)), lines(std::move(lines)), mapping(mapping), options(options) {}

SourceStep EventSource::next() {
  std::string_view line;
  for (;;) {
    const LineReader::Result result = lines.next(line);
    if (result == LineReader::Result::end) return {SourceStep::Kind::end};
    ++lineNumber;
    if (result == LineReader::Result::tooLong)
      return refused(1, "the line is longer than " + std::to_string(options.maxLineBytes) + " bytes");
    if (lineNumber == 1 && line.starts_with(byteOrderMark)) line.remove_prefix(byteOrderMark.size());
    if (!isSkipped(line)) return read(line);
  }
}

bool EventSource::isReady() {
  return lines.isReady();
}

SourceStep EventSource::read(std::string_view text) const {
  try {
    Line line(text, options.json);
    if (line.asksToWait()) return {SourceStep::Kind::wait};
    if (!line.type.isString()) return refused(1, "the line has no \"type\"");
    const TypeMapping& type = mapping.of(line.type.get<std::string_view>());
    return {SourceStep::Kind::event, &type.fullName(),
            type.toMessage(std::move(line.payload), takeMetadata(line.metadata))};
  } catch (const JsonError& error) {
    return refused(error.offset + 1, error.what());
  } catch (const MappingError& error) {
    return refused(1, error.what());
  }
}

SourceStep EventSource::refused(std::size_t column, const std::string& reason) const {
  return {SourceStep::Kind::refused,
          nullptr,
          {},
          fileName + ":" + std::to_string(lineNumber) + ":" + std::to_string(column) + ": " + reason};
}

}  // namespace chainrunner
