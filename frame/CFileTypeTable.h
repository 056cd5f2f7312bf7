// A table of file types by file name, read by MyGetFileType(). The library
// itself never fills one; the slot exists so that a host-built table is
// released with the library.

#ifndef QUARN_FRAME_CFILETYPETABLE_H_
#define QUARN_FRAME_CFILETYPETABLE_H_

#include "quarn_common/base/Export.h"

#include <map>
#include <string>

class QUARN_EXPORT CFileTypeTable {
 public:
  CFileTypeTable() {}

  // Files `name` (ASCII case folded) under `type`, replacing an earlier
  // entry of the same name.
  void Add(const char* name, int type);
  // The type filed for `name`, or 0. `flag` is passed by callers and does
  // not change the answer.
  int Find(const char* name, bool flag) const;
  // Empties the table.
  void Clear() { types_.clear(); }

 private:
  std::map<std::string, int> types_;
};

#endif  // QUARN_FRAME_CFILETYPETABLE_H_
