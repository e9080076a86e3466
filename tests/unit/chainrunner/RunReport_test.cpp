#include "chainrunner/RunReport.h"

#include <gtest/gtest.h>

#include <string>

namespace chainrunner {
namespace {

TEST(RunReportTest, TableShowsControlCharactersAsText) {
  RunReport report;
  report.counts.answers["502 transport/\x1B[2J"] = 1;
  report.statusItems["fleet.codec.mostRecentSlowRequestDetails"] = "now\tGET /\x1B[2J";
  const std::string table = report.table();
  EXPECT_EQ(table.find('\x1B'), std::string::npos) << table;
  EXPECT_NE(table.find("\n  502 transport/\\x1B[2J "), std::string::npos) << table;
  EXPECT_NE(table.find("\n  mostRecentSlowRequestDetails         now\tGET /\\x1B[2J\n"), std::string::npos) << table;
}

}  // namespace
}  // namespace chainrunner
