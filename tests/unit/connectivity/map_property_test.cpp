// Long random runs of operations, beside std::map. Keys are few and their hashes worse, so that probes run into each
// other, wrap, and meet tombstones.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "connectivity/hashed_key.h"
#include "connectivity/map_t.h"
#include "connectivity/value_hash.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::hashed_key;
using product::map_t;
using Model = std::map<std::string, std::int64_t>;

enum class Action {
  insert,
  insertReadyMade,
  set,
  index,
  indexByCopy,
  erase,
  eraseReadyMade,
  eraseByIterator,
  take,
  takeReadyMade,
  find,
  findReadyMade,
  reserve,
  copy,
  move
};
constexpr int actionCount = static_cast<int>(Action::move) + 1;

struct Step {
  Action action;
  int key;
  std::int64_t value;
};

std::ostream& operator<<(std::ostream& out, const Step& step) {
  return out << "action " << static_cast<int>(step.action) << " of key " << step.key << " with " << step.value;
}

rc::Gen<Step> anyStep() {
  return rc::gen::build<Step>(rc::gen::set(&Step::action, rc::gen::map(rc::gen::inRange(0, actionCount),
                                                                       [](int number) { return Action(number); })),
                              rc::gen::set(&Step::key, rc::gen::inRange(0, 24)), rc::gen::set(&Step::value));
}

std::string keyOf(const Step& step) {
  return std::string(static_cast<std::size_t>(step.key % 3 + 1), static_cast<char>('a' + step.key / 3));
}

template <class Key>
void insert(map_t& map, Model& model, const std::string& key, std::int64_t value) {
  const std::pair<map_t::iterator, bool> inserted = map.insert(Key(key), integer(value));
  const auto [expected, expectedNew] = model.emplace(key, value);
  RC_ASSERT(inserted.second == expectedNew);
  RC_ASSERT(inserted.first->first.get<std::string>() == key);
  RC_ASSERT(inserted.first->second.get<std::int64_t>() == expected->second);
}

void eraseByIterator(map_t& map, Model& model, const std::string& key) {
  const auto position = map.find(data_t(key));
  RC_ASSERT((position == map.end()) == (model.count(key) == 0));
  map.erase(position);
  model.erase(key);
}

template <class Key>
void take(map_t& map, Model& model, const std::string& key) {
  const data_t value = map.take(Key(key));
  const auto expected = model.find(key);
  RC_ASSERT(value.empty() == (expected == model.end()));
  if (expected == model.end()) return;
  RC_ASSERT(value.get<std::int64_t>() == expected->second);
  model.erase(expected);
}

template <class Key>
void find(const map_t& map, const Model& model, const std::string& key) {
  const map_t::const_iterator position = map.find(Key(key));
  const auto expected = model.find(key);
  RC_ASSERT((position == map.end()) == (expected == model.end()));
  if (expected != model.end()) RC_ASSERT(position->second.get<std::int64_t>() == expected->second);
}

void apply(const Step& step, map_t& map, Model& model) {
  const std::string key = keyOf(step);
  switch (step.action) {
    case Action::insert:
      return insert<data_t>(map, model, key, step.value);
    case Action::insertReadyMade:
      return insert<hashed_key>(map, model, key, step.value);
    case Action::set:
      RC_ASSERT(map.set(hashed_key(key), integer(step.value)).get<std::int64_t>() == step.value);
      model[key] = step.value;
      return;
    case Action::index:
      map[data_t(key)] = step.value;
      model[key] = step.value;
      return;
    case Action::indexByCopy: {
      const data_t copied(key);
      map[copied] = step.value;
      model[key] = step.value;
      return;
    }
    case Action::erase:
      RC_ASSERT(map.erase(data_t(key)) == (model.erase(key) == 1));
      return;
    case Action::eraseReadyMade:
      RC_ASSERT(map.erase(hashed_key(key)) == (model.erase(key) == 1));
      return;
    case Action::eraseByIterator:
      return eraseByIterator(map, model, key);
    case Action::take:
      return take<data_t>(map, model, key);
    case Action::takeReadyMade:
      return take<hashed_key>(map, model, key);
    case Action::find:
      return find<data_t>(map, model, key);
    case Action::findReadyMade:
      return find<hashed_key>(map, model, key);
    case Action::reserve:
      return map.reserve(map.size() + static_cast<std::uint64_t>(step.key));
    case Action::copy:
      map = map.copy();
      return;
    case Action::move: {
      map_t moved(std::move(map));
      map = std::move(moved);
      return;
    }
  }
}

Model contentOf(const map_t& map) {
  Model content;
  for (const auto& [key, value] : map) content[key.get<std::string>()] = value.get<std::int64_t>();
  return content;
}

/// Walks from where each key's probe begins: nothing free may stand before the key.
void checkProbes(const map_t& map) {
  const map_header* block = map.header();
  if (!block) return;
  const map_slot* slots = slotsOf(block);
  for (std::uint64_t index = 0; index < block->capacity; ++index) {
    if (slots[index].key.tag == QEL_EMPTY) continue;
    for (std::uint64_t probe = slots[index].hash % block->capacity; probe != index;
         probe = (probe + 1) % block->capacity) {
      RC_ASSERT(slots[probe].key.tag != QEL_EMPTY || slots[probe].hash == 1u);
    }
  }
}

void runsLikeTheModel(const std::vector<Step>& steps) {
  map_t map;
  Model model;
  for (const Step& step : steps) {
    apply(step, map, model);
    RC_ASSERT(map.size() == model.size());
    RC_ASSERT(contentOf(map) == model);
    checkProbes(map);
  }
  const map_t copy = map.copy();
  RC_ASSERT(copy == map);
  RC_ASSERT(hash(data_t(map.copy()), product::tableSeed) == hash(data_t(copy.copy()), product::tableSeed));
}

bool holdsForAnySteps() {
  return rc::check([] { runsLikeTheModel(*rc::gen::container<std::vector<Step>>(anyStep())); });
}

TEST(MapPropertyTest, RunsLikeAnOrderedMapUnderTheHostsHash) {
  EXPECT_TRUE(holdsForAnySteps());
}

TEST(MapPropertyTest, RunsLikeAnOrderedMapUnderOneHashForAll) {
  TestHost::useHash([](std::string_view) { return std::uint64_t{7}; });
  EXPECT_TRUE(holdsForAnySteps());
}

TEST(MapPropertyTest, RunsLikeAnOrderedMapUnderHashesThatLookLikeMarks) {
  TestHost::useHash([](std::string_view key) { return std::uint64_t{key.size() % 2}; });
  EXPECT_TRUE(holdsForAnySteps());
}

}  // namespace
}  // namespace tests
