// Conversion between the library's local code page (GBK) and UTF-8.
//
// Text inside the library is GBK bytes; names that arrive as UTF-8 are
// converted once, at the edge. A character that the target encoding cannot
// hold, and a byte sequence that is not valid in the source encoding, each
// become one "?" in the result: a record never loses the rest of its text
// because of one bad character, and nothing throws.

#ifndef QUARN_BASE_ORVATEXT_H_
#define QUARN_BASE_ORVATEXT_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

#include <string>

namespace Orva {

// True when the `length` bytes at `text` are valid UTF-8 and hold at least
// one multi-byte sequence; pure ASCII is false, since it needs no
// conversion. Overlong forms, surrogates and values above U+10FFFF are not
// valid. A `length` of -1 means "up to the terminating zero". Null is false.
QUARN_EXPORT bool isUTF8_16(const char* text, int length = -1);
QUARN_EXPORT bool isUTF8_16(const std::string& text);

// UTF-8 to the local code page (GBK).
QUARN_EXPORT std::string UTF8_to_HOME(const char* text, int length = -1);
QUARN_EXPORT std::string UTF8_to_HOME(const std::string& text);

// The local code page (GBK) to UTF-8.
QUARN_EXPORT std::string HOME_to_UTF8(const char* text, int length = -1);
QUARN_EXPORT std::string HOME_to_UTF8(const std::string& text);

}  // namespace Orva

#endif  // QUARN_BASE_ORVATEXT_H_
