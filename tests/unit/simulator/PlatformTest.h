// Fixture: a simulator of its own for each test, and a client that is connected to it.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <string>

#include "tests/unit/simulator/Client.h"

namespace boost::json {

/// Lets failures show objects as JSON.
inline void PrintTo(const object& value, std::ostream* out) {
  *out << value;
}

}  // namespace boost::json

namespace simulator {

class PlatformTest : public ::testing::Test {
 protected:
  /// Creates a managed object of that name and gives its id.
  std::string device(const std::string& name = "Pump") {
    return client.post("/registry/managed-objects", R"({"name":")" + name + R"("})").id();
  }

  static std::string alarmOf(const std::string& source, const std::string& type = "leak") {
    return R"({"source":{"id":")" + source + R"("},"type":")" + type +
           R"(","text":"Leaking","severity":"MAJOR","time":"2024-05-01T12:00:00.000+02:00"})";
  }

  static std::string eventOf(const std::string& source) {
    return R"({"source":{"id":")" + source + R"("},"type":"door","text":"Opened","time":"2024-05-01T12:00:00Z"})";
  }

  static boost::json::object object(const std::string& text) { return boost::json::parse(text).as_object(); }

  /// Expects the status and the whole error document.
  static void expectError(const Received& answer, int status, const std::string& error, const std::string& message) {
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.contentType, "application/vnd.com.rdx.marlovance.error+json");
    EXPECT_EQ(answer.json(), (boost::json::object{{"error", error}, {"message", message}})) << answer.body;
  }

  /// What the platform's clock shows.
  std::atomic<Moment> now{Moment{}};

  Simulator platform{Options{.clock = [this] { return now.load(); }}};
  Client client{platform.url()};
};

}  // namespace simulator
