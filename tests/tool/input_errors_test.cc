// Every input failure is named with its path and the reason, and an empty
// input says so.

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(InputErrorsTest, EachFailureIsNamed) {
  const std::string dir = FreshDir("input");
  // A directory, as a path and as standard input (the read fails).
  ToolRun run = RunTool({"classify", dir});
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Has(run.err, "quarn: " + dir + ": Is a directory\n")) << run.err;
  EXPECT_EQ("", run.out);
  ToolCall from_dir;
  from_dir.args = {"classify"};
  from_dir.input = dir;
  run = RunTool(from_dir);
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Has(run.err,
                  "quarn: <stdin>: read failed after line 0: Is a "
                  "directory\n"))
      << run.err;

  run = RunTool({"classify", dir + "/missing.csv"});
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Has(run.err, dir + "/missing.csv: No such file or directory"))
      << run.err;

  // A CSV header without a required column: nothing can be read.
  WriteFile(dir + "/no_time.csv",
            "first_ip,first_port,second_ip,second_port,transport\n"
            "10.10.2.15,1,1.2.3.4,80,tcp\n");
  run = RunTool({"classify", dir + "/no_time.csv"});
  EXPECT_EQ(2, run.status);
  EXPECT_TRUE(Has(run.err, "no_time.csv:1: header: no column \"time\"\n"))
      << run.err;
  EXPECT_TRUE(Has(run.err, "(stopped: no usable header line)")) << run.err;
}

TEST(InputErrorsTest, AnEmptyInputSaysSo) {
  const std::string dir = FreshDir("empty");
  WriteFile(dir + "/empty.csv", "");
  WriteFile(dir + "/header.csv",
            "time,first_ip,first_port,second_ip,second_port,transport\n\n");
  for (const char* name : {"empty.csv", "header.csv"}) {
    const ToolRun run = RunTool({"classify", dir + "/" + name});
    EXPECT_EQ(0, run.status) << name;
    EXPECT_EQ("", run.out);
    EXPECT_TRUE(Has(
        run.err, dir + "/" + name + ": no connection records in the input\n"))
        << run.err;
    EXPECT_TRUE(Has(run.err, "quarn: 0 connections classified, 0 bad records"))
        << run.err;
  }
}

}  // namespace
}  // namespace quarn_test
