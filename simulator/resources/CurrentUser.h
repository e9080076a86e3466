#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/user/current": the user who is logged in, which is the only one there is. Fields that were seeded stand over those
/// that the platform makes up from the user's name.
class CurrentUser final : public Resource {
 public:
  CurrentUser(Workplace& workplace, std::string username) : workplace(workplace), username(std::move(username)) {}

  // Resource
  std::string path() const override { return "/user/current"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Workplace& workplace;
  std::string username;
};

}  // namespace simulator
