// Time while ICU runs out of memory. ICU itself doesn't survive each such failure, so every run is a process of its
// own, and a run that ends inside the construction proves nothing.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unicode/uclean.h>
#include <unistd.h>

#include <algorithm>
#include <boost/json/object.hpp>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <set>

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

// ---------------------------------------------------------------------------------------- ICU's memory

/// How many of ICU's allocations still succeed; negative for all.
long allocationsLeft = -1;

/// Whether an allocation that fails is followed by ones that succeed.
bool failsOnce = false;

bool succeeds() {
  if (allocationsLeft < 0) return true;
  if (allocationsLeft == 0) {
    if (failsOnce) allocationsLeft = -1;
    return false;
  }
  --allocationsLeft;
  return true;
}

void* U_CALLCONV allocate(const void*, size_t size) {
  return succeeds() ? std::malloc(size) : nullptr;
}
void* U_CALLCONV reallocate(const void*, void* block, size_t size) {
  return succeeds() ? std::realloc(block, size) : nullptr;
}
void U_CALLCONV release(const void*, void* block) {
  std::free(block);
}

// ---------------------------------------------------------------------------------------- runs

/// What a run tells: one JSON object. Without a key, the run did not come that far.
using Report = boost::json::object;

/// A crash leaves neither a report nor a core, and a deadlock ends.
void dieQuietly() {
  std::signal(SIGSEGV, SIG_DFL);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  alarm(60);
}

/// Runs `work` in a child, which reports step by step. The report gets "crashed" when the child doesn't end well.
Report inAChild(const std::function<void(const std::function<void(const char*, const std::string&)>&)>& work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    dieQuietly();
    work([&ends](const char* key, const std::string& text) {
      const std::string line = textOf(boost::json::object{{key, text}}) + "\n";
      if (write(ends[1], line.data(), line.size()) < 0) _exit(1);
    });
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  char bytes[4096];
  for (ssize_t count; (count = read(ends[0], bytes, sizeof bytes)) > 0;) text.append(bytes, static_cast<size_t>(count));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);

  Report report;
  for (std::size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const boost::json::value line = parseJson(std::string_view(text).substr(begin, end - begin));
    for (const auto& entry : line.as_object()) report[entry.key()] = entry.value();
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) report["crashed"] = true;
  return report;
}

std::string textIn(const Report& report, const char* key) {
  const boost::json::value* value = report.if_contains(key);
  return value ? value->as_string().c_str() : "";
}

