// Small text helpers shared by the URL classes. Not for hosts.

#ifndef QUARN_URL_INTERNAL_URLTEXT_H_
#define QUARN_URL_INTERNAL_URLTEXT_H_

#include <stddef.h>

#include <string>
#include <vector>

#include "base/internal/BuiltinTexts.h"

namespace quarn_url {

// "排除" (exclude): the name of the excepted-URL list.
constexpr const char* kExceptListName = quarn_texts::kURLExceptListName;
// "简化配置使用的URL" (URLs used by the simplified configuration): the
// category that database readers leave out, since its URLs reach the finder
// through AddSimpleACLURLType.
constexpr const char* kSimpleACLListName = quarn_texts::kURLSimpleACLListName;
// "用户自定义URL" (user-defined URL): the display name of any set that holds
// the simplified configuration's bit.
constexpr const char* kUserDefinedURLName = quarn_texts::kURLUserDefinedName;

// True when the first four of `length` bytes are exactly "www.".
inline bool BeginsWithWWW(const char* text, size_t length) {
  return length >= 4 && text[0] == 'w' && text[1] == 'w' && text[2] == 'w' &&
         text[3] == '.';
}

// True when `needle` occurs in the first `length` bytes of `text`
// (byte-wise, case-sensitive). An empty needle occurs everywhere.
bool FindBytes(const char* text, size_t length, const char* needle,
               size_t needle_length);

// Byte-wise equality with ASCII letters compared without regard to case.
bool EqualsIgnoreAsciiCase(const std::string& a, const char* b);

// Splits a "url" attribute at every ",", trims white space off each piece
// and appends the pieces that are not empty to `pieces`, in order. A piece
// of blanks only is dropped like an empty one: it names no URL.
void SplitURLList(const std::string& text, std::vector<std::string>* pieces);

}  // namespace quarn_url

#endif  // QUARN_URL_INTERNAL_URLTEXT_H_
