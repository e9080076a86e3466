// The platform's memory: documents by kind and id, and who is whose child.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/Condition.h"
#include "simulator/Database.h"
#include "simulator/TenantStore.h"

namespace simulator {

enum class Kind { ManagedObject, Alarm, Event, Operation, Measurement, Sms, Email };
constexpr std::size_t kindCount = 7;

enum class Relation { Device, Asset, Addition };

struct StoredDocument {
  std::string id;
  std::string text;  ///< a JSON object, without links
};

/// What a client put at a place below "/service".
struct ServiceDocument {
  std::string contentType;
  std::string body;
  bool isJson = false;
};

/// One end of a parent and child relation, seen from the other.
struct Relative {
  Relation relation;
  std::string id;
  std::optional<std::string> name;
};

/// SQL stands here and in schema.sql only. [one thread at a time]
class Store {
 public:
  /// Opens the store in an SQLite file, or in memory for ":memory:". Throws std::runtime_error that names the database
  /// when it can't be opened, is no database, or is one of another schema.
  explicit Store(const std::string& path);

  /// Everything that happens until its commit, or nothing of it.
  Transaction begin() { return Transaction(database); }

  /// Gives each id once: decimal numbers from 2504001 to 9999999, over all kinds. All have seven digits, so that they
  /// ascend as text too. Throws `RequestError` 507 "all ids are given, the last one is 9999999".
  std::string nextId();
  /// Makes `nextId` go on above `id`, if that is a number that it would still have given.
  void passOver(const std::string& id);

  void insert(Kind kind, const std::string& id, const std::string& document);
  void update(Kind kind, const std::string& id, const std::string& document);
  void remove(Kind kind, const std::string& id);
  std::optional<std::string> find(Kind kind, const std::string& id);
  bool contains(Kind kind, const std::string& id) { return find(kind, id).has_value(); }

  /// At most `limit` documents in ascending order of ids, behind the first `offset`.
  std::vector<StoredDocument> page(Kind kind, std::int64_t limit, std::int64_t offset);
  std::int64_t count(Kind kind);
  /// The same of the documents that meet a condition.
  std::vector<StoredDocument> page(Kind kind, const Condition& condition, std::int64_t limit, std::int64_t offset);
  std::int64_t count(Kind kind, const Condition& condition);
  /// `count` of each kind, by its plural: "managed objects", "alarms", "events", "operations", "measurements", "SMS",
  /// "e-mails".
  std::map<std::string, std::int64_t> counts();

  /// The alarm of that source and type whose status is ACTIVE.
  std::optional<StoredDocument> activeAlarm(const std::string& source, const std::string& type);

  /// At most `limit` messages with ids above `after`, oldest first; of SMS those of `sender`, or all when it is empty.
  std::vector<StoredDocument> smsOutbox(const std::string& sender, const std::string& after, std::int64_t limit);
  std::vector<StoredDocument> emailOutbox(const std::string& after, std::int64_t limit);

  /// Puts a document at a place, such as "/weather/today", instead of the one that is there.
  void putServiceDocument(const std::string& place, const ServiceDocument& document);
  void removeServiceDocument(const std::string& place);
  std::optional<ServiceDocument> serviceDocument(const std::string& place);
  /// The bodies of at most `limit` JSON documents one level below a place, by name, behind the first `offset`.
  std::vector<std::string> serviceDocumentsBelow(const std::string& place, std::int64_t limit, std::int64_t offset);
  std::int64_t countServiceDocumentsBelow(const std::string& place);

  /// Makes `child` a child of `parent`, if it isn't already. Both must exist.
  void addChild(Relation relation, const std::string& parent, const std::string& child);
  /// Parts a managed object from its parents and children.
  void removeRelations(const std::string& id);
  /// In the order they were added.
  std::vector<Relative> children(const std::string& parent);
  std::vector<Relative> parents(const std::string& child);

  TenantStore& tenant() { return tenantStore; }

 private:
  struct Statements {
    Statements(Database& database, const std::string& table);
    Statement insert, update, remove, find, page, count;
  };

  static std::vector<Relative> relatives(Query& rows);
  Statements& of(Kind kind) { return statements[static_cast<std::size_t>(kind)]; }

  Database database;
  TenantStore tenantStore;
  std::array<Statements, kindCount> statements;
  Statement readNextId, setNextId, findActiveAlarm, insertChild, removeRelationsOf, findChildren, findParents, pageSms,
      pageEmails, putService, removeService, findService, pageService, countService;
};

}  // namespace simulator
