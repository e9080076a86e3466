#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "chainrunner/EventRules.h"
#include "chainrunner/payload_fields.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// An event that can't be mapped; `what()` is the reason.
class MappingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The rules of one event type, made ready for its events: keys carry their hashes, and what all messages of the type
/// have in common is copied in one piece. Read-only. [any thread]
class TypeMapping {
 public:
  TypeMapping(std::string fullName, EventRules rules);

  const std::string& fullName() const { return name; }
  const EventRules& rules() const { return source; }

  /// The message of an event of the type, as `Mapping::toMessage` gives it. Throws MappingError.
  Message toMessage(data_t payload, map_t metadata) const;

 private:
  struct Keys {
    const hashed_key type{HOST_MESSAGE_TYPE}, http{"http"}, method{"method"}, path{"path"}, queryString{"queryString"},
        headers{"headers"}, cookies{"cookies"}, contentType{"contentType"}, reqId{"reqId"},
        requiresResponse{"requiresResponse"}, responseChannel{"responseChannel"};
  };

  /// A target with its keys; one without a key is the whole part.
  struct Place {
    Target::Part part;
    hashed_key key;

    bool isWhole() const { return key.empty(); }
  };

  struct Move {
    PayloadField field;
    Place place;
  };
  struct Check {
    PayloadField field;
    const EventRules::Check& rule;
  };
  struct Setting {
    Place place;
    data_t value;
  };
  struct Requirement {
    Place place;
    const std::string& name;
  };

  /// The message in the making.
  struct Draft {
    data_t payload;
    map_t metadata, http;
  };

  Place placeOf(const Target& target) const;
  const hashed_key& containerKey(Target::Part part) const;
  map_t& containerOf(Draft& draft, Target::Part part) const;
  void put(Draft& draft, const Place& place, data_t value) const;
  void putMissing(Draft& draft, const Place& place, const data_t& value) const;
  void convertFields(data_t& payload) const;
  void moveFields(Draft& draft) const;
  void addLineMetadata(map_t& metadata, map_t&& added) const;
  void checkReplyKeys(map_t& metadata) const;
  void checkRequired(const Draft& draft) const;

  const std::string name;
  const EventRules source;
  const Keys keys;
  data_t metadata, http;  ///< what each message begins with
  std::vector<PayloadField> floats, texts;
  std::vector<Check> checks;
  std::vector<Move> moves;
  std::vector<Setting> settings;
  std::vector<Requirement> required;
};

}  // namespace chainrunner
