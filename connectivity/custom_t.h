#pragma once

namespace com::tallowmere::connectivity10_15_4 {

/// A host object: one opaque pointer that lives inside a `data_t`. The library frees and copies it through the host and
/// never looks inside.
class custom_t {
 public:
  custom_t(const custom_t&) = delete;
  custom_t& operator=(const custom_t&) = delete;

  /// Where the object is, for whoever knows what it is.
  void* address() const noexcept { return object; }

 private:
  void* object;
};
static_assert(sizeof(custom_t) == 8);

}  // namespace com::tallowmere::connectivity10_15_4
