// One table of exit statuses for every command, documented in the help.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

TEST(ExitStatusTest, OneTableForEveryCommand) {
  const std::string dir = FreshDir("status");
  const std::string good = dir + "/good.csv";
  const std::string one_bad = dir + "/one_bad.csv";
  WriteFile(good,
            "time,first_ip,first_port,second_ip,second_port,transport\n"
            "2026-11-18 09:15,10.10.2.15,40000,1.2.3.4,80,tcp\n");
  WriteFile(one_bad, ReadFile(good) +
                         "2026-11-18 09:15,10.10.2.15,40000,1.2.3.4,80,sctp\n");
  const struct {
    std::vector<std::string> args;
    int status;
  } cases[] = {
      {{"classify", good}, 0},
      {{"ip", "10.10.2.5"}, 0},
      {{"url", "x.example/"}, 0},
      {{"objects", "10.10.2.5", "2026-11-18 09:15"}, 0},
      {{"who", "10.10.1.10"}, 0},
      {{"app", "10.10.2.15:51000", "1.2.3.4:80"}, 0},
      {{"apps"}, 0},
      // Some records or items bad.
      {{"classify", one_bad}, 1},
      {{"who", "10.10.9.9"}, 1},
      {{"url", "http://"}, 1},
      // Usage errors.
      {{}, 2},
      {{"bogus"}, 2},
      {{"ip", "--bogus"}, 2},
      {{"ip", "10.10.2.300"}, 2},
      {{"classify", good, good}, 2},
      {{"app", "10.10.2.15:51000"}, 2},
      // Nothing could be done: no configuration, no input.
      {{"classify", "--config", dir + "/none", good}, 2},
      {{"ip", "--config", dir + "/none", "10.10.2.5"}, 2},
      {{"url", "--config", dir + "/none", "x.example/"}, 2},
      {{"objects", "--config", dir + "/none", "10.10.2.5"}, 2},
      {{"who", "--config", dir + "/none", "10.10.1.10"}, 2},
      {{"app", "--config", dir + "/none", "1.1.1.1:1", "2.2.2.2:2"}, 2},
      {{"apps", "--config", dir + "/none"}, 2},
      {{"classify", dir + "/missing.csv"}, 2},
  };
  for (const auto& c : cases) {
    const ToolRun run = RunTool(c.args);
    std::string line;
    for (const std::string& arg : c.args) line += " " + arg;
    EXPECT_EQ(c.status, run.status) << "quarn" << line << "\n" << run.err;
  }
}

TEST(ExitStatusTest, HelpDocumentsTheTableAndVersionIsTheProjects) {
  const ToolRun help = RunTool({"--help"});
  EXPECT_EQ(0, help.status);
  for (const char* row :
       {"  0    done", "  1    done, but some records", "  2    a usage error",
        "  3    standard output could not be written", "  130  classify"}) {
    EXPECT_NE(std::string::npos, help.out.find(row)) << row;
  }
  const ToolRun classify_help = RunTool({"classify", "--help"});
  EXPECT_EQ(0, classify_help.status);
  EXPECT_NE(std::string::npos, classify_help.out.find("exit status:\n  0"));
  EXPECT_NE(std::string::npos, classify_help.out.find("--strict"));

  const ToolRun version = RunTool({"--version"});
  EXPECT_EQ(0, version.status);
  EXPECT_EQ(std::string("quarn ") + QUARN_TOOL_VERSION + "\n", version.out);
}

}  // namespace
}  // namespace quarn_test
