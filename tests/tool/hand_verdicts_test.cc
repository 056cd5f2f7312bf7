// The verdicts worked out by hand in tests/classify/expected_verdicts.md,
// checked against `quarn classify` on the example connections. The table
// is the reference, not the tool's earlier output: a change that alters
// one of these verdicts fails here even after the expected output file is
// regenerated.

#include <stdint.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <simdjson.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

// The cells of a table row "| a | b | ... |", trimmed.
std::vector<std::string> Cells(const std::string& row) {
  std::vector<std::string> cells;
  std::stringstream in(row.substr(1));
  std::string cell;
  while (std::getline(in, cell, '|')) {
    const size_t begin = cell.find_first_not_of(' ');
    const size_t end = cell.find_last_not_of(' ');
    cells.push_back(begin == std::string::npos
                        ? std::string()
                        : cell.substr(begin, end - begin + 1));
  }
  return cells;
}

std::string Indexes(simdjson::dom::array list, const char* key) {
  std::string text;
  for (simdjson::dom::element item : list) {
    const uint64_t index =
        key != nullptr ? uint64_t(item[key]) : uint64_t(item);
    text += (text.empty() ? "" : ",") + std::to_string(index);
  }
  return text.empty() ? "-" : text;
}

// The verdict of one output line in the table's columns: passed, save,
// interrupt, ignore, events, audit.
std::vector<std::string> VerdictCells(simdjson::dom::element v) {
  std::string interrupt = "-";
  if (!v["interrupt"].is_null()) {
    const std::string code = std::string(std::string_view(v["interrupt"]));
    interrupt = "0x" + code.substr(code.find_first_not_of('0', 2));
  }
  simdjson::dom::element audit = v["audit"];
  return {Indexes(v["filters"], "index"),
          std::to_string(uint64_t(v["save_level"])),
          interrupt,
          bool(v["ignore"]) ? "yes" : "no",
          Indexes(v["events"], nullptr),
          std::string(bool(audit["audited"]) ? "audited: " : "not audited: ") +
              std::string(std::string_view(audit["reason"]))};
}

TEST(HandVerdictsTest, TwentyExampleConnections) {
  // line -> passed, save, interrupt, ignore, events, audit.
  std::map<int64_t, std::vector<std::string>> expected;
  for (const std::string& row :
       Lines(ReadFile(std::string(QUARN_SOURCE_DIR) +
                      "/tests/classify/expected_verdicts.md"))) {
    if (row.size() < 3 || row[0] != '|' || row[2] < '0' || row[2] > '9') {
      continue;
    }
    const std::vector<std::string> cells = Cells(row);
    ASSERT_GE(cells.size(), 8u) << row;
    expected[std::stoll(cells[0])] = {cells.begin() + 2, cells.begin() + 8};
  }
  ASSERT_GE(expected.size(), 20u);

  const ToolRun run = RunTool({"classify", Examples() + "/connections.csv"});
  ASSERT_EQ(0, run.status) << run.err;
  simdjson::dom::parser parser;
  size_t checked = 0;
  for (const std::string& line : Lines(run.out)) {
    simdjson::dom::element object;
    ASSERT_EQ(simdjson::SUCCESS, parser.parse(line).get(object)) << line;
    const auto it = expected.find(int64_t(object["line"]));
    if (it == expected.end()) continue;
    EXPECT_EQ(it->second, VerdictCells(object["verdict"]))
        << "line " << it->first;
    ++checked;
  }
  EXPECT_EQ(expected.size(), checked);
}

}  // namespace
}  // namespace quarn_test
