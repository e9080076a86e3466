#include "simulator/Router.h"

#include <algorithm>
#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include "simulator/errors.h"

namespace simulator {

namespace {

constexpr std::string_view scheme = "Basic ";

std::vector<std::string> split(const std::string& path) {
  std::vector<std::string> segments;
  for (const std::string segment : boost::urls::url_view(path).segments()) segments.push_back(segment);
  return segments;
}

void checkAuthorization(const Request& request, const std::string& wanted) {
  const std::string_view given = request.header("Authorization");
  const bool basic = boost::beast::iequals(given.substr(0, scheme.size()), scheme);
  if (basic && given.substr(scheme.size()) == std::string_view(wanted).substr(scheme.size())) return;
  throw RequestError(401, given.empty() ? "the request has no authorization" : "user name or password is wrong",
                     {{"WWW-Authenticate", "Basic realm=\"marlovance\""}});
}

}  // namespace

void Router::add(std::unique_ptr<Resource> resource) {
  std::vector<std::string> segments = split(resource->path());
  routes.push_back({std::move(segments), std::move(resource)});
}

Answer Router::answer(const Request& request) {
  checkAuthorization(request, authorization);
  const std::span<const std::string> segments(request.segments);
  for (const Route& route : routes) {
    const std::size_t depth = route.segments.size();
    if (segments.size() < depth || !std::ranges::equal(segments.first(depth), route.segments)) continue;
    return route.resource->answer(request, segments.subspan(depth));
  }
  refusePath(request);
}

std::string basicAuthorization(const std::string& username, const std::string& password) {
  using boost::archive::iterators::base64_from_binary;
  using boost::archive::iterators::transform_width;
  using Encoder = base64_from_binary<transform_width<std::string::const_iterator, 6, 8>>;
  const std::string plain = username + ":" + password;
  std::string encoded(Encoder(plain.begin()), Encoder(plain.end()));
  encoded.append((3 - plain.size() % 3) % 3, '=');
  return std::string(scheme) + encoded;
}

void splitTarget(Request& request) {
  request.path = request.target.substr(0, request.target.find('?'));
  boost::urls::result<boost::urls::url_view> url = boost::urls::parse_origin_form(request.target);
  if (!url) url = boost::urls::parse_uri(request.target);
  if (!url) throw RequestError(400, "the request target is no URL: " + quoted(request.target));
  request.path = url->encoded_path();
  for (const std::string segment : url->segments()) request.segments.push_back(segment);
  for (const auto& parameter : url->params()) request.queries.emplace_back(parameter.key, parameter.value);
  request.target = url->encoded_target();
}

}  // namespace simulator
