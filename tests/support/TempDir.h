// Scratch directories and module-directory redirection for tests.

#ifndef QUARN_TESTS_SUPPORT_TEMPDIR_H_
#define QUARN_TESTS_SUPPORT_TEMPDIR_H_

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace quarn_test {

// A fresh directory below QUARN_TEST_TMP_DIR, unique per process and call.
inline std::string MakeTempDir(const std::string& tag) {
  static int counter = 0;
  std::string root = QUARN_TEST_TMP_DIR;
  mkdir(root.c_str(), 0755);
  std::string dir = root + "/" + tag + "_" + std::to_string(getpid()) + "_" +
                    std::to_string(++counter);
  std::string command = "rm -rf '" + dir + "'";
  if (system(command.c_str()) != 0) return dir;
  mkdir(dir.c_str(), 0755);
  return dir;
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in),
                     std::istreambuf_iterator<char>());
}

// Points QUARN_MODULE_DIR at `dir` for the life of the object.
class ScopedModuleDir {
 public:
  explicit ScopedModuleDir(const std::string& dir) {
    const char* old = getenv("QUARN_MODULE_DIR");
    had_old_ = old != nullptr;
    if (had_old_) old_ = old;
    setenv("QUARN_MODULE_DIR", dir.c_str(), 1);
  }
  ~ScopedModuleDir() {
    if (had_old_) {
      setenv("QUARN_MODULE_DIR", old_.c_str(), 1);
    } else {
      unsetenv("QUARN_MODULE_DIR");
    }
  }

 private:
  bool had_old_;
  std::string old_;
};

}  // namespace quarn_test

#endif  // QUARN_TESTS_SUPPORT_TEMPDIR_H_
