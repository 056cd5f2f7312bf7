// The JSON and table writers of the tool's output layer.

#include <stdio.h>

#include <string>

#include <gtest/gtest.h>

#include "tools/common/Output.h"

namespace quarn_tool {
namespace {

TEST(JsonWriterTest, NestingEscapingAndGbk) {
  Utf8Cache cache;
  JsonWriter json(&cache);
  json.BeginObject();
  json.Key("a");
  json.BeginArray();
  json.Int(-1);
  json.Uint(18446744073709551615ull);
  json.BeginObject();
  json.EndObject();
  json.Null();
  json.EndArray();
  json.Key("s");
  json.Utf8("q\"b\\n\n\x01");
  json.Key("name");
  json.Gbk("\xB2\xC6\xCE\xF1\xB2\xBF");  // 财务部
  json.Key("again");
  json.Gbk("\xB2\xC6\xCE\xF1\xB2\xBF");  // from the cache
  json.Key("h");
  json.Hex(0x0000A02A08000000ull);
  json.Key("b");
  json.Bool(false);
  json.EndObject();
  EXPECT_EQ(
      "{\"a\":[-1,18446744073709551615,{},null],\"s\":"
      "\"q\\\"b\\\\n\\n\\u0001\","
      "\"name\":\"财务部\",\"again\":\"财务部\",\"h\":\"0x0000A02A08000000\","
      "\"b\":false}",
      json.str());
  json.Clear();
  json.BeginObject();
  json.EndObject();
  EXPECT_EQ("{}", json.str());
}

TEST(TableWriterTest, AlignsByTerminalColumns) {
  EXPECT_EQ(3, TableWriter::DisplayWidth("abc"));
  EXPECT_EQ(6, TableWriter::DisplayWidth("财务部"));
  EXPECT_EQ(11, TableWriter::DisplayWidth("未知TCP服务"));

  char* text = nullptr;
  size_t size = 0;
  FILE* out = open_memstream(&text, &size);
  ASSERT_NE(nullptr, out);
  TableWriter table(out, {{"id", 3}, {"class", 6}, {"x", 1}});
  table.WriteHeader();
  table.WriteRow({"102", "财务部", "y"});
  table.WriteRow({"1", "abc"});
  table.WriteRow({"12345", "ab", "z"});  // too wide: the rest moves right
  fclose(out);
  EXPECT_EQ(
      "id   class   x\n"
      "---  ------  -\n"
      "102  财务部  y\n"
      "1    abc\n"
      "12345  ab    z\n",
      std::string(text, size));
  free(text);
}

}  // namespace
}  // namespace quarn_tool
