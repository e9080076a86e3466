#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/Database.h"

namespace simulator {

enum class OptionScope { Tenant, System };

struct TenantOption {
  std::string category;
  std::string key;
  std::string value;  ///< JSON text
};

/// The part of the store that is the tenant's own: options, one value for each scope, category and key, and the user
/// who is logged in. [one thread at a time]
class TenantStore {
 public:
  explicit TenantStore(Database& database);

  /// Puts an option in, in place of the one of the same category and key.
  void setOption(OptionScope scope, const TenantOption& option);

  /// At most `limit` options in ascending order of category, then key, behind the first `offset`.
  std::vector<TenantOption> optionPage(OptionScope scope, std::int64_t limit, std::int64_t offset);
  std::int64_t optionCount(OptionScope scope);

  /// All options of a category, in ascending order of keys.
  std::vector<TenantOption> optionsOf(OptionScope scope, const std::string& category);

  /// The value of one option, as JSON text.
  std::optional<std::string> option(OptionScope scope, const std::string& category, const std::string& key);

  /// What was set for the current user, a JSON object.
  std::optional<std::string> currentUser();
  void setCurrentUser(const std::string& document);

 private:
  Statement insertOption, listOptions, countOptions, listCategory, findOption, findUser, insertUser;
};

}  // namespace simulator
