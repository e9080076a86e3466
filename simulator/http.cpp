#include "simulator/http.h"

#include <boost/beast/core/string.hpp>

namespace simulator {

std::string_view Request::header(std::string_view name) const {
  for (const Header& header : headers) {
    if (boost::beast::iequals(header.name, name)) return header.value;
  }
  return {};
}

bool mayHaveBody(int status) {
  return status != 204 && status != 304;
}

}  // namespace simulator
