// The command line shared by the tool's commands.

#include <stdlib.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/common/CommandLine.h"
#include "tools/common/GatewayConfig.h"

namespace quarn_tool {
namespace {

TEST(CommandLineTest, CommonAndOwnOptionsAmongArguments) {
  CommandLine line(Format::kTable, {{"--judge", true}, {"--explain", false}});
  ASSERT_TRUE(line.Parse({"a", "--judge", "3", "--format", "json", "-",
                          "--explain", "--config", "/x", "--", "--judge"}));
  EXPECT_EQ((std::vector<std::string>{"a", "-", "--judge"}), line.positional());
  EXPECT_EQ("3", line.Value("--judge", "0"));
  EXPECT_TRUE(line.Given("--explain"));
  EXPECT_EQ(Format::kJson, line.format());
  EXPECT_EQ("/x", line.config_dir());
  EXPECT_FALSE(line.help());

  // Defaults: the command's format, the example gateway directory (the
  // tests run with the examples as module directory), absent values.
  CommandLine bare(Format::kTable, {{"--judge", true}});
  ASSERT_TRUE(bare.Parse({"-h"}));
  EXPECT_TRUE(bare.help());
  EXPECT_TRUE(bare.table());
  EXPECT_EQ(DefaultConfigDir(), bare.config_dir());
  EXPECT_EQ(std::string(getenv("QUARN_MODULE_DIR")) + "/gateway",
            bare.config_dir());
  EXPECT_FALSE(bare.Given("--judge"));
  EXPECT_EQ("0", bare.Value("--judge", "0"));
}

TEST(CommandLineTest, OneClearErrorForEachFault) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"1.2.3.4", "--bogus"}, "unknown option: --bogus"},
      // Another command's option is unknown here.
      {{"--judge", "1"}, "unknown option: --judge"},
      {{"--config"}, "option --config needs a value"},
      {{"x", "--explain", "--format"}, "option --format needs a value"},
      {{"--format", "xml"}, "unknown format: xml (json or table)"},
  };
  for (const auto& c : cases) {
    CommandLine line(Format::kJson, {{"--explain", false}});
    EXPECT_FALSE(line.Parse(c.first)) << c.second;
    EXPECT_EQ(c.second, line.error());
  }
  CommandLine line(Format::kJson, {{"--judge", true}});
  EXPECT_FALSE(line.Parse({"--judge"}));
  EXPECT_EQ("option --judge needs a value", line.error());
}

}  // namespace
}  // namespace quarn_tool
