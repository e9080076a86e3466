// A plug-in that frees a block twice.
#include "connectivity/host_abi.h"

extern "C" __attribute__((visibility("default"))) void freeTwice() {
  char* text = qel_copy_string("text");
  qel_free_string(text);
  qel_free_string(text);
  // Keeps the second free from being a jump, which would leave no trace of its caller.
  asm volatile("");
}
