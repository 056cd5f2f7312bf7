// Paths of the library's reference files and small path helpers.
//
// The module directory is where the library's reference files, such as
// "pat/proto_tree.xml" and "ipt1.dat", are looked up. It is, in order:
//   - the directory the environment variable QUARN_MODULE_DIR names, when
//     set and not empty;
//   - the installed data directory ($datadir/quarn_common), found from the
//     loaded libquarn_common.so's directory by the relative path the build
//     recorded ("../../share/quarn_common" for /usr/lib/<triplet>), when
//     that directory exists;
//   - the directory of the loaded libquarn_common.so itself (a build tree
//     keeps the data there).

#ifndef QUARN_BASE_ORVAPATH_H_
#define QUARN_BASE_ORVAPATH_H_

#include "quarn_common/base/Export.h"

#include <string>

namespace Orva {

// The module directory, without a trailing separator.
QUARN_EXPORT std::string GetModuleDirectory();

// Writes the full path of file `name` in the module directory into
// `buffer` (at most `size` bytes with the terminating zero). Returns 1, or
// 0 when the path does not fit (the buffer then holds the empty text).
QUARN_EXPORT int GetModuleFullFileName(char* buffer, int size,
                                       const char* name);

// The full path of file `name` in the subdirectory `place` of the module
// directory, e.g. ("pat", "proto_tree.xml").
QUARN_EXPORT std::string GetModuleOtherFileName(const char* place,
                                                const char* name);

// The part of `path` after its last "/" or "\\".
QUARN_EXPORT std::string GetFileNameFromFullName(const char* path);

// Joins `dir` and `name` with one "/" into `buffer` of `size` bytes.
// Returns 1, or 0 when it does not fit (the buffer then holds the empty
// text).
QUARN_EXPORT int JoinPathToPath(char* buffer, int size, const char* dir,
                                const char* name);

}  // namespace Orva

#endif  // QUARN_BASE_ORVAPATH_H_
