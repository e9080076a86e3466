#include "simulator/Store.h"

#include "simulator/schema.h"

namespace simulator {

Store::Statements::Statements(Database& database, const std::string& table)
    : insert(database, "INSERT INTO " + table + " (id, document) VALUES (?1, ?2)"),
      update(database, "UPDATE " + table + " SET document = ?2 WHERE id = ?1"),
      remove(database, "DELETE FROM " + table + " WHERE id = ?1"),
      find(database, "SELECT document FROM " + table + " WHERE id = ?1"),
      page(database, "SELECT id, document FROM " + table + " ORDER BY id LIMIT ?1 OFFSET ?2"),
      count(database, "SELECT count(*) FROM " + table) {}

Store::Store(const std::string& path)
    : database(path, schema, schemaVersion),
      statements{{{database, "managed_objects"},
                  {database, "alarms"},
                  {database, "events"},
                  {database, "operations"},
                  {database, "measurements"}}},
      readNextId(database, "SELECT value FROM next_id"),
      raiseNextId(database, "UPDATE next_id SET value = value + 1"),
      findActiveAlarm(database,
                      "SELECT id, document FROM alarms "
                      "WHERE source = ?1 AND type = ?2 AND status = 'ACTIVE' ORDER BY id LIMIT 1"),
      insertChild(database, "INSERT OR IGNORE INTO children (relation, parent, child) VALUES (?1, ?2, ?3)"),
      removeRelationsOf(database, "DELETE FROM children WHERE parent = ?1 OR child = ?1"),
      findChildren(database,
                   "SELECT relation, child, name FROM children JOIN managed_objects ON id = child "
                   "WHERE parent = ?1 ORDER BY number"),
      findParents(database,
                  "SELECT relation, parent, name FROM children JOIN managed_objects ON id = parent "
                  "WHERE child = ?1 ORDER BY number") {}

std::string Store::nextId() {
  Query query(readNextId);
  query.next();
  std::string id = query.text(0);
  Query(raiseNextId).run();
  return id;
}

void Store::insert(Kind kind, const std::string& id, const std::string& document) {
  Query(of(kind).insert, id, document).run();
}

void Store::update(Kind kind, const std::string& id, const std::string& document) {
  Query(of(kind).update, id, document).run();
}

void Store::remove(Kind kind, const std::string& id) {
  Query(of(kind).remove, id).run();
}

std::optional<std::string> Store::find(Kind kind, const std::string& id) {
  Query query(of(kind).find, id);
  if (!query.next()) return std::nullopt;
  return query.text(0);
}

std::vector<StoredDocument> Store::page(Kind kind, std::int64_t limit, std::int64_t offset) {
  Query query(of(kind).page, limit, offset);
  std::vector<StoredDocument> documents;
  while (query.next()) documents.push_back({query.text(0), query.text(1)});
  return documents;
}

std::int64_t Store::count(Kind kind) {
  Query query(of(kind).count);
  query.next();
  return query.integer(0);
}

std::map<std::string, std::int64_t> Store::counts() {
  return {{"managed objects", count(Kind::ManagedObject)},
          {"alarms", count(Kind::Alarm)},
          {"events", count(Kind::Event)},
          {"operations", count(Kind::Operation)},
          {"measurements", count(Kind::Measurement)}};
}

std::optional<StoredDocument> Store::activeAlarm(const std::string& source, const std::string& type) {
  Query query(findActiveAlarm, source, type);
  if (!query.next()) return std::nullopt;
  return StoredDocument{query.text(0), query.text(1)};
}

void Store::addChild(Relation relation, const std::string& parent, const std::string& child) {
  Query(insertChild, static_cast<std::int64_t>(relation), parent, child).run();
}

void Store::removeRelations(const std::string& id) {
  Query(removeRelationsOf, id).run();
}

std::vector<Relative> Store::children(const std::string& parent) {
  Query query(findChildren, parent);
  return relatives(query);
}

std::vector<Relative> Store::parents(const std::string& child) {
  Query query(findParents, child);
  return relatives(query);
}

std::vector<Relative> Store::relatives(Query& rows) {
  std::vector<Relative> found;
  while (rows.next()) {
    std::optional<std::string> name;
    if (!rows.isNull(2)) name = rows.text(2);
    found.push_back({static_cast<Relation>(rows.integer(0)), rows.text(1), std::move(name)});
  }
  return found;
}

}  // namespace simulator
