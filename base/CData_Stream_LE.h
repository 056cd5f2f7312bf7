// Little-endian byte streams: integers of each width and length-prefixed
// strings, written at a moving pointer and read back with bounds checks.
//
// String modes (the width of the length prefix in bytes):
//   1: one byte holding 0 to 254; a longer string is written as the byte
//      0xFF followed by a 4-byte length.
//   2: two bytes holding 0 to 65534; longer: 0xFFFF and a 4-byte length.
//   4: four bytes.
// The string's bytes follow the prefix, with no terminating zero. So no
// mode ever cuts a string, and short strings cost one or two bytes.
//
// Writers trust the caller to have made room (see StringSize). Readers
// never read at or past `end`: a read that does not fit returns false and
// leaves the pointer where it was.

#ifndef QUARN_BASE_CDATA_STREAM_LE_H_
#define QUARN_BASE_CDATA_STREAM_LE_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <string>

class QUARN_EXPORT CData_Stream_LE {
 public:
  // Writers: store at `p`, advance `p`, return the bytes written.
  static int PutUint8(char*& p, uint8_t value);
  static int PutUint16(char*& p, uint16_t value);
  static int PutUint32(char*& p, uint32_t value);
  static int PutUint64(char*& p, uint64_t value);
  static int PutInt32(char*& p, int32_t value) {
    return PutUint32(p, static_cast<uint32_t>(value));
  }
  static int PutBytes(char*& p, const void* data, size_t length);
  // A length-prefixed string in `mode` (1, 2 or 4). Returns the bytes
  // written, or -1 (nothing written) for another mode or a string longer
  // than 4 GiB.
  static int PutString(char*& p, const std::string& text, int mode);
  static int PutString(char*& p, const char* text, size_t length, int mode);
  // Bytes that PutString writes for a string of `length` bytes; 0 for an
  // unknown mode.
  static size_t StringSize(size_t length, int mode);

  // Readers over [p, end): on success store the value, advance `p` and
  // return true.
  static bool GetUint8(const char*& p, const char* end, uint8_t* value);
  static bool GetUint16(const char*& p, const char* end, uint16_t* value);
  static bool GetUint32(const char*& p, const char* end, uint32_t* value);
  static bool GetUint64(const char*& p, const char* end, uint64_t* value);
  static bool GetInt32(const char*& p, const char* end, int32_t* value);
  static bool GetBytes(const char*& p, const char* end, void* data,
                       size_t length);
  // A string written by PutString in the same `mode`.
  static bool GetVarString(const char*& p, const char* end, std::string* text,
                           int mode);
  // The same without copying: `*text` points at the string's bytes inside
  // the stream (not zero-terminated) and `*length` is their count.
  static bool GetVarString(const char*& p, const char* end, const char** text,
                           size_t* length, int mode);

  // A reader object over `size` bytes at `data`, for callers that read
  // many fields: once a read fails, every later read fails too, so the
  // caller can read a whole record and check ok() once. A null `data` with
  // a non-zero size is a failed reader from the start.
  CData_Stream_LE(const char* data, size_t size)
      : pos_(data),
        end_(data != nullptr ? data + size : data),
        ok_(data != nullptr || size == 0) {}

  bool GetUint8(uint8_t* value) {
    return ok_ = ok_ && GetUint8(pos_, end_, value);
  }
  bool GetUint16(uint16_t* value) {
    return ok_ = ok_ && GetUint16(pos_, end_, value);
  }
  bool GetUint32(uint32_t* value) {
    return ok_ = ok_ && GetUint32(pos_, end_, value);
  }
  bool GetUint64(uint64_t* value) {
    return ok_ = ok_ && GetUint64(pos_, end_, value);
  }
  bool GetInt32(int32_t* value) {
    return ok_ = ok_ && GetInt32(pos_, end_, value);
  }
  bool GetBytes(void* data, size_t length) {
    return ok_ = ok_ && GetBytes(pos_, end_, data, length);
  }
  bool GetVarString(std::string* text, int mode) {
    return ok_ = ok_ && GetVarString(pos_, end_, text, mode);
  }

  bool ok() const { return ok_; }
  // The next unread byte.
  const char* position() const { return pos_; }
  size_t remaining() const { return static_cast<size_t>(end_ - pos_); }

 private:
  const char* pos_;
  const char* end_;
  bool ok_;
};

#endif  // QUARN_BASE_CDATA_STREAM_LE_H_
