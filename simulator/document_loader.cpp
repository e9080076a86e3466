#include "simulator/document_loader.h"

#include <array>

#include "simulator/documents.h"
#include "simulator/errors.h"
#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

namespace {

struct Collection {
  const char* name;
  Kind kind;
};
constexpr std::array collections{Collection{"managedObjects", Kind::ManagedObject}, Collection{"alarms", Kind::Alarm},
                                 Collection{"events", Kind::Event}, Collection{"operations", Kind::Operation},
                                 Collection{"measurements", Kind::Measurement}};

const json::object& objectAt(const std::string& place, const json::value& value) {
  if (const json::object* object = value.if_object()) return *object;
  throw RequestError(422, quoted(place) + " must be an object, not " + describeKind(value));
}

/// Hands each element of the array `value` to `load`, together with its place in words.
template <class Load>
void forEach(const std::string& name, const json::value& value, Load&& load) {
  if (!value.is_array()) throw RequestError(422, quoted(name) + " must be an array, not " + describeKind(value));
  std::size_t index = 0;
  for (const json::value& element : value.get_array()) {
    const std::string place = name + "[" + std::to_string(index++) + "]";
    load(place, objectAt(place, element));
  }
}

std::string textAt(const std::string& place, const json::object& object, const char* name) {
  const json::value* value = object.if_contains(name);
  const std::string label = quoted(place + "." + name);
  if (value == nullptr) throw RequestError(422, label + " is missing");
  if (!value->is_string()) throw RequestError(422, label + " must be a text, not " + describeKind(*value));
  if (value->get_string().empty()) throw RequestError(422, label + " must not be empty");
  return std::string(value->get_string());
}

void loadDocument(Store& store, Kind kind, const std::string& id, const json::object& fields, const std::string& now) {
  json::object document({{"id", id}, {"creationTime", now}, {"lastUpdated", now}});
  for (const auto& [name, value] : fields) document[name] = value;
  const std::string text = toJson(document);
  if (store.contains(kind, id)) {
    store.update(kind, id, text);
  } else {
    store.passOver(id);
    store.insert(kind, id, text);
  }
}

void loadOptions(Store& store, OptionScope scope, const std::string& name, const json::value& options) {
  forEach(name, options, [&](const std::string& place, const json::object& option) {
    const json::value* value = option.if_contains("value");
    if (value == nullptr) throw RequestError(422, quoted(place + ".value") + " is missing");
    store.tenant().setOption(scope, {textAt(place, option, "category"), textAt(place, option, "key"), toJson(*value)});
  });
}

bool loadCollection(Store& store, const std::string& name, const json::value& documents, const std::string& now) {
  for (const Collection& collection : collections) {
    if (name != collection.name) continue;
    forEach(name, documents, [&](const std::string& place, const json::object& document) {
      const std::string id = document.contains("id") ? textAt(place, document, "id") : store.nextId();
      loadDocument(store, collection.kind, id, document, now);
    });
    return true;
  }
  return false;
}

}  // namespace

void loadDocuments(Store& store, const json::object& documents, const std::string& now) {
  for (const auto& [key, value] : documents) {
    const std::string name(key);
    if (name == "tenantOptions") {
      loadOptions(store, OptionScope::Tenant, name, value);
    } else if (name == "systemOptions") {
      loadOptions(store, OptionScope::System, name, value);
    } else if (name == "currentUser") {
      store.tenant().setCurrentUser(toJson(objectAt(name, value)));
    } else if (!loadCollection(store, name, value, now)) {
      throw RequestError(422, quoted(name) +
                                  " can't be loaded; known are managedObjects, alarms, events, operations, "
                                  "measurements, tenantOptions, systemOptions, currentUser");
    }
  }
}

}  // namespace simulator
