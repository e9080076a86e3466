#include "benchmarks/codec/hand_translation.h"

namespace benchmarks {

namespace {

using nlohmann::json;

struct Nlohmann {
  using Value = json;
  using Object = json::object_t;
  using List = json::array_t;
  using Key = std::string;

  static Value parse(const std::string& text) { return json::parse(text); }
  template <class Content>
  static Value make(Content&& content) {
    return Value(std::forward<Content>(content));
  }

  static Value* find(Object& object, const Key& key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &found->second;
  }
  static const Value* find(const Object& object, const Key& key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &found->second;
  }
  static Value& set(Object& object, const Key& key, Value value) {
    return object.insert_or_assign(key, std::move(value)).first->second;
  }
  static void insert(Object& object, const Key& key, Value value) { object.emplace(key, std::move(value)); }
  static void erase(Object& object, const Key& key) { object.erase(key); }
  static Value take(Object& object, const Key& key) {
    const auto found = object.find(key);
    Value value = std::move(found->second);
    object.erase(found);
    return value;
  }
  template <class Visitor>
  static void forEach(Object& object, Visitor&& visit) {
    for (auto& [key, value] : object) visit(key, value);
  }

  static Object& object(Value& value) { return value.get_ref<Object&>(); }
  static List& list(Value& value) { return value.get_ref<List&>(); }
  static std::string_view text(const Value& value) { return value.get_ref<const std::string&>(); }
  static std::int64_t integer(const Value& value) { return value.get<std::int64_t>(); }
  static double number(const Value& value) { return value.get<double>(); }
  static bool isObject(const Value& value) { return value.is_object(); }
  static bool isList(const Value& value) { return value.is_array(); }
  static bool isEmpty(const Value& value) {
    return value.is_string() ? text(value).empty() : !value.is_primitive() && value.empty();
  }

  static json content(const Value& value) { return value; }
};

}  // namespace

std::unique_ptr<Side> makeNlohmannSide(bool isTimeStubbed) {
  return std::make_unique<HandSide<Nlohmann>>(isTimeStubbed);
}

}  // namespace benchmarks
