// The platform's documents: media types, bodies of requests, and checks of the fields that a client may send.
#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/http.h"

namespace simulator {

/// "application/vnd.com.rdx.marlovance.NAME+json". [any thread]
std::string mediaType(std::string_view name);

/// What a value is, for messages: "null", "a boolean", "a number", "a text", "an array" or "an object". [any thread]
std::string describeKind(const boost::json::value& value);

/// Whether the content type of a request is the media type of `name`; parameters behind it don't matter. [any thread]
bool hasMediaType(const Request& request, std::string_view name);

/// Whether documents of this content type are JSON: application/json, or anything that ends with "+json"; parameters
/// don't matter. [any thread]
bool isJson(std::string_view contentType);

/// Reads the body of a request as a JSON object. Throws `RequestError`: 415 when the content type is neither
/// application/json nor the media type of `name` (parameters behind it don't matter), 400 with line and column when the
/// body is no JSON, 422 when it is no object. [any thread]
boost::json::object readBody(const Request& request, std::string_view name);

/// Checks the fields of one document, collects everything that is wrong, and refuses the document once with all of it.
/// [one thread at a time]
class FieldCheck {
 public:
  /// Checks, and completes, `document`, which must outlive this. Messages have `prefix` in front of its fields' names.
  explicit FieldCheck(boost::json::object& document, std::string prefix = {})
      : document(document), prefix(std::move(prefix)) {}

  /// Checks a document to which a client's `changes` were applied, and of it only the fields that they name. Both must
  /// outlive this.
  FieldCheck(boost::json::object& document, const boost::json::object& changes)
      : document(document), changes(&changes) {}

  /// A text that isn't empty must be there.
  void text(const char* name);
  /// If it is there, it must be a text.
  void optionalText(const char* name);
  /// An array of texts, none of them empty, must be there, and hold at least one.
  void texts(const char* name);
  /// If it is there, it must be such an array, which may be empty.
  void optionalTexts(const char* name);
  /// An object must be there. Null when it isn't.
  boost::json::object* object(const char* name);
  /// A timestamp must be there.
  void timestamp(const char* name);
  /// One of `words` must be there.
  void oneOf(const char* name, std::initializer_list<std::string_view> words);
  /// An id, a text or an integer, must be there, and `exists` must know it; it is stored as text.
  void id(const char* name, const std::function<bool(const std::string&)>& exists);
  /// An object with an `id` as above must be there; nothing but the id is kept of it.
  void source(const char* name, const std::function<bool(const std::string&)>& exists);
  /// The changes must not name any of the fields `names`.
  void fixed(const std::vector<std::string_view>& names);
  /// Adds a problem of the caller's own, a whole clause that names the field.
  void problem(const std::string& text);

  /// Takes over what another check found.
  void take(const FieldCheck& other);

  /// Throws `RequestError` 422 with the problems found, joined by "; ", if there are any.
  void finish() const;

 private:
  std::string label(std::string_view name) const;
  bool concerns(std::string_view name) const { return changes == nullptr || changes->contains(name); }
  const boost::json::value* present(const char* name);
  const boost::json::string* presentText(const char* name);
  std::string knownId(const std::string& label, const boost::json::value* value,
                      const std::function<bool(const std::string&)>& exists);

  boost::json::object& document;
  const boost::json::object* const changes = nullptr;
  const std::string prefix;
  std::string problems;
};

}  // namespace simulator
