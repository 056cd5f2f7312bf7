#include "tests/tool/run_tool.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include <simdjson.h>

namespace quarn_test {

namespace {

int OpenOrDie(const std::string& path, int flags) {
  const int fd = open(path.c_str(), flags | O_CLOEXEC, 0644);
  if (fd < 0) abort();
  return fd;
}

}  // namespace

pid_t StartTool(const std::vector<std::string>& args, int in, int out, int err,
                bool ignore_sigpipe, const std::vector<std::string>& env) {
  std::vector<std::string> all = {QUARN_TOOL};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : all) argv.push_back(&arg[0]);
  argv.push_back(nullptr);
  std::vector<std::string> env_copy = env;
  // The first of two entries with one name is the one getenv() finds.
  std::vector<char*> envp;
  for (std::string& e : env_copy) envp.push_back(&e[0]);
  for (char** e = environ; *e != nullptr; ++e) envp.push_back(*e);
  envp.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    signal(SIGPIPE, ignore_sigpipe ? SIG_IGN : SIG_DFL);
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    execve(QUARN_TOOL, argv.data(), envp.data());
    _exit(127);
  }
  return pid;
}

ToolRun RunTool(const ToolCall& call) {
  const std::string dir = FreshDir("run");
  const std::string out_path = call.output.empty() ? dir + "/out" : call.output;
  const int in =
      OpenOrDie(call.input.empty() ? "/dev/null" : call.input, O_RDONLY);
  const int out = OpenOrDie(out_path, O_WRONLY | O_CREAT | O_TRUNC);
  const int err = OpenOrDie(dir + "/err", O_WRONLY | O_CREAT | O_TRUNC);
  const pid_t pid =
      StartTool(call.args, in, out, err, call.ignore_sigpipe, call.env);
  close(in);
  close(out);
  close(err);
  ToolRun run;
  int status = 0;
  struct rusage usage;
  if (wait4(pid, &status, 0, &usage) != pid) return run;
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  run.max_rss_kb = usage.ru_maxrss;
  if (call.output.empty()) run.out = ReadFile(out_path);
  run.err = ReadFile(dir + "/err");
  return run;
}

ToolRun RunTool(const std::vector<std::string>& args) {
  ToolCall call;
  call.args = args;
  return RunTool(call);
}

std::string FreshDir(const std::string& name) {
  const std::string dir = std::string(QUARN_TEST_TMP_DIR) + "/" + name + "." +
                          std::to_string(getpid());
  const std::string command = "rm -rf '" + dir + "' && mkdir -p '" + dir + "'";
  if (system(command.c_str()) != 0) abort();
  return dir;
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Examples() { return std::string(QUARN_SOURCE_DIR) + "/examples"; }

std::string ExampleConnections() {
  return ReadFile(Examples() + "/connections.csv");
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

bool IsJsonObject(const std::string& line) {
  simdjson::dom::parser parser;
  simdjson::dom::object object;
  return parser.parse(line).get(object) == simdjson::SUCCESS;
}

}  // namespace quarn_test
