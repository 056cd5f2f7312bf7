#include "base/CBaseXMLConfig.h"

#include <string.h>

#include "base/OrvaFile.h"
#include "base/OrvaMem.h"
#include "base/internal/DataCipher.h"
#include "base/internal/NoThrow.h"

CBaseXMLConfig::CBaseXMLConfig() {}

CBaseXMLConfig::~CBaseXMLConfig() {}

void CBaseXMLConfig::close() {}

int CBaseXMLConfig::LoadFromFile(const char* path) {
  if (path == nullptr || *path == '\0') return 0;
  return quarn_guard::Guarded(0, [this, path]() {
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path) != 0) return 0;
    m_file_path = path;
    return LoadConfig(doc);
  });
}

int CBaseXMLConfig::LoadFromMem(const char* text, int length) {
  return quarn_guard::Guarded(0, [this, text, length]() {
    CTinyXmlEx doc;
    if (doc.open(text, length) != 0) return 0;
    return LoadConfig(doc);
  });
}

int CBaseXMLConfig::SaveToFile() {
  if (m_file_path.empty()) return 0;
  return SaveToFile(m_file_path.c_str());
}

int CBaseXMLConfig::SaveToFile(const char* path) {
  if (path == nullptr || *path == '\0') return 0;
  return quarn_guard::Guarded(0, [this, path]() {
    CTinyXmlEx doc;
    if (doc.open_ex(path, CTinyXmlEx::OPEN_CREATE_NEW) != 0) return 0;
    if (SaveConfig(doc) != 1) return 0;
    return doc.savefile(path) == 0 ? 1 : 0;
  });
}

int CBaseXMLConfig::LoadCryDataFile(const char* path, char*& buffer,
                                    int& length) {
  std::string plain;
  bool read = quarn_guard::Guarded(false, [path, &plain]() {
    std::string bytes;
    return Orva::ReadFileToString(path, &bytes) &&
           quarn_cipher::Decipher(bytes, &plain);
  });
  if (!read) return 0;
  char* block = static_cast<char*>(
      Orva::MyMemAlloc(plain.size() + 1, "CBaseXMLConfig", __LINE__));
  if (block == nullptr) return 0;
  memcpy(block, plain.data(), plain.size());
  block[plain.size()] = '\0';
  buffer = block;
  length = static_cast<int>(plain.size());
  return 1;
}

int CBaseXMLConfig::SaveCryDataFile(const char* path, const char* data,
                                    int length) {
  if (data == nullptr || length < 0) return 0;
  return quarn_guard::Guarded(0, [path, data, length]() {
    std::string cipher =
        quarn_cipher::Encipher(std::string(data, static_cast<size_t>(length)));
    return Orva::WriteFileAtomic(path, cipher.data(), cipher.size()) ? 1 : 0;
  });
}

int CBaseXMLConfig::LoadFromCryDataFile(const char* path) {
  char* buffer = nullptr;
  int length = 0;
  if (!LoadCryDataFile(path, buffer, length)) return 0;
  int result = LoadFromMem(buffer, length);
  Orva::MyMemFree(buffer);
  return result;
}