std::string joined(const Texts& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

enum class Shortage { passing, lasting };

class TimeOutOfMemoryTest : public ParserTest {
 protected:
  TimeOutOfMemoryTest() {
    environment.set("TZ", "Europe/Berlin");
    // What ICU loads once is loaded: a failure meets the formatters, not the library's start.
    use(time(), [](const char*, const std::string&) {});
    takeLogs(debugLevel);
  }

  using Tell = std::function<void(const char*, const std::string&)>;

  static void use(plugins::Time& time, const Tell& tell) {
    product::map_t query = mapFromJson(R"({"time": 1.5})");
    time.convertQueryTime(query, product::hashed_key("time"));
    tell("written", toJson(query));
    product::map_t document = mapFromJson(R"({"time": "2020-09-13T12:26:40.250Z"})");
    time.parseTimes(document);
    tell("read", toJson(document));
    tell("present", time.formatNow());
  }

  /// Makes a Time with one allocation after the other failing, for good or once, and uses it with all the memory it
  /// wants: one report for each.
  std::vector<Report> madeInShortage(Shortage shortage) {
    std::vector<Report> reports;
    for (bool met = true; met;) {
      reports.push_back(inAChild([&](const Tell& tell) {
        const product::Logger log("c");
        failsOnce = shortage == Shortage::passing;
        allocationsLeft = static_cast<long>(reports.size());
        plugins::Time made(constants, log);
        const bool failed = failsOnce ? allocationsLeft < 0 : allocationsLeft == 0;
        allocationsLeft = -1;
        tell("made", joined(takeLogs(errorLevel)));
        if (!failed) tell("enough", "");
        use(made, tell);
        tell("errors", joined(takeLogs(errorLevel)));
      }));
      met = !reports.back().contains("enough");
    }
    reports.pop_back();
    const auto made =
        std::count_if(reports.begin(), reports.end(), [](const Report& report) { return report.contains("made"); });
    EXPECT_GT(made, 20) << "ICU must feel the shortage and survive it";
    return reports;
  }

  /// The error lines of all constructions.
  static std::set<std::string> linesOf(const std::vector<Report>& reports) {
    std::set<std::string> lines;
    for (const Report& report : reports) {
      const std::string text = textIn(report, "made");
      for (std::size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        lines.insert(text.substr(begin, end - begin));
    }
    return lines;
  }
};

constexpr const char* noFormatter = "Time formatter initialization failed with status code 7";
constexpr const char* noUtcFormatter = "UTC Time formatter initialization failed with status code 7";

TEST_F(TimeOutOfMemoryTest, NamesEachFailureOfItsConstruction) {
  EXPECT_EQ(linesOf(madeInShortage(Shortage::passing)),
            (std::set<std::string>{noFormatter, noUtcFormatter, "Failed to parse time zone: Europe/Berlin",
                                   "Failed to initialize calendar with GMT timezone: Europe/Berlin"}));
}

TEST_F(TimeOutOfMemoryTest, NamesAllFailuresOfItsConstructionInOrder) {
  EXPECT_EQ(textIn(madeInShortage(Shortage::lasting).front(), "made"),
            "Time formatter initialization failed with status code 7\n"
            "Failed to parse time zone: Europe/Berlin\n"
            "UTC Time formatter initialization failed with status code 7\n"
            "Failed to initialize calendar with GMT timezone: Europe/Berlin\n");
}

TEST_F(TimeOutOfMemoryTest, NamesNoZoneWhereNoneWasChosen) {
  environment.unset("TZ");
  EXPECT_EQ(
      linesOf(madeInShortage(Shortage::passing)),
      (std::set<std::string>{noFormatter, noUtcFormatter, "Failed to initialize calendar with GMT timezone: (null)"}));
}

TEST_F(TimeOutOfMemoryTest, CanBeUsedHoweverItsConstructionFailed) {
  for (const Shortage shortage : {Shortage::passing, Shortage::lasting}) {
    const std::vector<Report> reports = madeInShortage(shortage);
    for (std::size_t number = 0; number < reports.size(); ++number) {
      if (!reports[number].contains("made")) continue;
      EXPECT_FALSE(reports[number].contains("crashed"))
          << "with allocation " << number << (shortage == Shortage::passing ? "" : " and all after it") << " failing";
    }
  }
}

TEST_F(TimeOutOfMemoryTest, LeavesATimeAsItIsWithoutAFormatter) {
  for (const Report& report : madeInShortage(Shortage::lasting)) {
    if (textIn(report, "made").starts_with(noFormatter)) {
      EXPECT_EQ(textIn(report, "written"), json(R"({"time": 1.5})"));
    }
  }
}

TEST_F(TimeOutOfMemoryTest, GivesNoPresentWithoutAFormatter) {
  for (const Report& report : madeInShortage(Shortage::lasting)) {
    if (textIn(report, "made").find(noUtcFormatter) != std::string::npos && report.contains("errors")) {
      EXPECT_EQ(textIn(report, "present"), "");
      EXPECT_EQ(textIn(report, "errors"), "Unable to format time\n");
    }
  }
}

TEST_F(TimeOutOfMemoryTest, ReadsATimestampRightOrAsZero) {
  const std::set<std::string> possible{json(R"({"time": 1600000000.25})"), json(R"({"time": 0.0})")};
  for (const Shortage shortage : {Shortage::passing, Shortage::lasting}) {
    for (const Report& report : madeInShortage(shortage)) {
      if (report.contains("read")) {
        EXPECT_TRUE(possible.contains(textIn(report, "read"))) << textIn(report, "read");
      }
    }
  }
}

// A date format of ICU's asks for a number format for each number, and takes what it gets.
TEST_F(TimeOutOfMemoryTest, WritesNoNumberIntoNothing) {
  std::size_t crashes = 0;
  std::size_t runs = 0;
  for (bool met = true; met; ++runs) {
    const Report report = inAChild([&](const Tell& tell) {
      product::map_t query = mapFromJson(R"({"time": 2.5})");
      allocationsLeft = static_cast<long>(runs);
      time().convertQueryTime(query, product::hashed_key("time"));
      if (allocationsLeft > 0) tell("enough", "");
    });
    crashes += report.contains("crashed");
    met = !report.contains("enough");
  }
  EXPECT_GT(runs, 1u) << "ICU must feel the shortage";
  EXPECT_LE(crashes, 1u) << "the calendar's own";
}

TEST_F(TimeOutOfMemoryTest, HandsNoMissingTextToTheHost) {
  std::size_t runs = 0;
  for (bool met = true; met; ++runs) {
    const Report report = inAChild([&](const Tell& tell) {
      TestHost::throwFrom(HostCall::kv_getUTF8, [&tell] { tell("step", "text handed to the host"); });
      allocationsLeft = static_cast<long>(runs);
      use(time(), [&tell](const char* key, const std::string& text) {
        tell("step", "text taken back");
        tell(key, text);
      });
      if (allocationsLeft > 0) tell("enough", "");
    });
    EXPECT_FALSE(report.contains("crashed") && textIn(report, "step") == "text handed to the host")
        << "with allocation " << runs << " and all after it failing";
    met = !report.contains("enough");
  }
  EXPECT_GT(runs, 10u) << "ICU must feel the shortage";
}

}  // namespace
}  // namespace tests

int main(int argc, char** argv) {
  UErrorCode status = U_ZERO_ERROR;
  u_setMemoryFunctions(nullptr, tests::allocate, tests::reallocate, tests::release, &status);
  if (U_FAILURE(status)) return 2;
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
