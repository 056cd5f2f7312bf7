// Paths of the library's reference files and small path helpers.
//
// The module directory is the directory of the loaded libquarn_common.so,
// unless the environment variable QUARN_MODULE_DIR is set: then it is that
// directory. Reference files such as "pat/proto_tree.xml" and "ipt1.dat"
// are looked up there.

#ifndef QUARN_BASE_ORVAPATH_H_
#define QUARN_BASE_ORVAPATH_H_

#include <string>

namespace Orva {

// The module directory, without a trailing separator.
std::string GetModuleDirectory();

// Writes the full path of file `name` in the module directory into
// `buffer` (at most `size` bytes with the terminating zero). Returns 1, or
// 0 when the path does not fit (the buffer then holds the empty text).
int GetModuleFullFileName(char* buffer, int size, const char* name);

// The full path of file `name` in the subdirectory `place` of the module
// directory, e.g. ("pat", "proto_tree.xml").
std::string GetModuleOtherFileName(const char* place, const char* name);

// The part of `path` after its last "/" or "\\".
std::string GetFileNameFromFullName(const char* path);

// Joins `dir` and `name` with one "/" into `buffer` of `size` bytes.
// Returns 1, or 0 when it does not fit (the buffer then holds the empty
// text).
int JoinPathToPath(char* buffer, int size, const char* dir, const char* name);

}  // namespace Orva

#endif  // QUARN_BASE_ORVAPATH_H_
