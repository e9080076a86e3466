#include "simulator/Simulator.h"

#include <limits>

#include "connectivity/thread_annotations.h"
#include "simulator/AdminRoutes.h"
#include "simulator/HttpServer.h"
#include "simulator/Router.h"
#include "simulator/Store.h"
#include "simulator/document_loader.h"
#include "simulator/errors.h"
#include "simulator/fleet_maker.h"
#include "simulator/json_text.h"
#include "simulator/resources/Alarms.h"
#include "simulator/resources/CurrentUser.h"
#include "simulator/resources/Emails.h"
#include "simulator/resources/Events.h"
#include "simulator/resources/ManagedObjects.h"
#include "simulator/resources/Measurements.h"
#include "simulator/resources/Operations.h"
#include "simulator/resources/ServiceDocuments.h"
#include "simulator/resources/Sms.h"
#include "simulator/resources/TenantOptions.h"

namespace simulator {

using com::tallowmere::connectivity10_15_4::Mutex;
using com::tallowmere::connectivity10_15_4::MutexLock;

namespace {

Moment systemNow() {
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

bool isSent(Ending ending) {
  return ending == Ending::Whole || ending == Ending::Truncated;
}

/// Whether the store sees a request that `fault` hits.
bool takesEffect(const Fault& fault) {
  return fault.takesEffect || (fault.status == 0 && isSent(fault.ending));
}

constexpr std::int64_t everything = std::numeric_limits<std::int64_t>::max();

std::vector<std::string> texts(std::vector<StoredDocument> documents) {
  std::vector<std::string> texts;
  for (StoredDocument& document : documents) texts.push_back(std::move(document.text));
  return texts;
}

/// Splits the target of a request; the refusal if it is no URL.
std::optional<Answer> split(Request& request) {
  try {
    splitTarget(request);
    return std::nullopt;
  } catch (const RequestError& refusal) {
    return errorAnswer(refusal);
  }
}

Answer answerOf(const Fault& fault) {
  if (!mayHaveBody(fault.status)) {
    Answer empty;
    empty.status = fault.status;
    return empty;
  }
  if (fault.body.empty()) return errorAnswer(fault.status, "the fault plan answers with this status");
  Answer answer;
  answer.status = fault.status;
  answer.contentType = fault.contentType;
  answer.body = fault.body;
  return answer;
}

}  // namespace

class Simulator::Impl final : public RequestHandler {
 public:
  explicit Impl(const Options& options)
      : clock(options.clock ? options.clock : systemNow),
        server(options.address, options.port, options.bodyLimit),
        store(options.database),
        journal(options.journalEntries, options.journalBytes),
        workplace{store, server.url(), clock},
        router(basicAuthorization(options.username, options.password)) {
    router.add(std::make_unique<ManagedObjects>(workplace));
    router.add(std::make_unique<Alarms>(workplace));
    router.add(std::make_unique<Events>(workplace));
    router.add(std::make_unique<Operations>(workplace));
    router.add(std::make_unique<Measurements>(workplace));
    router.add(std::make_unique<TenantOptions>(workplace));
    router.add(std::make_unique<CurrentUser>(workplace, options.username));
    router.add(std::make_unique<AdminRoutes>(workplace, faults, journal));
    router.add(std::make_unique<Sms>(workplace));
    router.add(std::make_unique<Emails>(workplace));
    router.add(std::make_unique<ServiceDocuments>(workplace));
    server.serve(*this);
  }
  ~Impl() override { server.stop(); }

  // RequestHandler
  Reply handle(Request&& request) override EXCLUDES(mutex);
  Answer refuse(int status, const std::string& message) override EXCLUDES(mutex);

  std::function<Moment()> clock;
  HttpServer server;
  Mutex mutex;
  Store store GUARDED_BY(mutex);
  FaultPlan faults GUARDED_BY(mutex);
  Journal journal GUARDED_BY(mutex);
  std::uint64_t served GUARDED_BY(mutex) = 0;

 private:
  Answer platformAnswer(Request& request) REQUIRES(mutex);

  Workplace workplace;
  Router router GUARDED_BY(mutex);
};

Reply Simulator::Impl::handle(Request&& request) {
  MutexLock lock(mutex);
  const std::optional<Answer> refusal = split(request);
  const bool isAdmin = !request.segments.empty() && request.segments.front() == "admin";
  const std::optional<Fault> fault = isAdmin ? std::nullopt : faults.next(request.method, request.path);
  Reply reply;
  if (!fault || takesEffect(*fault)) reply.answer = refusal ? *refusal : platformAnswer(request);
  if (fault) {
    reply.delivery = {fault->ending, fault->delay, fault->dribble};
    if (fault->status != 0) reply.answer = answerOf(*fault);
  }
  const bool sent = isSent(reply.delivery.ending);
  if (sent) ++served;
  if (!isAdmin) journal.add(clock(), std::move(request), sent ? reply.answer.status : 0, fault.has_value());
  return reply;
}

Answer Simulator::Impl::platformAnswer(Request& request) {
  const std::string method = request.method;
  Answer answer;
  try {
    if (method == "HEAD") request.method = "GET";
    Transaction transaction = store.begin();
    answer = router.answer(request);
    transaction.commit();
  } catch (const RequestError& refusal) {
    answer = errorAnswer(refusal);
  } catch (const std::exception& error) {
    answer = errorAnswer(500, error.what());
  }
  request.method = method;
  return answer;
}

Answer Simulator::Impl::refuse(int status, const std::string& message) {
  MutexLock lock(mutex);
  ++served;
  return errorAnswer(status, message);
}

Simulator::Simulator(const Options& options) : impl(std::make_unique<Impl>(options)) {}

Simulator::~Simulator() = default;

std::string Simulator::url() const {
  return impl->server.url();
}

std::map<std::string, std::int64_t> Simulator::counts() const {
  MutexLock lock(impl->mutex);
  return impl->store.counts();
}

std::vector<std::string> Simulator::smsOutbox(const std::string& sender) const {
  MutexLock lock(impl->mutex);
  return texts(impl->store.smsOutbox(sender, "", everything));
}

std::vector<std::string> Simulator::emailOutbox() const {
  MutexLock lock(impl->mutex);
  return texts(impl->store.emailOutbox("", everything));
}

void Simulator::load(const std::string& documents) {
  const boost::json::value value = parseJson(documents);
  if (!value.is_object()) throw RequestError(422, "the documents must be a JSON object, not " + describeKind(value));
  MutexLock lock(impl->mutex);
  Transaction transaction = impl->store.begin();
  loadDocuments(impl->store, value.get_object(), formatTimestamp(impl->clock()));
  transaction.commit();
}

void Simulator::makeFleet(const Fleet& fleet) {
  MutexLock lock(impl->mutex);
  Transaction transaction = impl->store.begin();
  simulator::makeFleet(impl->store, fleet);
  transaction.commit();
}

std::uint64_t Simulator::requestsServed() const {
  MutexLock lock(impl->mutex);
  return impl->served;
}

void Simulator::addFault(const Fault& fault) {
  MutexLock lock(impl->mutex);
  impl->faults.add(fault);
}

void Simulator::clearFaults() {
  MutexLock lock(impl->mutex);
  impl->faults.clear();
}

std::vector<FaultState> Simulator::faults() const {
  MutexLock lock(impl->mutex);
  return impl->faults.states();
}

std::vector<JournalEntry> Simulator::journal() const {
  MutexLock lock(impl->mutex);
  return impl->journal.entries(0, std::numeric_limits<std::size_t>::max());
}

}  // namespace simulator
