// The policy stage as a user meets it: `quarn classify` reads the
// configuration's control status and policy (or --policy FILE), a policy
// that cannot work is named and leaves the audit decision alone, and
// `quarn policy` lists the filters as read.

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

// A copy of the example configuration, to change one document in.
std::string ConfigCopy(const std::string& name) {
  const std::string dir = FreshDir(name);
  EXPECT_EQ(
      0,
      system(("cp -r '" + Examples() + "/gateway/.' '" + dir + "/'").c_str()));
  return dir;
}

// An input of one connection: a host of the internet black list (IP
// object 4) going out during working time.
std::string BlackListedInput(const std::string& dir) {
  const std::string path = dir + "/in.csv";
  WriteFile(path,
            "time,first_ip,first_port,second_ip,second_port,transport\n"
            "2026-11-16 09:15,192.168.99.4,40000,1.33.2.2,443,tcp\n");
  return path;
}

TEST(PolicyVerdictTest, ControlStatusSwitchesReachTheVerdict) {
  const std::string dir = ConfigCopy("switches");
  const std::string input = BlackListedInput(dir);
  // The example: blocked, an event, save level 3, audit off the list.
  ToolRun run = RunTool({"classify", "--config", dir, input});
  ASSERT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Has(run.out,
                  "\"save_level\":3,\"interrupt\":"
                  "\"0x0000000000001001\",\"ignore\":false,"
                  "\"events\":[4]"))
      << run.out;
  EXPECT_TRUE(Has(run.out, "\"reason\":\"not passed to audit\"")) << run.out;

  // Nothing handed to inspection: the gateway is a bypass, no interrupt;
  // everything passed to the audit.
  WriteFile(dir + "/ctrl_status.xml",
            "<ctrl_status><audit_level>3</audit_level>"
            "<data_to_audit data_to_audit_type=\"0\"/></ctrl_status>");
  run = RunTool({"classify", "--config", dir, input});
  ASSERT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Has(run.out, "\"save_level\":3,\"interrupt\":null")) << run.out;
  EXPECT_TRUE(Has(run.out,
                  "\"audited\":false,\"reason\":\"not passed to "
                  "audit\",\"level\":3"))
      << run.out;

  // History off: audit level 0, so no save level and no event either.
  WriteFile(dir + "/ctrl_status.xml",
            "<ctrl_status><disable_all_hist>1</disable_all_hist>"
            "</ctrl_status>");
  run = RunTool({"classify", "--config", dir, input});
  ASSERT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Has(run.out,
                  "\"save_level\":0,\"interrupt\":"
                  "\"0x0000000000001001\",\"ignore\":false,"
                  "\"events\":[]"))
      << run.out;
  EXPECT_TRUE(Has(run.out, "\"reason\":\"off\"")) << run.out;
}

TEST(PolicyVerdictTest, APolicyThatCannotWorkIsNamedAndLeftOut) {
  const std::string dir = ConfigCopy("broken");
  const std::string input = BlackListedInput(dir);
  const std::string policy = dir + "/other.xml";
  WriteFile(policy,
            "<connection_policy version=\"1\">\n"
            "  <filter name=\"ok\"><Action save_level=\"2\"/></filter>\n"
            "  <filter name=\"bad\">\n"
            "    <IPObject><Value>8</Value></IPObject><Action/>\n"
            "  </filter>\n"
            "</connection_policy>\n");
  ToolRun run = RunTool({"classify", "--policy", policy, input});
  EXPECT_EQ(1, run.status);
  EXPECT_TRUE(Has(run.err, "quarn: " + policy + ":4: error: filter 1 \"bad\""))
      << run.err;
  EXPECT_TRUE(Has(run.err, "the policy cannot be used")) << run.err;
  EXPECT_TRUE(Has(run.out,
                  "\"verdict\":{\"filters\":null,\"save_level\":null,"
                  "\"interrupt\":null,\"ignore\":null,\"events\":"
                  "null,\"audit\":{\"audited\":false"))
      << run.out;
  // `quarn policy` lists what it read all the same, with the same message.
  run = RunTool({"policy", "--policy", policy, "--format", "json"});
  EXPECT_EQ(1, run.status);
  EXPECT_TRUE(Has(run.err, ":4: error: filter 1 \"bad\"")) << run.err;
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_EQ(2u, lines.size()) << run.out;
  EXPECT_TRUE(Has(lines[1],
                  "\"index\":1,\"name\":\"bad\",\"line\":3,"
                  "\"conditions\":\"ip-object{id=8}\","
                  "\"kinds\":[\"IP object\"]"))
      << lines[1];

  // The file fixed: another policy is evaluated instead of the
  // configuration's.
  WriteFile(policy,
            "<connection_policy version=\"1\">\n"
            "  <filter name=\"all\"><Action save_level=\"2\"/></filter>\n"
            "</connection_policy>\n");
  run = RunTool({"classify", "--config", dir, "--policy", policy, input});
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Has(run.out,
                  "\"filters\":[{\"index\":0,\"name\":\"all\"}],"
                  "\"save_level\":2"))
      << run.out;
  // No file: nothing to list.
  run = RunTool({"policy", "--policy", dir + "/none.xml"});
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Has(run.err, "none.xml:0: error:")) << run.err;
}

TEST(PolicyVerdictTest, ExplainAndTableSayWhichConditionDecided) {
  const std::string dir = FreshDir("explain");
  const std::string input = BlackListedInput(dir);
  ToolRun run = RunTool({"classify", "--explain", input});
  ASSERT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Has(run.out,
                  "filter 4 \\\"上网黑名单工作时间禁止上网\\\": server address "
                  "did not match, required not to: holds; time matched: "
                  "holds; IP object matched: holds; passed"))
      << run.out;
  EXPECT_TRUE(Has(run.out,
                  "filter 0 \\\"超级白名单免控\\\": IP object did "
                  "not match: fails; not passed"))
      << run.out;

  run = RunTool({"classify", "--format", "table", "--explain", input});
  ASSERT_EQ(0, run.status) << run.err;
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_GT(lines.size(), 3u);
  EXPECT_TRUE(Has(lines[0], "verdict")) << lines[0];
  EXPECT_TRUE(Has(lines[2],
                  "4,17 save 3 interrupt 0x1001 events 4; not "
                  "audited: not passed to audit"))
      << lines[2];
  EXPECT_TRUE(Has(run.out,
                  "\n    audit: the control status keeps the "
                  "connection's data from the audit"))
      << run.out;
}

}  // namespace
}  // namespace quarn_test
