// Base of the configuration classes that live in one XML document each.
//
// A derived class overrides close() (back to defaults, lists emptied),
// LoadConfig() (read what it knows from the document, keep defaults for
// what is absent) and SaveConfig() (write everything). This class does the
// file and memory handling around them and remembers the path of the last
// file loaded, so SaveToFile() can write back to it.
//
// The virtual slots keep this order in every derived class: destructor,
// close, LoadFromFile, LoadFromMem, SaveToFile(), SaveToFile(path),
// LoadConfig, SaveConfig. Not thread-safe; hosts serialise loads against
// readers.

#ifndef QUARN_BASE_CBASEXMLCONFIG_H_
#define QUARN_BASE_CBASEXMLCONFIG_H_

#include "quarn_common/base/Export.h"

#include <string>

#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CBaseXMLConfig {
 public:
  CBaseXMLConfig();
  virtual ~CBaseXMLConfig();

  // Resets every setting to its default and empties every list.
  virtual void close();
  // Parses the file, remembers `path`, and hands the document to
  // LoadConfig(). Returns LoadConfig()'s result, or 0 when the path is
  // empty or the file does not parse (the object is then left as it was).
  virtual int LoadFromFile(const char* path);
  // The same from `length` bytes at `text`; the remembered path is kept.
  virtual int LoadFromMem(const char* text, int length);
  // Writes to the remembered path; 0 when there is none.
  virtual int SaveToFile();
  // Writes a new document, filled by SaveConfig(), to `path`. 1 on success.
  virtual int SaveToFile(const char* path);

  // The path of the file last loaded, empty until a load from file.
  const std::string& GetFilePath() const { return m_file_path; }

  // Reads the enciphered data file at `path` (docs/FORMATS.md, "Data file
  // cipher") into plain bytes. On success returns non-zero and sets
  // `buffer` to a block of `length` bytes plus a terminating zero, which
  // the caller releases with Orva::MyMemFree. On failure returns 0 and
  // leaves both untouched.
  static int LoadCryDataFile(const char* path, char*& buffer, int& length);
  // Enciphers `length` bytes and writes them to `path`. 1 on success.
  static int SaveCryDataFile(const char* path, const char* data, int length);
  // Deciphers the file at `path` and loads the XML it holds with
  // LoadFromMem(). 0 when the file cannot be read or deciphered.
  int LoadFromCryDataFile(const char* path);

 protected:
  std::string m_file_path;

 private:
  // Reads the settings from `doc`; 1 when the document was accepted.
  virtual int LoadConfig(CTinyXmlEx& doc) = 0;
  // Writes every setting into `doc`; 1 on success.
  virtual int SaveConfig(CTinyXmlEx& doc) = 0;
};

#endif  // QUARN_BASE_CBASEXMLCONFIG_H_
