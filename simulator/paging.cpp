#include "simulator/paging.h"

#include <algorithm>
#include <charconv>

#include "simulator/errors.h"

namespace simulator {

namespace {

std::int64_t readNumber(const std::string& name, const std::string& text, std::int64_t lowest, std::int64_t highest) {
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, number);
  if (code == std::errc() && stop == end && number >= lowest && number <= highest) return number;
  throw RequestError(422, "the query parameter " + quoted(name) + " must be a whole number from " +
                              std::to_string(lowest) + " to " + std::to_string(highest) + ", not " + quoted(text));
}

bool readBoolean(const std::string& name, const std::string& text) {
  if (text == "true" || text == "false") return text == "true";
  throw RequestError(422, "the query parameter " + quoted(name) + " must be true or false, not " + quoted(text));
}

}  // namespace

PageRequest readPageRequest(const Request& request, std::span<const Selector> selectors) {
  PageRequest page;
  for (const auto& [name, value] : request.queries) {
    if (name == "pageSize") {
      page.size = readNumber(name, value, 0, 100'000);
    } else if (name == "currentPage") {
      page.current = readNumber(name, value, 1, 1'000'000'000);
    } else if (name == "withTotalPages") {
      page.withTotal = readBoolean(name, value);
    } else if (std::ranges::find(selectors, name, &Selector::name) == selectors.end()) {
      std::string known = "pageSize, currentPage, withTotalPages";
      for (const Selector& selector : selectors) known.append(", ").append(selector.name);
      throw RequestError(422, "the query parameter " + quoted(name) + " is not known here; known are " + known);
    }
  }
  return page;
}

std::string statistics(const PageRequest& page, const std::function<std::int64_t()>& count) {
  std::string out = "{\"currentPage\":" + std::to_string(page.current) + ",\"pageSize\":" + std::to_string(page.size);
  if (page.withTotal) {
    const std::int64_t size = std::max<std::int64_t>(page.size, 1);
    out += ",\"totalPages\":" + std::to_string((count() + size - 1) / size);
  }
  return out + "}";
}

}  // namespace simulator
