#pragma once

#include <cstdint>

namespace simulator {

/// A fleet to be made up at once, for runs that need many documents to read: how many of each sort. Alarms, events,
/// operations and measurements are shared out among the devices in turn, so they need one device at least.
struct Fleet {
  std::int64_t devices = 0;  ///< managed objects of the types pump, valve, meter and gateway in turn
  std::int64_t parts = 0;    ///< managed objects of the type part
  std::int64_t alarms = 0;
  std::int64_t events = 0;
  std::int64_t operations = 0;
  std::int64_t measurements = 0;
};

}  // namespace simulator
