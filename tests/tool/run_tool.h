// Runs the built `quarn` tool as a child process, the way a user runs it
// from a shell, and collects what it did.

#ifndef QUARN_TESTS_TOOL_RUN_TOOL_H_
#define QUARN_TESTS_TOOL_RUN_TOOL_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace quarn_test {

struct ToolCall {
  std::vector<std::string> args;  // after "quarn"
  std::string input;              // standard input from this file; /dev/null
  std::string output;             // standard output to this file; captured
  std::vector<std::string> env;   // "NAME=value" added to the environment
  bool ignore_sigpipe = false;    // start with SIGPIPE ignored
};

struct ToolRun {
  int status = -1;  // exit status, -1 when a signal ended the process
  int signal = 0;   // that signal
  std::string out;  // standard output, when captured
  std::string err;  // standard error
  long max_rss_kb = 0;
};

ToolRun RunTool(const ToolCall& call);
// Shorthand: the arguments, nothing else.
ToolRun RunTool(const std::vector<std::string>& args);

// Starts the tool with the given descriptors as its standard input, output
// and error, and `env` ("NAME=value") before the environment. The caller
// keeps its descriptors. Returns the process id.
pid_t StartTool(const std::vector<std::string>& args, int in, int out, int err,
                bool ignore_sigpipe = false,
                const std::vector<std::string>& env = {});

// An empty directory for one test's files, under the build tree.
std::string FreshDir(const std::string& name);
void WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);
// The example gateway and its reference data.
std::string Examples();
// The example connections, the CSV header line included.
std::string ExampleConnections();
// Non-empty lines of `text`.
std::vector<std::string> Lines(const std::string& text);
// Whether `line` is one JSON object.
bool IsJsonObject(const std::string& line);

}  // namespace quarn_test

#endif  // QUARN_TESTS_TOOL_RUN_TOOL_H_
