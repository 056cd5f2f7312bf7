// Sub-commands of the `quarn` tool. Each lives in its own cmd_<name>.cc and
// registers itself with QUARN_COMMAND, so adding one touches no other file.
//
// Every command parses its arguments with a CommandLine (the options all
// commands share, plus its own) through ParseCommandLine, which also
// answers --help from the texts registered here, and --version.

#ifndef QUARN_TOOLS_COMMAND_H_
#define QUARN_TOOLS_COMMAND_H_

#include <string>
#include <vector>

#include "tools/common/CommandLine.h"
#include "tools/common/Output.h"

namespace quarn_tool {

// The exit status of every command. A command stopped by SIGINT or SIGTERM
// exits with 128 + the signal's number (130, 143).
enum ExitStatus {
  kExitOk = 0,           // done; every record, item and file was good
  kExitSomeBad = 1,      // done, but some records, items or files were bad
  kExitNothingDone = 2,  // a usage error, or nothing could be done
  kExitOutputFailed = 3  // standard output could not be written
};

// The table above as the help text prints it: lines ending in '\n'.
extern const char kExitStatusHelp[];

// Runs a sub-command with the arguments after its name. Returns the
// process exit code.
typedef int (*CommandFn)(const std::vector<std::string>& args);

struct Command {
  const char* name;
  const char* usage;    // its own options and arguments, e.g. "<url> [...]"
  const char* summary;  // one line for the list of commands
  // The help of the command's own options and arguments: lines indented
  // by two spaces, each ending in '\n'. The common options follow them.
  const char* options;
  // Paragraphs after the options: the input, and what one JSON object of
  // the output holds. Lines end in '\n'.
  const char* details;
  CommandFn run;
};

// Every registered command, in registration order.
std::vector<Command>& Commands();

struct CommandRegistrar {
  explicit CommandRegistrar(const Command& command) {
    Commands().push_back(command);
  }
};

// Parses the arguments of command `name` into *line. Returns -1 when the
// command should go on. Otherwise returns the exit status: kExitOk after
// printing on standard output the command's help (--help), the tool's
// version (--version) or the options it takes, one a line, for the shell's
// completion (the hidden --list-options); kExitNothingDone after naming the
// fault and the usage on standard error.
int ParseCommandLine(const char* name, const std::vector<std::string>& args,
                     CommandLine* line);

// Reports a command line that parsed but does not make sense to the
// command (a bad address, a missing argument): `why` and the usage on
// standard error. Returns kExitNothingDone, the exit status for it.
int UsageError(const char* name, const std::string& why);

// The sink of standard output every command writes its results to. Lives
// until the process ends.
OutputSink* StandardOutput();

// Writes out and closes standard output: the sink above and the C
// library's stream (which the help texts use). Returns `status` when all
// of it was written; otherwise says why on standard error, once, and
// returns kExitOutputFailed. Later calls return `status`, or
// kExitOutputFailed again after a failure.
int FinishOutput(int status);

// Converts GBK text from the library to UTF-8 for the terminal.
std::string ToTerminal(const std::string& gbk);

}  // namespace quarn_tool

#define QUARN_COMMAND(id, usage, summary, options, details, fn) \
  static ::quarn_tool::CommandRegistrar quarn_command_##id(     \
      ::quarn_tool::Command{#id, usage, summary, options, details, fn})

#endif  // QUARN_TOOLS_COMMAND_H_
