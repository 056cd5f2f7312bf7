// quarn: looks at the gateway's configuration and reference data the way
// the library sees it. `quarn --help` lists the sub-commands.

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

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
    "  -h, --help     this help\n"
    "  --version      the version of quarn\n";

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
  fprintf(out, "Usage: quarn %s %s%s%s\n", command.name, kCommonUsage,
          *command.usage ? " " : "", command.usage);
}

void PrintCommandHelp(const Command& command, Format default_format) {
  PrintUsage(command, stdout);
  printf("\n%s\nOptions:\n%s", Wrap(Sentence(command.summary), 0).c_str(),
         command.options);
  printf(kCommonOptions, FormatName(default_format));
  printf("\n%s\nexit status:\n%s", command.details, kExitStatusHelp);
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
  if (line->help()) {
    if (command != nullptr) PrintCommandHelp(*command, line->default_format());
  } else if (line->version()) {
    printf("quarn %s\n", QUARN_VERSION);
  } else if (line->list_options()) {
    for (const std::string& option : line->OptionNames()) {
      printf("%s\n", option.c_str());
    }
  } else {
    return -1;
  }
  return kExitOk;
}

int UsageError(const char* name, const std::string& why) {
  fprintf(stderr, "quarn %s: %s\n", name, why.c_str());
  const Command* command = Find(name);
  if (command != nullptr) PrintUsage(*command, stderr);
  return kExitNothingDone;
}

const char kExitStatusHelp[] =
    "  0    done; every record, item and file was good\n"
    "  1    done, but some records, items or files were bad (each is named\n"
    "       on standard error); with --strict, classify stopped at the\n"
    "       first bad record\n"
    "  2    a usage error, or nothing could be done (no configuration, an\n"
    "       input that cannot be read, a CSV header without the fields)\n"
    "  3    standard output could not be written (disk full, I/O error,\n"
    "       a closed pipe when SIGPIPE is ignored)\n"
    "  130  classify stopped by SIGINT (143: by SIGTERM) after the record in\n"
    "       hand, with everything before it written\n";

OutputSink* StandardOutput() {
  static OutputSink* sink = new OutputSink(STDOUT_FILENO);
  return sink;
}

int FinishOutput(int status) {
  static bool finished = false;
  static bool failed = false;
  if (!finished) {
    finished = true;
    int error = StandardOutput()->Flush() ? 0 : StandardOutput()->error();
    if (fflush(stdout) != 0 && error == 0) error = errno;
    // A write that failed before this flush leaves only the stream's flag.
    if (ferror(stdout) && error == 0) error = EIO;
    if (fclose(stdout) != 0 && error == 0) error = errno;
    if (error != 0) {
      fprintf(stderr, "quarn: cannot write standard output: %s\n",
              strerror(error));
      failed = true;
    }
  }
  return failed ? kExitOutputFailed : status;
}

}  // namespace quarn_tool

namespace {

void PrintHelp(FILE* out) {
  fprintf(out,
          "Usage: quarn COMMAND [OPTION]... [ARGUMENT]...\n"
          "\nLooks at the gateway's configuration and reference data the way "
          "the\nlibrary sees it.\n"
          "\nCommands:\n");
  for (const quarn_tool::Command& command : quarn_tool::Commands()) {
    fprintf(out, "  %s%s%s\n%s", command.name, *command.usage ? " " : "",
            command.usage, quarn_tool::Wrap(command.summary, 6).c_str());
  }
  fprintf(out,
          "\nOptions:\n"
          "  --config DIR   gateway configuration directory (default: "
          "gateway/ in\n"
          "                 the module directory)\n"
          "  --format F     json: one JSON object per line for each item;\n"
          "                 table: an aligned table (the default, except for\n"
          "                 classify)\n"
          "  -h, --help     the command's options and output (also\n"
          "                 `quarn help COMMAND`)\n"
          "  --version      the version of quarn\n"
          "\nEvery command takes these options; an option's value follows it\n"
          "or an \"=\" (--format json, --format=json). `quarn --version` "
          "prints\nthe version of quarn. Reference data is read from the "
          "library's\ndirectory, or from $QUARN_MODULE_DIR when it is set. "
          "Names are\nprinted in UTF-8.\n"
          "\nexit status of every command:\n%s",
          quarn_tool::kExitStatusHelp);
}

// The hidden listings the shell's completion asks for: the commands, and
// the options `quarn` takes before one. Returns whether `arg` was one.
bool PrintListing(const char* arg) {
  if (strcmp(arg, "--list-commands") == 0) {
    for (const quarn_tool::Command& command : quarn_tool::Commands()) {
      printf("%s\n", command.name);
    }
    return true;
  }
  if (strcmp(arg, "--list-options") == 0) {
    printf("--help\n-h\n--version\n");
    return true;
  }
  return false;
}

int Run(int argc, char** argv) {
  // "quarn help COMMAND" is "quarn COMMAND --help".
  if (argc == 3 && strcmp(argv[1], "help") == 0) {
    argv[1] = argv[2];
    argv[2] = const_cast<char*>("--help");
  }
  if (argc < 2) {
    PrintHelp(stderr);
    return quarn_tool::kExitNothingDone;
  }
  if (strcmp(argv[1], "help") == 0 || strcmp(argv[1], "--help") == 0 ||
      strcmp(argv[1], "-h") == 0) {
    PrintHelp(stdout);
    return quarn_tool::kExitOk;
  }
  if (strcmp(argv[1], "--version") == 0) {
    printf("quarn %s\n", QUARN_VERSION);
    return quarn_tool::kExitOk;
  }
  if (argc == 2 && PrintListing(argv[1])) return quarn_tool::kExitOk;
  for (const quarn_tool::Command& command : quarn_tool::Commands()) {
    if (strcmp(argv[1], command.name) == 0) {
      return command.run(std::vector<std::string>(argv + 2, argv + argc));
    }
  }
  fprintf(stderr, "quarn: unknown command '%s'\n\n", argv[1]);
  PrintHelp(stderr);
  return quarn_tool::kExitNothingDone;
}

}  // namespace

int main(int argc, char** argv) {
  return quarn_tool::FinishOutput(Run(argc, argv));
}
