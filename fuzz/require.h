#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the process with `what` on standard error unless `holds`.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

}  // namespace fuzz
