#include <stdio.h>

#include "base/OrvaFileBytes_internal.h"

namespace quarn_file {

bool ReadWholeFile(const char* path, std::string* bytes) {
  if (path == nullptr || *path == '\0') return false;
  FILE* file = fopen(path, "rb");
  if (file == nullptr) return false;
  std::string content;
  char chunk[65536];
  size_t n;
  while ((n = fread(chunk, 1, sizeof(chunk), file)) > 0)
    content.append(chunk, n);
  bool ok = ferror(file) == 0;
  fclose(file);
  if (ok) bytes->swap(content);
  return ok;
}

bool WriteWholeFile(const char* path, const std::string& bytes) {
  if (path == nullptr || *path == '\0') return false;
  FILE* file = fopen(path, "wb");
  if (file == nullptr) return false;
  bool ok = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  ok = (fclose(file) == 0) && ok;
  return ok;
}

}  // namespace quarn_file
