#include "simulator/resources/outbox.h"

#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

Answer keepInOutbox(Workplace& workplace, Kind kind, std::string_view name, const json::object& message) {
  const std::string id = workplace.store.nextId();
  json::object stored({{"id", id}, {"creationTime", formatTimestamp(workplace.now())}});
  stored.insert(message.begin(), message.end());  // leaves the two as they are
  Answer answer;
  answer.status = 201;
  answer.contentType = mediaType(name);
  answer.body = toJson(stored);
  workplace.store.insert(kind, id, answer.body);
  return answer;
}

}  // namespace simulator
