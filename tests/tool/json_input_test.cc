// JSON Lines as Python's json.dumps writes them: \u escapes for every
// non-ASCII character, members the tool does not know, of any type.

#include <string>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

TEST(JsonInputTest, EscapesAndUnknownMembers) {
  const std::string dir = FreshDir("json");
  WriteFile(dir + "/in.jsonl",
            // 财务 and a character outside the BMP (a surrogate pair) in
            // the URL's path, and the host in capitals.
            "{\"time\": \"2026-11-18 09:15\", \"first_ip\": \"10.10.2.15\", "
            "\"first_port\": 40000, \"second_ip\": \"1.2.3.4\", "
            "\"second_port\": \"80\", \"transport\": \"tcp\", \"url\": "
            "\"http://Intranet.Example.CN/\\u8d22\\u52a1?x=\\ud83d\\ude00\", "
            "\"meta\": {\"tags\": [\"a\", {\"b\": null}], \"ok\": true}, "
            "\"score\": 1.5e3, \"mac\": null}\n"
            "{\"\\u0074ime\": \"2026-11-18 09:15\", \"first_ip\": "
            "\"10.10.2.15\", \"first_port\": 1, \"second_ip\": \"1.2.3.4\", "
            "\"second_port\": 2, \"transport\": \"udp\", \"list\": []}\n"
            "{\"time\": \"2026-11-18 09:15\", \"first_port\": [80]}\n");
  const ToolRun run = RunTool({"classify", dir + "/in.jsonl"});
  EXPECT_EQ(1, run.status) << run.err;
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_EQ(2u, lines.size()) << run.err;
  EXPECT_NE(std::string::npos,
            lines[0].find("\"url\":{\"url\":\"intranet.example.cn/财务?x=?\""))
      << lines[0];
  EXPECT_NE(std::string::npos, lines[0].find("\"white\":true")) << lines[0];
  EXPECT_NE(std::string::npos, lines[1].find("\"line\":2,")) << lines[1];
  EXPECT_NE(std::string::npos,
            run.err.find("in.jsonl:3: field \"first_port\": not a text or an "
                         "integer\n"))
      << run.err;
}

}  // namespace
}  // namespace quarn_test
