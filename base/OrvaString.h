// Byte-string helpers: bounded substring search and the splitting of a
// compound search key into its pieces.

#ifndef QUARN_BASE_ORVASTRING_H_
#define QUARN_BASE_ORVASTRING_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>

#include <string>
#include <vector>

namespace Orva {

// The first occurrence of the zero-terminated `needle` within the first
// `length` bytes of `data` (which need not be zero-terminated), compared
// byte for byte with case. Returns a pointer into `data`, or null when
// there is none or an argument is null. An empty needle is found at `data`.
QUARN_EXPORT const char* memstr(const char* data, size_t length,
                                const char* needle);
// The same with a needle of `needle_length` bytes, which may hold zeros.
QUARN_EXPORT const char* memstr(const char* data, size_t length,
                                const char* needle, size_t needle_length);

// Lower-cases the ASCII letters of the zero-terminated `text` in place and
// returns `text` (null stays null). The second byte of a GBK double-byte
// character (lead byte 0x81 to 0xFE) is left alone even when it falls in
// the range of ASCII letters, so Chinese text is never altered.
QUARN_EXPORT char* str_lwr(char* text);
// The same on a copy of `length` bytes, which may hold zeros.
QUARN_EXPORT std::string str_lwr(const char* text, size_t length);
QUARN_EXPORT std::string str_lwr(const std::string& text);

// Blur types of a compound key, as SplitFullKey() returns them.
enum {
  kBlurRefused = 0,    // not a usable key
  kBlurAllPieces = 1,  // every piece, in any order: "a,b,c"; also a plain key
  kBlurOrdered = 2,    // every piece, in this order: "a*b*c"
  kBlurAnyPiece = 3,   // any one piece: "a|b|c"
};

// The most pieces a key may have: matchers keep the pieces seen in a 32-bit
// mask and test for completion as 2^n - 1, so 31 keeps that arithmetic
// inside 32 bits.
const int kMaxKeyPieces = 31;

// Splits the `length` bytes at `key` into pieces and returns the key's blur
// type. The separators are "," (all pieces), "*" (pieces in order) and "|"
// (any piece); a key uses at most one kind. Empty pieces (doubled, leading
// or trailing separators) are dropped, and a key without separators is one
// piece of type kBlurAllPieces. Returns kBlurRefused, with `pieces`
// emptied, for a null or empty key, a key mixing separator kinds, a key
// with no piece, or one with more than kMaxKeyPieces pieces. Pieces may
// hold any byte but the separator.
QUARN_EXPORT int SplitFullKey(const char* key, size_t length,
                              std::vector<std::string>& pieces);

}  // namespace Orva

#endif  // QUARN_BASE_ORVASTRING_H_
