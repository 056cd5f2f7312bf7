// quarn_ipt: writes a binary "ipt" range file from its text source.
//
//   quarn_ipt [--key N] <source.txt> <output.dat>
//
// The source is UTF-8, one item per line; blank lines and lines starting
// with "#" are ignored:
//   version <decimal>                      (once, before the ranges; 1 if
//   absent) <first-ip> <last-ip> <area-id> <description>
// Addresses are dotted IPv4, the area id is hex with or without "0x", and
// the description is the rest of the line, converted to GBK. Records are
// written in the order given.

#include <errno.h>
#include <iconv.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/OrvaAddr.h"
#include "tools/IptWriter.h"

namespace {

bool Utf8ToGbk(const std::string& in, std::string* out) {
  iconv_t cd = iconv_open("GBK", "UTF-8");
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  std::vector<char> buffer(in.size() * 2 + 4);
  char* src = const_cast<char*>(in.data());
  size_t src_left = in.size();
  char* dst = buffer.data();
  size_t dst_left = buffer.size();
  const size_t rc = iconv(cd, &src, &src_left, &dst, &dst_left);
  iconv_close(cd);
  if (rc == static_cast<size_t>(-1)) return false;
  out->assign(buffer.data(), buffer.size() - dst_left);
  return true;
}

std::string Trim(const std::string& s) {
  const size_t b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return std::string();
  const size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(b, e - b + 1);
}

// Parses one range line; on failure says why in `error`.
bool ParseRange(const std::string& line, quarn_tool::IptRecord* r,
                std::string* error) {
  std::istringstream in(line);
  std::string first, last, id;
  in >> first >> last >> id;
  std::string rest;
  std::getline(in, rest);
  rest = Trim(rest);
  if (id.empty()) {
    *error = "expected <first-ip> <last-ip> <area-id> <description>";
    return false;
  }
  if (!Orva::string_to_hip(first.c_str(), &r->begin) ||
      !Orva::string_to_hip(last.c_str(), &r->end)) {
    *error = "bad address";
    return false;
  }
  char* end = nullptr;
  errno = 0;
  r->area_id = strtoull(id.c_str(), &end, 16);
  if (errno != 0 || end == id.c_str() || *end != '\0') {
    *error = "bad area id";
    return false;
  }
  if (!Utf8ToGbk(rest, &r->desc)) {
    *error = "description is not UTF-8 text that GBK can hold";
    return false;
  }
  return true;
}

const char kUsage[] = "Usage: quarn_ipt [--key N] SOURCE OUTPUT\n";

int Usage() {
  fputs(kUsage, stderr);
  return 2;
}

void PrintHelp() {
  printf(
      "%s\nWrites a binary \"ipt\" range file from its text source.\n"
      "\nOptions:\n"
      "  --key N        the key byte the file starts with, from which the\n"
      "                 cipher of the records follows (default 0x17;\n"
      "                 decimal, or hex after \"0x\")\n"
      "  -h, --help     this help\n"
      "  --version      the version of quarn_ipt\n"
      "\nSOURCE is UTF-8, one item per line; blank lines and lines starting\n"
      "with \"#\" are ignored. \"version N\" (decimal, 1 if absent) comes\n"
      "before the ranges; each range is \"FIRST-IP LAST-IP AREA-ID\n"
      "DESCRIPTION\": dotted IPv4 addresses, the area id in hex with or\n"
      "without \"0x\", and the rest of the line, converted to GBK. Records\n"
      "are written to OUTPUT in the order given.\n"
      "\nThe exit status is 0 when OUTPUT was written, 1 when the source is\n"
      "bad or a file cannot be read or written, 2 on a usage error.\n",
      kUsage);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 &&
      (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
    PrintHelp();
    return 0;
  }
  if (argc == 2 && strcmp(argv[1], "--version") == 0) {
    printf("quarn_ipt %s\n", QUARN_VERSION);
    return 0;
  }
  unsigned char key_byte = 0x17;
  int arg = 1;
  if (arg + 1 < argc && strcmp(argv[arg], "--key") == 0) {
    key_byte = static_cast<unsigned char>(strtoul(argv[arg + 1], nullptr, 0));
    arg += 2;
  } else if (arg < argc && strncmp(argv[arg], "--key=", 6) == 0) {
    key_byte = static_cast<unsigned char>(strtoul(argv[arg] + 6, nullptr, 0));
    arg += 1;
  }
  if (argc - arg != 2) return Usage();
  const char* source = argv[arg];
  const char* output = argv[arg + 1];

  std::ifstream in(source);
  if (!in) {
    fprintf(stderr, "quarn_ipt: cannot read %s\n", source);
    return 1;
  }
  uint32_t version = 1;
  std::vector<quarn_tool::IptRecord> records;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    line = Trim(line);
    if (line.empty() || line[0] == '#') continue;
    if (line.compare(0, 8, "version ") == 0) {
      version = static_cast<uint32_t>(strtoul(line.c_str() + 8, nullptr, 10));
      if (version == 0 || !records.empty()) {
        fprintf(stderr, "%s:%d: version must be non-zero and come first\n",
                source, number);
        return 1;
      }
      continue;
    }
    quarn_tool::IptRecord r;
    std::string error;
    if (!ParseRange(line, &r, &error)) {
      fprintf(stderr, "%s:%d: %s\n", source, number, error.c_str());
      return 1;
    }
    records.push_back(std::move(r));
  }
  if (records.empty()) {
    fprintf(stderr, "quarn_ipt: %s holds no ranges\n", source);
    return 1;
  }
  const std::string image = quarn_tool::EncodeIpt(version, records, key_byte);
  FILE* f = fopen(output, "wb");
  if (f == nullptr ||
      fwrite(image.data(), 1, image.size(), f) != image.size() ||
      fclose(f) != 0) {
    fprintf(stderr, "quarn_ipt: cannot write %s\n", output);
    return 1;
  }
  printf("%s: %zu ranges, version %" PRIu32 "\n", output, records.size(),
         version);
  return 0;
}
