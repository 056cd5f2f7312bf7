// Strict parsing of numbers and flags from configuration text. Each parser
// accepts surrounding white space and nothing else around the number, and
// leaves `*value` untouched when it returns false.

#ifndef QUARN_BASE_INTERNAL_TEXTNUMBER_H_
#define QUARN_BASE_INTERNAL_TEXTNUMBER_H_

#include <stdint.h>

namespace quarn_text {

// Decimal with an optional sign, or hexadecimal after "0x" (unsigned only).
bool ParseInt32(const char* text, int32_t* value);
bool ParseUint32(const char* text, uint32_t* value);
bool ParseUint64(const char* text, uint64_t* value);
// "1"/"0", "true"/"false", "yes"/"no", in any letter case.
bool ParseBool(const char* text, bool* value);

}  // namespace quarn_text

#endif  // QUARN_BASE_INTERNAL_TEXTNUMBER_H_
