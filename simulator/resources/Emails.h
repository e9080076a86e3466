#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/messaging/email". Every POST sends one e-mail: it is kept in the outbox, and answered with its document.
class Emails final : public Resource {
 public:
  explicit Emails(Workplace& workplace) : workplace(workplace) {}

  // Resource
  std::string path() const override { return "/messaging/email"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Workplace& workplace;
};

}  // namespace simulator
