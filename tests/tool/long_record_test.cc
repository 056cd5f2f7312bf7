// A record longer than 64 KiB is a bad record, read past without holding
// it; --strict makes the first bad record end the run.

#include <string>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

const char kHeader[] =
    "time,first_ip,first_port,second_ip,second_port,transport,url\n";
const char kGood[] = "2026-11-18 09:15,10.10.2.15,40000,1.2.3.4,80,tcp,\n";

TEST(LongRecordTest, OverLongLinesAreBadAndMemoryStaysFlat) {
  const std::string dir = FreshDir("long");
  WriteFile(dir + "/short.csv", std::string(kHeader) + kGood + kGood);
  // A 48 MiB URL, and a record one byte over the limit, between good ones.
  std::string at_limit = std::string(kGood);
  at_limit.insert(at_limit.size() - 1, "x.example/");
  at_limit.insert(at_limit.size() - 1, 65536 - (at_limit.size() - 1), 'a');
  std::string input = std::string(kHeader) + kGood + "2026-11-18 09:15," +
                      std::string(size_t{48} << 20, '9') + "\n" + at_limit;
  input.insert(input.size() - 1, "a");
  input += kGood;
  WriteFile(dir + "/long.csv", input);

  const ToolRun baseline = RunTool({"classify", dir + "/short.csv"});
  const ToolRun run = RunTool({"classify", dir + "/long.csv"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(2u, Lines(run.out).size());
  EXPECT_NE(std::string::npos,
            run.err.find("long.csv:3: record longer than 65536 bytes\n"))
      << run.err;
  EXPECT_NE(std::string::npos,
            run.err.find("long.csv:4: record longer than 65536 bytes\n"))
      << run.err;
  EXPECT_NE(std::string::npos, run.err.find("2 connections classified, 2 bad"));
  // The 48 MiB line never sits in memory.
  EXPECT_LT(run.max_rss_kb, baseline.max_rss_kb + 8 * 1024)
      << baseline.max_rss_kb;
}

TEST(LongRecordTest, StrictStopsAtTheFirstBadRecord) {
  const std::string dir = FreshDir("strict");
  WriteFile(dir + "/in.csv",
            std::string(kHeader) + kGood +
                "2026-11-18 09:15,10.10.2.15,40000,1.2.3.4,80,sctp,\n" + kGood);
  const ToolRun lenient = RunTool({"classify", dir + "/in.csv"});
  EXPECT_EQ(1, lenient.status);
  EXPECT_EQ(2u, Lines(lenient.out).size());
  const ToolRun strict = RunTool({"classify", "--strict", dir + "/in.csv"});
  EXPECT_EQ(1, strict.status);
  EXPECT_EQ(1u, Lines(strict.out).size());
  EXPECT_NE(std::string::npos,
            strict.err.find("in.csv:3: field \"transport\": not tcp or udp"));
  EXPECT_NE(std::string::npos,
            strict.err.find("1 connections classified, 1 bad records"));
  EXPECT_NE(std::string::npos,
            strict.err.find("(stopped at the first bad record: --strict)"));
}

}  // namespace
}  // namespace quarn_test
