#pragma once

#include <cstdint>
#include <string>

#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

class RequestSender;

/// Walks a collection that the platform answers in pages: hands each page to its subclass, decides whether another is
/// needed, and sends the same request message out again for it. A walk's state lies in the metadata of that message, so
/// any number of walks run at once. See page_walk.cpp for the walk and query_parameters.cpp for its first request.
class PagedHandler : public Handler {
 public:
  PagedHandler(const HandlerServices& services, RequestSender& requestSender) noexcept
      : Handler(services), requestSender(requestSender) {}

  // Handler

  /// Takes one page. Throws `DropMessage` "payload is not a map", and std::runtime_error for statistics, ids or
  /// parameters of a wrong type; the walk then ends here. [response thread]
  void handleResponse(Message& response, OutstandingRequest& request) override;
  bool isBatchable(const Message&) const override { return false; }

  /// Turns the page into events and sends them; gives the number of its elements, those that failed included.
  /// [response thread]
  virtual std::uint64_t handlePage(Message& response, OutstandingRequest& request) = 0;

 protected:
  // What follows works on the first request of a walk. Throws std::runtime_error when "http.queryString" is missing
  // ("Get from empty") or a parameter is of a wrong type. [request thread]

  /// Settles the page size, whether all pages are walked, and whether they can be walked by id.
  void addPagedQueryParams(Message& request) const;

  /// Sets "getAllPages", and what the platform is told of totals.
  void setFetchAllPages(Message& request, bool fetchAll) const;

  /// Rewrites a plain filter so that the walk can go on by id, and tells whether it did.
  bool optimizeQuery(Message& request) const;

  /// Puts "/" and the text behind "http.path".
  void appendToPath(Message& request, const std::string& text) const;

  // What follows works on any request of a walk. [request thread, response thread]

  /// The request's "http.queryString". Throws std::runtime_error "Get from empty" without one.
  map_t& queryStringOf(Message& request) const;

  /// The request's "reqId". Throws std::runtime_error "Element not in map" without one.
  std::int64_t reqIdOf(const Message& request) const;

  /// Puts "http.statusCode" of the response into the request's metadata, and reads it there: 200 without one.
  void keepStatusCode(const Message& response, Message& request) const;
  std::int64_t keptStatusCode(const Message& request) const;

  RequestSender& requestSender;

 private:
  void fetchNextNumber(OutstandingRequest& request, std::uint64_t count, std::int64_t currentPage,
                       std::int64_t totalPages) const;
  void fetchNextIds(OutstandingRequest& request, std::uint64_t count, const data_t& firstId, const data_t& lastId,
                    const map_t& statistics) const;
  void fetchNext(OutstandingRequest& request) const;
};

/// The first list in the payload, in slot order; null without one.
list_t* firstListIn(map_t& payload);

/// Whether the response's media type says that it is a collection. Throws std::runtime_error without a content type.
bool isCollection(const Message& response, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
