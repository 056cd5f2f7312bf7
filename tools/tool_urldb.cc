// quarn_urldb: enciphers a URL category database so that the URL finder
// can load it as a ".dat" file.
//
//   quarn_urldb <database.xml> <database.dat>
//
// The input must be a URL database document (a root element holding
// "url_db"). The output is checked by deciphering it again.

#include <stdio.h>
#include <string.h>

#include <fstream>
#include <iterator>
#include <string>

#include "base/CBaseXMLConfig.h"
#include "base/CTinyXmlEx.h"
#include "base/OrvaMem.h"
#include "url/CSimpleURLTypeConfig.h"

namespace {

bool ReadFile(const char* path, std::string* bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes->assign(std::istreambuf_iterator<char>(in),
                std::istreambuf_iterator<char>());
  return true;
}

int Fail(const char* what, const char* path) {
  fprintf(stderr, "quarn_urldb: %s: %s\n", what, path);
  return 1;
}

const char kUsage[] = "Usage: quarn_urldb DATABASE.xml DATABASE.dat\n";

void PrintHelp() {
  printf(
      "%s\nEnciphers a URL category database so that the URL finder can "
      "load\nit as a \".dat\" file.\n"
      "\nOptions:\n"
      "  -h, --help     this help\n"
      "  --version      the version of quarn_urldb\n"
      "\nThe input must be a URL database document (a root element holding\n"
      "\"url_db\"). The output is checked by deciphering it again.\n"
      "\nThe exit status is 0 when the output was written and checked, 1 "
      "when\na file is bad or cannot be read or written, 2 on a usage "
      "error.\n",
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
    printf("quarn_urldb %s\n", QUARN_VERSION);
    return 0;
  }
  if (argc != 3) {
    fputs(kUsage, stderr);
    return 2;
  }
  const char* in_path = argv[1];
  const char* out_path = argv[2];
  std::string plain;
  if (!ReadFile(in_path, &plain)) return Fail("cannot read", in_path);

  CTinyXmlEx doc;
  if (doc.open(plain.data(), static_cast<int>(plain.size())) != 0) {
    return Fail("not an XML document", in_path);
  }
  if (CTinyXmlEx::FirstChildElement(doc.GetRootNode(), "url_db") == nullptr) {
    return Fail("no \"url_db\" element", in_path);
  }
  CSimpleURLTypeConfig names;
  names.LoadFromMem(plain.data(), static_cast<int>(plain.size()));

  if (!CBaseXMLConfig::SaveCryDataFile(out_path, plain.data(),
                                       static_cast<int>(plain.size()))) {
    return Fail("cannot write", out_path);
  }
  char* check = nullptr;
  int length = 0;
  if (!CBaseXMLConfig::LoadCryDataFile(out_path, check, length)) {
    return Fail("written file does not decipher", out_path);
  }
  bool same = static_cast<size_t>(length) == plain.size() &&
              memcmp(check, plain.data(), plain.size()) == 0;
  Orva::MyMemFree(check);
  if (!same) return Fail("written file deciphers to other bytes", out_path);
  printf("%s: %zu categories, %zu bytes enciphered\n", out_path,
         names.url_db().types.size(), plain.size());
  return 0;
}
