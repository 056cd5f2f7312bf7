#include "base/OrvaText.h"

#include <errno.h>
#include <iconv.h>
#include <stdint.h>
#include <string.h>

namespace Orva {
namespace {

const char kHomeCode[] = "GBK";
const char kUtf8Code[] = "UTF-8";

size_t ResolveLength(const char* text, int length) {
  if (text == nullptr) return 0;
  return length < 0 ? strlen(text) : static_cast<size_t>(length);
}

// Length of the valid UTF-8 sequence at `p` (at most `left` bytes), or 0
// when the bytes there are not one.
size_t Utf8SequenceLength(const unsigned char* p, size_t left) {
  unsigned char c = p[0];
  if (c < 0x80) return 1;
  size_t n;
  uint32_t lowest;
  if (c >= 0xC2 && c <= 0xDF) {
    n = 2;
    lowest = 0x80;
  } else if (c >= 0xE0 && c <= 0xEF) {
    n = 3;
    lowest = 0x800;
  } else if (c >= 0xF0 && c <= 0xF4) {
    n = 4;
    lowest = 0x10000;
  } else {
    return 0;
  }
  if (left < n) return 0;
  uint32_t value = c & (0x7F >> n);
  for (size_t i = 1; i < n; ++i) {
    if ((p[i] & 0xC0) != 0x80) return 0;
    value = (value << 6) | (p[i] & 0x3F);
  }
  if (value < lowest || value > 0x10FFFF) return 0;
  if (value >= 0xD800 && value <= 0xDFFF) return 0;
  return n;
}

// Bytes to pass over when the UTF-8 input at `p` cannot be converted: a
// whole character when it is valid UTF-8 (the target lacks it), else one
// byte.
size_t SkipUtf8(const unsigned char* p, size_t left) {
  size_t n = Utf8SequenceLength(p, left);
  return n == 0 ? 1 : n;
}

// The same for GBK input: a lead byte with a plausible trail byte is one
// character; anything else is passed over a byte at a time.
size_t SkipHome(const unsigned char* p, size_t left) {
  if (left >= 2 && p[0] >= 0x81 && p[0] <= 0xFE && p[1] >= 0x40 &&
      p[1] <= 0xFE && p[1] != 0x7F) {
    return 2;
  }
  return 1;
}

// One conversion descriptor per direction and thread, opened on first use.
// iconv descriptors carry state, so threads must not share them.
class Converter {
 public:
  Converter(const char* to, const char* from) : cd_(iconv_open(to, from)) {}
  ~Converter() {
    if (valid()) iconv_close(cd_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool valid() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
  iconv_t get() const { return cd_; }

 private:
  iconv_t cd_;
};

typedef size_t (*SkipFunction)(const unsigned char*, size_t);

// Replaces every byte outside ASCII by "?"; used only when the system
// offers no converter.
std::string AsciiOnly(const char* text, size_t length) {
  std::string out(text, length);
  for (char& c : out) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  return out;
}

std::string Convert(const Converter& converter, SkipFunction skip,
                    const char* text, size_t length) {
  if (length == 0) return std::string();
  if (!converter.valid()) return AsciiOnly(text, length);
  iconv_t cd = converter.get();
  iconv(cd, nullptr, nullptr, nullptr, nullptr);

  std::string out;
  out.resize(length + length / 2 + 8);
  size_t used = 0;
  char* in = const_cast<char*>(text);
  size_t in_left = length;
  while (in_left > 0) {
    char* out_ptr = &out[used];
    size_t out_left = out.size() - used;
    size_t result = iconv(cd, &in, &in_left, &out_ptr, &out_left);
    used = static_cast<size_t>(out_ptr - &out[0]);
    if (result != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    // EILSEQ (invalid or unrepresentable) or EINVAL (cut short at the end).
    size_t n = skip(reinterpret_cast<const unsigned char*>(in), in_left);
    if (n > in_left) n = in_left;
    if (used == out.size()) out.resize(out.size() * 2);
    out[used++] = '?';
    in += n;
    in_left -= n;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
  }
  out.resize(used);
  return out;
}

}  // namespace

bool isUTF8_16(const char* text, int length) {
  if (text == nullptr) return false;
  size_t left = ResolveLength(text, length);
  const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
  bool multi_byte = false;
  while (left > 0) {
    size_t n = Utf8SequenceLength(p, left);
    if (n == 0) return false;
    if (n > 1) multi_byte = true;
    p += n;
    left -= n;
  }
  return multi_byte;
}

bool isUTF8_16(const std::string& text) {
  return isUTF8_16(text.data(), static_cast<int>(text.size()));
}

std::string UTF8_to_HOME(const char* text, int length) {
  thread_local Converter converter(kHomeCode, kUtf8Code);
  return Convert(converter, SkipUtf8, text, ResolveLength(text, length));
}

std::string UTF8_to_HOME(const std::string& text) {
  return UTF8_to_HOME(text.data(), static_cast<int>(text.size()));
}

std::string HOME_to_UTF8(const char* text, int length) {
  thread_local Converter converter(kUtf8Code, kHomeCode);
  return Convert(converter, SkipHome, text, ResolveLength(text, length));
}

std::string HOME_to_UTF8(const std::string& text) {
  return HOME_to_UTF8(text.data(), static_cast<int>(text.size()));
}

}  // namespace Orva
