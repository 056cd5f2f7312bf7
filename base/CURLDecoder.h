// Percent-encoding of texts that travel inside URLs or attribute values.
//
// encode() keeps the unreserved ASCII characters (letters, digits, "-",
// "_", ".", "~") and writes every other byte as "%" and two upper-case hex
// digits, so the result is plain ASCII and holds no blank, "%" or "+".
// unencode() turns each "%" with two hex digits (either case) back into its
// byte and "+" into a blank (as forms send blanks); a "%" not followed by
// two hex digits stays as it is. unencode(encode(s)) == s for every byte
// string s.

#ifndef QUARN_BASE_CURLDECODER_H_
#define QUARN_BASE_CURLDECODER_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

#include <string>

class QUARN_EXPORT CURLDecoder {
 public:
  static std::string encode(const char* text, size_t length);
  static std::string encode(const std::string& text) {
    return encode(text.data(), text.size());
  }
  static std::string encode(const char* text);  // null gives ""

  static std::string unencode(const char* text, size_t length);
  static std::string unencode(const std::string& text) {
    return unencode(text.data(), text.size());
  }
  static std::string unencode(const char* text);  // null gives ""
};

#endif  // QUARN_BASE_CURLDECODER_H_
