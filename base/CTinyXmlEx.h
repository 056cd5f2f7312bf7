// An XML document with typed readers and writers for the values the
// gateway's configuration files hold. Wraps TinyXML; text passes through
// as bytes (GBK inside the library), never re-encoded.
//
// Getters return true when the attribute or element was there and its text
// parsed; on false the target is left exactly as it was, so loaders can
// pre-fill defaults and read over them. Setters return false only when the
// node is null. Every text form is described in docs/FORMATS.md.
//
// Nodes handed out belong to the document and stay valid until close(),
// another open*(), or destruction. Not thread-safe.

#ifndef QUARN_BASE_CTINYXMLEX_H_
#define QUARN_BASE_CTINYXMLEX_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <utility>
#include <vector>

#include <tinyxml.h>

// Inclusive range of host-order IPv4 addresses: first is the lower bound,
// second the upper.
typedef std::pair<uint32_t, uint32_t> IP_RANGE_PAIR;
// Inclusive range of 16-bit values (ports).
typedef std::pair<uint16_t, uint16_t> UINT16_RANGE_PAIR;

class QUARN_EXPORT CTinyXmlEx {
 public:
  // Modes of open_ex().
  enum OPEN_MODE {
    OPEN_FOR_CHANGE = 0,  // parse an existing file for change
    OPEN_CREATE_NEW = 1,  // start a new empty document bound to the path
  };

  CTinyXmlEx();
  ~CTinyXmlEx();
  // Copies are deep: the copy owns its own document.
  CTinyXmlEx(const CTinyXmlEx& other);
  CTinyXmlEx& operator=(const CTinyXmlEx& other);

  // The largest document parsed: 64 MiB.
  static constexpr size_t kMaxDocumentBytes = size_t{64} << 20;

  // Parses the file at `path`. Returns 0 on success, -1 otherwise: the
  // path is not a regular file, holds more than kMaxDocumentBytes, nests
  // elements more than 256 deep, or does not parse. error() says which.
  int open_for_readonly(const char* path);
  // Parses `length` bytes at `text` (up to the first zero byte), with the
  // limits of open_for_readonly(). Returns 0 on success, -1 otherwise.
  int open(const char* text, int length);
  // Opens `path` for change (OPEN_FOR_CHANGE) or starts an empty document
  // that savefile() writes to `path` (OPEN_CREATE_NEW). 0 on success.
  int open_ex(const char* path, int mode);
  // Writes the document to the path it was opened with. 0 on success.
  int savefile();
  // Writes the document to `path`, with an XML declaration naming GBK.
  // The file is replaced atomically (Orva::WriteFileAtomic): on failure
  // the previous file is untouched. 0 on success.
  int savefile(const char* path);
  // Discards the document; every node handed out becomes invalid.
  void close();

  // The path the document was opened with, empty for a memory document.
  const std::string& path() const { return path_; }
  // Why the last open or save failed ("line 3, column 7: Error reading end
  // tag.", "Is a directory", ...); empty after a success.
  const std::string& error() const { return error_; }
  // The document as text, for callers that keep it in memory.
  std::string ToText() const;

  // The first element of the document, or null.
  TiXmlNode* GetRootNode();
  // Appends a root element named `name`; null when the document already has
  // a root element or none is open.
  TiXmlNode* InsertRootElement(const char* name);
  // The root element when it is named `name`, else a new one. `*created`
  // (when given) says whether it was created. Null when the document has a
  // root element of another name.
  TiXmlNode* GetOrCreateRootElement(const char* name, int* created = nullptr);

  // Element navigation; null `node` or no match gives null. A null `name`
  // matches any element.
  static TiXmlNode* FirstChildElement(TiXmlNode* node, const char* name);
  static TiXmlNode* NextSiblingElement(TiXmlNode* node, const char* name);
  // Appends a child element named `name` to `node` and returns it.
  static TiXmlNode* InsertEndChildElement(TiXmlNode* node, const char* name);

  // Attributes.
  static bool GetAttr(TiXmlNode* node, const char* name, int& value);
  static bool GetAttr(TiXmlNode* node, const char* name, unsigned int& value);
  static bool GetAttr(TiXmlNode* node, const char* name, uint64_t& value);
  static bool GetAttr(TiXmlNode* node, const char* name, bool& value);
  static bool GetAttr(TiXmlNode* node, const char* name, std::string& value);
  // Copies at most size - 1 bytes and a terminating zero; a longer text is
  // refused (false) rather than cut.
  static bool GetAttr(TiXmlNode* node, const char* name, char* buffer,
                      int size);
  // Lists joined by `separator`; empty items are dropped.
  static bool GetAttr(TiXmlNode* node, const char* name,
                      std::vector<std::string>& value, char separator);
  static bool GetAttr(TiXmlNode* node, const char* name,
                      std::vector<int>& value, char separator);

