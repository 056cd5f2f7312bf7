// quarn: looks at the gateway's configuration and reference data the way
// the library sees it. `quarn help` lists the sub-commands.

#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "tools/Command.h"

namespace quarn_tool {

std::vector<Command>& Commands() {
  static std::vector<Command> commands;
  return commands;
}

bool HelpRequested(const std::vector<std::string>& args, const char* name) {
  bool asked = false;
  for (const std::string& arg : args) asked |= arg == "--help" || arg == "-h";
  if (!asked) return false;
  for (const Command& command : Commands()) {
    if (strcmp(command.name, name) == 0) {
      printf("usage: quarn %s %s\n\n%s\n", command.name, command.usage,
             command.summary);
    }
  }
  return true;
}

}  // namespace quarn_tool

namespace {

void PrintHelp(FILE* out) {
  fprintf(out, "usage: quarn <command> [arguments]\n\ncommands:\n");
  for (const quarn_tool::Command& command : quarn_tool::Commands()) {
    fprintf(out, "  %s %s\n      %s\n", command.name, command.usage,
            command.summary);
  }
  fprintf(out,
          "\n`quarn <command> --help` describes one command.\n"
          "\nReference data is read from the library's directory, or from\n"
          "$QUARN_MODULE_DIR when it is set.\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || strcmp(argv[1], "help") == 0 ||
      strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
    PrintHelp(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  for (const quarn_tool::Command& command : quarn_tool::Commands()) {
    if (strcmp(argv[1], command.name) == 0) {
      return command.run(std::vector<std::string>(argv + 2, argv + argc));
    }
  }
  fprintf(stderr, "quarn: unknown command '%s'\n\n", argv[1]);
  PrintHelp(stderr);
  return 2;
}
