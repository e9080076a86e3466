#include "simulator/resources/ServiceDocuments.h"

#include "simulator/errors.h"
#include "simulator/json_text.h"
#include "simulator/paging.h"

namespace simulator {
namespace json = boost::json;

namespace {

std::string join(std::span<const std::string> segments) {
  std::string place;
  for (const std::string& segment : segments) place += "/" + segment;
  return place;
}

ServiceDocument bodyOf(const Request& request) {
  const std::string contentType(request.header("Content-Type"));
  if (contentType.empty()) throw RequestError(415, "the request has no content type");
  ServiceDocument document{contentType, request.body, isJson(contentType)};
  if (!document.isJson) return document;
  try {
    parseJson(document.body);
  } catch (const JsonError& error) {
    throw RequestError(400, std::string("the body is no JSON: ") + error.what());
  }
  return document;
}

Answer answerWith(int status, const ServiceDocument& document) {
  Answer answer;
  answer.status = status;
  answer.contentType = document.contentType;
  answer.body = document.body;
  return answer;
}

}  // namespace

Answer ServiceDocuments::answer(const Request& request, std::span<const std::string> below) {
  const std::string place = join(below);
  if (request.method == "GET") return read(request, place);
  if (request.method == "POST") return create(request, place);
  if (place.empty()) refuseMethod(request, "GET, POST");
  if (request.method == "PUT") return put(request, place);
  if (request.method == "DELETE") return remove(request, place);
  refuseMethod(request, "GET, POST, PUT, DELETE");
}

Answer ServiceDocuments::read(const Request& request, const std::string& place) {
  if (const std::optional<ServiceDocument> document = workplace.store.serviceDocument(place)) {
    return answerWith(200, *document);
  }
  return list(request, place);
}

Answer ServiceDocuments::list(const Request& request, const std::string& place) {
  const PageRequest page = readPageRequest(request);
  const std::int64_t count = workplace.store.countServiceDocumentsBelow(place);
  if (count == 0) refusePath(request);
  Answer answer;
  answer.contentType = mediaType("documentcollection");
  answer.body = "{\"documents\":[";
  const char* separator = "";
  for (const std::string& document : workplace.store.serviceDocumentsBelow(place, page.size, page.offset())) {
    answer.body += separator + document;
    separator = ",";
  }
  answer.body += "],\"statistics\":" + statistics(page, [&] { return count; }) + "}";
  return answer;
}

Answer ServiceDocuments::create(const Request& request, const std::string& place) {
  json::object fields = readBody(request, "document");
  const std::string id = workplace.store.nextId();
  json::object stored({{"id", id}});
  fields.erase("id");
  stored.insert(fields.begin(), fields.end());
  const ServiceDocument document{"application/json", toJson(stored), true};
  workplace.store.putServiceDocument(place + "/" + id, document);
  Answer answer = answerWith(201, document);
  answer.headers.push_back({"Location", workplace.baseUrl + request.path + "/" + id});
  return answer;
}

Answer ServiceDocuments::put(const Request& request, const std::string& place) {
  const ServiceDocument document = bodyOf(request);
  const bool isNew = !workplace.store.serviceDocument(place);
  workplace.store.putServiceDocument(place, document);
  return answerWith(isNew ? 201 : 200, document);
}

Answer ServiceDocuments::remove(const Request& request, const std::string& place) {
  if (!workplace.store.serviceDocument(place)) refusePath(request);
  workplace.store.removeServiceDocument(place);
  Answer answer;
  answer.status = 204;
  return answer;
}

}  // namespace simulator
