// What another host or library may do that those at hand don't. The test executable's linker puts these variations
// between the plug-in and the operations that it calls.
#pragma once

namespace tests {

/// Until the end of a scope, every block from qel_allocate_map bears a name.
class NamedFreshMaps {
 public:
  explicit NamedFreshMaps(const char* name);
  ~NamedFreshMaps();
  NamedFreshMaps(const NamedFreshMaps&) = delete;
  NamedFreshMaps& operator=(const NamedFreshMaps&) = delete;
};

/// Until the end of a scope, kv_malloc has no memory left.
class ExhaustedMemory {
 public:
  ExhaustedMemory();
  ~ExhaustedMemory();
  ExhaustedMemory(const ExhaustedMemory&) = delete;
  ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;
};

/// Until the end of a scope, ICU converts no text.
class FailingConversion {
 public:
  FailingConversion();
  ~FailingConversion();
  FailingConversion(const FailingConversion&) = delete;
  FailingConversion& operator=(const FailingConversion&) = delete;
};

}  // namespace tests
