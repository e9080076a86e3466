#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "codec/DataConstants.h"
#include "connectivity/Logger.h"
#include "parsers/Time.h"
#include "parsers/parser.h"
#include "tests/blackbox/Session.h"
#include "tests/support/Environment.h"
#include "tests/support/TestHost.h"
#include "tests/support/product_values.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/failure.h"

namespace tests {

namespace plugins = com::tallowmere::connectivity::plugins;

using Texts = std::vector<std::string>;

/// A test of what reads and writes documents. Every log line is captured; the zone is UTC until a test names another.
class ParserTest : public testing::Test {
 protected:
  ParserTest() {
    environment.set("TZ", "UTC");
    environment.unset("KV_INT_TZ");
    TestHost::setLogLevel(debugLevel);
  }

  /// The converter, built at the first use, so that a test may arrange the environment before.
  plugins::Time& time() {
    if (!converter) {
      logger = std::make_unique<product::Logger>("connectivity.MarlovanceCodec.c1");
      converter = std::make_unique<plugins::Time>(constants, *logger);
    }
    return *converter;
  }

  /// What the parser makes of a document.
  std::string parsed(plugins::Parser parser, std::string_view document) {
    return toJson(parser(mapFromJson(document), time(), constants));
  }

  Environment environment;
  plugins::DataConstants constants;

 private:
  std::unique_ptr<product::Logger> logger;
  std::unique_ptr<plugins::Time> converter;
};

}  // namespace tests
