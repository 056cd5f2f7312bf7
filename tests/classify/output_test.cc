// The tool's output layer: the sink, the JSON and table writers, and the
// result writer of the inspection commands.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "tools/common/Output.h"

namespace quarn_tool {
namespace {

// What an OutputSink hands to its descriptor, through a temporary file.
class Captured {
 public:
  Captured() : file_(tmpfile()), sink_(fileno(file_)) {}
  ~Captured() { fclose(file_); }
  OutputSink* sink() { return &sink_; }
  // Bytes written so far, without flushing the sink.
  off_t written() {
    struct stat st;
    return fstat(fileno(file_), &st) == 0 ? st.st_size : -1;
  }
  // Flushes the sink, then everything written.
  std::string text() {
    sink_.Flush();
    std::string all(static_cast<size_t>(written()), '\0');
    EXPECT_EQ(static_cast<ssize_t>(all.size()),
              pread(fileno(file_), &all[0], all.size(), 0));
    return all;
  }

 private:
  FILE* file_;
  OutputSink sink_;
};

TEST(OutputSinkTest, WritesWholeRecordsAndKeepsTheFirstError) {
  Captured out;
  const std::string record(1000, 'x');
  size_t appended = 0;
  while (appended + record.size() + 1 < OutputSink::kFlushBytes) {
    out.sink()->Append(record);
    out.sink()->Append('\n');
    out.sink()->EndRecord();
    appended += record.size() + 1;
  }
  EXPECT_EQ(0, out.written());  // held until the threshold
  out.sink()->Append(record);
  out.sink()->Append('\n');
  out.sink()->EndRecord();
  appended += record.size() + 1;
  EXPECT_EQ(static_cast<off_t>(appended), out.written());  // whole records
  EXPECT_FALSE(out.sink()->failed());

  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  {
    OutputSink sink(full);
    sink.Append("one line\n");
    EXPECT_FALSE(sink.Flush());
    EXPECT_TRUE(sink.failed());
    EXPECT_EQ(ENOSPC, sink.error());
    sink.Append("more\n");  // dropped, the first error stays
    EXPECT_FALSE(sink.Flush());
    EXPECT_EQ(ENOSPC, sink.error());
  }
  close(full);
}

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

TEST(TableWriterTest, ColumnsFitTheWidestCellOfEachBatch) {
  EXPECT_EQ(3, TableWriter::DisplayWidth("abc"));
  EXPECT_EQ(6, TableWriter::DisplayWidth("财务部"));
  EXPECT_EQ(11, TableWriter::DisplayWidth("未知TCP服务"));
  EXPECT_EQ(1, TableWriter::DisplayWidth("e\xCC\x81"));  // e + combining acute
  EXPECT_EQ(2, TableWriter::DisplayWidth("\xEF\xBD\xB1x"));  // half-width ｱ
  EXPECT_EQ(4, TableWriter::DisplayWidth("\xEF\xBC\xA1\xEF\xBC\xA2"));  // ＡＢ
  EXPECT_EQ(2, TableWriter::DisplayWidth("\xF0\x9F\x98\x80"));          // emoji
  EXPECT_EQ(3, TableWriter::DisplayWidth("a\xFF"
                                         "b"));  // a stray byte

  Captured out;
  TableWriter table(out.sink(), {"id", "class", "x"}, 3);
  table.AddRow({"102", "财务部", "y"}, {"why: a note"});
  table.AddRow({"1", "abc"});
  table.AddRow({"12345", "ab", "z"});
  table.AddRow({"7", "a", "long cell"});  // the next batch
  table.Flush();
  table.Flush();  // nothing held: nothing written
  EXPECT_EQ(
      "id     class   x\n"
      "-----  ------  -\n"
      "102    财务部  y\n"
      "    why: a note\n"
      "1      abc\n"
      "12345  ab      z\n"
      "\n"
      "id  class  x\n"
      "--  -----  ---------\n"
      "7   a      long cell\n",
      out.text());
}

TEST(ResultWriterTest, FittedTableOrOneObjectPerLine) {
  Captured table_out;
  ResultWriter table(table_out.sink(), true, {"address", "class", "x"});
  table.Caption("caption");
  table.Row({"10.10.2.5", "102 财务部", "y"});
  table.Row({"1.2.3.4", "-"});  // a short row
  table.Finish();
  EXPECT_EQ(
      "caption\n"
      "address    class       x\n"
      "---------  ----------  -\n"
      "10.10.2.5  102 财务部  y\n"
      "1.2.3.4    -\n",
      table_out.text());

  Captured json_out;
  ResultWriter json(json_out.sink(), false, {"ignored"});
  json.Caption("not in JSON");
  for (int i = 0; i < 2; ++i) {
    JsonWriter* item = json.BeginItem();
    item->BeginObject();
    item->Key("class");
    item->Gbk("\xB2\xC6\xCE\xF1\xB2\xBF");  // 财务部
    item->EndObject();
    json.EndItem();
  }
  json.Finish();
  EXPECT_EQ("{\"class\":\"财务部\"}\n{\"class\":\"财务部\"}\n",
            json_out.text());
  EXPECT_EQ("0x0000A02A06000000", HexText(0x0000A02A06000000ull));
}

}  // namespace
}  // namespace quarn_tool
