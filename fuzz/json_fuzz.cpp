// Bytes as a JSON document: what is read can be written, and what is written reads as the same.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "chainrunner/json_reader.h"
#include "chainrunner/json_writer.h"
#include "fuzz/require.h"

using namespace chainrunner;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  data_t value;
  try {
    value = readJson(text);
  } catch (const JsonError& refusal) {
    fuzz::require(refusal.offset <= size, "the place of a refusal is beyond the text");
    return 0;
  }
  const std::string written = toJson(value);
  const data_t again = readJson(written);
  fuzz::require(again == value, "the document reads as another one when it was written");
  fuzz::require(toJson(again) == written, "equal documents are written differently");
  fuzz::require(value.copy() == value, "a copy isn't equal");
  return 0;
}
