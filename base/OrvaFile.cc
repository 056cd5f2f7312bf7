#include "base/OrvaFile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

namespace Orva {
namespace {

bool WriteAll(int fd, const char* data, size_t length) {
  while (length > 0) {
    ssize_t written = write(fd, data, length);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace

bool ReadFileToString(const char* path, std::string* content) {
  if (path == nullptr || content == nullptr) return false;
  FILE* file = fopen(path, "rb");
  if (file == nullptr) return false;
  std::string bytes;
  char chunk[65536];
  size_t n;
  while ((n = fread(chunk, 1, sizeof(chunk), file)) > 0) bytes.append(chunk, n);
  bool ok = ferror(file) == 0;
  fclose(file);
  if (ok) content->swap(bytes);
  return ok;
}

bool WriteFileAtomic(const char* path, const void* data, size_t length) {
  if (path == nullptr || *path == '\0' || (data == nullptr && length > 0)) {
    return false;
  }
  std::string temp = std::string(path) + ".tmp";
  int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  bool ok =
      WriteAll(fd, static_cast<const char*>(data), length) && fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  if (ok) ok = rename(temp.c_str(), path) == 0;
  if (!ok) unlink(temp.c_str());
  return ok;
}

bool CopyFileOverwrite(const char* src, const char* dst) {
  std::string content;
  if (!ReadFileToString(src, &content)) return false;
  return WriteFileAtomic(dst, content.data(), content.size());
}

}  // namespace Orva
