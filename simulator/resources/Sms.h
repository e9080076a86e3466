#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/messaging/sms/outbound/SENDER/requests". Every POST sends one text to one receiver: it is kept in the outbox, and
/// answered with its document.
class Sms final : public Resource {
 public:
  explicit Sms(Workplace& workplace) : workplace(workplace) {}

  // Resource
  std::string path() const override { return "/messaging/sms/outbound"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Answer send(const Request& request, const std::string& sender);

  Workplace& workplace;
};

}  // namespace simulator
