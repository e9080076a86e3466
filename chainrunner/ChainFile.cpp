#include "chainrunner/ChainFile.h"

#include <algorithm>
#include <utility>

#include "chainrunner/default_chain.h"
#include "chainrunner/files.h"

namespace chainrunner {

namespace {

using std::chrono::milliseconds;
using YAML::Node;

constexpr std::size_t mostBytes = 1'000'000'000;
constexpr std::uint64_t mostPages = 1'000'000'000;

Target readTarget(const YamlReader& reader, const Node& node, const std::string& text) {
  if (auto target = Target::parse(text)) return *target;
  reader.fail(node, "\"" + text + "\" is no place in a message");
}

template <class Number>
bool reads(const std::string& text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

/// A plain scalar is what it looks like; a quoted one is a string.
EventRules::Constant readConstant(const YamlReader& reader, const Node& value) {
  const std::string text = reader.text(value);
  std::int64_t integer = 0;
  double real = 0;
  if (value.Tag() == "!") return text;
  if (text == "true" || text == "false") return text == "true";
  if (reads(text, integer)) return integer;
  if (reads(text, real)) return real;
  return text;
}

bool readSwitch(const YamlReader& reader, const Node& value) {
  const std::string text = reader.text(value);
  if (text != "true" && text != "false") reader.fail(value, "\"" + text + "\" is neither true nor false");
  return text == "true";
}

EventRules::Requirement readRequirement(const YamlReader& reader, const Node& node, const std::string& place) {
  const Target target = readTarget(reader, node, place);
  if (target.part == Target::Part::metadata) return {target, target.name};
  if (target.part == Target::Part::path) return {target, place};
  reader.fail(node, "\"" + place + "\" is neither metadata nor the path");
}

/// Adds a rule behind the others, in place of an inherited one for the same field or place.
template <class Rule, class Subject>
void addRule(std::vector<Rule>& rules, Subject Rule::*subject, Rule rule) {
  std::erase_if(rules, [&](const Rule& other) { return other.*subject == rule.*subject; });
  rules.push_back(std::move(rule));
}

/// Reads the keys of `everyEvent` or of one event type into `rules`, on top of what they hold, which they win over.
void readRules(YamlReader& reader, const Node& map, const Mapping& mapping, EventRules& rules) {
  const auto readLike = [&](const Node& value) {
    const EventRules* other = mapping.rulesOf(reader.text(value));
    if (!other) reader.fail(value, "unknown event type \"" + reader.text(value) + "\"");
    rules = *other;
  };
  const auto fieldsInto = [&](std::vector<FieldPath>& fields) {
    return [&](const Node& value) {
      for (const std::string& field : reader.texts(value)) fields.push_back(parseField(field));
    };
  };
  const auto readKinds = [&](const Node& value) {
    reader.forEach(value, [&](const std::string& field, const Node& name) {
      const auto kind = parseFieldKind(reader.text(name));
      if (!kind)
        reader.fail(name, "\"" + reader.text(name) + "\" is none of boolean, integer, string, object and list");
      addRule(rules.kinds, &EventRules::Check::field, {parseField(field), *kind});
    });
  };
  const auto readMoves = [&](const Node& value) {
    reader.forEach(value, [&](const std::string& field, const Node& place) {
      addRule(rules.moves, &EventRules::Move::field,
              {parseField(field), readTarget(reader, place, reader.text(place))});
    });
  };
  const auto readSettings = [&](const Node& value) {
    reader.forEach(value, [&](const std::string& place, const Node& constant) {
      addRule(rules.settings, &EventRules::Setting::target,
              {readTarget(reader, constant, place), readConstant(reader, constant)});
    });
  };
  const auto readRequired = [&](const Node& value) {
    for (const std::string& place : reader.texts(value))
      rules.required.push_back(readRequirement(reader, value, place));
  };
  reader.readMap(map, {{"like", readLike},
                       {"method", [&](const Node& value) { rules.method = reader.text(value); }},
                       {"path", [&](const Node& value) { rules.path = reader.text(value); }},
                       {"contentType", [&](const Node& value) { rules.contentType = reader.text(value); }},
                       {"required", readRequired},
                       {"floats", fieldsInto(rules.floats)},
                       {"texts", fieldsInto(rules.texts)},
                       {"kinds", readKinds},
                       {"move", readMoves},
                       {"closed", [&](const Node& value) { rules.isClosed = readSwitch(reader, value); }},
                       {"set", readSettings}});
}

void readEvents(YamlReader& reader, const Node& map, ChainFile& chain) {
  reader.forEach(map, [&](const std::string& type, const Node& keys) {
    EventRules rules = chain.everyEvent;
    readRules(reader, keys, chain.mapping, rules);
    if (rules.method.empty()) reader.fail(keys, "no method");
    const bool bringsPath = std::any_of(rules.moves.begin(), rules.moves.end(),
                                        [](const auto& move) { return move.target.part == Target::Part::path; });
    if (rules.path.empty() && !bringsPath) reader.fail(keys, "no path");
    const std::string* fullName = chain.mapping.find(type);
    chain.mapping.set(fullName ? std::string(*fullName) : type, std::move(rules));
  });
}

void readPlugin(YamlReader& reader, const Node& map, ChainFile& chain) {
  const auto readConfiguration = [&](const Node& value) {
    reader.forEach(value, [&](const std::string& key, const Node& setting) {
      if (key == "username" || key == "password")
        reader.fail(setting, "credentials come from the environment, not from a chain file");
      chain.configuration[key] = reader.text(setting);
    });
  };
  reader.readMap(map, {{"name", [&](const Node& value) { chain.pluginName = reader.text(value); }},
                       {"chain", [&](const Node& value) { chain.chainId = reader.text(value); }},
                       {"configuration", readConfiguration}});
}

/// Something that reads a whole number of the range into the field.
template <class Number>
auto numberInto(const YamlReader& reader, Number& field, Number least, Number most) {
  return [&reader, &field, least, most](const Node& value) { field = reader.number(value, least, most); };
}

auto timeInto(const YamlReader& reader, milliseconds& field, milliseconds unit, std::int64_t least, std::int64_t most) {
  return [&reader, &field, unit, least, most](const Node& value) { field = unit * reader.number(value, least, most); };
}

void readTransport(YamlReader& reader, const Node& map, TransportOptions& transport) {
  reader.readMap(map, {{"platform", [&](const Node& value) { transport.platform = reader.text(value); }},
                       {"timeoutSeconds", timeInto(reader, transport.timeout, milliseconds(1000), 1, 86'400)},
                       {"inFlight", numberInto<std::size_t>(reader, transport.inFlight, 1, 100'000)},
                       {"connections", numberInto<std::size_t>(reader, transport.connections, 1, 1000)},
                       {"retries", numberInto<unsigned>(reader, transport.retries, 0, 100)},
                       {"retryDelayMilliseconds", timeInto(reader, transport.retryDelay, milliseconds(1), 0, 60'000)},
                       {"pagesPerWalk", numberInto<std::uint64_t>(reader, transport.pagesPerWalk, 1, mostPages)},
                       {"maxAnswerBytes", numberInto<std::size_t>(reader, transport.maxAnswerBytes, 1, mostBytes)}});
}

void readSource(YamlReader& reader, const Node& map, SourceOptions& source) {
  reader.readMap(map, {{"batch", numberInto<std::size_t>(reader, source.batch, 1, 1'000'000)},
                       {"maxLineBytes", numberInto<std::size_t>(reader, source.maxLineBytes, 1, mostBytes)},
                       {"maxDepth", numberInto<std::size_t>(reader, source.json.depth, 1, 1000)},
                       {"maxKeyBytes", numberInto<std::size_t>(reader, source.json.keyBytes, 1, mostBytes)}});
}

}  // namespace

ChainFile ChainFile::builtIn() {
  ChainFile chain;
  chain.overlay("default_chain.yaml", defaultChain);
  return chain;
}

void ChainFile::overlayFile(const std::string& fileName) {
  overlay(fileName, readFile(fileName));
}

void ChainFile::overlay(const std::string& fileName, const std::string& text) {
  YamlReader reader(fileName, text);
  reader.readMap(reader.document(),
                 {{"plugin", [&](const Node& map) { readPlugin(reader, map, *this); }},
                  {"transport", [&](const Node& map) { readTransport(reader, map, transport); }},
                  {"source", [&](const Node& map) { readSource(reader, map, source); }},
                  {"everyEvent", [&](const Node& map) { readRules(reader, map, mapping, everyEvent); }},
                  {"events", [&](const Node& map) { readEvents(reader, map, *this); }}});
  transport.json = source.json;
}

}  // namespace chainrunner
