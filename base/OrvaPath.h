// Paths of the library's reference files and small path helpers.
//
// The module directory is the directory of the loaded libquarn_common.so,
// or the directory the environment variable QUARN_MODULE_DIR names when it
// is set and not empty. Reference files such as "pat/proto_tree.xml" and
// "ipt1.dat" are read beside the module: from the module directory. When
// QUARN_MODULE_DIR is not set and a file is not beside the library, it is
// read from the installed data directory ($datadir/quarn_common, found from
// the library's directory by the relative path the build recorded, so a
// moved install keeps working) when it is there.

#ifndef QUARN_BASE_ORVAPATH_H_
#define QUARN_BASE_ORVAPATH_H_

#include "quarn_common/base/Export.h"

#include <string>

namespace Orva {

// The module directory, without a trailing separator.
QUARN_EXPORT std::string GetModuleDirectory();

// Writes the full path of reference file `name` (see above) into
// `buffer` (at most `size` bytes with the terminating zero). Returns 1, or
// 0 when the path does not fit (the buffer then holds the empty text).
QUARN_EXPORT int GetModuleFullFileName(char* buffer, int size,
                                       const char* name);

// The full path of reference file `name` in the subdirectory `place`
// (see above), e.g. ("pat", "proto_tree.xml").
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
