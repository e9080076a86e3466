#include "chainrunner/RunReport.h"

#include <cstdio>
#include <utility>

#include "chainrunner/Console.h"
#include "chainrunner/json_writer.h"
#include "chainrunner/values.h"

namespace chainrunner {

namespace {

constexpr std::pair<const char*, double> quantiles[] = {{"p50", 0.5}, {"p90", 0.9}, {"p99", 0.99}};

using Counts = std::map<std::string, std::uint64_t>;

template <class... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
  char line[256];
  std::snprintf(line, sizeof line, pattern, arguments...);
  return line;
}

/// What follows the last dot, for the eyes.
std::string shortName(const std::string& name) {
  return name.substr(name.rfind('.') + 1);
}

/// A row of label and number; sub-rows are indented.
std::string row(const std::string& label, std::uint64_t number, const std::string& remark = "") {
  return format("%-38s %12llu", label.c_str(), static_cast<unsigned long long>(number)) +
         (remark.empty() ? "" : "   " + remark) + "\n";
}

template <class Name>
std::string rows(const Counts& counts, const Name& name) {
  std::string text;
  for (const auto& [key, count] : counts) text += row("  " + printable(name(key)), count);
  return text;
}

std::string latencyLine(const LatencyHistogram& latencies) {
  if (latencies.count() == 0) return "";
  std::string line = format("%-38s", "Latency in milliseconds");
  for (const auto& [name, q] : quantiles) line += format("  %s %.2f", name, latencies.quantile(q) * 1000);
  return line + format("  max %.2f\n", latencies.maximum() * 1000);
}

std::string ledgerLine(const std::optional<std::int64_t>& liveBlocks) {
  const std::string balance = liveBlocks ? std::to_string(*liveBlocks) + " blocks left" : "not watched";
  return format("%-38s %s\n", "Block ledger", balance.c_str());
}

data_t toValue(const Counts& counts) {
  map_t map;
  for (const auto& [key, count] : counts) map[data_t(key)] = static_cast<std::int64_t>(count);
  return data_t(std::move(map));
}

data_t toValue(const LatencyHistogram& latencies) {
  map_t map;
  for (const auto& [name, q] : quantiles) map[data_t(name)] = latencies.quantile(q) * 1000;
  map[data_t("max")] = latencies.maximum() * 1000;
  return data_t(std::move(map));
}

}  // namespace

double RunReport::eventsPerSecond() const {
  return seconds > 0 ? static_cast<double>(RunCounts::sum(counts.eventsIn)) / seconds : 0;
}

std::string RunReport::table() const {
  std::string text = row("Events in", RunCounts::sum(counts.eventsIn));
  text += rows(counts.eventsIn, shortName);
  text += row("Lines refused", counts.refusedLines);
  text += row("Requests", counts.requests, counts.retries == 0 ? "" : std::to_string(counts.retries) + " retries");
  text += row("Answers", RunCounts::sum(counts.answers));
  text += rows(counts.answers, [](const std::string& status) { return status; });
  text += row("Events out", RunCounts::sum(counts.eventsOut));
  text += rows(counts.eventsOut, shortName);
  text += latencyLine(counts.latencies);
  text += format("%-38s %12.0f   in %.3f seconds\n", "Events per second", eventsPerSecond(), seconds);
  text += "Status items\n";
  for (const auto& [key, value] : statusItems)
    text += format("  %-36s ", shortName(key).c_str()) + printable(value) + "\n";
  text += format("%-38s %8.1f MiB\n", "Peak memory", static_cast<double>(peakMemoryBytes) / (1024 * 1024));
  text += ledgerLine(liveBlocks);
  if (isInterrupted) text += "The run was interrupted.\n";
  return text;
}

std::string RunReport::json() const {
  map_t map;
  map[data_t("eventsIn")] = toValue(counts.eventsIn);
  map[data_t("refusedLines")] = static_cast<std::int64_t>(counts.refusedLines);
  map[data_t("requests")] = static_cast<std::int64_t>(counts.requests);
  map[data_t("retries")] = static_cast<std::int64_t>(counts.retries);
  map[data_t("answers")] = toValue(counts.answers);
  map[data_t("eventsOut")] = toValue(counts.eventsOut);
  map[data_t("latencyMilliseconds")] = toValue(counts.latencies);
  map[data_t("seconds")] = seconds;
  map[data_t("eventsPerSecond")] = eventsPerSecond();
  map_t status;
  for (const auto& [key, value] : statusItems) status[data_t(key)] = value;
  map[data_t("statusItems")] = std::move(status);
  map[data_t("peakMemoryBytes")] = static_cast<std::int64_t>(peakMemoryBytes);
  map[data_t("liveBlocks")] = liveBlocks ? data_t(*liveBlocks) : data_t();
  map[data_t("interrupted")] = isInterrupted;
  return toJson(data_t(std::move(map)));
}

}  // namespace chainrunner
