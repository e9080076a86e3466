#include "chainrunner/Walks.h"

#include "chainrunner/log.h"
#include "connectivity/to_string.h"

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

namespace {

constexpr const char* logCategory = "marlovance-chain.walks";
constexpr unsigned tolerated = 3;

std::string textOf(const map_t& metadata, const char* key) {
  const auto entry = metadata.find(data_t(key));
  return entry == metadata.end() ? "" : to_string(entry->second);
}

std::string nameOf(const map_t& metadata) {
  const std::string type = textOf(metadata, HOST_MESSAGE_TYPE);
  return (type.empty() ? "A request" : type.substr(type.rfind('.') + 1)) + " " + textOf(metadata, "reqId");
}

}  // namespace

Walk Walks::goOn(const Walk& before, const std::string& lineBefore, const std::string& line, const map_t& metadata) {
  Walk walk = before;
  ++walk.page;
  walk.sameLine = line == lineBefore ? walk.sameLine + 1 : 1;
  const bool standsStill = walk.sameLine >= tolerated && !walk.isWarned;
  walk.isWarned = walk.isWarned || standsStill;
  const std::string name = nameOf(metadata);
  {
    const MutexLock lock(mutex);
    if (walk.number == 0) walk.number = ++lastNumber;
    walks[walk.number] = {name, walk.page, walk.elements};
  }
  if (standsStill)
    log(logCategory, LogLevel::warn, "%s asks for the same page for the third time in a row: %s", name.c_str(),
        line.c_str());
  return walk;
}

void Walks::endPage(const Walk& walk) {
  if (walk.number == 0) return;
  const MutexLock lock(mutex);
  const auto found = walks.find(walk.number);
  if (found != walks.end() && found->second.page == walk.page) walks.erase(found);
}

std::vector<WalkProgress> Walks::inProgress() const {
  std::vector<WalkProgress> all;
  const MutexLock lock(mutex);
  for (const auto& [number, walk] : walks) all.push_back(walk);
  return all;
}

std::uint64_t elementsOf(const data_t& payload) {
  std::uint64_t count = 0;
  if (!payload.is(Tag::map)) return count;
  for (const auto& entry : payload.get<map_t>())
    if (entry.second.is(Tag::list)) count += entry.second.get<list_t>().size();
  return count;
}

}  // namespace chainrunner
