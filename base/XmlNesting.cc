#include "base/internal/XmlNesting.h"

#include <string.h>

namespace quarn_xml {
namespace {

bool StartsWith(const char* p, const char* end, const char* prefix) {
  size_t n = strlen(prefix);
  return static_cast<size_t>(end - p) >= n && memcmp(p, prefix, n) == 0;
}

// The position just past the first `terminator` at or after `p`, or null.
const char* After(const char* p, const char* end, const char* terminator) {
  size_t n = strlen(terminator);
  for (; static_cast<size_t>(end - p) >= n; ++p) {
    if (memcmp(p, terminator, n) == 0) return p + n;
  }
  return nullptr;
}

// Whether an element's name starts at `p`: a letter, '_' or any byte
// above 0x7E (the first byte of a GBK character).
bool StartsName(const char* p, const char* end) {
  if (p >= end) return false;
  unsigned char c = static_cast<unsigned char>(*p);
  return c > 0x7E || c == '_' || (c >= 'a' && c <= 'z') ||
         (c >= 'A' && c <= 'Z');
}

// Scans a start tag from just after its '<' to just past its '>', skipping
// quoted attribute values. Sets `*empty` for a tag that closes itself.
const char* AfterStartTag(const char* p, const char* end, bool* empty) {
  char quote = 0;
  char last = 0;
  for (; p < end; ++p) {
    char c = *p;
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      *empty = last == '/';
      return p + 1;
    }
    if (quote == 0 && c != ' ' && c != '\t' && c != '\r' && c != '\n') {
      last = c;
    }
  }
  return nullptr;
}

}  // namespace

bool NestingWithin(const char* text, size_t length, int limit) {
  if (text == nullptr) return true;
  const char* p = text;
  const char* end = text + length;
  int depth = 0;
  while (p != nullptr && p < end) {
    p = static_cast<const char*>(memchr(p, '<', static_cast<size_t>(end - p)));
    if (p == nullptr) break;
    ++p;
    if (StartsWith(p, end, "!--")) {
      p = After(p + 3, end, "-->");
    } else if (StartsWith(p, end, "![CDATA[")) {
      p = After(p + 8, end, "]]>");
    } else if (StartsWith(p, end, "/")) {
      if (depth > 0) --depth;
      p = After(p + 1, end, ">");
    } else if (!StartsName(p, end)) {
      // Declarations, "<!...>" and anything else the parser keeps as an
      // unknown node end at the first '>', as they do for the parser.
      p = After(p, end, ">");
    } else {
      bool empty = false;
      p = AfterStartTag(p, end, &empty);
      if (p != nullptr && !empty && ++depth > limit) return false;
    }
  }
  return true;
}

}  // namespace quarn_xml
