#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/blackbox/Session.h"
#include "tests/support/Environment.h"

namespace tests {

/// Plays a whole exchange, described as data, against a plug-in. tests/scenarios/README.md tells the format.
class ScenarioPlayer {
 public:
  explicit ScenarioPlayer(std::string_view scenario, std::string libraryPath = pluginLibraryPath());

  /// Plays the scenario from create to unloading and gives the differences between what was expected and what came,
  /// one text each. Throws std::runtime_error when the description itself is wrong.
  std::vector<std::string> play();

 private:
  using Object = boost::json::object;
  using Value = boost::json::value;

  void checkKeys() const;
  void setUp();
  void playStep(const Value& step);
  void playSend(const Value& events);
  void playResponses(const Value& responses);
  void expectRequest(const Value& expected);
  void expectEvents(const Value& expected);
  void expectLog(const Object& expected);
  void expectStatus(const Object& expected);
  void expectNothingMore();

  MessageBuilder eventFrom(const Object& description) const;
  MessageBuilder responseFrom(const Object& description) const;

  void demandZero(int result);
  void difference(const std::string& what);

  Object scenario;
  std::string libraryPath;
  Environment environment;
  std::unique_ptr<Session> session;
  std::string place;
  std::int64_t lastRequestId = 0;
  std::vector<std::string> differences;
};

/// Whether `text` is `pattern`, in which each "*" stands for any text.
bool matches(std::string_view pattern, std::string_view text);

}  // namespace tests
