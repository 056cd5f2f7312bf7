// SIGINT and SIGTERM stop classify after the record in hand: everything
// before it is written out whole, the summary is printed, and the exit
// status is 128 + the signal.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

struct Stopped {
  int status = -1;
  std::string out;
  std::string err;
};

void Pause(int milliseconds) {
  struct timespec ts = {0, milliseconds * 1000000L};
  nanosleep(&ts, nullptr);
}

// Reads the child's standard output to its end while `act` runs once, as
// soon as the output holds `after` bytes (or at once for 0); then waits
// for the child.
template <typename Act>
Stopped Collect(pid_t pid, int out, size_t after, Act act) {
  Stopped stopped;
  bool acted = false;
  char buffer[65536];
  for (;;) {
    if (!acted && stopped.out.size() >= after) {
      act();
      acted = true;
    }
    struct pollfd fd = {out, POLLIN, 0};
    if (poll(&fd, 1, 20000) <= 0) break;  // the child hangs: fail below
    const ssize_t n = read(out, buffer, sizeof(buffer));
    if (n <= 0) break;
    stopped.out.append(buffer, n);
  }
  int status = 0;
  if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
    stopped.status = WEXITSTATUS(status);
  }
  return stopped;
}

// Every line is a whole JSON object, and the summary counts them.
void ExpectWholeLines(const Stopped& stopped, size_t at_most) {
  const std::vector<std::string> lines = Lines(stopped.out);
  ASSERT_FALSE(lines.empty());
  EXPECT_LT(lines.size(), at_most);
  ASSERT_EQ('\n', stopped.out.back());
  for (const std::string& line : lines) ASSERT_TRUE(IsJsonObject(line)) << line;
  EXPECT_NE(std::string::npos,
            stopped.err.find("quarn: " + std::to_string(lines.size()) +
                             " connections classified, 0 bad records"))
      << stopped.err;
  EXPECT_NE(std::string::npos, stopped.err.find("(stopped by a signal)"));
}

TEST(InterruptTest, SigtermMidStreamFromAFile) {
  // 300,000 connections: far more than the tool classifies before the
  // signal, sent once its first output arrives.
  const std::string dir = FreshDir("sigterm");
  std::string input = ExampleConnections();
  const std::string body = input.substr(input.find('\n') + 1);
  input.reserve(input.size() + 1000 * body.size());
  for (int i = 1; i < 1000; ++i) input += body;
  WriteFile(dir + "/in.csv", input);
  int out[2];
  ASSERT_EQ(0, pipe2(out, O_CLOEXEC));
  const int in = open((dir + "/in.csv").c_str(), O_RDONLY | O_CLOEXEC);
  const int err =
      open((dir + "/err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  const pid_t pid = StartTool({"classify"}, in, out[1], err);
  close(in);
  close(err);
  close(out[1]);
  Stopped stopped = Collect(pid, out[0], 1, [pid] { kill(pid, SIGTERM); });
  close(out[0]);
  stopped.err = ReadFile(dir + "/err");
  EXPECT_EQ(143, stopped.status) << stopped.err;
  ExpectWholeLines(stopped, 300000);
}

TEST(InterruptTest, SigintWhileWaitingForInput) {
  // Records arrive through a pipe that stays open: once the tool has read
  // them all it waits for more, and SIGINT ends the wait.
  const std::string dir = FreshDir("sigint");
  int in[2];
  int out[2];
  ASSERT_EQ(0, pipe2(in, O_CLOEXEC));
  ASSERT_EQ(0, pipe2(out, O_CLOEXEC));
  const int err =
      open((dir + "/err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  const pid_t pid = StartTool({"classify", "-"}, in[0], out[1], err);
  close(err);
  close(out[1]);
  const std::string records = ExampleConnections();
  ASSERT_EQ(static_cast<ssize_t>(records.size()),
            write(in[1], records.data(), records.size()));
  Stopped stopped = Collect(pid, out[0], 0, [&] {
    // Until the tool has taken everything from the pipe.
    int left = 1;
    for (int i = 0; i < 2000 && left > 0; ++i) {
      ioctl(in[0], FIONREAD, &left);
      if (left > 0) Pause(5);
    }
    Pause(200);  // time to classify them, under sanitizers too
    kill(pid, SIGINT);
  });
  close(in[0]);
  close(in[1]);
  close(out[0]);
  stopped.err = ReadFile(dir + "/err");
  EXPECT_EQ(130, stopped.status) << stopped.err;
  // Everything read before the signal was classified and written.
  ExpectWholeLines(stopped, 301);
  EXPECT_EQ(300u, Lines(stopped.out).size());
}

}  // namespace
}  // namespace quarn_test
