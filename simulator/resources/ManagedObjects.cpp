#include "simulator/resources/ManagedObjects.h"

#include <algorithm>

#include "simulator/errors.h"
#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr Selector selectors[] = {
    {"type", Selector::Test::Text, "type"},
    {"name", Selector::Test::Text, "name"},
    {"owner", Selector::Test::Text, "owner"},
    {"fragmentType", Selector::Test::Has, ""},
    {"createdFrom", Selector::Test::From, "creationTime"},
    {"createdTo", Selector::Test::To, "creationTime"},
    {"q", Selector::Test::Filter, ""},
    {"query", Selector::Test::Filter, ""},
};
constexpr Column columns[] = {{"type", "type"}, {"name", "name"}, {"owner", "owner"}};

}  // namespace

/// One of the six ways in which a managed object shows its relatives.
struct ManagedObjects::Collection {
  const char* name;
  Relation relation;
  bool ofChildren;
};

const ManagedObjects::Collection ManagedObjects::collections[6] = {
    {"childDevices", Relation::Device, true},     {"childAssets", Relation::Asset, true},
    {"childAdditions", Relation::Addition, true}, {"deviceParents", Relation::Device, false},
    {"assetParents", Relation::Asset, false},     {"additionParents", Relation::Addition, false},
};

ManagedObjects::ManagedObjects(Workplace& workplace)
    : DocumentResource(workplace, {.kind = Kind::ManagedObject,
                                   .path = "/registry/managed-objects",
                                   .name = "managedobject",
                                   .what = "managed object",
                                   .collection = "managedObjects",
                                   .fixed = {},
                                   .maintained = {"childDevices", "childAssets", "childAdditions", "deviceParents",
                                                  "assetParents", "additionParents"},
                                   .selectors = selectors,
                                   .columns = columns,
                                   .removable = true}) {}

void ManagedObjects::examine(FieldCheck& check, json::object&, const json::object*) {
  check.optionalText("name");
  check.optionalText("type");
}

void ManagedObjects::forget(const std::string& id) {
  workplace.store.removeRelations(id);
}

std::string ManagedObjects::furtherFields(const std::string& id) {
  const std::vector<Relative> children = workplace.store.children(id);
  const std::vector<Relative> parents = workplace.store.parents(id);
  std::string out;
  for (const Collection& collection : collections) {
    out.append(",\"").append(collection.name).append("\":");
    appendCollection(out, id, collection, collection.ofChildren ? children : parents);
  }
  return out;
}

Answer ManagedObjects::answerBelow(const Request& request, std::span<const std::string> below) {
  const auto named = [&](const Collection& collection) { return below[1] == collection.name; };
  const Collection* collection = std::find_if(std::begin(collections), std::end(collections), named);
  if (collection == std::end(collections) || below.size() > 3) refusePath(request);
  find(below[0]);
  if (below.size() == 3) {
    if (request.method == "GET") return readReference(below[0], *collection, below[2]);
    refuseMethod(request, "GET");
  }
  if (request.method == "GET") return readCollection(below[0], *collection);
  if (request.method == "POST" && collection->ofChildren) return addChild(request, below[0], *collection);
  refuseMethod(request, collection->ofChildren ? "GET, POST" : "GET");
}

Answer ManagedObjects::addChild(const Request& request, const std::string& id, const Collection& collection) {
  json::object body = readBody(request, "managedobjectreference");
  FieldCheck check(body);
  check.source("managedObject", managedObjectExists());
  check.finish();
  const std::string child(body.at("managedObject").at("id").as_string());
  if (child == id) throw RequestError(422, "\"managedObject.id\" names the managed object itself: " + quoted(id));
  workplace.store.addChild(collection.relation, id, child);
  Answer answer = readReference(id, collection, child);
  answer.status = 201;
  answer.headers.push_back({"Location", link(id) + "/" + collection.name + "/" + child});
  return answer;
}

Answer ManagedObjects::readCollection(const std::string& id, const Collection& collection) {
  Answer answer;
  answer.contentType = mediaType("managedobjectreferencecollection");
  appendCollection(answer.body, id, collection, relatives(id, collection));
  return answer;
}

Answer ManagedObjects::readReference(const std::string& id, const Collection& collection, const std::string& relative) {
  for (const Relative& one : relatives(id, collection)) {
    if (one.relation != collection.relation || one.id != relative) continue;
    Answer answer;
    answer.contentType = mediaType("managedobjectreference");
    answer.body = reference(id, collection, one);
    return answer;
  }
  throw RequestError(404, quoted(relative) + " is not among the " + collection.name + " of " + quoted(id));
}

std::vector<Relative> ManagedObjects::relatives(const std::string& id, const Collection& collection) {
  return collection.ofChildren ? workplace.store.children(id) : workplace.store.parents(id);
}

std::string ManagedObjects::reference(const std::string& id, const Collection& collection,
                                      const Relative& relative) const {
  json::object managedObject({{"id", relative.id}, {"self", link(relative.id)}});
  if (relative.name) managedObject["name"] = *relative.name;
  return toJson(json::object(
      {{"managedObject", std::move(managedObject)}, {"self", link(id) + "/" + collection.name + "/" + relative.id}}));
}

void ManagedObjects::appendCollection(std::string& out, const std::string& id, const Collection& collection,
                                      const std::vector<Relative>& relatives) const {
  out += "{\"references\":[";
  const char* separator = "";
  for (const Relative& relative : relatives) {
    if (relative.relation != collection.relation) continue;
    out += separator + reference(id, collection, relative);
    separator = ",";
  }
  out += "],\"self\":";
  appendJsonString(out, link(id) + "/" + collection.name);
  out += '}';
}

}  // namespace simulator
