// --explain with --format table: the evidence goes under each row, and
// columns line up by terminal width, Chinese names taking two columns.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

// Terminal columns before byte `end` of `line`: two for each three-byte
// UTF-8 character (the CJK characters of these names), one otherwise.
size_t Column(const std::string& line, size_t end) {
  size_t column = 0;
  for (size_t i = 0; i < end; ++i) {
    const unsigned char c = line[i];
    if (c < 0x80) {
      ++column;
    } else if (c >= 0xE0) {
      column += 2;
    }
  }
  return column;
}

TEST(ExplainTableTest, EvidenceUnderEachRowAndAlignedColumns) {
  const std::string dir = FreshDir("table");
  WriteFile(dir + "/in.csv",
            "time,first_ip,first_port,second_ip,second_port,transport,url\n"
            "2026-11-18 09:15,10.10.2.15,40000,1.2.3.4,80,tcp,"
            "www.gov.example.cn/notice\n"
            "2026-11-17 12:30,10.10.3.5,137,10.10.3.255,138,udp,\n");
  const ToolRun run =
      RunTool({"classify", "--format", "table", "--explain", dir + "/in.csv"});
  EXPECT_EQ(0, run.status) << run.err;
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_GT(lines.size(), 4u);
  EXPECT_EQ(0u, lines[0].find("line  time "));
  const size_t title = Column(lines[0], lines[0].find("outside"));
  size_t rows = 0;
  for (size_t i = 2; i < lines.size(); ++i) {
    if (lines[i].compare(0, 4, "    ") == 0) continue;  // evidence
    ++rows;
    const size_t outside = lines[i].find("1.2.3.4:");
    const size_t at =
        outside != std::string::npos ? outside : lines[i].find("10.10.3.255");
    EXPECT_EQ(title, Column(lines[i], at)) << lines[i];
  }
  EXPECT_EQ(2u, rows);
  for (const char* evidence :
       {"    client: first end is not an outside address: it is the client\n",
        "    class: department range 10.10.2.0-10.10.2.255\n",
        "    url: system word 0x0000000000000000, user word "
        "0x0000000000000000; host \"www.gov.example.cn\" not on the white "
        "list, host and path \"www.gov.example.cn/notice\" on the white "
        "list\n",
        "    time object 工作时间: segment 08:30-17:30 on Wednesdays\n",
        "    client: second end looks like a broadcast address: it is the "
        "server\n",
        "    app: no user-defined application; ports 137 and 138 are service "
        "ports: unknown service\n"}) {
    EXPECT_NE(std::string::npos, run.out.find(evidence)) << evidence;
  }
}

}  // namespace
}  // namespace quarn_test
