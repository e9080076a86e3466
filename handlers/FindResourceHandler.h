#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "handlers/PagedHandler.h"
#include "parsers/generic_parser.h"
#include "parsers/managed_object_parser.h"
#include "parsers/measurement_parser.h"
#include "parsers/parser.h"

namespace com::tallowmere::connectivity::plugins {

/// What tells one kind of find query from another. All four must outlive the handler.
struct FindTraits {
  const data_t& responseType;         ///< type of a result event
  const data_t& completionType;       ///< type of the final event
  const data_t& responseChannelName;  ///< channel of both, before the prefix
  const hashed_key& bodyKey;          ///< where a result event's payload holds the element
};

/// What all find queries share; only the parser differs. See `FindResourceHandler`.
class BasicFindHandler : public PagedHandler {
 public:
  BasicFindHandler(const HandlerServices& services, RequestSender& requestSender, const FindTraits& traits) noexcept
      : PagedHandler(services, requestSender),
        responseType(traits.responseType),
        completionType(traits.completionType),
        responseChannelName(traits.responseChannelName),
        bodyKey(traits.bodyKey) {}

  // Handler
  void handleRequest(Message& event, BatchSender& batch) override;
  void handleResponse(Message& response, OutstandingRequest& request) override;
  void handleError(Message& response, OutstandingRequest& request) override;
  data_t getConcurrencyKey(const Message&) const override { return {}; }

  /// Sends the final event, then ends the request.
  void finishedHandling(Message& request) override;

  // PagedHandler
  std::uint64_t handlePage(Message& response, OutstandingRequest& request) override;

  /// The event of one result element. [response thread]
  virtual Message makeResponseEvent(map_t&& parsed, std::int64_t reqId) const;

  /// Sends the final event; `text` tells what failed, or nothing. [response thread, or request thread for an event
  /// whose times can't be converted]
  virtual void sendAck(std::int64_t reqId, const std::string& text, Message& request);

 protected:
  /// The element as the payload of a host event.
  virtual map_t parse(map_t&& element) const = 0;

  /// The final event: whether an Error event went out, the latest status or 200, the text under `textKey`, the reqId.
  Message makeFinalEvent(std::int64_t reqId, const hashed_key& textKey, const std::string& text,
                         const Message& request) const;

  /// Converts the times of a request; when that fails, sends the final event before the exception goes on.
  void convertTimesOrAck(Message& request);

  const data_t& responseType;
  const data_t& completionType;
  const data_t& responseChannelName;
  const hashed_key& bodyKey;

 private:
  void moveIdToPath(Message& request) const;
  std::uint64_t parseElements(list_t& elements, std::int64_t reqId, std::vector<Message>& results) const;
};

/// Serves the application's find queries: one paged GET per event, one result event per element, and one final event,
/// also after a failure.
template <Parser parser>
class FindResourceHandler : public BasicFindHandler {
 public:
  using BasicFindHandler::BasicFindHandler;

 protected:
  map_t parse(map_t&& element) const override;
};

extern template class FindResourceHandler<managedObjectParser>;
extern template class FindResourceHandler<measurementParser>;
extern template class FindResourceHandler<genericParser>;

}  // namespace com::tallowmere::connectivity::plugins
