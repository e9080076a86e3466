#include "tests/support/TestHost.h"

#include <cstring>
#include <iterator>
#include <utility>

#include "tests/support/HostState.h"

namespace tests {

std::uint64_t fnv1a(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const char byte : text) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3u;
  return hash;
}

HostState& host() {
  static HostState& state = *new HostState;
  return state;
}

LiveBlocks TestHost::liveBlocks() {
  return host().ledger.live();
}

std::vector<std::string> TestHost::takeFaults() {
  return host().ledger.takeFaults();
}

buffer_header* TestHost::makeBuffer(std::string_view bytes) {
  auto* block =
      static_cast<buffer_header*>(host().ledger.allocate(BlockKind::buffer, sizeof(buffer_header) + bytes.size()));
  block->length = bytes.size();
  if (!bytes.empty()) std::memcpy(block + 1, bytes.data(), bytes.size());
  return block;
}

void* TestHost::makeCustom(std::uint64_t id) {
  void* object = host().ledger.allocate(BlockKind::custom, sizeof(id));
  std::memcpy(object, &id, sizeof(id));
  return object;
}

std::uint64_t TestHost::idOfCustom(const void* object) {
  std::uint64_t id;
  std::memcpy(&id, object, sizeof(id));
  return id;
}

void TestHost::copyBorrowedStringsAsOwned(bool owned) {
  host().ownedCopies = owned;
}

void TestHost::useHash(std::uint64_t (*hash)(std::string_view)) {
  host().hash = hash;
}

std::uint64_t TestHost::calls(HostCall call) {
  return host().calls.count(call);
}

std::vector<std::uint64_t> TestHost::arguments(HostCall call) {
  return host().calls.arguments(call);
}

void TestHost::forgetCalls() {
  host().calls.forget();
}

void TestHost::throwFrom(HostCall call, std::function<void()> thrower) {
  host().calls.throwFrom(call, std::move(thrower));
}

double TestHost::clock() {
  return host().clock;
}

void TestHost::setClock(double seconds) {
  host().clock = seconds;
}

void TestHost::advanceClock(double seconds) {
  host().clock.fetch_add(seconds);
}

void TestHost::advanceAtEachReading(double seconds) {
  host().clockStep = seconds;
}

void TestHost::setLogLevel(std::int32_t level) {
  host().log.setLevel(level);
}

std::vector<LogLine> TestHost::logs() {
  return host().log.lines();
}

std::vector<LogLine> TestHost::logs(std::int32_t level) {
  std::vector<LogLine> lines = host().log.lines();
  std::erase_if(lines, [level](const LogLine& line) { return line.level != level; });
  return lines;
}

std::vector<LogLine> TestHost::drain() {
  return host().log.drain();
}

std::vector<LogLine> TestHost::drain(std::int32_t level) {
  return host().log.drain(level);
}

std::vector<std::string> TestHost::categoriesAsked() {
  return host().log.categoriesAsked();
}

std::map<std::string, std::string> TestHost::statusItems() {
  return host().status.items();
}

std::vector<std::pair<std::string, std::string>> TestHost::createdStatusItems() {
  return host().status.created();
}

std::vector<std::pair<std::string, std::string>> TestHost::statusHistory() {
  return host().status.history();
}

std::vector<std::map<std::string, std::string>> TestHost::publishedStatusMaps() {
  return host().status.publishedMaps();
}

std::vector<std::string> TestHost::dropStatusItems() {
  return host().status.drop();
}

void TestHost::refuseStatusItem(std::string key) {
  host().status.refuse(std::move(key));
}

void TestHost::beginTest() {
  HostState& state = host();
  state.calls.reset();
  state.log.reset();
  state.status.reset();
  state.hash = fnv1a;
  state.ownedCopies = false;
  state.clock = HostState::startOfClock;
  state.clockStep = 0.0;
  state.startOfTest = state.ledger.now();
}

std::vector<std::string> TestHost::endTest() {
  HostState& state = host();
  state.ledger.emptyQuarantine();
  std::vector<std::string> lines;
  for (const std::string& fault : state.ledger.takeFaults()) lines.push_back("fault: " + fault);
  for (const std::string& block : state.ledger.describeLiveSince(state.startOfTest)) {
    lines.push_back("never freed: " + block);
  }
  for (const std::string& key : state.status.leftovers()) lines.push_back("status item never deleted: " + key);
  return lines;
}

}  // namespace tests
