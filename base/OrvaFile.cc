#include "base/OrvaFile.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

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

// Reads until end of file, or until more than `max_bytes` arrived (a file
// that grew after it was measured).
bool ReadAll(int fd, size_t max_bytes, std::string* bytes) {
  char chunk[65536];
  for (;;) {
    ssize_t n = read(fd, chunk, sizeof(chunk));
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) return true;
    if (bytes->size() + static_cast<size_t>(n) > max_bytes) {
      errno = EFBIG;
      return false;
    }
    bytes->append(chunk, static_cast<size_t>(n));
  }
}

// Keeps errno across the clean-up calls of a failure path.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ~ErrnoKeeper() { errno = saved_; }

 private:
  int saved_;
};

// The file a save replaces: `path` itself, or the file a symbolic link at
// `path` names (a link may name another link, or a relative path). Sets
// `*exists` and, for an existing file, `*mode`. False for a target that is
// not a regular file.
bool ResolveTarget(const char* path, std::string* target, bool* exists,
                   mode_t* mode) {
  *target = path;
  *exists = false;
  struct stat st;
  for (int hops = 0; hops < 40; ++hops) {
    if (lstat(target->c_str(), &st) != 0) {
      if (errno != ENOENT) return false;
      return true;  // a new file, or a link to a file not yet there
    }
    if (!S_ISLNK(st.st_mode)) {
      if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return false;
      }
      if (!S_ISREG(st.st_mode)) {
        errno = EINVAL;
        return false;
      }
      *exists = true;
      *mode = st.st_mode & 07777;
      return true;
    }
    char link[PATH_MAX];
    ssize_t n = readlink(target->c_str(), link, sizeof(link) - 1);
    if (n < 0) return false;
    link[n] = '\0';
    if (link[0] == '/') {
      *target = link;
    } else {
      size_t slash = target->rfind('/');
      *target = (slash == std::string::npos ? std::string()
                                            : target->substr(0, slash + 1)) +
                link;
    }
  }
  errno = ELOOP;
  return false;
}

std::string DirectoryOf(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

// Creates a new, empty temporary file beside `target`, readable as the
// target was (or as the process creates files).
int CreateTemporary(const std::string& target, bool exists, mode_t mode,
                    std::string* temp) {
  static std::atomic<unsigned> counter{0};
  for (int attempt = 0; attempt < 100; ++attempt) {
    char suffix[64];
    snprintf(suffix, sizeof(suffix), ".tmp.%ld.%u", static_cast<long>(getpid()),
             counter.fetch_add(1));
    *temp = target + suffix;
    int fd = open(temp->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                  exists ? mode : 0666);
    if (fd >= 0) {
      // open() applied the umask; a replaced file keeps its own mode.
      if (exists && fchmod(fd, mode) != 0) {
        ErrnoKeeper keep;
        close(fd);
        unlink(temp->c_str());
        return -1;
      }
      return fd;
    }
    if (errno != EEXIST) return -1;
  }
  return -1;
}

// Makes a rename in `dir` durable. Some file systems cannot sync a
// directory (EINVAL); the rename has then happened all the same.
bool SyncDirectory(const std::string& dir) {
  int fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  bool ok = fsync(fd) == 0 || errno == EINVAL;
  close(fd);
  return ok;
}

// Opens `path` for reading when it is a regular file of at most
// `max_bytes` bytes; returns the descriptor and sets `*size`, or -1.
int OpenRegular(const char* path, size_t max_bytes, size_t* size) {
  if (path == nullptr || *path == '\0') {
    errno = EINVAL;
    return -1;
  }
  // Non-blocking, so that opening a FIFO with no writer does not wait.
  int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return -1;
  struct stat st;
  int error = 0;
  if (fstat(fd, &st) != 0) {
    error = errno;
  } else if (!S_ISREG(st.st_mode)) {
    error = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
  } else if (static_cast<uint64_t>(st.st_size) > max_bytes) {
    error = EFBIG;
  }
  if (error != 0) {
    close(fd);
    errno = error;
    return -1;
  }
  if (size != nullptr) *size = static_cast<size_t>(st.st_size);
  return fd;
}

}  // namespace

FILE* OpenRegularFile(const char* path, size_t max_bytes) {
  int fd = OpenRegular(path, max_bytes, nullptr);
  if (fd < 0) return nullptr;
  FILE* file = fdopen(fd, "rb");
  if (file == nullptr) {
    ErrnoKeeper keep;
    close(fd);
  }
  return file;
}

bool ReadFileToString(const char* path, std::string* content,
                      size_t max_bytes) {
  if (content == nullptr) {
    errno = EINVAL;
    return false;
  }
  size_t size = 0;
  int fd = OpenRegular(path, max_bytes, &size);
  if (fd < 0) return false;
  std::string bytes;
  bytes.reserve(size);
  bool ok = ReadAll(fd, max_bytes, &bytes);
  {
    ErrnoKeeper keep;
    close(fd);
  }
  if (ok) content->swap(bytes);
  return ok;
}

bool WriteFileAtomic(const char* path, const void* data, size_t length) {
  if (path == nullptr || *path == '\0' || (data == nullptr && length > 0)) {
    errno = EINVAL;
    return false;
  }
  std::string target;
  bool exists = false;
  mode_t mode = 0;
  if (!ResolveTarget(path, &target, &exists, &mode)) return false;
  std::string temp;
  int fd = CreateTemporary(target, exists, mode, &temp);
  if (fd < 0) return false;
  bool ok =
      WriteAll(fd, static_cast<const char*>(data), length) && fsync(fd) == 0;
  if (close(fd) != 0) ok = false;
  if (ok && rename(temp.c_str(), target.c_str()) != 0) ok = false;
  if (!ok) {
    ErrnoKeeper keep;
    unlink(temp.c_str());
    return false;
  }
  return SyncDirectory(DirectoryOf(target));
}

bool CopyFileOverwrite(const char* src, const char* dst) {
  std::string content;
  if (!ReadFileToString(src, &content)) return false;
  return WriteFileAtomic(dst, content.data(), content.size());
}

}  // namespace Orva
