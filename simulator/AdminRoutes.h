#pragma once

#include "simulator/FaultPlan.h"
#include "simulator/Journal.h"
#include "simulator/Store.h"
#include "simulator/resources/Resource.h"

namespace simulator {

/// "/admin": a look behind the scenes, for tests and people. No fault hits these routes, and the journal leaves them
/// out.
///
///   GET /admin/counts                    resources in the store by kind
///   GET /admin/outbox/sms                what was sent (query: sender=ADDRESS, after=ID, limit=COUNT)
///   GET /admin/outbox/email              (query: after=ID, limit=COUNT)
///   GET, DELETE /admin/journal           requests that came in (query: after=NUMBER, limit=COUNT), forget them
///   GET, POST, DELETE /admin/faults      the rules with what they hit, one more rule, no rule
class AdminRoutes final : public Resource {
 public:
  AdminRoutes(Store& store, FaultPlan& faults, Journal& journal) : store(store), faults(faults), journal(journal) {}

  // Resource
  std::string path() const override { return "/admin"; }
  Answer answer(const Request& request, std::span<const std::string> below) override;

 private:
  Answer answerCounts(const Request& request);
  Answer answerOutbox(const Request& request, const std::string& kind);
  Answer answerJournal(const Request& request);
  Answer answerFaults(const Request& request);

  Store& store;
  FaultPlan& faults;
  Journal& journal;
};

}  // namespace simulator
