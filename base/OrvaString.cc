#include "base/OrvaString.h"

#include <string.h>

namespace Orva {
namespace {

bool IsLeadByte(unsigned char c) { return c >= 0x81 && c <= 0xFE; }

// Lower-cases the first `length` bytes at `text`, character by character.
void LowerInPlace(char* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (IsLeadByte(c) && i + 1 < length) {
      ++i;  // leave the trail byte alone
    } else if (c >= 'A' && c <= 'Z') {
      text[i] = static_cast<char>(c - 'A' + 'a');
    }
  }
}

}  // namespace

char* str_lwr(char* text) {
  if (text != nullptr) LowerInPlace(text, strlen(text));
  return text;
}

std::string str_lwr(const char* text, size_t length) {
  if (text == nullptr) return std::string();
  std::string copy(text, length);
  if (!copy.empty()) LowerInPlace(&copy[0], copy.size());
  return copy;
}

std::string str_lwr(const std::string& text) {
  return str_lwr(text.data(), text.size());
}

const char* memstr(const char* data, size_t length, const char* needle) {
  if (needle == nullptr) return nullptr;
  return memstr(data, length, needle, strlen(needle));
}

const char* memstr(const char* data, size_t length, const char* needle,
                   size_t needle_length) {
  if (data == nullptr || needle == nullptr) return nullptr;
  if (needle_length == 0) return data;
  if (needle_length > length) return nullptr;
  const void* found = memmem(data, length, needle, needle_length);
  return static_cast<const char*>(found);
}

int SplitFullKey(const char* key, size_t length,
                 std::vector<std::string>& pieces) {
  pieces.clear();
  if (key == nullptr || length == 0) return kBlurRefused;
  bool has_comma = memchr(key, ',', length) != nullptr;
  bool has_star = memchr(key, '*', length) != nullptr;
  bool has_bar = memchr(key, '|', length) != nullptr;
  if (has_comma + has_star + has_bar > 1) return kBlurRefused;

  int type = kBlurAllPieces;
  char separator = '\0';
  if (has_star) {
    type = kBlurOrdered;
    separator = '*';
  } else if (has_bar) {
    type = kBlurAnyPiece;
    separator = '|';
  } else if (has_comma) {
    separator = ',';
  } else {
    pieces.emplace_back(key, length);
    return type;
  }

  size_t start = 0;
  for (size_t i = 0; i <= length; ++i) {
    if (i < length && key[i] != separator) continue;
    if (i > start) {
      if (pieces.size() == static_cast<size_t>(kMaxKeyPieces)) {
        pieces.clear();
        return kBlurRefused;
      }
      pieces.emplace_back(key + start, i - start);
    }
    start = i + 1;
  }
  if (pieces.empty()) return kBlurRefused;
  return type;
}

}  // namespace Orva
