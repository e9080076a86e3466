#include "simulator/TenantStore.h"

namespace simulator {

namespace {

std::int64_t numberOf(OptionScope scope) {
  return static_cast<std::int64_t>(scope);
}

std::vector<TenantOption> readOptions(Query& rows) {
  std::vector<TenantOption> options;
  while (rows.next()) options.push_back({rows.text(0), rows.text(1), rows.text(2)});
  return options;
}

}  // namespace

TenantStore::TenantStore(Database& database)
    : insertOption(database, "INSERT OR REPLACE INTO options (scope, category, key, value) VALUES (?1, ?2, ?3, ?4)"),
      listOptions(
          database,
          "SELECT category, key, value FROM options WHERE scope = ?1 ORDER BY category, key LIMIT ?2 OFFSET ?3"),
      countOptions(database, "SELECT count(*) FROM options WHERE scope = ?1"),
      listCategory(database,
                   "SELECT category, key, value FROM options WHERE scope = ?1 AND category = ?2 ORDER BY key"),
      findOption(database, "SELECT value FROM options WHERE scope = ?1 AND category = ?2 AND key = ?3"),
      findUser(database, "SELECT document FROM current_user"),
      insertUser(database, "INSERT OR REPLACE INTO current_user (number, document) VALUES (1, ?1)") {}

void TenantStore::setOption(OptionScope scope, const TenantOption& option) {
  Query(insertOption, numberOf(scope), option.category, option.key, option.value).run();
}

std::vector<TenantOption> TenantStore::optionPage(OptionScope scope, std::int64_t limit, std::int64_t offset) {
  Query query(listOptions, numberOf(scope), limit, offset);
  return readOptions(query);
}

std::int64_t TenantStore::optionCount(OptionScope scope) {
  Query query(countOptions, numberOf(scope));
  query.next();
  return query.integer(0);
}

std::vector<TenantOption> TenantStore::optionsOf(OptionScope scope, const std::string& category) {
  Query query(listCategory, numberOf(scope), category);
  return readOptions(query);
}

std::optional<std::string> TenantStore::option(OptionScope scope, const std::string& category, const std::string& key) {
  Query query(findOption, numberOf(scope), category, key);
  if (!query.next()) return std::nullopt;
  return query.text(0);
}

std::optional<std::string> TenantStore::currentUser() {
  Query query(findUser);
  if (!query.next()) return std::nullopt;
  return query.text(0);
}

void TenantStore::setCurrentUser(const std::string& document) {
  Query(insertUser, document).run();
}

}  // namespace simulator
