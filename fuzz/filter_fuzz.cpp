// Bytes as a filter: it is refused as the client's mistake, or the database can answer it.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/require.h"
#include "simulator/Database.h"
#include "simulator/errors.h"
#include "simulator/filter.h"

using namespace simulator;

namespace {

constexpr Column columns[] = {{"type", "type"}, {"source.id", "source"}};

constexpr const char* schema =
    "CREATE TABLE documents (id TEXT PRIMARY KEY, document TEXT, type TEXT, source TEXT);"
    "INSERT INTO documents VALUES ('1', '{\"type\":\"t\",\"count\":3,\"source\":{\"id\":\"2\"}}', 't', '2');"
    "PRAGMA user_version = 1;";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Database database(":memory:", schema, 1);
  Condition condition;
  try {
    condition = readFilter("q", std::string(reinterpret_cast<const char*>(bytes), size), columns);
  } catch (const RequestError& refusal) {
    fuzz::require(refusal.status == 422, "a filter is refused with another status than 422");
    return 0;
  }
  const std::string where = condition.sql.empty() ? "" : " WHERE " + condition.sql;
  Statement statement(database, "SELECT count(*) FROM documents" + where);
  Query query(statement, condition.parameters);
  fuzz::require(query.next() && query.integer(0) <= 1, "a filter finds more than there is");
  return 0;
}
