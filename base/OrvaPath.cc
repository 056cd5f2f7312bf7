#include "base/OrvaPath.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace Orva {
namespace {

std::string Join(const std::string& dir, const std::string& name) {
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

bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

const char* Overridden() {
  const char* dir = getenv("QUARN_MODULE_DIR");
  return dir != nullptr && *dir != '\0' ? dir : nullptr;
}

// The installed data directory of a library in `object`, resolved; empty
// when the build recorded none or it does not exist. The build gives it
// relative to the library's directory, so an install stays usable
// wherever its prefix is moved.
std::string InstalledDataDirectory(const std::string& object) {
#ifdef QUARN_DATA_FROM_MODULE
  const std::string dir = Join(object, QUARN_DATA_FROM_MODULE);
  char* resolved = realpath(dir.c_str(), nullptr);
  if (resolved == nullptr) return std::string();
  std::string path = resolved;
  free(resolved);
  return path;
#else
  (void)object;
  return std::string();
#endif
}

// Where the reference file `relative` ("ipt1.dat", "pat/proto_tree.xml")
// is read from: in the module directory when QUARN_MODULE_DIR names it or
// the file is there (beside the module); else in the installed data
// directory when it is there; else the module directory's path, which then
// names where the file was looked for.
std::string DataFile(const std::string& relative) {
  if (Overridden() != nullptr) return Join(GetModuleDirectory(), relative);
  const std::string object = ObjectDirectory();
  const std::string beside = Join(object, relative);
  if (Exists(beside)) return beside;
  const std::string data = InstalledDataDirectory(object);
  if (!data.empty()) {
    const std::string installed = Join(data, relative);
    if (Exists(installed)) return installed;
  }
  return beside;
}

}  // namespace

std::string GetModuleDirectory() {
  const char* overridden = Overridden();
  if (overridden != nullptr) {
    std::string dir = overridden;
    while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    return dir;
  }
  return ObjectDirectory();
}

int GetModuleFullFileName(char* buffer, int size, const char* name) {
  return CopyOut(DataFile(name == nullptr ? "" : name), buffer, size);
}

std::string GetModuleOtherFileName(const char* place, const char* name) {
  return DataFile(
      Join(place == nullptr ? "" : place, name == nullptr ? "" : name));
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
