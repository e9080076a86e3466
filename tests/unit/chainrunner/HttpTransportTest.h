#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "chainrunner/HttpTransport.h"
#include "chainrunner/json_reader.h"
#include "chainrunner/json_writer.h"

namespace chainrunner {

/// An answer that came back: its status with the transport's word for a failure, and its payload as JSON.
struct Answer {
  std::string status, payload;
};

class HttpTransportTest : public testing::Test {
 protected:
  HttpTransportTest() {
    options.timeout = std::chrono::milliseconds(10'000);
    options.retryDelay = std::chrono::milliseconds(1);
    options.proxies = false;
  }

  void connect(const std::string& platform) {
    options.platform = platform;
    transport = std::make_unique<HttpTransport>(
        options, [this](Message& answer) { take(answer); }, record, [this] { atPause(); });
  }

  void send(std::int64_t id, const char* method, const std::string& path, const char* hints = "{}") {
    map_t metadata = std::move(readJson(hints).get<map_t>());
    metadata[data_t("requestId")] = id;
    map_t http;
    http[data_t("method")] = method;
    http[data_t("path")] = path;
    metadata[data_t("http")] = std::move(http);
    map_t body;
    body[data_t("id")] = id;
    Message message(data_t(std::move(body)), std::move(metadata));
    EXPECT_EQ(HttpTransport::sendBatch(transport.get(), &message, &message + 1), 0);
    EXPECT_TRUE(message.getPayload().empty() && message.getMetadataMap().empty()) << "the contents were not taken";
  }

  /// The answers to request `id`, after all is done.
  std::vector<Answer> answersTo(std::int64_t id) {
    transport->waitUntilIdle();
    const std::lock_guard lock(mutex);
    return answers[id];
  }

  /// The one answer to request `id`.
  Answer answerTo(std::int64_t id) {
    const auto all = answersTo(id);
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? Answer{} : all.front();
  }

  /// Sends one GET and gives its answer.
  Answer get(const std::string& platform, const char* method = "GET") {
    connect(platform);
    send(1, method, "/a");
    return answerTo(1);
  }

  std::function<void(std::int64_t)> atAnswer = [](std::int64_t) {};
  std::function<void()> atPause = [] {};
  TransportOptions options;
  RunRecord record;
  std::unique_ptr<HttpTransport> transport;

 private:
  void take(Message& message) {
    const std::int64_t id = message.getMetadataMap().at(data_t("requestId")).get<std::int64_t>();
    const Message taken(std::move(message));
    {
      const std::lock_guard lock(mutex);
      answers[id].push_back({answerStatus(taken, TransportKeys()), toJson(taken.getPayload())});
    }
    atAnswer(id);
  }

  std::mutex mutex;
  std::map<std::int64_t, std::vector<Answer>> answers;
};

}  // namespace chainrunner
