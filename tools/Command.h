// Sub-commands of the `quarn` tool. Each lives in its own cmd_<name>.cc and
// registers itself with QUARN_COMMAND, so adding one touches no other file.

#ifndef QUARN_TOOLS_COMMAND_H_
#define QUARN_TOOLS_COMMAND_H_

#include <string>
#include <vector>

namespace quarn_tool {

// Runs a sub-command with the arguments after its name. Returns the
// process exit code.
typedef int (*CommandFn)(const std::vector<std::string>& args);

struct Command {
  const char* name;
  const char* usage;    // arguments, e.g. "<url> [...]"
  const char* summary;  // one line for the help text
  CommandFn run;
};

// Every registered command, in registration order.
std::vector<Command>& Commands();

struct CommandRegistrar {
  explicit CommandRegistrar(const Command& command) {
    Commands().push_back(command);
  }
};

// When `args` asks for help ("--help" or "-h"), prints the usage and
// summary of the command `name` on standard output and returns true.
bool HelpRequested(const std::vector<std::string>& args, const char* name);

// Converts GBK text from the library to UTF-8 for the terminal.
std::string ToTerminal(const std::string& gbk);

}  // namespace quarn_tool

#define QUARN_COMMAND(id, usage, summary, fn)               \
  static ::quarn_tool::CommandRegistrar quarn_command_##id( \
      ::quarn_tool::Command{#id, usage, summary, fn})

#endif  // QUARN_TOOLS_COMMAND_H_
