#include "simulator/resources/TenantOptions.h"

#include "simulator/errors.h"
#include "simulator/json_text.h"
#include "simulator/paging.h"

namespace simulator {

namespace {

Answer jsonAnswer(std::string_view name) {
  Answer answer;
  answer.contentType = mediaType(name);
  return answer;
}

void appendOption(std::string& out, const TenantOption& option) {
  out += "{\"category\":";
  appendJsonString(out, option.category);
  out += ",\"key\":";
  appendJsonString(out, option.key);
  out += ",\"value\":" + option.value + "}";
}

std::string describe(OptionScope scope) {
  return scope == OptionScope::System ? "system option" : "tenant option";
}

}  // namespace

Answer TenantOptions::answer(const Request& request, std::span<const std::string> below) {
  const bool ofSystem = !below.empty() && below[0] == "system";
  if (ofSystem) below = below.subspan(1);
  if (below.empty() || below.size() > 3 || below[0] != "options") refusePath(request);
  if (request.method != "GET") refuseMethod(request, "GET");
  const OptionScope scope = ofSystem ? OptionScope::System : OptionScope::Tenant;
  if (below.size() == 1) return list(request, scope);
  // The parameters of a page don't matter to what has one page only, but they must be right.
  readPageRequest(request);
  return below.size() == 2 ? readCategory(scope, below[1]) : readOption(scope, below[1], below[2]);
}

Answer TenantOptions::list(const Request& request, OptionScope scope) {
  const PageRequest page = readPageRequest(request);
  TenantStore& tenant = workplace.store.tenant();
  Answer answer = jsonAnswer("optioncollection");
  answer.body = "{\"self\":";
  appendJsonString(answer.body, workplace.baseUrl + request.target);
  answer.body += ",\"options\":[";
  const char* separator = "";
  for (const TenantOption& option : tenant.optionPage(scope, page.size, page.offset())) {
    answer.body += separator;
    appendOption(answer.body, option);
    separator = ",";
  }
  answer.body += "],\"statistics\":" + statistics(page, [&] { return tenant.optionCount(scope); }) + "}";
  return answer;
}

Answer TenantOptions::readCategory(OptionScope scope, const std::string& category) {
  const std::vector<TenantOption> options = workplace.store.tenant().optionsOf(scope, category);
  if (options.empty())
    throw RequestError(404, "there is no " + describe(scope) + " of the category " + quoted(category));
  Answer answer = jsonAnswer("option");
  const char* separator = "{";
  for (const TenantOption& option : options) {
    answer.body += separator;
    appendJsonString(answer.body, option.key);
    answer.body += ":" + option.value;
    separator = ",";
  }
  answer.body += '}';
  return answer;
}

Answer TenantOptions::readOption(OptionScope scope, const std::string& category, const std::string& key) {
  const std::optional<std::string> value = workplace.store.tenant().option(scope, category, key);
  if (!value) {
    throw RequestError(404, "there is no " + describe(scope) + " of the category " + quoted(category) +
                                " with the key " + quoted(key));
  }
  Answer answer = jsonAnswer("option");
  appendOption(answer.body, {category, key, *value});
  return answer;
}

}  // namespace simulator
