#include "base/CData_Stream_LE.h"

#include <string.h>

namespace {

// Writes the low `width` bytes of `value`, least significant first.
int PutLittleEndian(char*& p, uint64_t value, int width) {
  for (int i = 0; i < width; ++i) {
    p[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  }
  p += width;
  return width;
}

bool Fits(const char* p, const char* end, size_t length) {
  return p != nullptr && p <= end && static_cast<size_t>(end - p) >= length;
}

bool GetLittleEndian(const char*& p, const char* end, int width,
                     uint64_t* value) {
  if (!Fits(p, end, static_cast<size_t>(width))) return false;
  uint64_t result = 0;
  for (int i = width - 1; i >= 0; --i) {
    result = (result << 8) | static_cast<unsigned char>(p[i]);
  }
  p += width;
  *value = result;
  return true;
}

// The escape value of a short prefix, and the largest length it holds
// directly.
uint32_t EscapeOf(int mode) { return mode == 1 ? 0xFFu : 0xFFFFu; }

}  // namespace

int CData_Stream_LE::PutUint8(char*& p, uint8_t value) {
  return PutLittleEndian(p, value, 1);
}
int CData_Stream_LE::PutUint16(char*& p, uint16_t value) {
  return PutLittleEndian(p, value, 2);
}
int CData_Stream_LE::PutUint32(char*& p, uint32_t value) {
  return PutLittleEndian(p, value, 4);
}
int CData_Stream_LE::PutUint64(char*& p, uint64_t value) {
  return PutLittleEndian(p, value, 8);
}

int CData_Stream_LE::PutBytes(char*& p, const void* data, size_t length) {
  if (length > 0) memcpy(p, data, length);
  p += length;
  return static_cast<int>(length);
}

size_t CData_Stream_LE::StringSize(size_t length, int mode) {
  switch (mode) {
    case 1:
    case 2:
      if (length < EscapeOf(mode)) return static_cast<size_t>(mode) + length;
      return static_cast<size_t>(mode) + 4 + length;
    case 4:
      return 4 + length;
    default:
      return 0;
  }
}

int CData_Stream_LE::PutString(char*& p, const std::string& text, int mode) {
  return PutString(p, text.data(), text.size(), mode);
}

int CData_Stream_LE::PutString(char*& p, const char* text, size_t length,
                               int mode) {
  if (StringSize(length, mode) == 0 || length > 0xFFFFFFFFu) return -1;
  if (text == nullptr) length = 0;
  char* start = p;
  if (mode == 4) {
    PutUint32(p, static_cast<uint32_t>(length));
  } else if (length < EscapeOf(mode)) {
    PutLittleEndian(p, length, mode);
  } else {
    PutLittleEndian(p, EscapeOf(mode), mode);
    PutUint32(p, static_cast<uint32_t>(length));
  }
  PutBytes(p, text, length);
  return static_cast<int>(p - start);
}

bool CData_Stream_LE::GetUint8(const char*& p, const char* end,
                               uint8_t* value) {
  uint64_t v;
  if (!GetLittleEndian(p, end, 1, &v)) return false;
  *value = static_cast<uint8_t>(v);
  return true;
}

bool CData_Stream_LE::GetUint16(const char*& p, const char* end,
                                uint16_t* value) {
  uint64_t v;
  if (!GetLittleEndian(p, end, 2, &v)) return false;
  *value = static_cast<uint16_t>(v);
  return true;
}

bool CData_Stream_LE::GetUint32(const char*& p, const char* end,
                                uint32_t* value) {
  uint64_t v;
  if (!GetLittleEndian(p, end, 4, &v)) return false;
  *value = static_cast<uint32_t>(v);
  return true;
}

bool CData_Stream_LE::GetUint64(const char*& p, const char* end,
                                uint64_t* value) {
  return GetLittleEndian(p, end, 8, value);
}

bool CData_Stream_LE::GetInt32(const char*& p, const char* end,
                               int32_t* value) {
  uint32_t v;
  if (!GetUint32(p, end, &v)) return false;
  *value = static_cast<int32_t>(v);
  return true;
}

bool CData_Stream_LE::GetBytes(const char*& p, const char* end, void* data,
                               size_t length) {
  if (!Fits(p, end, length)) return false;
  if (length > 0) memcpy(data, p, length);
  p += length;
  return true;
}

bool CData_Stream_LE::GetVarString(const char*& p, const char* end,
                                   const char** text, size_t* length,
                                   int mode) {
  if (mode != 1 && mode != 2 && mode != 4) return false;
  const char* q = p;
  uint64_t prefix;
  if (!GetLittleEndian(q, end, mode, &prefix)) return false;
  if (mode != 4 && prefix == EscapeOf(mode) &&
      !GetLittleEndian(q, end, 4, &prefix)) {
    return false;
  }
  if (!Fits(q, end, prefix)) return false;
  *text = q;
  *length = static_cast<size_t>(prefix);
  p = q + prefix;
  return true;
}

bool CData_Stream_LE::GetVarString(const char*& p, const char* end,
                                   std::string* text, int mode) {
  const char* bytes;
  size_t length;
  if (!GetVarString(p, end, &bytes, &length, mode)) return false;
  text->assign(bytes, length);
  return true;
}
