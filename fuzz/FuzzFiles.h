// Scratch files for the fuzz targets whose loaders read from a path: one
// private directory per process, made on first use below $TMPDIR (or /tmp)
// and removed with everything in it when the process exits normally, and
// helpers that write and read whole files. A check that fails prints what
// was expected and aborts, which libFuzzer reports as a crash with the
// input that caused it.
//
// Single-threaded, like the targets themselves.

#ifndef QUARN_FUZZ_FUZZFILES_H_
#define QUARN_FUZZ_FUZZFILES_H_

#include <dirent.h>
#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace quarn_fuzz {

// Aborts with `what` on stderr when `condition` is false.
inline void Require(bool condition, const char* what) {
  if (condition) return;
  fprintf(stderr, "fuzz check failed: %s\n", what);
  abort();
}

// Removes `path` and, when it is a directory, everything below it.
// Symbolic links are removed, never followed.
inline void RemoveTree(const std::string& path) {
  struct stat st;
  if (lstat(path.c_str(), &st) != 0) return;
  if (S_ISDIR(st.st_mode)) {
    if (DIR* dir = opendir(path.c_str())) {
      while (struct dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") RemoveTree(path + "/" + name);
      }
      closedir(dir);
    }
    rmdir(path.c_str());
  } else {
    unlink(path.c_str());
  }
}

// Owns the scratch directory and removes it at exit.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    const char* base = getenv("TMPDIR");
    std::string pattern =
        std::string(base && *base ? base : "/tmp") + "/quarn_fuzz_XXXXXX";
    Require(mkdtemp(&pattern[0]) != nullptr, "scratch directory created");
    path_ = pattern;
  }
  ~ScratchDirectory() { RemoveTree(path_); }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The process's scratch directory, made on the first call.
inline const std::string& ScratchDir() {
  static ScratchDirectory dir;
  return dir.path();
}

// `name` inside the scratch directory.
inline std::string ScratchPath(const std::string& name) {
  return ScratchDir() + "/" + name;
}

// Makes the directory `path` when it does not exist yet.
inline void MakeDir(const std::string& path) {
  Require(mkdir(path.c_str(), 0700) == 0 || errno == EEXIST,
          "directory created");
}

// Replaces the file at `path` by the `size` bytes at `data`.
inline void WriteWholeFile(const std::string& path, const void* data,
                           size_t size) {
  FILE* file = fopen(path.c_str(), "wb");
  Require(file != nullptr, "scratch file opened");
  bool ok = size == 0 || fwrite(data, 1, size, file) == size;
  ok = fclose(file) == 0 && ok;
  Require(ok, "scratch file written");
}

// The bytes of the file at `path`; empty when it cannot be read.
inline std::string ReadWholeFile(const std::string& path) {
  std::string bytes;
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) return bytes;
  char buffer[8192];
  size_t got;
  while ((got = fread(buffer, 1, sizeof(buffer), file)) > 0) {
    bytes.append(buffer, got);
  }
  fclose(file);
  return bytes;
}

// True when something exists at `path`.
inline bool Exists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}

}  // namespace quarn_fuzz

#endif  // QUARN_FUZZ_FUZZFILES_H_
