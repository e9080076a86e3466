#include "simulator/Store.h"

#include <charconv>

#include "simulator/errors.h"
#include "simulator/schema.h"

namespace simulator {

namespace {

/// By kind.
constexpr std::array<const char*, kindCount> tables{"managed_objects", "alarms", "events", "operations",
                                                    "measurements",    "sms",    "emails"};

constexpr std::int64_t lastId = 9'999'999;

/// The last segment of a place, and what stands before it.
std::pair<std::string, std::string> splitPlace(const std::string& place) {
  const std::size_t slash = place.rfind('/');  // npos + 1 is 0
  return {place.substr(0, slash), place.substr(slash + 1)};
}

std::vector<StoredDocument> documents(Query& rows) {
  std::vector<StoredDocument> found;
  while (rows.next()) found.push_back({rows.text(0), rows.text(1)});
  return found;
}

}  // namespace

Store::Statements::Statements(Database& database, const std::string& table)
    : insert(database, "INSERT INTO " + table + " (id, document) VALUES (?1, ?2)"),
      update(database, "UPDATE " + table + " SET document = ?2 WHERE id = ?1"),
      remove(database, "DELETE FROM " + table + " WHERE id = ?1"),
      find(database, "SELECT document FROM " + table + " WHERE id = ?1"),
      page(database, "SELECT id, document FROM " + table + " ORDER BY id LIMIT ?1 OFFSET ?2"),
      count(database, "SELECT count(*) FROM " + table) {}

Store::Store(const std::string& path)
    : database(path, schema, schemaVersion),
      tenantStore(database),
      statements{{{database, tables[0]},
                  {database, tables[1]},
                  {database, tables[2]},
                  {database, tables[3]},
                  {database, tables[4]},
                  {database, tables[5]},
                  {database, tables[6]}}},
      readNextId(database, "SELECT value FROM next_id"),
      setNextId(database, "UPDATE next_id SET value = ?1 WHERE value < ?1"),
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
                  "WHERE child = ?1 ORDER BY number"),
      pageSms(database, "SELECT id, document FROM sms WHERE (?1 = '' OR sender = ?1) AND id > ?2 ORDER BY id LIMIT ?3"),
      pageEmails(database, "SELECT id, document FROM emails WHERE id > ?1 ORDER BY id LIMIT ?2"),
      putService(database, "INSERT OR REPLACE INTO service_documents VALUES (?1, ?2, ?3, ?4, ?5)"),
      removeService(database, "DELETE FROM service_documents WHERE parent = ?1 AND name = ?2"),
      findService(database,
                  "SELECT content_type, body, is_json FROM service_documents WHERE parent = ?1 AND name = ?2"),
      pageService(database,
                  "SELECT body FROM service_documents WHERE parent = ?1 AND is_json ORDER BY name LIMIT ?2 OFFSET ?3"),
      countService(database, "SELECT count(*) FROM service_documents WHERE parent = ?1 AND is_json") {}

std::string Store::nextId() {
  Query query(readNextId);
  query.next();
  const std::int64_t id = query.integer(0);
  if (id > lastId) throw RequestError(507, "all ids are given, the last one is " + std::to_string(lastId));
  Query(setNextId, id + 1).run();
  return std::to_string(id);
}

void Store::passOver(const std::string& id) {
  std::int64_t number = 0;
  const char* const end = id.data() + id.size();
  const auto [stop, code] = std::from_chars(id.data(), end, number);
  const bool isOurs = code == std::errc() && stop == end && number <= lastId && std::to_string(number) == id;
  if (isOurs) Query(setNextId, number + 1).run();
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
  return documents(query);
}

std::int64_t Store::count(Kind kind) {
  Query query(of(kind).count);
  query.next();
  return query.integer(0);
}

std::vector<StoredDocument> Store::page(Kind kind, const Condition& condition, std::int64_t limit,
                                        std::int64_t offset) {
  if (condition.sql.empty()) return page(kind, limit, offset);
  Statement statement(database, std::string("SELECT id, document FROM ") + tables[static_cast<std::size_t>(kind)] +
                                    " WHERE " + condition.sql + " ORDER BY id LIMIT ? OFFSET ?");
  Query query(statement, condition.parameters, limit, offset);
  return documents(query);
}

std::int64_t Store::count(Kind kind, const Condition& condition) {
  if (condition.sql.empty()) return count(kind);
  Statement statement(database, std::string("SELECT count(*) FROM ") + tables[static_cast<std::size_t>(kind)] +
                                    " WHERE " + condition.sql);
  Query query(statement, condition.parameters);
  query.next();
  return query.integer(0);
}

std::map<std::string, std::int64_t> Store::counts() {
  return {{"managed objects", count(Kind::ManagedObject)},
          {"alarms", count(Kind::Alarm)},
          {"events", count(Kind::Event)},
          {"operations", count(Kind::Operation)},
          {"measurements", count(Kind::Measurement)},
          {"SMS", count(Kind::Sms)},
          {"e-mails", count(Kind::Email)}};
}

std::optional<StoredDocument> Store::activeAlarm(const std::string& source, const std::string& type) {
  Query query(findActiveAlarm, source, type);
  if (!query.next()) return std::nullopt;
  return StoredDocument{query.text(0), query.text(1)};
}

std::vector<StoredDocument> Store::smsOutbox(const std::string& sender, const std::string& after, std::int64_t limit) {
  Query query(pageSms, sender, after, limit);
  return documents(query);
}

std::vector<StoredDocument> Store::emailOutbox(const std::string& after, std::int64_t limit) {
  Query query(pageEmails, after, limit);
  return documents(query);
}

void Store::putServiceDocument(const std::string& place, const ServiceDocument& document) {
  const auto [parent, name] = splitPlace(place);
  Query(putService, parent, name, document.contentType, document.body, std::int64_t{document.isJson}).run();
}

void Store::removeServiceDocument(const std::string& place) {
  const auto [parent, name] = splitPlace(place);
  Query(removeService, parent, name).run();
}

std::optional<ServiceDocument> Store::serviceDocument(const std::string& place) {
  const auto [parent, name] = splitPlace(place);
  Query query(findService, parent, name);
  if (!query.next()) return std::nullopt;
  return ServiceDocument{query.text(0), query.text(1), query.integer(2) != 0};
}

std::vector<std::string> Store::serviceDocumentsBelow(const std::string& place, std::int64_t limit,
                                                      std::int64_t offset) {
  Query query(pageService, place, limit, offset);
  std::vector<std::string> bodies;
  while (query.next()) bodies.push_back(query.text(0));
  return bodies;
}

std::int64_t Store::countServiceDocumentsBelow(const std::string& place) {
  Query query(countService, place);
  query.next();
  return query.integer(0);
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
