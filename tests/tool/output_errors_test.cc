// A failed write on standard output ends every command with a message and
// exit status 3; a closed pipe ends it the usual way, by SIGPIPE, unless
// SIGPIPE is ignored.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

const char kDiskFull[] =
    "quarn: cannot write standard output: No space left on device\n";

TEST(OutputErrorsTest, DiskFullEndsEveryCommand) {
  const std::string dir = FreshDir("full");
  const std::string input = dir + "/in.csv";
  WriteFile(input, ExampleConnections());
  const std::vector<std::vector<std::string>> commands = {
      {"classify", input},
      {"classify", "--format", "table", "--explain", input},
      {"ip", "10.10.2.5"},
      {"ip", "--format", "json", "10.10.2.5"},
      {"url", "x.example/"},
      {"objects", "10.10.2.5"},
      {"who", "10.10.1.10"},
      {"app", "10.10.2.15:51000", "1.2.3.4:80"},
      {"apps"},
      {"--help"},
      {"ip", "--help"},
      {"--version"},
  };
  for (const auto& args : commands) {
    ToolCall call;
    call.args = args;
    call.output = "/dev/full";
    const ToolRun run = RunTool(call);
    EXPECT_EQ(3, run.status) << args[0] << " " << args.back();
    EXPECT_NE(std::string::npos, run.err.find(kDiskFull))
        << args[0] << ": " << run.err;
  }
}

TEST(OutputErrorsTest, ALongRunStopsAtTheFirstFailedWrite) {
  // Far more output than one buffer: classify stops when the first write
  // fails instead of classifying everything into the void.
  const std::string dir = FreshDir("full_long");
  std::string input = ExampleConnections();
  const std::string body = input.substr(input.find('\n') + 1);
  for (int i = 0; i < 40; ++i) input += body;
  WriteFile(dir + "/in.csv", input);
  ToolCall call;
  call.args = {"classify", dir + "/in.csv"};
  call.output = "/dev/full";
  const ToolRun run = RunTool(call);
  EXPECT_EQ(3, run.status);
  EXPECT_NE(std::string::npos, run.err.find(kDiskFull));
  EXPECT_NE(std::string::npos, run.err.find("(stopped: output failed)"));
  EXPECT_EQ(std::string::npos, run.err.find("12300 connections classified"))
      << run.err;
}

// Runs classify into a pipe whose reading end is already closed.
ToolRun IntoClosedPipe(bool ignore_sigpipe) {
  const std::string dir = FreshDir("pipe");
  WriteFile(dir + "/in.csv", ExampleConnections());
  int pipe_fds[2];
  EXPECT_EQ(0, pipe2(pipe_fds, O_CLOEXEC));
  close(pipe_fds[0]);
  const int in = open((dir + "/in.csv").c_str(), O_RDONLY | O_CLOEXEC);
  const int err =
      open((dir + "/err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  const pid_t pid =
      StartTool({"classify"}, in, pipe_fds[1], err, ignore_sigpipe);
  close(in);
  close(err);
  close(pipe_fds[1]);
  int status = 0;
  ToolRun run;
  EXPECT_EQ(pid, waitpid(pid, &status, 0));
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  run.err = ReadFile(dir + "/err");
  return run;
}

TEST(OutputErrorsTest, AClosedPipe) {
  const ToolRun killed = IntoClosedPipe(false);
  EXPECT_EQ(SIGPIPE, killed.signal);
  const ToolRun ignored = IntoClosedPipe(true);
  EXPECT_EQ(3, ignored.status);
  EXPECT_NE(std::string::npos,
            ignored.err.find("quarn: cannot write standard output: Broken "
                             "pipe\n"))
      << ignored.err;
}

}  // namespace
}  // namespace quarn_test
