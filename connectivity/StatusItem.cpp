#include "connectivity/StatusItem.h"

#include <charconv>
#include <iterator>
#include <stdexcept>

#include "connectivity/barrier.h"
#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

StatusItem::StatusItem(void* reporter, const std::string& key, const std::string& value, std::int64_t number)
    : number(number),
      key(key),
      value(value),
      reporter(reporter),
      item(qel_create_user_status_item(reporter, key.c_str(), value.c_str())) {
  if (!item)
    throw std::runtime_error("Failed to create status item '" + key +
                             "' (ensure the key is unique and that this plug-in has not been shutdown already)");
}

StatusItem::~StatusItem() {
  swallow([&] { qel_delete_user_status_item(reporter, item); });
}

void StatusItem::setStatus(const std::string& text) {
  MutexLock held(lock);
  publish(text);
}

void StatusItem::setStatus(std::int64_t newNumber) {
  MutexLock held(lock);
  number = newNumber;
  char digits[25];
  publish({digits, std::to_chars(digits, std::end(digits), newNumber).ptr});
}

std::int64_t StatusItem::getNumber() const {
  MutexLock held(lock);
  return number;
}

// The host is called under the lock, so that it sees the texts in the order in which they were set.
void StatusItem::publish(const std::string& text) {
  if (text == value) return;
  value = text;
  qel_set_user_status_item(item, value.c_str());
}

}  // namespace com::tallowmere::connectivity10_15_4
