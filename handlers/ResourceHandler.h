#pragma once

#include <utility>

#include "handlers/Handler.h"
#include "handlers/concurrency_keys.h"
#include "handlers/request_body.h"
#include "parsers/generic_parser.h"
#include "parsers/managed_object_parser.h"
#include "parsers/measurement_parser.h"
#include "parsers/parser.h"

namespace com::tallowmere::connectivity::plugins {

/// What tells one resource from another.
struct ResourceTraits {
  FieldNames emptyRemovable;  ///< dropped from the body when empty
  FieldNames createRemoved;   ///< dropped from the body of a POST
  FieldNames updateRemoved;   ///< dropped from the body of a PUT
  data_t keyField;            ///< the payload field that the id getter reads
  data_t eventTypeName;       ///< the name that the payload map of a reply bears
};

/// What all resources share; only the parser and the id getter differ. See `ResourceHandler`.
class BasicResourceHandler : public Handler {
 public:
  BasicResourceHandler(const HandlerServices& services, ResourceTraits traits)
      : Handler(services),
        emptyRemovable(std::move(traits.emptyRemovable)),
        createRemoved(std::move(traits.createRemoved)),
        updateRemoved(std::move(traits.updateRemoved)),
        keyField(std::move(traits.keyField)),
        eventTypeName(std::move(traits.eventTypeName)) {}

  // Handler
  void handleRequest(Message& event, BatchSender& batch) override;
  void handleResponse(Message& response, OutstandingRequest& request) override;
  void handleError(Message& response, OutstandingRequest& request) override;
  bool isBatchable(const Message&) const override { return false; }

 protected:
  /// Drops what never goes out and, where named, what is empty.
  void cleanBody(Message& event) const;

  /// Makes the request a POST, or a PUT with the payload's "id" on its path; the id leaves the body, and so do the
  /// fields that do not belong to that method.
  void chooseUpdateMethod(Message& request) const;

  /// Throws `DropMessage` "update is not allowed" for a PUT.
  void checkIsCreate(const Message& request) const;

  /// The platform's document as the payload of a host event.
  virtual map_t parse(map_t&& document) const = 0;

  FieldNames emptyRemovable;
  FieldNames createRemoved;
  FieldNames updateRemoved;
  data_t keyField;
  data_t eventTypeName;

 private:
  void answerWithFailure(Message& response, const Message& request) const;
  void answerWithError(Message& response, const Message& request) const;
};

/// Creates or updates one resource per event: the cleaned payload is the body of a POST, or of a PUT when it has an
/// "id". When the application asked for a response, the answer reaches the host as ObjectCommitted or
/// ObjectCommitFailed; otherwise a success is silent and a failure is an Error event.
template <Parser parser, IdGetter getId>
class ResourceHandler : public BasicResourceHandler {
 public:
  using BasicResourceHandler::BasicResourceHandler;

  data_t getConcurrencyKey(const Message& request) const override;

 protected:
  map_t parse(map_t&& document) const override;
};

extern template class ResourceHandler<managedObjectParser, getManagedObjectId>;
extern template class ResourceHandler<genericParser, getIdFromField>;
extern template class ResourceHandler<measurementParser, getIdFromField>;
extern template class ResourceHandler<measurementFragmentParser, getIdFromField>;

}  // namespace com::tallowmere::connectivity::plugins
