// Feeds arbitrary bytes to the base layer's parsers of outside input:
// stream reading, text conversion, time text, address sets, percent
// decoding, wildcard patterns and key splitting. None may crash, read out
// of bounds, or break its round-trip promise.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "base/CData_Stream_LE.h"
#include "base/CMatchString.h"
#include "base/CURLDecoder.h"
#include "base/CVtIPAndMac.h"
#include "base/OrvaString.h"
#include "base/OrvaText.h"
#include "base/OrvaTime.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  std::string text(bytes, size);

  for (int mode : {1, 2, 4}) {
    const char* p = bytes;
    std::string out;
    while (CData_Stream_LE::GetVarString(p, bytes + size, &out, mode)) {
      if (out.empty() && p == bytes) break;
    }
  }

  std::string home = Orva::UTF8_to_HOME(text);
  Orva::HOME_to_UTF8(home);
  Orva::HOME_to_UTF8(text);
  Orva::isUTF8_16(text);

  int32_t t;
  Orva::StrToTime(6, text.c_str(), &t);

  CVtIPAndMac set;
  set.GetFromString(text.c_str());
  CVtIPAndMac again;
  again.GetFromString(set.GetAddrDesc().c_str());
  if (!(again == set)) abort();

  if (CURLDecoder::unencode(CURLDecoder::encode(text)) != text) abort();
  CURLDecoder::unencode(text);

  CMatchString matcher;
  matcher.set_multi_match_string(text.c_str());
  matcher.match(bytes, size);

  std::vector<std::string> pieces;
  int type = Orva::SplitFullKey(bytes, size, pieces);
  if ((type == Orva::kBlurRefused) != pieces.empty()) abort();
  Orva::memstr(bytes, size, "www.");
  return 0;
}
