#include "base/CMatchString.h"

#include <string.h>

namespace {

bool IsLeadByte(unsigned char c) { return c >= 0x81 && c <= 0xFE; }

// Length of the character at `p`, `left` bytes remaining (> 0).
size_t CharLength(const char* p, size_t left) {
  return IsLeadByte(static_cast<unsigned char>(*p)) && left >= 2 ? 2 : 1;
}

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c; }

// Lower-cases the ASCII letters of `text`, leaving double-byte characters
// whole.
std::string FoldCase(const char* text, size_t length) {
  std::string out;
  out.reserve(length);
  size_t i = 0;
  while (i < length) {
    size_t n = CharLength(text + i, length - i);
    if (n == 1) {
      out += LowerAscii(text[i]);
    } else {
      out.append(text + i, n);
    }
    i += n;
  }
  return out;
}

// Wildcard match of the folded `pattern` against the folded `name`, by
// characters. Iterative, with one back-tracking point: the last "*".
bool WildcardMatch(const std::string& pattern, const std::string& name) {
  size_t p = 0, n = 0;
  size_t star = std::string::npos, star_name = 0;
  while (n < name.size()) {
    size_t name_char = CharLength(&name[n], name.size() - n);
    if (p < pattern.size() && pattern[p] == '*') {
      star = ++p;
      star_name = n;
      continue;
    }
    if (p < pattern.size()) {
      size_t pattern_char = CharLength(&pattern[p], pattern.size() - p);
      if (pattern[p] == '?' ||
          (pattern_char == name_char &&
           memcmp(&pattern[p], &name[n], name_char) == 0)) {
        p += pattern_char;
        n += name_char;
        continue;
      }
    }
    if (star == std::string::npos) return false;
    // Let the last "*" take one more character of the name.
    star_name += CharLength(&name[star_name], name.size() - star_name);
    p = star;
    n = star_name;
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

bool IsSeparator(char c) { return c == ';' || c == '|'; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

void CMatchString::set_multi_match_string(const char* text) {
  patterns_.clear();
  if (text == nullptr) return;
  const char* text_end = text + strlen(text);
  const char* p = text;
  while (p < text_end) {
    const char* end = p;
    // A separator byte can also be the trail byte of a double-byte
    // character (0x7C "|"), so step over characters, not bytes.
    while (end < text_end && !IsSeparator(*end)) {
      end += CharLength(end, static_cast<size_t>(text_end - end));
    }
    const char* begin = p;
    const char* last = end;
    while (begin < last && IsBlank(*begin)) ++begin;
    while (last > begin && IsBlank(last[-1])) --last;
    if (begin < last) {
      patterns_.push_back(FoldCase(begin, static_cast<size_t>(last - begin)));
    }
    p = end < text_end ? end + 1 : end;
  }
}

bool CMatchString::match(const char* name) const {
  return name != nullptr && match(name, strlen(name));
}

bool CMatchString::match(const char* name, size_t length) const {
  if (name == nullptr) return false;
  std::string folded = FoldCase(name, length);
  for (const std::string& pattern : patterns_) {
    if (WildcardMatch(pattern, folded)) return true;
  }
  return false;
}
