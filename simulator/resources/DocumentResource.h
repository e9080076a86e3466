#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Store.h"
#include "simulator/documents.h"
#include "simulator/resources/Resource.h"
#include "simulator/selection.h"
#include "simulator/timestamp.h"

namespace simulator {

/// What the resources work with. Outlives them.
struct Workplace {
  Store& store;
  std::string baseUrl;  ///< "http://127.0.0.1:PORT"
  std::function<Moment()> now;
};

/// What tells one kind of document from another.
struct DocumentKind {
  Kind kind;
  std::string path;                          ///< "/alarm/alarms"
  std::string name;                          ///< "alarm", as in media types
  std::string what;                          ///< "alarm", as in messages
  std::string collection;                    ///< "alarms", the field of a list that holds the documents
  std::vector<std::string_view> fixed;       ///< fields that an update can't change
  std::vector<std::string_view> maintained;  ///< fields that the platform keeps; from a client they are ignored
  std::span<const Selector> selectors;       ///< query parameters of a list
  std::span<const Column> columns;           ///< fields that its filters compare by their columns
  bool removable = false;                    ///< whether DELETE is served
};

/// A collection of documents that are created (POST), updated (PUT), read (GET), listed (GET)
/// and, for some kinds, deleted (DELETE).
///
/// A document is stored as its client sent it, less fields that are null, with `id`, `creationTime` and `lastUpdated`
/// added. An update replaces top-level fields, and removes those that it gives as null; only what it names is checked.
class DocumentResource : public Resource {
 public:
  DocumentResource(Workplace& workplace, DocumentKind kind) : workplace(workplace), kind(std::move(kind)) {}

  // Resource
  std::string path() const override { return kind.path; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 protected:
  /// Checks and completes a new or updated document, `before` being the stored one or null. The caller finishes
  /// `check`.
  virtual void examine(FieldCheck& check, boost::json::object& document, const boost::json::object* before) = 0;

  /// Stores a document that was found good and gives the id under which it is.
  virtual std::string keep(boost::json::object document);

  /// Fields of an answer that aren't stored, as JSON text, each with a comma in front. Nothing by default.
  virtual std::string furtherFields(const std::string& id);

  /// Takes leave of a document that is about to be deleted: nothing by default.
  virtual void forget(const std::string& id);

  /// Answers what lies below a document: nothing by default.
  virtual Answer answerBelow(const Request& request, std::span<const std::string> below);

  /// The address of a document.
  std::string link(const std::string& id) const { return workplace.baseUrl + kind.path + "/" + id; }

  std::function<bool(const std::string&)> managedObjectExists() const;
  std::string timestampNow() const { return formatTimestamp(workplace.now()); }

  /// Checks what a client sent for a new document, stores it and gives its id. Throws `RequestError` 422 for bad
  /// fields.
  std::string createFrom(const boost::json::object& fields);

  /// Answers 201 with a new document and its address.
  Answer createdAnswer(const std::string& id);

  /// Gives `document` a new id, stamps it and stores it.
  std::string insert(const boost::json::object& document);

  /// Stamps a document that has an id, and stores it.
  void replace(boost::json::object& document);

  /// Puts the fields of `changes` over those of `document`, without the ones that are null.
  static void merge(boost::json::object& document, const boost::json::object& changes);

  /// Throws `RequestError` 404 when there is no document of that id.
  std::string find(const std::string& id) const;

  Workplace& workplace;
  const DocumentKind kind;

 private:
  Answer create(const Request& request);
  Answer update(const Request& request, const std::string& id);
  Answer remove(const std::string& id);
  Answer list(const Request& request);
  /// `merge` without the fields that are the platform's own.
  void mergeClientFields(boost::json::object& document, const boost::json::object& fields) const;
  Answer documentAnswer(int status, const std::string& id, const std::string& text);
  void appendDocument(std::string& out, const std::string& id, const std::string& text);
};

}  // namespace simulator
