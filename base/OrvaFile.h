// Whole-file helpers: bounded reads of regular files, atomic replacement,
// copies.
//
// Reads refuse anything that is not a regular file (a directory, a FIFO, a
// device) and anything larger than the caller's limit, so a wrong path can
// neither block the process nor make it allocate without bound.
//
// Replacing a file writes a new temporary file in the target's directory,
// checks every write, syncs it to the disk, renames it over the target and
// syncs the directory, so a reader (or a crash) sees either the old file or
// the complete new one, never a half-written file. On any failure the old
// file is untouched and the temporary file is removed. A target that is a
// symbolic link is followed: the file it names is replaced and the link
// stays. A target that exists and is not a regular file is refused.
//
// Failures leave errno set to the cause (EISDIR for a directory, EINVAL
// for another non-regular file, EFBIG for a file over the limit, or the
// failing system call's own error).

#ifndef QUARN_BASE_ORVAFILE_H_
#define QUARN_BASE_ORVAFILE_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdio.h>

#include <string>

namespace Orva {

// The largest file the library reads whole unless a caller asks for less:
// 256 MiB.
constexpr size_t kMaxFileBytes = size_t{256} << 20;

// Opens the regular file at `path` for reading as a buffered stream, which
// the caller closes with fclose(). Null (errno set) when it cannot be
// opened, is not a regular file or holds more than `max_bytes` bytes.
QUARN_EXPORT FILE* OpenRegularFile(const char* path,
                                   size_t max_bytes = kMaxFileBytes);

// Reads the whole regular file at `path` into `*content`. False (content
// untouched) when it cannot be opened or read, is not a regular file, or
// holds more than `max_bytes` bytes.
QUARN_EXPORT bool ReadFileToString(const char* path, std::string* content,
                                   size_t max_bytes = kMaxFileBytes);

// Replaces the file at `path` by the `length` bytes at `data`, atomically
// as described above. False on any error; the old file then stays.
QUARN_EXPORT bool WriteFileAtomic(const char* path, const void* data,
                                  size_t length);

// Copies the file `src` to `dst`, replacing `dst` when it exists (the
// replacement is atomic as above). False when `src` cannot be read or
// `dst` cannot be written; `dst` is then unchanged.
QUARN_EXPORT bool CopyFileOverwrite(const char* src, const char* dst);

}  // namespace Orva

#endif  // QUARN_BASE_ORVAFILE_H_
