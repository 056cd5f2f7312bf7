#include "frame/CFileTypeTable.h"

namespace {

std::string FoldAscii(const char* name) {
  std::string folded = name == nullptr ? "" : name;
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return folded;
}

}  // namespace

void CFileTypeTable::Add(const char* name, int type) {
  types_[FoldAscii(name)] = type;
}

int CFileTypeTable::Find(const char* name, bool /*flag*/) const {
  auto it = types_.find(FoldAscii(name));
  return it == types_.end() ? 0 : it->second;
}
