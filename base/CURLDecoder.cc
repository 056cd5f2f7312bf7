#include "base/CURLDecoder.h"

#include <string.h>

namespace {

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' || c == '~';
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string CURLDecoder::encode(const char* text, size_t length) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  if (text == nullptr) return out;
  out.reserve(length * 3);
  for (size_t i = 0; i < length; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (IsUnreserved(c)) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 0x0F];
    }
  }
  return out;
}

std::string CURLDecoder::encode(const char* text) {
  return text == nullptr ? std::string() : encode(text, strlen(text));
}

std::string CURLDecoder::unencode(const char* text, size_t length) {
  std::string out;
  if (text == nullptr) return out;
  out.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    char c = text[i];
    if (c == '+') {
      out += ' ';
    } else if (c == '%' && i + 2 < length && HexValue(text[i + 1]) >= 0 &&
               HexValue(text[i + 2]) >= 0) {
      out +=
          static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += c;
    }
  }
  return out;
}

std::string CURLDecoder::unencode(const char* text) {
  return text == nullptr ? std::string() : unencode(text, strlen(text));
}
