#include "codec/BatchSender.h"

#include "connectivity/barrier.h"
#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

/// Empties the vector at the end of the scope; its capacity stays.
class ClearedAtEnd {
 public:
  explicit ClearedAtEnd(std::vector<Message>& messages) : messages(messages) {}
  ~ClearedAtEnd() { messages.clear(); }
  ClearedAtEnd(const ClearedAtEnd&) = delete;
  ClearedAtEnd& operator=(const ClearedAtEnd&) = delete;

 private:
  std::vector<Message>& messages;
};

}  // namespace

BatchSender::BatchSender(RequestSender& sender, std::int64_t maxBatchSize, RequestMetrics& metrics,
                         const Logger& logger, const DataConstants& constants)
    : sender(sender), maxBatchSize(maxBatchSize), metrics(metrics), logger(logger), constants(constants) {
  metrics.openBatch();
}

BatchSender::~BatchSender() {
  if (!finished) swallow([&] { finish(); });
}

void BatchSender::addMessage(Message& message, Handler& handler) {
  if (lastHandler && lastHandler != &handler) {
    flush();
    lastHandler = nullptr;
  }
  if (!handler.isBatchable(message)) {
    flush();
    sender.sendRequest(message, handler);
    return;
  }
  lastHandler = &handler;
  pending.push_back(std::move(message));
  // Equality: the marks for "no limit" are never met.
  if (static_cast<std::int64_t>(pending.size()) == maxBatchSize) flush();
}

void BatchSender::flush() {
  if (pending.empty()) return;
  const ClearedAtEnd cleared(pending);
  const std::uint64_t count = pending.size();
  logger.debug("Sending batch of %I64u events", count);
  Message out = lastHandler->sendBatch(*this);
  out.putMetadataValue(constants.batchedMessagesCount, static_cast<std::int64_t>(count));
  sender.sendRequest(out, *lastHandler);
}

void BatchSender::finish() {
  finished = true;
  try {
    if (lastHandler) flush();
  } catch (...) {
    metrics.abandonBatch();
    throw;
  }
  metrics.markBatchSent();
}

}  // namespace com::tallowmere::connectivity::plugins
