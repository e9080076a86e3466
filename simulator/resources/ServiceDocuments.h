#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/service": whatever is put at a path below it is given back as it came, with its content type. A path without a
/// document of its own lists the JSON documents right below it.
class ServiceDocuments final : public Resource {
 public:
  explicit ServiceDocuments(Workplace& workplace) : workplace(workplace) {}

  // Resource
  std::string path() const override { return "/service"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Answer read(const Request& request, const std::string& place);
  Answer list(const Request& request, const std::string& place);
  Answer create(const Request& request, const std::string& place);
  Answer put(const Request& request, const std::string& place);
  Answer remove(const Request& request, const std::string& place);

  Workplace& workplace;
};

}  // namespace simulator
