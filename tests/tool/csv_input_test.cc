// A CSV export with a byte-order mark, header names in any case and CRLF
// line ends classifies like the plain file.

#include <string>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

TEST(CsvInputTest, ByteOrderMarkCaseAndLineEnds) {
  const std::string dir = FreshDir("csv");
  const std::string plain = ExampleConnections();
  const std::string header = plain.substr(0, plain.find('\n'));
  std::string exported =
      "\xEF\xBB\xBF"
      "TIME,First_IP,first_PORT,Second_Ip,SECOND_PORT,"
      "Transport,Url,MAC";
  ASSERT_EQ(header.size() + 3, exported.size());
  for (char c : plain.substr(header.size())) {
    if (c == '\n') exported += '\r';
    exported += c;
  }
  WriteFile(dir + "/plain.csv", plain);
  WriteFile(dir + "/exported.csv", exported);
  const ToolRun expected = RunTool({"classify", dir + "/plain.csv"});
  const ToolRun run = RunTool({"classify", dir + "/exported.csv"});
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_EQ(300u, Lines(run.out).size());
  EXPECT_EQ(expected.out, run.out);
}

}  // namespace
}  // namespace quarn_test
