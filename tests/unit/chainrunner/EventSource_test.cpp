#include "chainrunner/EventSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "chainrunner/ChainFile.h"
#include "chainrunner/json_writer.h"

namespace chainrunner {
namespace {

using Steps = std::vector<std::string>;

/// Two ends of a pipe.
struct Pipe {
  Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
  ~Pipe() {
    finish();
    close(ends[0]);
  }
  void write(const std::string& text) const {
    EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void finish() {
    if (ends[1] >= 0) close(ends[1]);
    ends[1] = -1;
  }
  int readEnd() const { return ends[0]; }

  int ends[2];
};

class EventSourceTest : public testing::Test {
 protected:
  EventSource source() {
    return EventSource("events.jsonl",
                       LineReader("events.jsonl", input.readEnd(), stop.readEnd(), options.maxLineBytes), chain.mapping,
                       options);
  }

  /// All steps of the text, a word each: the payload of an event, "wait", or the reason of a refusal.
  std::vector<std::string> stepsOf(const std::string& text) {
    std::thread writer([&] {
      input.write(text);
      input.finish();
    });
    EventSource events = source();
    std::vector<std::string> steps;
    for (SourceStep step = events.next(); step.kind != SourceStep::Kind::end; step = events.next()) {
      if (step.kind == SourceStep::Kind::event) steps.push_back(toJson(step.message.getPayload()));
      if (step.kind == SourceStep::Kind::wait) steps.push_back("wait");
      if (step.kind == SourceStep::Kind::refused) steps.push_back(step.reason);
    }
    writer.join();
    return steps;
  }

  const ChainFile chain = ChainFile::builtIn();
  SourceOptions options;
  Pipe input, stop;
};

TEST_F(EventSourceTest, ReadsEventsLineByLine) {
  EXPECT_EQ(stepsOf("{\"type\":\"Alarm\",\"payload\":{\"a\":1}}\r\n{\"type\":\"Event\",\"payload\":{\"b\":2}}"),
            (Steps{R"({"a":1})", R"({"b":2})"}));
}

TEST_F(EventSourceTest, ReadsMoreLinesThanItHoldsAtOnce) {
  std::string text;
  Steps expected;
  for (int n = 0; n < 4000; ++n) {
    text += R"({"type":"Alarm","payload":{"number":)" + std::to_string(n) + "}}\n";
    expected.push_back("{\"number\":" + std::to_string(n) + "}");
  }
  EXPECT_EQ(stepsOf(text), expected);
}

TEST_F(EventSourceTest, SkipsEmptyLinesCommentsAndAByteOrderMark) {
  EXPECT_EQ(stepsOf("\xEF\xBB\xBF{\"type\":\"Alarm\",\"payload\":1}\n\n  \n# a comment\n  # another\n"), Steps{"1"});
}

TEST_F(EventSourceTest, UnderstandsWait) {
  EXPECT_EQ(stepsOf("{\"wait\":true}\n"), Steps{"wait"});
}

TEST_F(EventSourceTest, NamesTheFullType) {
  input.write("{\"type\":\"Alarm\"}\n");
  EXPECT_EQ(*source().next().type, "com.kelvo.marlovance.Alarm");
}

TEST_F(EventSourceTest, LosesOnlyTheBadLines) {
  EXPECT_EQ(
      stepsOf("{\"type\":\"Alarm\",\"payload\":{\"a\":}}\n"
              "{\"type\":\"Alarm\",\"payload\":1}\n"
              "{\"type\":\"Alert\",\"payload\":{}}\n"
              "[1]\n"
              "{\"payload\":{}}\n"
              "{\"type\":\"Alarm\",\"pay\":{}}\n"
              "{\"type\":\"Alarm\",\"metadata\":[]}\n"
              "{\"type\":\"Alarm\",\"payload\":2}\n"),
      (Steps{"events.jsonl:1:32: syntax error: a value is expected", "1",
             "events.jsonl:3:1: unknown event type \"Alert\"", "events.jsonl:4:1: the line is not an object but list",
             "events.jsonl:5:1: the line has no \"type\"", "events.jsonl:6:1: unknown key \"pay\"",
             "events.jsonl:7:1: metadata is not an object but list", "2"}));
}

TEST_F(EventSourceTest, NamesTheFirstUnknownKeyAndASyntaxErrorBehindItSooner) {
  EXPECT_EQ(stepsOf("{\"type\":\"Alarm\",\"pay\":{},\"load\":1}\n"
                    "{\"pay\":{},\"type\":\n"
                    "null\n"),
            (Steps{"events.jsonl:1:1: unknown key \"pay\"", "events.jsonl:2:18: the text ends too early",
                   "events.jsonl:3:1: the line is not an object but empty"}));
}

TEST_F(EventSourceTest, TakesTheLastOfEqualKeys) {
  EXPECT_EQ(stepsOf("{\"payload\":{\"a\":1},\"type\":\"Alert\",\"payload\":2,\"type\":\"Alarm\"}\n"), Steps{"2"});
}

TEST_F(EventSourceTest, RefusesALineThatIsTooLong) {
  options.maxLineBytes = 100;
  const std::string atLimit = "{\"type\":\"Alarm\",\"payload\":\"" + std::string(71, 'x') + "\"}";
  ASSERT_EQ(atLimit.size(), 100U);
  EXPECT_EQ(stepsOf(atLimit + "\n" + atLimit + " \n" + std::string(200'000, ' ') + "\n{\"wait\":true}\n"),
            (Steps{"\"" + std::string(71, 'x') + "\"", "events.jsonl:2:1: the line is longer than 100 bytes",
                   "events.jsonl:3:1: the line is longer than 100 bytes", "wait"}));
}

TEST_F(EventSourceTest, IsReadyOnlyWithAWholeLine) {
  EventSource events = source();
  EXPECT_FALSE(events.isReady());
  input.write("{\"wait\":");
  EXPECT_FALSE(events.isReady());
  input.write("true}\n");
  EXPECT_TRUE(events.isReady());
  EXPECT_EQ(events.next().kind, SourceStep::Kind::wait);
  EXPECT_FALSE(events.isReady());
}

TEST_F(EventSourceTest, EndsWhenItIsCalledOff) {
  EventSource events = source();
  stop.write("x");
  EXPECT_EQ(events.next().kind, SourceStep::Kind::end);
}

TEST_F(EventSourceTest, NamesAnInputThatCannotBeRead) {
  const int folder = open("/", O_RDONLY | O_CLOEXEC);
  EventSource events("folder", LineReader("folder", folder, stop.readEnd(), 100), chain.mapping, options);
  try {
    events.next();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const InputError& error) {
    EXPECT_STREQ(error.what(), "folder: Is a directory");
  }
  close(folder);
}

}  // namespace
}  // namespace chainrunner
