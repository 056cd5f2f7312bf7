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

  // The "=" form: a value must follow it, and a flag takes none.
  const std::vector<std::pair<std::vector<std::string>, std::string>>
      equals_cases = {
          {{"--format="}, "option --format needs a value"},
          {{"--judge="}, "option --judge needs a value"},
          {{"--format=xml"}, "unknown format: xml (json or table)"},
          {{"--explain=1"}, "option --explain takes no value"},
          {{"--help=yes"}, "option --help takes no value"},
          {{"--bogus=1"}, "unknown option: --bogus"},
      };
  for (const auto& c : equals_cases) {
    CommandLine equals(Format::kJson,
                       {{"--explain", false}, {"--judge", true}});
    EXPECT_FALSE(equals.Parse(c.first)) << c.second;
    EXPECT_EQ(c.second, equals.error());
  }
}

TEST(CommandLineTest, ValuesAfterAnEqualsSign) {
  CommandLine line(Format::kJson, {{"--judge", true}, {"--policy", true}});
  // Only the first "=" ends the name; a value may hold more, or look like
  // an option. A short option never carries a value.
  ASSERT_TRUE(line.Parse({"--format=table", "--config=/etc/a=b", "--judge=-3",
                          "--policy=--x", "-h", "pos=1"}));
  EXPECT_EQ(Format::kTable, line.format());
  EXPECT_EQ("/etc/a=b", line.config_dir());
  EXPECT_EQ("-3", line.Value("--judge", ""));
  EXPECT_EQ("--x", line.Value("--policy", ""));
  EXPECT_TRUE(line.help());
  EXPECT_EQ((std::vector<std::string>{"pos=1"}), line.positional());

  // Both forms mixed: the last value given holds.
  CommandLine mixed(Format::kJson, {{"--judge", true}});
  ASSERT_TRUE(mixed.Parse({"--judge=1", "--judge", "2", "--format", "table",
                           "--format=json", "--", "--judge=3"}));
  EXPECT_EQ("2", mixed.Value("--judge", ""));
  EXPECT_EQ(Format::kJson, mixed.format());
  EXPECT_EQ((std::vector<std::string>{"--judge=3"}), mixed.positional());
  EXPECT_FALSE(mixed.version());
}

TEST(CommandLineTest, VersionAndTheOptionsForCompletion) {
  CommandLine line(Format::kTable, {{"--explain", false}, {"--judge", true}});
  ASSERT_TRUE(line.Parse({"x", "--version", "--list-options"}));
  EXPECT_TRUE(line.version());
  EXPECT_TRUE(line.list_options());
  EXPECT_FALSE(line.help());
  // Every option the parser takes, with "=" after those that need a value;
  // the hidden --list-options is not offered.
  EXPECT_EQ((std::vector<std::string>{"--config=", "--format=", "--help", "-h",
                                      "--version", "--explain", "--judge="}),
            line.OptionNames());
  for (std::string name : line.OptionNames()) {
    const bool takes_value = name.back() == '=';
    if (takes_value) name.pop_back();
    CommandLine check(Format::kTable,
                      {{"--explain", false}, {"--judge", true}});
    EXPECT_TRUE(takes_value ? check.Parse({name + "=json"})
                            : check.Parse({name}))
        << name;
  }
}

}  // namespace
}  // namespace quarn_tool
