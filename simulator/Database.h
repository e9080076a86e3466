// SQLite with its resources owned: a connection, prepared statements, transactions. Every failure is a
// std::runtime_error with SQLite's own text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Condition.h"

struct sqlite3;
struct sqlite3_stmt;

namespace simulator {

class Database;

/// A statement that is compiled once and run often. It must not outlive its database. [one thread at a time]
class Statement {
 public:
  Statement(Database& database, const std::string& text);

 private:
  friend class Query;
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };

  std::unique_ptr<sqlite3_stmt, Finalize> handle;
};

/// One run of a statement, from the binding of its parameters to its last row; the end of its life makes the statement
/// ready for the next. Bound texts must outlive it. [one thread at a time]
class Query {
 public:
  /// Binds `parameters`, texts and integers, to ?1, ?2 and so on.
  template <class... Parameters>
  explicit Query(Statement& statement, const Parameters&... parameters) : handle(statement.handle.get()) {
    [[maybe_unused]] int index = 0;
    (bind(++index, parameters), ...);
  }
  /// The same with parameters in a row, and `limit` and `offset` behind them.
  Query(Statement& statement, const std::vector<Parameter>& parameters, std::int64_t limit, std::int64_t offset);
  Query(Statement& statement, const std::vector<Parameter>& parameters);
  ~Query();
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// Steps to the next row; false when there is none.
  bool next();
  /// Runs a statement that has no rows.
  void run() { next(); }

  bool isNull(int column) const;
  std::string text(int column) const;
  std::int64_t integer(int column) const;

 private:
  void bind(int index, std::string_view text);
  void bind(int index, std::int64_t number);
  void bind(int index, double number);
  void check(int code) const;

  sqlite3_stmt* handle;
};

/// One connection. [one thread at a time]
class Database {
 public:
  /// Statements may use the function `instant`: the milliseconds since the epoch of a timestamp, or null.
  ///
  /// Opens or makes the file at `path`, or a database in memory for ":memory:", and runs `schema` on an empty one. The
  /// schema sets "user_version" to `version`. Throws std::runtime_error "can't open the database "PATH": REASON", also
  /// when the file is no database or has another version.
  Database(const std::string& path, const std::string& schema, int version);

 private:
  friend class Statement;
  friend class Transaction;
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  using Connection = std::unique_ptr<sqlite3, Close>;

  static Connection open(const std::string& path);
  void defineFunctions();
  void prepare(const std::string& schema, int version);
  int userVersion();
  void execute(const std::string& statements);

  Connection connection;
  Statement begin, commit, rollback;
};

/// Everything between construction and `commit`, or nothing of it. [one thread at a time]
class Transaction {
 public:
  explicit Transaction(Database& database);
  /// Takes back what wasn't committed.
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& database;
  bool open = true;
};

}  // namespace simulator
