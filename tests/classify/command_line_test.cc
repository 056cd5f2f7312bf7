// The command line shared by the tool's commands, and the result writer of
// the inspection commands.

#include <stdio.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/common/CommandLine.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

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

std::string Written(ResultWriter* writer, FILE* out, char** text,
                    size_t* size) {
  writer->Finish();
  fclose(out);
  std::string written(*text, *size);
  free(*text);
  return written;
}

TEST(ResultWriterTest, FittedTableOrOneObjectPerLine) {
  char* text = nullptr;
  size_t size = 0;
  FILE* out = open_memstream(&text, &size);
  ASSERT_NE(nullptr, out);
  ResultWriter table(out, true, {"address", "class", "x"});
  table.Caption("caption");
  table.Row({"10.10.2.5", "102 财务部", "y"});
  table.Row({"1.2.3.4", "-"});  // a short row
  EXPECT_EQ(
      "caption\n"
      "address    class       x\n"
      "---------  ----------  -\n"
      "10.10.2.5  102 财务部  y\n"
      "1.2.3.4    -\n",
      Written(&table, out, &text, &size));

  out = open_memstream(&text, &size);
  ASSERT_NE(nullptr, out);
  ResultWriter json(out, false, {"ignored"});
  json.Caption("not in JSON");
  for (int i = 0; i < 2; ++i) {
    JsonWriter* item = json.BeginItem();
    item->BeginObject();
    item->Key("class");
    item->Gbk("\xB2\xC6\xCE\xF1\xB2\xBF");  // 财务部
    item->EndObject();
    json.EndItem();
  }
  EXPECT_EQ("{\"class\":\"财务部\"}\n{\"class\":\"财务部\"}\n",
            Written(&json, out, &text, &size));
  EXPECT_EQ("0x0000A02A06000000", HexText(0x0000A02A06000000ull));
}

}  // namespace
}  // namespace quarn_tool
