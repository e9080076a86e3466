// How costs grow: elements of a merged body, requests in flight, walks at once, keys of a map. Each case is named after
// its curve and its size; times of ICU are left out, which would hide the rest.
#include <absl/container/flat_hash_map.h>

#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "benchmarks/codec/driving.h"
#include "benchmarks/harness.h"
#include "connectivity/conversion.h"
#include "connectivity/hashed_key.h"
#include "connectivity/map_t.h"

namespace benchmarks {

namespace {

namespace values = com::tallowmere::connectivity10_15_4;

std::string caseName(const char* curve, int size) {
  return std::string(curve) + "_" + std::to_string(size);
}

// ---------------------------------------------------------------------------------------------------------- codec --

void addMerged(const char* peer, MakeSide make, int size) {
  add({caseName("merged", size), peer, static_cast<double>(size), [make, size] {
         return Round([side = std::shared_ptr<Side>(make(true)), size](Stopwatch& stopwatch) {
           runMeasurements(*side, size, stopwatch);
         });
       }});
}

/// A window of requests: the oldest 10 are answered, then 10 new ones are made.
class Window {
 public:
  static constexpr int step = 10;

  Window(MakeSide make, int size) : side(make(true)) {
    Stopwatch unmeasured;
    for (int i = 0; i < size; i += step) request(unmeasured);
  }

  void run(Stopwatch& stopwatch) {
    std::vector<MessageText> responses;
    for (int i = 0; i < step; ++i) {
      responses.push_back(alarmResponse(inFlight.front(), i));
      inFlight.pop_front();
    }
    send(*side, responses, &Side::sendTowardsHost, stopwatch);
    request(stopwatch);
  }

 private:
  void request(Stopwatch& stopwatch) {
    requestAlarms(*side, step, nextNumbers(step), stopwatch);
    inFlight.insert(inFlight.end(), side->received.requestIds.begin(), side->received.requestIds.end());
    side->received.requestIds.clear();
  }

  std::unique_ptr<Side> side;
  std::deque<std::int64_t> inFlight;
};

void addInFlight(const char* peer, MakeSide make, int size) {
  add({caseName("inflight", size), peer, Window::step, [make, size] {
         return Round(
             [window = std::make_shared<Window>(make, size)](Stopwatch& stopwatch) { window->run(stopwatch); });
       }});
}

/// Walks without an end, of which each gets one page a round.
class Walks {
 public:
  static constexpr Walk walk{.pageSize = 60, .pages = 1'000'000};

  Walks(MakeSide make, int size) : side(make(true)) {
    std::vector<MessageText> queries;
    for (int i = 0; i < size; ++i) queries.push_back(findEvent(i, walk));
    Stopwatch unmeasured;
    send(*side, queries, &Side::sendTowardsTransport, unmeasured);
  }

  void run(Stopwatch& stopwatch) {
    ++page;
    std::vector<MessageText> responses;
    for (const std::int64_t id : std::exchange(side->received.requestIds, {}))
      responses.push_back(findResponse(id, page, walk));
    send(*side, responses, &Side::sendTowardsHost, stopwatch);
  }

 private:
  std::unique_ptr<Side> side;
  int page = 0;
};

void addWalks(const char* peer, MakeSide make, int size) {
  add({caseName("walks", size), peer, static_cast<double>(size) * Walks::walk.pageSize, [make, size] {
         return Round([walks = std::make_shared<Walks>(make, size)](Stopwatch& stopwatch) { walks->run(stopwatch); });
       }});
}

// ----------------------------------------------------------------------------------------------------------- maps --

std::vector<std::string> names(int size) {
  std::vector<std::string> texts;
  char text[32];
  for (int i = 0; i < size; ++i) {
    std::snprintf(text, sizeof text, "sensor.%06d.temperature", i);
    texts.emplace_back(text);
  }
  return texts;
}

struct DataT {
  using Map = values::map_t;
  using Key = values::hashed_key;
  static void insert(Map& map, const Key& key, std::int64_t value) { map.insert(key, value); }
  static std::int64_t find(const Map& map, const Key& key) { return map.find(key)->second.get<std::int64_t>(); }
};

template <class Table>
struct Standard {
  using Map = Table;
  using Key = std::string;
  static void insert(Map& map, const Key& key, std::int64_t value) { map.try_emplace(key, value); }
  static std::int64_t find(const Map& map, const Key& key) { return map.find(key)->second; }
};

template <class Library>
void addMap(const char* peer, int size) {
  using Map = typename Library::Map;
  using Keys = std::vector<typename Library::Key>;
  const auto makeKeys = [size] {
    auto keys = std::make_shared<Keys>();
    for (const std::string& name : names(size)) keys->emplace_back(name);
    return keys;
  };
  const auto fill = [](Map& map, const Keys& keys) {
    std::int64_t number = 0;
    for (const auto& key : keys) Library::insert(map, key, number++);
  };
  add({caseName("insert", size), peer, static_cast<double>(size), [makeKeys, fill] {
         return Round([keys = makeKeys(), fill](Stopwatch& stopwatch) {
           Map map;
           stopwatch.timed([&] { fill(map, *keys); });
         });
       }});
  add({caseName("find", size), peer, static_cast<double>(size), [makeKeys, fill] {
         const auto keys = makeKeys();
         const auto map = std::make_shared<Map>();
         fill(*map, *keys);
         return Round([keys, map](Stopwatch& stopwatch) {
           std::int64_t sum = 0;
           stopwatch.timed([&] {
             for (const auto& key : *keys) sum += Library::find(*map, key);
           });
           keep(static_cast<std::uint64_t>(sum));
         });
       }});
}

void addCases() {
  for (const int size : {10, 100, 1'000, 10'000, 100'000}) {
    addMerged("codec", makePluginSide, size);
    addMerged("boost_json", makeBoostJsonSide, size);
  }
  for (const int size : {10, 100, 1'000, 10'000}) {
    addInFlight("codec", makePluginSide, size);
    addInFlight("boost_json", makeBoostJsonSide, size);
  }
  for (const int size : {1, 10, 100, 1'000}) {
    addWalks("codec", makePluginSide, size);
    addWalks("boost_json", makeBoostJsonSide, size);
  }
  for (const int size : {8, 16, 32, 64, 128, 256, 512, 1'024, 2'048, 4'096, 8'192, 16'384, 32'768, 65'536, 100'000}) {
    addMap<DataT>("data_t", size);
    addMap<Standard<absl::flat_hash_map<std::string, std::int64_t>>>("absl", size);
    addMap<Standard<std::unordered_map<std::string, std::int64_t>>>("std", size);
  }
}

}  // namespace

}  // namespace benchmarks

int main(int argumentCount, char** arguments) {
  benchmarks::addCases();
  return benchmarks::run(argumentCount, arguments);
}
