#include <string.h>

#include "base/CStr.h"
#include "base/OrvaString.h"
#include "url/internal/URLText.h"

namespace quarn_url {

bool FindBytes(const char* text, size_t length, const char* needle,
               size_t needle_length) {
  return Orva::memstr(text, length, needle, needle_length) != nullptr;
}

bool EqualsIgnoreAsciiCase(const std::string& a, const char* b) {
  size_t n = strlen(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i) {
    unsigned char x = static_cast<unsigned char>(a[i]);
    unsigned char y = static_cast<unsigned char>(b[i]);
    if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
    if (x != y) return false;
  }
  return true;
}

void SplitURLList(const std::string& text, std::vector<std::string>* pieces) {
  size_t start = 0;
  while (start <= text.size()) {
    size_t comma = text.find(',', start);
    if (comma == std::string::npos) comma = text.size();
    if (comma > start) {
      CStr piece(text.data() + start, comma - start);
      piece.AllTrim();
      if (!piece.empty()) pieces->push_back(piece.str());
    }
    start = comma + 1;
  }
}

}  // namespace quarn_url
