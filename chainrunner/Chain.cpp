#include "chainrunner/Chain.h"

#include <map>

#include "chainrunner/log.h"

namespace chainrunner {

namespace {

constexpr const char* logCategory = "marlovance-chain.chain";

std::map<std::string, std::string> withCredentials(std::map<std::string, std::string> configuration,
                                                   const Credentials& credentials) {
  configuration["username"] = credentials.username;
  configuration["password"] = credentials.password;
  return configuration;
}

}  // namespace

Chain::Chain(const PluginLibrary& library, const ChainFile& file, const Credentials& credentials, std::FILE* out,
             RunRecord& record)
    : sink(out, record),
      transport(
          file.transport, [this](Message& answer) { deliver(answer); }, record, [this] { gathering.reset(); }),
      plugin(library, file.pluginName, file.chainId, withCredentials(file.configuration, credentials),
             {&sink, &EventSink::receiveBatch}, {this, &Chain::passOn}) {}

Chain::~Chain() {
  plugin.shutdown();
  transport.stop();
}

// A page of a walk becomes an event for each of its elements, and there may be more answers at hand.
void Chain::deliver(Message& answer) {
  if (!gathering) gathering.emplace(sink);
  plugin.sendTowardsHost(&answer, &answer + 1);
}

// Whoever sees a page's events may act before the next page is asked for. It is asked for on the thread that delivers
// them; other requests don't wait for the lines.
int Chain::passOn(void* self, qel_message* begin, qel_message* end) noexcept {
  auto& chain = *static_cast<Chain*>(self);
  if (chain.transport.isOnDeliveryThread()) chain.sink.flush();
  return HttpTransport::sendBatch(&chain.transport, begin, end);
}

void Chain::send(std::vector<Message>& events) {
  if (!plugin.sendTowardsTransport(events.data(), events.data() + events.size()))
    log(logCategory, LogLevel::warn, "The plug-in reports a failed batch of %lu events",
        static_cast<unsigned long>(events.size()));
  events.clear();
}

}  // namespace chainrunner
