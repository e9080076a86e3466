// The host's log and status operations.
#include <cstdarg>
#include <string>
#include <utility>

#include "connectivity/host_abi.h"
#include "tests/support/HostState.h"

using tests::host;
using tests::HostCall;

namespace {

void note(std::string complaint) {
  if (!complaint.empty()) host().ledger.addFault(std::move(complaint));
}

}  // namespace

int32_t qel_get_log_level(const char* category) {
  host().calls.entered(HostCall::qel_get_log_level);
  return host().log.askLevel(category);
}

void qel_log_at(const char* category, int32_t level, const char* format, ...) {
  host().calls.entered(HostCall::qel_log_at);
  std::string complaint;
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = tests::formatLine(format, arguments, complaint);
  va_end(arguments);
  note(std::move(complaint));
  host().log.add({category, level, format, std::move(text)});
}

void* qel_create_user_status_item(void* reporter, const char* key, const char* value) {
  host().calls.entered(HostCall::qel_create_user_status_item);
  return host().status.create(reporter, key, value);
}

void qel_set_user_status_item(void* item, const char* value) {
  host().calls.entered(HostCall::qel_set_user_status_item);
  std::string complaint;
  host().status.set(item, value, complaint);
  note(std::move(complaint));
}

void qel_delete_user_status_item(void* reporter, void* item) {
  host().calls.entered(HostCall::qel_delete_user_status_item);
  std::string complaint;
  host().status.remove(reporter, item, complaint);
  note(std::move(complaint));
}

void qel_set_user_status_map(void*, map_header* map) {
  host().calls.entered(HostCall::qel_set_user_status_map);
  host().status.publish(map);
}
