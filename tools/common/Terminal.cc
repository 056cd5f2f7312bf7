// Text for the terminal: the library's GBK converted to UTF-8, with a "?"
// for any byte that is not GBK.

#include <string>

#include "base/OrvaText.h"
#include "tools/Command.h"

namespace quarn_tool {

std::string ToTerminal(const std::string& gbk) {
  return Orva::HOME_to_UTF8(gbk);
}

}  // namespace quarn_tool
