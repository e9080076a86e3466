#include "simulator/resources/CurrentUser.h"

#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

Answer CurrentUser::answer(const Request& request, std::span<const std::string> below) {
  if (!below.empty()) refusePath(request);
  if (request.method != "GET") refuseMethod(request, "GET");
  json::object user({{"id", username},
                     {"userName", username},
                     {"email", username + "@fleet.example"},
                     {"enabled", true},
                     {"creationTime", "2024-01-01T00:00:00.000Z"},
                     {"lastUpdated", "2024-01-01T00:00:00.000Z"},
                     {"self", workplace.baseUrl + path()}});
  if (const std::optional<std::string> seeded = workplace.store.tenant().currentUser()) {
    const json::value fields = parseJson(*seeded);
    for (const auto& [name, value] : fields.get_object()) user[name] = value;
  }
  Answer answer;
  answer.contentType = mediaType("user");
  answer.body = toJson(user);
  return answer;
}

}  // namespace simulator
