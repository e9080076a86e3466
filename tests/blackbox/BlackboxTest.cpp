#include "tests/blackbox/BlackboxTest.h"

#include <stdexcept>
#include <thread>

namespace tests {

BlackboxTest::BlackboxTest() {
  environment.set("TZ", "UTC");
  for (const char* name :
       {"KV_INT_TZ", "Q4V_BASEURL", "Q4V_MICROSERVICE_ISOLATION", "KV_SKIP_DATA_T_ITERATOR_CHECKS"}) {
    environment.unset(name);
  }
  session = std::make_unique<Session>();
}

BlackboxTest::~BlackboxTest() {
  // What the test gave to its neighbours refers to its locals, which are gone.
  for (Neighbour* neighbour : {&session->transport, &session->host}) {
    neighbour->beforeTaking = nullptr;
    neighbour->onMessage = nullptr;
  }
}

void BlackboxTest::createPlugin(std::string_view configuration) {
  if (!session->create(configuration)) {
    const Texts errors = takeLogs(errorLevel);
    throw std::runtime_error("the plug-in was not created: " + (errors.empty() ? "no reason" : errors.back()));
  }
  session->connect();
}

void BlackboxTest::expectCreateToFail(std::string_view configuration) {
  EXPECT_FALSE(session->create(configuration));
}

Session& BlackboxTest::plugin() {
  if (!session->object()) createPlugin();
  return *session;
}

int BlackboxTest::send(const std::vector<MessageBuilder>& batch) {
  return plugin().sendTowardsTransport(batch);
}

Received BlackboxTest::takeRequest() {
  if (auto request = session->transport.take()) return *request;
  throw std::runtime_error("no request reached the transport");
}

int BlackboxTest::respond(std::int64_t requestId, std::int64_t status, std::string_view contentType,
                          std::string_view json) {
  return respond(response(requestId).status(status).contentType(contentType).payload(json));
}

int BlackboxTest::respond(const std::vector<MessageBuilder>& batch) {
  return plugin().sendTowardsHost(batch);
}

void onAnotherThread(const std::function<void()>& work) {
  std::thread(work).join();
}

}  // namespace tests
