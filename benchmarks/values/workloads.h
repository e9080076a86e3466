// The value workloads over one library.
//
// A library is a class with:
//   Message                          metadata and payload
//   Message build() const            the message, from ready-made keys and literals
//   std::uint64_t find(Message) const      10 lookups that hit; the sum of the seven texts' first characters
//   std::uint64_t miss(Message) const      10 lookups that miss; how many hit
//   Message copy(Message) const
//   bool equal(Message, Message) const
//   std::string render(Message) const
//   nlohmann::json content(Message) const
//   void checkRendering(std::string) const throws when the rendering isn't the message
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/harness.h"
#include "benchmarks/values/texts.h"

namespace benchmarks {

inline constexpr std::size_t messagesPerRound = 64;
inline constexpr std::size_t lookupsPerMessage = 10;

template <class Library>
std::vector<typename Library::Message> buildMessages(const Library& library) {
  std::vector<typename Library::Message> messages;
  messages.reserve(messagesPerRound);
  for (std::size_t i = 0; i < messagesPerRound; ++i) messages.push_back(library.build());
  return messages;
}

template <class Library>
void checkLibrary(const std::string& peer) {
  const Library library;
  const auto message = library.build();
  const auto other = library.copy(message);
  const std::string expected = expectedMessage().dump();
  expectSame("W1 " + peer, library.content(message).dump(), expected);
  // type, contentType, path, method, authorization, source.id and severity
  expectSame("W2 " + peer, std::to_string(library.find(message)),
             std::to_string('c' + 'a' + '/' + 'P' + 'B' + '2' + 'M'));
  expectSame("W2miss " + peer, std::to_string(library.miss(message)), "0");
  expectSame("W3 " + peer, library.content(other).dump(), expected);
  expectSame("W5 " + peer, library.equal(message, other) ? "equal" : "unequal", "equal");
  library.checkRendering(library.render(message));
}

/// W1 to W6 of the library.
template <class Library>
void addMessageCases(const std::string& peer) {
  using Messages = std::vector<typename Library::Message>;
  addCheck([peer] { checkLibrary<Library>(peer); });

  const auto addCase = [&peer](const char* workload, double operations, auto round) {
    add({workload, peer, operations, [round] {
           auto library = std::make_shared<Library>();
           return Round([library, round](Stopwatch& stopwatch) { round(*library, stopwatch); });
         }});
  };
  // Lookups, comparisons and renderings leave the messages as they are, which are built once.
  const auto addReadingCase = [&peer](const char* workload, double operations, auto round) {
    add({workload, peer, operations, [round] {
           auto library = std::make_shared<Library>();
           auto messages = std::make_shared<Messages>(buildMessages(*library));
           return Round([library, messages, round](Stopwatch& stopwatch) { round(*library, *messages, stopwatch); });
         }});
  };
  constexpr double messages = messagesPerRound;

  addCase("W1", messages, [](const Library& library, Stopwatch& stopwatch) {
    Messages built;
    built.reserve(messagesPerRound);
    stopwatch.timed([&] {
      for (std::size_t i = 0; i < messagesPerRound; ++i) built.push_back(library.build());
    });
  });
  addReadingCase("W2", messages * lookupsPerMessage,
                 [](const Library& library, const Messages& built, Stopwatch& stopwatch) {
                   std::uint64_t found = 0;
                   stopwatch.timed([&] {
                     for (const auto& message : built) found += library.find(message);
                   });
                   keep(found);
                 });
  addReadingCase("W2miss", messages * lookupsPerMessage,
                 [](const Library& library, const Messages& built, Stopwatch& stopwatch) {
                   std::uint64_t found = 0;
                   stopwatch.timed([&] {
                     for (const auto& message : built) found += library.miss(message);
                   });
                   keep(found);
                 });
  addReadingCase("W3", messages, [](const Library& library, const Messages& built, Stopwatch& stopwatch) {
    Messages copies;
    copies.reserve(messagesPerRound);
    stopwatch.timed([&] {
      for (const auto& message : built) copies.push_back(library.copy(message));
    });
  });
  addCase("W4", messages, [](const Library& library, Stopwatch& stopwatch) {
    Messages built = buildMessages(library);
    stopwatch.timed([&] { built.clear(); });
  });
  add({"W5", peer, messages, [] {
         auto library = std::make_shared<Library>();
         auto left = std::make_shared<Messages>(buildMessages(*library));
         auto right = std::make_shared<Messages>(buildMessages(*library));
         return Round([library, left, right](Stopwatch& stopwatch) {
           std::uint64_t equal = 0;
           stopwatch.timed([&] {
             for (std::size_t i = 0; i < messagesPerRound; ++i) equal += library->equal((*left)[i], (*right)[i]);
           });
           keep(equal);
         });
       }});
  addReadingCase("W6", messages, [](const Library& library, const Messages& built, Stopwatch& stopwatch) {
    std::uint64_t length = 0;
    stopwatch.timed([&] {
      for (const auto& message : built) length += library.render(message).size();
    });
    keep(length);
  });
}

/// W7 of a table: a class with `Map`, made with the thousand keys ready, and
///   void insertAll(Map&) const          the integers 0 to 999 under the keys
///   std::uint64_t findAll(Map) const    their sum
template <class Table>
void addTableCases(const std::string& peer) {
  using Map = typename Table::Map;
  constexpr double keys = 1000;
  addCheck([peer] {
    const Table table;
    Map map;
    table.insertAll(map);
    expectSame("W7 " + peer, std::to_string(table.findAll(map)), "499500");
  });
  add({"W7ins", peer, keys, [] {
         auto table = std::make_shared<Table>();
         return Round([table](Stopwatch& stopwatch) {
           Map map;
           stopwatch.timed([&] { table->insertAll(map); });
         });
       }});
  add({"W7find", peer, keys, [] {
         auto table = std::make_shared<Table>();
         auto map = std::make_shared<Map>();
         table->insertAll(*map);
         return Round([table, map](Stopwatch& stopwatch) {
           std::uint64_t sum = 0;
           stopwatch.timed([&] { sum = table->findAll(*map); });
           keep(sum);
         });
       }});
}

}  // namespace benchmarks
