// Whole-file helpers: read, replace atomically, copy over.
//
// Replacing a file writes a temporary file beside it ("<path>.tmp"),
// flushes it to the disk and renames it over the target, so a reader sees
// either the old file or the complete new one, never a half-written file.

#ifndef QUARN_BASE_ORVAFILE_H_
#define QUARN_BASE_ORVAFILE_H_

#include <stddef.h>

#include <string>

namespace Orva {

// Reads the whole file at `path` into `*content`. False (content untouched)
// when it cannot be opened or read.
bool ReadFileToString(const char* path, std::string* content);

// Replaces the file at `path` by the `length` bytes at `data`, atomically
// as described above. False on any error; the old file then stays.
bool WriteFileAtomic(const char* path, const void* data, size_t length);

// Copies the file `src` to `dst`, replacing `dst` when it exists (the
// replacement is atomic as above). False when `src` cannot be read or
// `dst` cannot be written; `dst` is then unchanged.
bool CopyFileOverwrite(const char* src, const char* dst);

}  // namespace Orva

#endif  // QUARN_BASE_ORVAFILE_H_