  static bool SetAttr(TiXmlNode* node, const char* name, int value);
  static bool SetAttr(TiXmlNode* node, const char* name, unsigned int value);
  static bool SetAttr(TiXmlNode* node, const char* name, uint64_t value);
  static bool SetAttr(TiXmlNode* node, const char* name, bool value);
  static bool SetAttr(TiXmlNode* node, const char* name, const char* value);
  static bool SetAttr(TiXmlNode* node, const char* name,
                      const std::string& value);
  static bool SetAttr(TiXmlNode* node, const char* name,
                      const std::vector<std::string>& value, char separator);
  static bool SetAttr(TiXmlNode* node, const char* name,
                      const std::vector<int>& value, char separator);

  static bool GetAttr_HostOrderIP(TiXmlNode* node, const char* name,
                                  uint32_t& ip);
  static bool SetAttr_HostOrderIP(TiXmlNode* node, const char* name,
                                  uint32_t ip);
  static bool GetAttr_Macaddr(TiXmlNode* node, const char* name,
                              unsigned char* mac);
  static bool SetAttr_Macaddr(TiXmlNode* node, const char* name,
                              const unsigned char* mac);

  // Element text. Numbers accept surrounding white space.
  static bool GetValue(TiXmlNode* node, std::string& value);
  static bool GetValue(TiXmlNode* node, unsigned int& value);
  static bool GetValue(TiXmlNode* node, uint64_t& value);
  static bool SetValue(TiXmlNode* node, const char* value);
  static bool SetValue(TiXmlNode* node, const std::string& value);
  static bool SetValue(TiXmlNode* node, unsigned int value);
  static bool SetValue(TiXmlNode* node, uint64_t value);

  static bool GetValue_HostOrderIP(TiXmlNode* node, uint32_t& ip);
  static bool SetValue_HostOrderIP(TiXmlNode* node, uint32_t ip);
  static bool GetValue_HostOrderIPRange(TiXmlNode* node, IP_RANGE_PAIR& range);
  static bool SetValue_HostOrderIPRange(TiXmlNode* node,
                                        const IP_RANGE_PAIR& range);
  static bool GetValue_Macaddr(TiXmlNode* node, unsigned char* mac);
  static bool SetValue_Macaddr(TiXmlNode* node, const unsigned char* mac);

  // Lists held as child elements named `item_name` below `node`, one item
  // each. The getters append the items that parse, skip the others, and
  // return true when `node` is not null; the setters append children.
  static bool GetValue_HostOrderIPRangeVector(
      TiXmlNode* node, std::vector<IP_RANGE_PAIR>& ranges,
      const char* item_name);
  static bool SetValue_HostOrderIPRangeVector(
      TiXmlNode* node, const std::vector<IP_RANGE_PAIR>& ranges,
      const char* item_name);
  static bool GetValue_Uint16RangeVector(TiXmlNode* node,
                                         std::vector<UINT16_RANGE_PAIR>& ranges,
                                         const char* item_name);
  static bool SetValue_Uint16RangeVector(
      TiXmlNode* node, const std::vector<UINT16_RANGE_PAIR>& ranges,
      const char* item_name);
  static bool GetValue_StringVector(TiXmlNode* node,
                                    std::vector<std::string>& strings,
                                    const char* item_name);
  static bool SetValue_StringVector(TiXmlNode* node,
                                    const std::vector<std::string>& strings,
                                    const char* item_name);

  // Keyed values: a child element named `key` whose text is the value. The
  // getters leave `*value` untouched when the child is absent or does not
  // parse; the setters create the child when missing and replace its text.
  static bool GetValueLikeIni(TiXmlNode* node, const char* key, int* value);
  static bool GetValueLikeIni(TiXmlNode* node, const char* key,
                              unsigned int* value);
  static bool GetValueLikeIni(TiXmlNode* node, const char* key,
                              std::string* value);
  static bool SetValueLikeIni(TiXmlNode* node, const char* key, int value);
  static bool SetValueLikeIni(TiXmlNode* node, const char* key,
                              unsigned int value);
  static bool SetValueLikeIni(TiXmlNode* node, const char* key,
                              const char* value);
  static bool GetValueLikeIni_HostOrderIP(TiXmlNode* node, const char* key,
                                          uint32_t* ip);
  static bool SetValueLikeIni_HostOrderIP(TiXmlNode* node, const char* key,
                                          uint32_t ip);
  static bool GetValueLikeIni_Macaddr(TiXmlNode* node, const char* key,
                                      unsigned char* mac);
  static bool SetValueLikeIni_Macaddr(TiXmlNode* node, const char* key,
                                      const unsigned char* mac);

 private:
  // Parses a zero-terminated text of `length` bytes into doc_.
  QUARN_HIDDEN int Parse(const char* text, size_t length);
  // Records `message` for error() and returns -1.
  QUARN_HIDDEN int Fail(const std::string& message);

  TiXmlDocument* doc_;  // owned; null when nothing is open
  std::string path_;
  std::string error_;
};

#endif  // QUARN_BASE_CTINYXMLEX_H_
