#include "tests/unit/connectivity/ScriptedCodec.h"

#include "tests/support/TestHost.h"

QEL_EXPORT_PLUGIN(ScriptedCodec, com::tallowmere::connectivity10_15_4::EntryPoints<tests::ScriptedCodec>)

namespace tests {

std::vector<std::string> takeLines() {
  std::vector<std::string> lines;
  for (const LogLine& line : TestHost::drain()) {
    lines.push_back(std::to_string(line.level) + " " + line.category + " " + line.text);
  }
  return lines;
}

std::string lineOf(int level, const std::string& text) {
  return std::to_string(level) + " connectivity.Scripted.c1 <connectivity.Scripted.c1> " + text;
}

}  // namespace tests
