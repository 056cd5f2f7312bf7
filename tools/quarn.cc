// quarn: looks at the gateway's configuration and reference data the way
// the library sees it. `quarn help` lists the sub-commands.

#include <errno.h>
#include <iconv.h>
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

std::string ToTerminal(const std::string& gbk) {
  iconv_t cd = iconv_open("UTF-8", "GBK");
  if (cd == reinterpret_cast<iconv_t>(-1)) return gbk;
  std::string out;
  char buffer[256];
  char* in = const_cast<char*>(gbk.data());
  size_t in_left = gbk.size();
  while (in_left > 0) {
    char* out_ptr = buffer;
    size_t out_left = sizeof(buffer);
    size_t rc = iconv(cd, &in, &in_left, &out_ptr, &out_left);
    out.append(buffer, out_ptr - buffer);
    if (rc == static_cast<size_t>(-1) && errno != E2BIG) {
      // A byte that is not GBK: show it as "?" and go on.
      out += '?';
      ++in;
      --in_left;
    }
  }
  iconv_close(cd);
  return out;
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
