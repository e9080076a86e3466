// T1 and T2: an instant to text and a timestamp to seconds, beside the bare call of ICU that does the same. No instant
// comes twice, so none is remembered; the offset of a platform's timestamps is always the same, and that is.
#include <unicode/fmtable.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/harness.h"
#include "codec/DataConstants.h"
#include "connectivity/Logger.h"
#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace benchmarks {

namespace {

using namespace com::tallowmere::connectivity10_15_4;
using com::tallowmere::connectivity::plugins::DataConstants;
using com::tallowmere::connectivity::plugins::Time;

constexpr int inOneRound = 64;

/// The next instant, in seconds.
double nextSeconds() {
  static std::int64_t quarters = 0;
  return 1775001600.0 + static_cast<double>(quarters++) * 0.25;
}

class BareIcu {
 public:
  BareIcu() {
    UErrorCode status = U_ZERO_ERROR;
    format = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("yyyy-MM-dd'T'HH:mm:ss.SSSXXX"),
                                                     icu::Locale::getEnglish(), status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU has no date format");
  }

  icu::UnicodeString write(double seconds) const {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text;
    return static_cast<const icu::Format&>(*format).format(icu::Formattable(seconds * 1000.0), text, status);
  }

  double read(const icu::UnicodeString& text) const {
    UErrorCode status = U_ZERO_ERROR;
    return format->parse(text, status) / 1000.0;
  }

  std::string writeText(double seconds) const {
    std::string text;
    return write(seconds).toUTF8String(text);
  }

 private:
  std::unique_ptr<icu::SimpleDateFormat> format;
};

class Converter {
 public:
  void write(map_t& query) { time.convertQueryTime(query, key); }
  void read(map_t& document) { time.parseTimeField(document, key); }

  template <class Value>
  map_t mapOf(const Value& value) const {
    map_t map;
    map.insert(key, data_t(value));
    return map;
  }
  const data_t& valueIn(const map_t& map) const { return map.at(key); }

 private:
  const DataConstants constants;
  const Logger logger{"benchmark"};
  const hashed_key key{"time"};
  Time time{constants, logger};
};

/// A case whose round prepares `inOneRound` inputs and converts them in the timed part.
template <class Prepare, class Convert>
void addConversion(const char* workload, const char* peer, Prepare prepareInput, Convert convert) {
  add({workload, peer, inOneRound, [=]() -> Round {
         return [=](Stopwatch& stopwatch) {
           std::vector<decltype(prepareInput())> inputs;
           for (int i = 0; i < inOneRound; ++i) inputs.push_back(prepareInput());
           stopwatch.timed([&] {
             for (auto& input : inputs) convert(input);
           });
         };
       }});
}

void checkConversions(const std::shared_ptr<Converter>& converter, const BareIcu& icu) {
  for (int i = 0; i < 1000; ++i) {
    const double seconds = nextSeconds();
    const std::string expected = icu.writeText(seconds);
    map_t map = converter->mapOf(seconds);
    converter->write(map);
    expectSame("T1 time", converter->valueIn(map).get<std::string>(), expected);
    converter->read(map);
    expectSame("T2 time", std::to_string(converter->valueIn(map).get<double>()), std::to_string(seconds));
  }
}

void addCases() {
  const auto converter = std::make_shared<Converter>();
  const auto icu = std::make_shared<BareIcu>();
  addCheck([=] { checkConversions(converter, *icu); });
  addConversion(
      "T1", "time", [=] { return converter->mapOf(nextSeconds()); }, [=](map_t& query) { converter->write(query); });
  addConversion("T1", "icu", &nextSeconds,
                [=](double seconds) { keep(static_cast<std::uint64_t>(icu->write(seconds).length())); });
  addConversion(
      "T2", "time", [=] { return converter->mapOf(icu->writeText(nextSeconds())); },
      [=](map_t& document) { converter->read(document); });
  addConversion(
      "T2", "icu", [=] { return icu->write(nextSeconds()); },
      [=](const icu::UnicodeString& text) { keep(static_cast<std::uint64_t>(icu->read(text))); });
}

}  // namespace

}  // namespace benchmarks

int main(int argumentCount, char** arguments) {
  benchmarks::addCases();
  return benchmarks::run(argumentCount, arguments);
}
