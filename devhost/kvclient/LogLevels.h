#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace devhost {

/// The verbosity of each category: what the longest matching prefix says.
class LogLevels {
 public:
  /// Begins with the environment's level for all categories.
  LogLevels();

  /// Sets the level of all categories with this prefix. [any thread, locks mutex]
  void set(const std::string& prefix, int level);

  /// The level in force for a category. [any thread, locks mutex]
  int get(std::string_view category) const;

 private:
  mutable std::mutex mutex;
  std::map<std::string, int> levels;  // by prefix
};

}  // namespace devhost
