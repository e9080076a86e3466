#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {

/// A test of a handler that reads pages. A case sends a `query`, answers with a `page`, and looks at the events and at
/// the next request.
class QueryFixture : public HandlerFixture {
 protected:
  static constexpr const char* collectionType = "application/vnd.com.rdx.marlovance.somecollection+json";

  /// A GET of the type in use, with an empty query string.
  MessageBuilder query(std::int64_t reqId = 7) const {
    return event("/some/things").method("GET").http("queryString", "{}").reqId(reqId);
  }

  /// An answer of the status 200 and a media type, with the payload.
  static MessageBuilder answer(std::int64_t requestId, std::string_view mediaType, std::string_view payload) {
    return response(requestId).contentType(mediaType).payload(payload);
  }

  /// A page of the elements, a JSON list, with the statistics, a JSON value.
  static MessageBuilder page(std::int64_t requestId, std::string_view elements, std::string_view statistics) {
    return answer(requestId, collectionType,
                  R"({"things": )" + std::string(elements) + R"(, "statistics": )" + std::string(statistics) + "}");
  }
  static MessageBuilder page(std::int64_t requestId, std::string_view elements, int currentPage, int totalPages) {
    return page(
        requestId, elements,
        R"({"currentPage": )" + std::to_string(currentPage) + R"(, "totalPages": )" + std::to_string(totalPages) + "}");
  }

  /// A list of objects with the ids "FIRST" to "LAST".
  static std::string objects(int first, int last) {
    std::string list;
    for (int id = first; id <= last; ++id)
      list += (list.empty() ? R"({"id": ")" : R"(, {"id": ")") + std::to_string(id) + R"("})";
    return "[" + list + "]";
  }

  /// What a request asks for: its "http.queryString" as JSON.
  static std::string asked(const Received& request) { return request.http("queryString"); }

  /// A parameter of that as JSON text; "absent" when there is none.
  static std::string asked(const Received& request, std::string_view parameter) {
    const auto& query = request.document.at("metadata").at("http").at("queryString").as_object();
    const auto* value = query.if_contains({parameter.data(), parameter.size()});
    return value ? textOf(*value) : "absent";
  }

  /// Whether another request has reached the transport.
  bool asksForMore() { return !parts->transport.takeAll().empty(); }

  /// The lines of a level since the last call for it that begin so.
  static Texts linesOf(std::int32_t level, std::string_view head) {
    Texts lines;
    for (const std::string& line : takeLogs(level))
      if (line.starts_with(head)) lines.push_back(line);
    return lines;
  }
};

}  // namespace tests
