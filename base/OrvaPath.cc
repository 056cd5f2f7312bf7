#include "base/OrvaPath.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

namespace Orva {
namespace {

std::string Join(const std::string& dir, const char* name) {
  if (dir.empty()) return name;
  if (dir.back() == '/') return dir + name;
  return dir + "/" + name;
}

int CopyOut(const std::string& path, char* buffer, int size) {
  if (buffer == nullptr || size <= 0) return 0;
  if (path.size() >= static_cast<size_t>(size)) {
    buffer[0] = '\0';
    return 0;
  }
  memcpy(buffer, path.c_str(), path.size() + 1);
  return 1;
}

// The directory of whichever object holds this function: the shared
// library for hosts, the executable when the code is linked in directly.
std::string ObjectDirectory() {
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(&ObjectDirectory), &info) == 0 ||
      info.dli_fname == nullptr) {
    return ".";
  }
  std::string file = info.dli_fname;
  size_t slash = file.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return file.substr(0, slash);
}

bool IsDirectory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

std::string GetModuleDirectory() {
  const char* overridden = getenv("QUARN_MODULE_DIR");
  if (overridden != nullptr && *overridden != '\0') {
    std::string dir = overridden;
    while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    return dir;
  }
  const std::string object = ObjectDirectory();
#ifdef QUARN_DATA_FROM_MODULE
  // An installed library keeps its data in its own directory under the
  // data root, which the build gives relative to the library's directory:
  // the install stays usable wherever its prefix is moved. A library
  // without that directory beside it (a build tree, a host that keeps the
  // data next to its modules) reads the data beside itself.
  const std::string installed = Join(object, QUARN_DATA_FROM_MODULE);
  if (IsDirectory(installed)) {
    char* resolved = realpath(installed.c_str(), nullptr);
    if (resolved == nullptr) return installed;
    std::string dir = resolved;
    free(resolved);
    return dir;
  }
#endif
  return object;
}

int GetModuleFullFileName(char* buffer, int size, const char* name) {
  return CopyOut(Join(GetModuleDirectory(), name == nullptr ? "" : name),
                 buffer, size);
}

std::string GetModuleOtherFileName(const char* place, const char* name) {
  std::string dir = Join(GetModuleDirectory(), place == nullptr ? "" : place);
  return Join(dir, name == nullptr ? "" : name);
}

std::string GetFileNameFromFullName(const char* path) {
  if (path == nullptr) return std::string();
  const char* name = path;
  for (const char* p = path; *p != '\0'; ++p) {
    if (*p == '/' || *p == '\\') name = p + 1;
  }
  return name;
}

int JoinPathToPath(char* buffer, int size, const char* dir, const char* name) {
  return CopyOut(Join(dir == nullptr ? "" : dir, name == nullptr ? "" : name),
                 buffer, size);
}

}  // namespace Orva
