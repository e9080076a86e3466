// The host's status operations over the one board. Nothing leaves them: exhausted memory loses an update.
#include "devhost/devhost.h"
#include "devhost/kvclient/StatusBoard.h"
#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/ledger_level.h"

namespace devhost {
namespace {

/// A dead handle does no harm; only a strict host ends over it.
void rejectHandle(const CallSite& site) {
  if (currentLevel() == LedgerLevel::strict) reportMisuse(site, "a handle that has no status item");
}

}  // namespace

std::map<std::string, std::string> statusItems() {
  return StatusBoard::instance().items();
}

std::map<std::string, std::string> publishedStatus() {
  return StatusBoard::instance().published();
}

}  // namespace devhost

using namespace devhost;

void* qel_create_user_status_item(void*, const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return nullptr;
  try {
    return StatusBoard::instance().create(key, value);
  } catch (...) {
    return nullptr;
  }
}

void qel_set_user_status_item(void* item, const char* value) {
  if (value == nullptr) return;
  try {
    if (!StatusBoard::instance().set(item, value)) rejectHandle({__func__, __builtin_return_address(0)});
  } catch (...) {
  }
}

void qel_delete_user_status_item(void*, void* item) {
  try {
    if (!StatusBoard::instance().remove(item)) rejectHandle({__func__, __builtin_return_address(0)});
  } catch (...) {
  }
}

void qel_set_user_status_map(void*, map_header* map) {
  try {
    if (map == nullptr) return;
    withBlocks(__func__, __builtin_return_address(0),
               [=](const auto& blocks) { blocks.checkReadable(BlockKind::map, map); });
    StatusBoard::instance().publish(map);
  } catch (...) {
  }
}
