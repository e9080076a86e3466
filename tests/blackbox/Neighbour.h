#pragma once

#include <boost/json/value.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "connectivity/plugin_abi.h"
#include "tests/support/values.h"

namespace tests {

/// A message that a neighbour was given, as it was then.
struct Received {
  boost::json::value document;

  /// The whole message: {"metadata": {...}, "payload": ...}.
  std::string json() const { return textOf(document); }
  std::string payload() const { return textOf(document.at("payload")); }

  /// A metadata value as JSON text; "absent" when there is none.
  std::string metadata(std::string_view key) const;
  std::string http(std::string_view key) const;

  /// "qel.type" as plain text.
  std::string type() const;
  std::int64_t requestId() const;
};

/// The next element of the chain on either side of a plug-in. Keeps a record of what it is given, and behaves well
/// unless told otherwise. Settings are made before messages come. [any thread]
class Neighbour {
 public:
  /// Takes the contents out of the messages, as an element should; otherwise leaves them with the sender.
  bool takesContents = true;

  /// Whether the record shows what the messages hold; otherwise each is recorded as an empty one.
  bool recordsContents = true;

  /// What the send function answers.
  int result = 0;

  /// Called for each message once it is recorded, before its contents are taken. May throw.
  std::function<void(const Received&)> beforeTaking;

  /// Called for each message after its contents are taken. May throw, or send messages back.
  std::function<void(const Received&)> onMessage;

  /// The send function to give to a plug-in, with the neighbour's address.
  static int receive(void* self, qel_message* begin, qel_message* end);

  /// The oldest message that was not yet taken out of the record.
  std::optional<Received> take();
  std::vector<Received> takeAll();

  /// The size of each batch since the last call.
  std::vector<std::size_t> takeBatchSizes();

 private:
  void receiveOne(RawMessage& message);

  std::mutex mutex;
  std::deque<Received> record;
  std::vector<std::size_t> batchSizes;
};

/// The types of events, in order.
std::vector<std::string> types(const std::vector<Received>& events);

/// Each message as JSON.
std::vector<std::string> jsons(const std::vector<Received>& messages);

}  // namespace tests
