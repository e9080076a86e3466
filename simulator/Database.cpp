#include "simulator/Database.h"

#include <sqlite3.h>

#include <stdexcept>

#include "simulator/timestamp.h"

namespace simulator {

namespace {

[[noreturn]] void fail(sqlite3* connection) {
  throw std::runtime_error(sqlite3_errmsg(connection));
}

[[noreturn]] void failToOpen(const std::string& path, const std::string& reason) {
  throw std::runtime_error("can't open the database \"" + path + "\": " + reason);
}

void instant(sqlite3_context* context, int, sqlite3_value** arguments) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(arguments[0]));
  if (bytes == nullptr) return sqlite3_result_null(context);
  const auto length = static_cast<std::size_t>(sqlite3_value_bytes(arguments[0]));
  const std::optional<Moment> moment = parseTimestamp({bytes, length});
  if (!moment) return sqlite3_result_null(context);
  sqlite3_result_int64(context, moment->time_since_epoch().count());
}

}  // namespace

void Database::Close::operator()(sqlite3* connection) const {
  sqlite3_close(connection);
}

Database::Connection Database::open(const std::string& path) {
  sqlite3* opened = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
  Connection connection(opened);
  if (code != SQLITE_OK) failToOpen(path, opened == nullptr ? "out of memory" : sqlite3_errmsg(opened));
  return connection;
}

Database::Database(const std::string& path, const std::string& schema, int version)
    : connection(open(path)), begin(*this, "BEGIN"), commit(*this, "COMMIT"), rollback(*this, "ROLLBACK") {
  try {
    defineFunctions();
    prepare(schema, version);
  } catch (const std::runtime_error& error) {
    failToOpen(path, error.what());
  }
}

void Database::defineFunctions() {
  constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
  if (sqlite3_create_function_v2(connection.get(), "instant", 1, flags, nullptr, instant, nullptr, nullptr, nullptr) !=
      SQLITE_OK)
    fail(connection.get());
}

void Database::prepare(const std::string& schema, int version) {
  // A crash of the whole machine may cost the latest requests, never the file.
  execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL");
  const int present = userVersion();
  if (present == version) return;
  if (present != 0) {
    throw std::runtime_error("its schema has version " + std::to_string(present) + ", expected is " +
                             std::to_string(version));
  }
  Transaction transaction(*this);
  execute(schema);
  transaction.commit();
}

int Database::userVersion() {
  Statement statement(*this, "PRAGMA user_version");
  Query query(statement);
  query.next();
  return static_cast<int>(query.integer(0));
}

void Database::execute(const std::string& statements) {
  if (sqlite3_exec(connection.get(), statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
    fail(connection.get());
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Statement::Statement(Database& database, const std::string& text) {
  sqlite3* connection = database.connection.get();
  sqlite3_stmt* prepared = nullptr;
  const int length = static_cast<int>(text.size());
  const int code = sqlite3_prepare_v3(connection, text.c_str(), length, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
  handle.reset(prepared);
  if (code != SQLITE_OK) fail(connection);
}

Query::Query(Statement& statement, const std::vector<Parameter>& parameters) : handle(statement.handle.get()) {
  int index = 0;
  for (const Parameter& parameter : parameters) std::visit([&](const auto& value) { bind(++index, value); }, parameter);
}

Query::Query(Statement& statement, const std::vector<Parameter>& parameters, std::int64_t limit, std::int64_t offset)
    : Query(statement, parameters) {
  const int bound = static_cast<int>(parameters.size());
  bind(bound + 1, limit);
  bind(bound + 2, offset);
}

Query::~Query() {
  sqlite3_reset(handle);
  sqlite3_clear_bindings(handle);
}

void Query::bind(int index, std::string_view text) {
  check(sqlite3_bind_text64(handle, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Query::bind(int index, std::int64_t number) {
  check(sqlite3_bind_int64(handle, index, number));
}

void Query::bind(int index, double number) {
  check(sqlite3_bind_double(handle, index, number));
}

bool Query::next() {
  const int code = sqlite3_step(handle);
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) check(code);
  return false;
}

bool Query::isNull(int column) const {
  return sqlite3_column_type(handle, column) == SQLITE_NULL;
}

std::string Query::text(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(handle, column));
  return std::string(bytes == nullptr ? "" : bytes, static_cast<std::size_t>(sqlite3_column_bytes(handle, column)));
}

std::int64_t Query::integer(int column) const {
  return sqlite3_column_int64(handle, column);
}

void Query::check(int code) const {
  if (code != SQLITE_OK) fail(sqlite3_db_handle(handle));
}

Transaction::Transaction(Database& database) : database(database) {
  Query(database.begin).run();
}

Transaction::~Transaction() {
  if (!open) return;
  try {
    Query(database.rollback).run();
  } catch (const std::exception&) {
    // SQLite has rolled back by itself, after a full disk for example.
  }
}

void Transaction::commit() {
  Query(database.commit).run();
  open = false;
}

}  // namespace simulator
