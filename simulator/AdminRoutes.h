#pragma once

#include "simulator/FaultPlan.h"
#include "simulator/Journal.h"
#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/admin": a look behind the scenes, for tests and people. No fault hits these routes, and the journal leaves them
/// out.
///
///   GET /admin/counts                    resources in the store by kind
///   GET /admin/outbox/sms                what was sent (query: sender=ADDRESS, after=ID, limit=COUNT)
///   GET /admin/outbox/email              (query: after=ID, limit=COUNT)
///   POST /admin/documents                documents, tenant options and user go into the store as they are
///   POST /admin/fleet                    a fleet is made up
///   GET, DELETE /admin/journal           requests that came in (query: after=NUMBER, limit=COUNT), forget them
///   GET, POST, DELETE /admin/faults      the rules with what they hit, one more rule, no rule
class AdminRoutes final : public Resource {
 public:
  AdminRoutes(Workplace& workplace, FaultPlan& faults, Journal& journal)
      : workplace(workplace), faults(faults), journal(journal) {}

  // Resource
  std::string path() const override { return "/admin"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Answer answerCounts(const Request& request);
  Answer answerOutbox(const Request& request, const std::string& kind);
  Answer answerDocuments(const Request& request);
  Answer answerFleet(const Request& request);
  Answer answerJournal(const Request& request);
  Answer answerFaults(const Request& request);

  Workplace& workplace;
  FaultPlan& faults;
  Journal& journal;
};

}  // namespace simulator
