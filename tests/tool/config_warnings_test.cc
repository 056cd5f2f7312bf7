// Missing reference data is a warning for every command that reads it,
// and a document that is not well-formed XML is named with the line and
// column where it breaks.

#include <stdlib.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(ConfigWarningsTest, MissingRangeTablesAndUrlDatabase) {
  // A module directory with the protocol tree only.
  const std::string module = FreshDir("module");
  ASSERT_EQ(
      0, system(("cp -r '" + Examples() + "/pat' '" + module + "/'").c_str()));
  const std::string config = Examples() + "/gateway";
  WriteFile(module + "/in.csv",
            "time,first_ip,first_port,second_ip,second_port,transport,url\n"
            "2026-11-18 09:15,10.10.2.15,40000,1.2.3.4,80,tcp,x.example/\n");
  const std::string areas =
      "quarn: warning: " + module +
      "/ipt1.dat: No such file or directory; internet areas will read as "
      "unknown\n";
  const std::string urls = "quarn: warning: " + module +
                           "/url/sys_url.xml: No such file or directory\n";
  const struct {
    std::vector<std::string> args;
    bool areas;
    bool urls;
  } cases[] = {
      {{"ip", "--config", config, "1.2.3.4"}, true, false},
      {{"url", "--config", config, "x.example/"}, false, true},
      {{"classify", "--config", config, module + "/in.csv"}, true, true},
      {{"objects", "--config", config, "10.10.2.15"}, false, false},
  };
  for (const auto& c : cases) {
    ToolCall call;
    call.args = c.args;
    call.env = {"QUARN_MODULE_DIR=" + module};
    const ToolRun run = RunTool(call);
    EXPECT_EQ(c.areas || c.urls ? 1 : 0, run.status) << c.args[0] << run.err;
    EXPECT_EQ(c.areas, Has(run.err, areas)) << c.args[0] << ": " << run.err;
    EXPECT_EQ(c.areas, Has(run.err, "/ipt2.dat: No such file")) << c.args[0];
    EXPECT_EQ(c.urls, Has(run.err, urls)) << c.args[0] << ": " << run.err;
    EXPECT_FALSE(run.out.empty()) << c.args[0];  // the answers still come
  }
}

TEST(ConfigWarningsTest, MissingProtocolTree) {
  const std::string module = FreshDir("no_tree");
  const std::vector<std::string> env = {"QUARN_MODULE_DIR=" + module};
  const std::string config = Examples() + "/gateway";
  ToolCall call;
  call.env = env;
  call.args = {"app", "--config", config, "10.10.2.15:51000", "1.2.3.4:80"};
  ToolRun run = RunTool(call);
  EXPECT_EQ(1, run.status);
  EXPECT_TRUE(Has(run.err, "quarn: warning: " + module +
                               "/pat/proto_tree.xml: No such file or "
                               "directory; application names will not be "
                               "found\n"))
      << run.err;
  call.args = {"apps", "--config", config};
  run = RunTool(call);
  EXPECT_EQ(2, run.status);
}

TEST(ConfigWarningsTest, BrokenXmlIsNamedWithLineAndColumn) {
  const std::string dir = FreshDir("broken");
  const std::string gateway = dir + "/gateway";
  ASSERT_EQ(
      0,
      system(("cp -r '" + Examples() + "/gateway' '" + gateway + "'").c_str()));
  WriteFile(gateway + "/white_url.xml",
            "<white_url>\n  <white_url>\n    <url url=\"a\" match=\"0\">\n"
            "  </white_url>\n</white_url>\n");
  ToolRun run = RunTool({"url", "--config", gateway, "x.example/"});
  EXPECT_EQ(1, run.status);
  EXPECT_TRUE(Has(run.err, "quarn: warning: " + gateway +
                               "/white_url.xml: line 4, column 3: "))
      << run.err;

  // Without the address plan nothing can be done.
  WriteFile(gateway + "/organization.xml", "<organization>\n<org_info>\n");
  run = RunTool({"ip", "--config", gateway, "10.10.2.5"});
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Has(run.err, "quarn: " + gateway + "/organization.xml: line "))
      << run.err;
  EXPECT_EQ("", run.out);
}

}  // namespace
}  // namespace quarn_test
