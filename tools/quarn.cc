// quarn: looks at the gateway's configuration and reference data the way
// the library sees it. `quarn --help` lists the sub-commands.

#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "tools/Command.h"
#include "tools/common/CommandLine.h"

namespace quarn_tool {

namespace {

const char kCommonUsage[] = "[--config DIR] [--format json|table]";

// The options every command takes; "%s" is the default format.
const char kCommonOptions[] =
    "  --config DIR   gateway configuration directory (default: gateway/ in\n"
    "                 the module directory)\n"
    "  --format F     json: one JSON object per line for each item, names in\n"
    "                 UTF-8; table: an aligned table (default: %s)\n"
    "  -h, --help     this help\n";

const Command* Find(const char* name) {
  for (const Command& command : Commands()) {
    if (strcmp(command.name, name) == 0) return &command;
  }
  return nullptr;
}

// `text` broken into lines of at most 76 columns at spaces, each line
// after `indent` spaces and ending in '\n'.
std::string Wrap(const std::string& text, size_t indent) {
  const size_t kWidth = 76;
  std::string out;
  std::string line;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(' ', start);
    if (end == std::string::npos) end = text.size();
    const std::string word = text.substr(start, end - start);
    if (!line.empty() && indent + line.size() + 1 + word.size() > kWidth) {
      out += std::string(indent, ' ') + line + "\n";
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
    start = end + 1;
  }
  if (!line.empty()) out += std::string(indent, ' ') + line + "\n";
  return out;
}

// The summary as a sentence: capitalized, with a full stop.
std::string Sentence(const char* summary) {
  std::string text = std::string(summary) + ".";
  text[0] = static_cast<char>(toupper(static_cast<unsigned char>(text[0])));
  return text;
}

void PrintUsage(const Command& command, FILE* out) {
  fprintf(out, "usage: quarn %s %s%s%s\n", command.name, kCommonUsage,
          *command.usage ? " " : "", command.usage);
}

void PrintCommandHelp(const Command& command, Format default_format) {
  PrintUsage(command, stdout);
  printf("\n%s\noptions:\n%s", Wrap(Sentence(command.summary), 0).c_str(),
         command.options);
  printf(kCommonOptions, FormatName(default_format));
  printf("\n%s", command.details);
}

}  // namespace

std::vector<Command>& Commands() {
  static std::vector<Command> commands;
  return commands;
}

int ParseCommandLine(const char* name, const std::vector<std::string>& args,
                     CommandLine* line) {
  const Command* command = Find(name);
  if (!line->Parse(args)) return UsageError(name, line->error());
  if (!line->help()) return -1;
  if (command != nullptr) PrintCommandHelp(*command, line->default_format());
  return 0;
}

int UsageError(const char* name, const std::string& why) {
  fprintf(stderr, "quarn %s: %s\n", name, why.c_str());
  const Command* command = Find(name);
  if (command != nullptr) PrintUsage(*command, stderr);
  return 2;
}

}  // namespace quarn_tool

namespace {

void PrintHelp(FILE* out) {
  fprintf(out, "usage: quarn <command> [options] [arguments]\n\ncommands:\n");
  for (const quarn_tool::Command& command : quarn_tool::Commands()) {
    fprintf(out, "  %s%s%s\n%s", command.name, *command.usage ? " " : "",
            command.usage, quarn_tool::Wrap(command.summary, 6).c_str());
  }
  fprintf(out,
          "\noptions of every command:\n"
          "  --config DIR   gateway configuration directory (default: "
          "gateway/ in\n"
          "                 the module directory)\n"
          "  --format F     json: one JSON object per line for each item;\n"
          "                 table: an aligned table (the default, except for\n"
          "                 classify)\n"
          "  -h, --help     the command's options and output (also\n"
          "                 `quarn help COMMAND`)\n"
          "\nReference data is read from the library's directory, or from\n"
          "$QUARN_MODULE_DIR when it is set. Names are printed in UTF-8.\n");
}

}  // namespace

int main(int argc, char** argv) {
  // "quarn help COMMAND" is "quarn COMMAND --help".
  if (argc == 3 && strcmp(argv[1], "help") == 0) {
    argv[1] = argv[2];
    argv[2] = const_cast<char*>("--help");
  }
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
