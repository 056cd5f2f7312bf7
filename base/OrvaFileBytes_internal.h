// Whole-file reads and writes for the base layer's own use.

#ifndef QUARN_BASE_ORVAFILEBYTES_INTERNAL_H_
#define QUARN_BASE_ORVAFILEBYTES_INTERNAL_H_

#include <string>

namespace quarn_file {

// Reads the whole file; false when it cannot be opened or read.
bool ReadWholeFile(const char* path, std::string* bytes);
// Replaces the file with `bytes`; false on any write error.
bool WriteWholeFile(const char* path, const std::string& bytes);

}  // namespace quarn_file

#endif  // QUARN_BASE_ORVAFILEBYTES_INTERNAL_H_
