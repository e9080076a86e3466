#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/blackbox/Session.h"
#include "tests/support/Environment.h"
#include "tests/support/TestHost.h"

namespace tests {

/// A test that sees the plug-in as a host does. Each test loads the library afresh and unloads it at its end, after
/// which not one block or status item may be left. The environment is that of a bare machine in UTC.
///
/// A case reads: arrange in a line (`createPlugin` when the default won't do), act in a line (`send`, `respond`), and
/// compare whole messages as JSON.
class BlackboxTest : public testing::Test {
 protected:
  /// The least configuration that the plug-in accepts.
  static constexpr const char* leastConfiguration = R"({"username": "user", "password": "secret"})";

  BlackboxTest();
  ~BlackboxTest() override;

  /// Creates the plug-in between its neighbours. Without it, the first send does so with the least configuration.
  void createPlugin(std::string_view configuration = leastConfiguration);

  /// Creates a plug-in that must refuse to come up.
  void expectCreateToFail(std::string_view configuration);

  /// Sends events as one batch, and gives the entry point's answer.
  int send(const MessageBuilder& event) { return send(std::vector{event}); }
  int send(const std::vector<MessageBuilder>& batch);

  /// The oldest request that the transport got and that was not yet taken; a failure when there is none.
  Received takeRequest();

  /// All requests not yet taken.
  std::vector<Received> takeRequests() { return session->transport.takeAll(); }

  /// Answers a request, and gives the entry point's answer.
  int respond(std::int64_t requestId, std::int64_t status, std::string_view contentType, std::string_view json);
  int respond(const MessageBuilder& response) { return respond(std::vector{response}); }
  int respond(const std::vector<MessageBuilder>& batch);

  /// The events that reached the host since the last call.
  std::vector<Received> takeHostEvents() { return session->host.takeAll(); }

  /// The lines of a level since the last call for it, without the category at their head.
  std::vector<std::string> takeLogs(std::int32_t level) { return tests::takeLogs(level); }

  Session& plugin();

  Environment environment;
  std::unique_ptr<Session> session;
};

/// Runs `work` to its end on another thread.
void onAnotherThread(const std::function<void()>& work);

using Texts = std::vector<std::string>;

}  // namespace tests
