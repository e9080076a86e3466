#include <boost/json.hpp>

#include "benchmarks/codec/hand_translation.h"

namespace benchmarks {

namespace {

namespace json = boost::json;

struct BoostJson {
  using Value = json::value;
  using Object = json::object;
  using List = json::array;
  using Key = json::string_view;

  static Value parse(const std::string& text) { return json::parse(text); }
  template <class Content>
  static Value make(Content&& content) {
    return Value(std::forward<Content>(content));
  }
  static Value make(std::string_view text) { return Value(json::string_view(text.data(), text.size())); }
  static Value make(const std::string& text) { return Value(json::string_view(text)); }

  static Value* find(Object& object, Key key) { return object.if_contains(key); }
  static const Value* find(const Object& object, Key key) { return object.if_contains(key); }
  static Value& set(Object& object, Key key, Value value) {
    return object.insert_or_assign(key, std::move(value)).first->value();
  }
  static void insert(Object& object, Key key, Value value) { object.emplace(key, std::move(value)); }
  static void erase(Object& object, Key key) { object.erase(key); }
  static Value take(Object& object, Key key) {
    const auto found = object.find(key);
    Value value = std::move(found->value());
    object.erase(found);
    return value;
  }
  template <class Visitor>
  static void forEach(Object& object, Visitor&& visit) {
    for (auto& member : object) visit(member.key(), member.value());
  }

  static Object& object(Value& value) { return value.as_object(); }
  static List& list(Value& value) { return value.as_array(); }
  static std::string_view text(const Value& value) {
    const json::string& text = value.as_string();
    return {text.data(), text.size()};
  }
  static std::int64_t integer(const Value& value) { return value.as_int64(); }
  static double number(const Value& value) { return value.as_double(); }
  static bool isObject(const Value& value) { return value.is_object(); }
  static bool isList(const Value& value) { return value.is_array(); }
  static bool isEmpty(const Value& value) {
    switch (value.kind()) {
      case json::kind::null:
        return true;
      case json::kind::string:
        return value.get_string().empty();
      case json::kind::array:
        return value.get_array().empty();
      case json::kind::object:
        return value.get_object().empty();
      default:
        return false;
    }
  }

  template <class Content>
  static nlohmann::json content(const Content& content) {
    return nlohmann::json::parse(json::serialize(content));
  }
};

}  // namespace

std::unique_ptr<Side> makeBoostJsonSide(bool isTimeStubbed) {
  return std::make_unique<HandSide<BoostJson>>(isTimeStubbed);
}

}  // namespace benchmarks
