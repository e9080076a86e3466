#pragma once

#include <map>
#include <optional>
#include <string>

namespace tests {

/// Changes environment variables until the end of a scope. [one thread]
class Environment {
 public:
  Environment() = default;
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  void set(const std::string& name, const std::string& value);
  void unset(const std::string& name);

 private:
  void remember(const std::string& name);

  std::map<std::string, std::optional<std::string>> before;
};

}  // namespace tests
