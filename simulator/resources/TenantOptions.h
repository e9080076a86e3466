#pragma once

#include "simulator/TenantStore.h"
#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/tenant/options" and "/tenant/system/options", each in three shapes:
///
///   .../options                 a page of all options (optioncollection+json), by category, then key
///   .../options/CATEGORY        a map of that category's keys to their values (option+json)
///   .../options/CATEGORY/KEY    one option with `category`, `key` and `value` (option+json)
class TenantOptions final : public Resource {
 public:
  explicit TenantOptions(Workplace& workplace) : workplace(workplace) {}

  // Resource
  std::string path() const override { return "/tenant"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Answer list(const Request& request, OptionScope scope);
  Answer readCategory(OptionScope scope, const std::string& category);
  Answer readOption(OptionScope scope, const std::string& category, const std::string& key);

  Workplace& workplace;
};

}  // namespace simulator
