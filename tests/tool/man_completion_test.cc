// What a user finds around the tool: --version and --help on every command
// and writer, the "=" form of option values, the man pages written from
// the help, and the shell's completion of commands and options.

#include <stdio.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

// Standard output of a shell command line; *status gets its exit status.
std::string Shell(const std::string& command, int* status = nullptr) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
  const int raw = pclose(pipe);
  if (status != nullptr) *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return out;
}

// The commands `quarn --help` lists: the first word of each line indented
// by two spaces between "Commands:" and the next heading.
std::vector<std::string> CommandsInHelp() {
  std::vector<std::string> commands;
  const std::string help = RunTool({"--help"}).out;
  const size_t start = help.find("\nCommands:\n");
  const size_t end = help.find("\n\n", start + 1);
  if (start == std::string::npos) return commands;
  for (const std::string& line :
       Lines(help.substr(start + 11, end - start - 11))) {
    if (line.compare(0, 2, "  ") == 0 && line[2] != ' ') {
      commands.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
  }
  return commands;
}

// The options a help text shows: each word starting with "-" at the start
// of an option line ("  -h, --help ...", "  --judge N ...").
std::vector<std::string> OptionsInHelp(const std::string& help) {
  std::vector<std::string> options;
  for (const std::string& line : Lines(help)) {
    size_t at = 2;
    while (line.compare(0, 2, "  ") == 0 && at < line.size() &&
           line[at] == '-') {
      const size_t end = line.find_first_of(" ,", at);
      options.push_back(line.substr(at, end - at));
      if (end == std::string::npos || line[end] != ',') break;
      at = end + 2;
    }
  }
  return options;
}

// How a man page writes an option: each "-" escaped.
std::string Roff(const std::string& option) {
  std::string out;
  for (char c : option)
    out += c == '-' ? std::string("\\-") : std::string(1, c);
  return out;
}

// The words bash's completion of quarn offers for `words`, the last one
// being completed.
std::vector<std::string> Complete(const std::vector<std::string>& words) {
  std::string script =
      "source '" QUARN_COMPLETION "'\nCOMP_WORDS=('" QUARN_TOOL "'";
  for (const std::string& word : words) script += " '" + word + "'";
  script += ")\nCOMP_CWORD=" + std::to_string(words.size()) +
            "\n_quarn '" QUARN_TOOL "'\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
  const std::string path = FreshDir("completion") + "/complete.sh";
  WriteFile(path, script);
  return Lines(Shell("bash '" + path + "' 2>&1"));
}

bool Has(const std::vector<std::string>& list, const std::string& item) {
  for (const std::string& each : list) {
    if (each == item) return true;
  }
  return false;
}

TEST(ManCompletionTest, EveryCommandAndWriterHasVersionAndHelp) {
  const std::vector<std::string> commands = CommandsInHelp();
  ASSERT_GE(commands.size(), 8u);
  EXPECT_TRUE(Has(commands, "classify"));
  for (const std::string& command : commands) {
    const ToolRun version = RunTool({command, "--version"});
    EXPECT_EQ(0, version.status) << command;
    EXPECT_EQ(std::string("quarn ") + QUARN_TOOL_VERSION + "\n", version.out)
        << command;
    const ToolRun help = RunTool({command, "--help"});
    EXPECT_EQ(0, help.status) << command;
    EXPECT_EQ(0u, help.out.find("Usage: quarn " + command + " ")) << command;
    EXPECT_TRUE(Has(OptionsInHelp(help.out), "--version")) << command;
  }
  for (const std::string writer : {QUARN_IPT_TOOL, QUARN_URLDB_TOOL}) {
    const std::string name = writer.substr(writer.rfind('/') + 1);
    int status = -1;
    EXPECT_EQ(name + " " + QUARN_TOOL_VERSION + "\n",
              Shell(writer + " --version", &status));
    EXPECT_EQ(0, status);
    EXPECT_EQ(0u, Shell(writer + " --help", &status).find("Usage: " + name));
    EXPECT_EQ(0, status);
    // Without arguments the usage goes to standard error, status 2.
    EXPECT_EQ(
        "Usage: " + name,
        Shell(writer + " 2>&1 >/dev/null", &status).substr(0, 7 + name.size()));
    EXPECT_EQ(2, status);
  }
}

TEST(ManCompletionTest, ValuesAfterAnEqualsSignAsAfterASpace) {
  const ToolRun spaced =
      RunTool({"ip", "--format", "json", "--config", Examples() + "/gateway",
               "10.10.2.5", "8.8.8.8"});
  const ToolRun equals =
      RunTool({"ip", "--format=json", "--config=" + Examples() + "/gateway",
               "10.10.2.5", "8.8.8.8"});
  EXPECT_EQ(0, equals.status) << equals.err;
  EXPECT_EQ(spaced.out, equals.out);
  ASSERT_EQ(2u, Lines(equals.out).size());
  EXPECT_TRUE(IsJsonObject(Lines(equals.out)[0]));

  const ToolRun judge = RunTool(
      {"app", "--judge=0", "--format=json", "10.10.2.15:51000", "1.2.3.4:80"});
  EXPECT_EQ(0, judge.status) << judge.err;
  EXPECT_TRUE(IsJsonObject(judge.out));

  const ToolRun flag = RunTool({"classify", "--strict=yes"});
  EXPECT_EQ(2, flag.status);
  EXPECT_NE(std::string::npos, flag.err.find("option --strict takes no value"));
}

TEST(ManCompletionTest, ManPagesNameEveryCommandAndOption) {
#ifndef QUARN_MAN_DIR
  GTEST_SKIP() << "help2man was not found; no man pages were written";
#else
  const std::vector<std::string> commands = CommandsInHelp();
  ASSERT_FALSE(commands.empty());
  const std::string main_page = ReadFile(QUARN_MAN_DIR "/quarn.1");
  ASSERT_NE(std::string::npos, main_page.find(".TH QUARN \"1\""));
  for (const std::string& command : commands) {
    // The list of commands: each at the start of a paragraph.
    EXPECT_TRUE(main_page.find(".IP\n" + command + " ") != std::string::npos ||
                main_page.find(".IP\n" + command + "\n") != std::string::npos)
        << command;
    EXPECT_NE(std::string::npos, main_page.find("quarn\\-" + command + " (1)"))
        << command;
    const std::string page = ReadFile(QUARN_MAN_DIR "/quarn-" + command + ".1");
    ASSERT_FALSE(page.empty()) << command;
    EXPECT_NE(std::string::npos,
              page.find(".SH NAME\nquarn-" + command + " \\- "))
        << command;
    EXPECT_NE(std::string::npos, page.find(".SH OPTIONS")) << command;
    for (const std::string& option :
         OptionsInHelp(RunTool({command, "--help"}).out)) {
      EXPECT_NE(std::string::npos, page.find(Roff(option)))
          << command << " " << option;
    }
  }
  for (const char* writer : {"quarn_ipt", "quarn_urldb"}) {
    const std::string page =
        ReadFile(std::string(QUARN_MAN_DIR "/") + writer + ".1");
    EXPECT_NE(std::string::npos, page.find("\\-\\-version")) << writer;
  }
#endif
}

TEST(ManCompletionTest, CompletionOffersEveryCommandAndOption) {
  const std::vector<std::string> commands = CommandsInHelp();
  ASSERT_FALSE(commands.empty());
  const std::vector<std::string> first = Complete({""});
  for (const std::string& command : commands) {
    EXPECT_TRUE(Has(first, command)) << command;
    EXPECT_TRUE(Has(Complete({"help", ""}), command)) << command;
    const std::vector<std::string> offered = Complete({command, "-"});
    const std::vector<std::string> shown =
        OptionsInHelp(RunTool({command, "--help"}).out);
    ASSERT_FALSE(shown.empty()) << command;
    for (const std::string& option : shown) {
      EXPECT_TRUE(Has(offered, option)) << command << " " << option;
    }
    // Nothing offered that the help does not show.
    EXPECT_EQ(shown.size(), offered.size()) << command;
  }
  EXPECT_EQ(std::vector<std::string>{"classify"}, Complete({"clas"}));
  EXPECT_TRUE(Has(Complete({"--v"}), "--version"));
  // Values of --format, after a space or an "=" (which bash splits off).
  const std::vector<std::string> formats{"json", "table"};
  EXPECT_EQ(formats, Complete({"ip", "--format", ""}));
  EXPECT_EQ(formats, Complete({"ip", "--format", "="}));
  EXPECT_EQ(std::vector<std::string>{"table"},
            Complete({"ip", "--format", "=", "t"}));
}

}  // namespace
}  // namespace quarn_test
