#include "base/CTinyXmlEx.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <memory>

#include "base/OrvaAddr.h"
#include "base/OrvaFile.h"
#include "base/internal/NoThrow.h"
#include "base/internal/TextNumber.h"
#include "base/internal/XmlNesting.h"

namespace {

TiXmlElement* AsElement(TiXmlNode* node) {
  return node == nullptr ? nullptr : node->ToElement();
}

const char* AttrText(TiXmlNode* node, const char* name) {
  TiXmlElement* element = AsElement(node);
  if (element == nullptr || name == nullptr) return nullptr;
  return element->Attribute(name);
}

bool SetAttrText(TiXmlNode* node, const char* name, const char* text) {
  TiXmlElement* element = AsElement(node);
  if (element == nullptr || name == nullptr) return false;
  element->SetAttribute(name, text == nullptr ? "" : text);
  return true;
}

// The text of an element's first text child; an element with no text reads
// as the empty text. Null for anything that is not an element.
const char* ElementText(TiXmlNode* node) {
  TiXmlElement* element = AsElement(node);
  if (element == nullptr) return nullptr;
  const char* text = element->GetText();
  return text == nullptr ? "" : text;
}

// Replaces every child of `node` with one text child.
bool SetElementText(TiXmlNode* node, const char* text) {
  TiXmlElement* element = AsElement(node);
  if (element == nullptr) return false;
  element->Clear();
  if (text != nullptr && *text != '\0') {
    TiXmlText child(text);
    element->InsertEndChild(child);
  }
  return true;
}

template <typename T>
bool ParseAs(const char* text, T* value);

template <>
bool ParseAs<int>(const char* text, int* value) {
  return quarn_text::ParseInt32(text, value);
}
template <>
bool ParseAs<unsigned int>(const char* text, unsigned int* value) {
  return quarn_text::ParseUint32(text, value);
}
template <>
bool ParseAs<uint64_t>(const char* text, uint64_t* value) {
  return quarn_text::ParseUint64(text, value);
}

template <typename T>
bool GetParsed(const char* text, T& value) {
  T parsed;
  if (text == nullptr || !ParseAs(text, &parsed)) return false;
  value = parsed;
  return true;
}

std::vector<std::string> SplitDroppingEmpty(const char* text, char separator) {
  std::vector<std::string> items;
  const char* start = text;
  for (const char* p = text;; ++p) {
    if (*p == separator || *p == '\0') {
      if (p > start) items.emplace_back(start, p - start);
      if (*p == '\0') break;
      start = p + 1;
    }
  }
  return items;
}

// CR LF and lone CR become LF.
void NormalizeLineEnds(std::string* text) {
  if (text->find('\r') == std::string::npos) return;
  std::string out;
  out.reserve(text->size());
  for (size_t i = 0; i < text->size(); ++i) {
    char c = (*text)[i];
    if (c == '\r') {
      out.push_back('\n');
      if (i + 1 < text->size() && (*text)[i + 1] == '\n') ++i;
    } else {
      out.push_back(c);
    }
  }
  text->swap(out);
}

// A stdio stream into a growing memory buffer, released however the
// writing ends (TinyXML's printing may throw std::bad_alloc).
class MemoryStream {
 public:
  MemoryStream() : buffer_(nullptr), size_(0) {
    stream_ = open_memstream(&buffer_, &size_);
  }
  ~MemoryStream() {
    if (stream_ != nullptr) fclose(stream_);
    free(buffer_);
  }
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  FILE* stream() const { return stream_; }
  // Closes the stream; then the buffer holds everything written.
  bool Finish(std::string* text) {
    bool ok = fclose(stream_) == 0;
    stream_ = nullptr;
    if (ok) text->assign(buffer_, size_);
    return ok;
  }

 private:
  char* buffer_;
  size_t size_;
  FILE* stream_;
};

// The document as TinyXML writes it to a file, byte for byte.
bool Render(const TiXmlDocument& doc, std::string* text) {
  MemoryStream memory;
  if (memory.stream() == nullptr) return false;
  bool ok = doc.SaveFile(memory.stream());
  return memory.Finish(text) && ok;
}

TiXmlNode* FindOrAddChild(TiXmlNode* node, const char* key) {
  TiXmlNode* child = CTinyXmlEx::FirstChildElement(node, key);
  if (child == nullptr) child = CTinyXmlEx::InsertEndChildElement(node, key);
  return child;
}

}  // namespace

CTinyXmlEx::CTinyXmlEx() : doc_(nullptr) {}

CTinyXmlEx::~CTinyXmlEx() { close(); }

CTinyXmlEx::CTinyXmlEx(const CTinyXmlEx& other)
    : doc_(other.doc_ == nullptr ? nullptr : new TiXmlDocument(*other.doc_)),
      path_(other.path_) {}

CTinyXmlEx& CTinyXmlEx::operator=(const CTinyXmlEx& other) {
  if (this != &other) {
    TiXmlDocument* copy =
        other.doc_ == nullptr ? nullptr : new TiXmlDocument(*other.doc_);
    close();
    doc_ = copy;
    path_ = other.path_;
  }
  return *this;
}

int CTinyXmlEx::open_for_readonly(const char* path) {
  close();
  if (path == nullptr || *path == '\0') return Fail("no path");
  std::string text;
  if (!Orva::ReadFileToString(path, &text, kMaxDocumentBytes)) {
    return Fail(strerror(errno));
  }
  // As TinyXML does for its own file reads: line ends become '\n'.
  NormalizeLineEnds(&text);
  if (Parse(text.c_str(), text.size()) != 0) return -1;
  path_ = path;
  return 0;
}

int CTinyXmlEx::open(const char* text, int length) {
  close();
  if (text == nullptr || length <= 0) return Fail("no text");
  // TinyXML wants a terminated buffer; the caller's may not be.
  std::string copy(text, strnlen(text, static_cast<size_t>(length)));
  return Parse(copy.c_str(), copy.size());
}

int CTinyXmlEx::Parse(const char* text, size_t length) {
  if (length > kMaxDocumentBytes) return Fail(strerror(EFBIG));
  if (!quarn_xml::NestingWithin(text, length, quarn_xml::kMaxXmlDepth)) {
    return Fail("elements nested too deeply");
  }
  TiXmlDocument* doc =
      quarn_guard::Guarded<TiXmlDocument*>(nullptr, [text]() -> TiXmlDocument* {
        std::unique_ptr<TiXmlDocument> parsed(new TiXmlDocument());
        // Legacy encoding: bytes above 0x7F pass through as they are, which
        // keeps GBK text intact.
        parsed->Parse(text, nullptr, TIXML_ENCODING_LEGACY);
        return parsed.release();
      });
  if (doc == nullptr) return Fail(strerror(ENOMEM));
  if (doc->Error()) {
    char where[64];
    snprintf(where, sizeof(where), "line %d, column %d: ", doc->ErrorRow(),
             doc->ErrorCol());
    std::string message = std::string(where) + doc->ErrorDesc();
    delete doc;
    return Fail(message);
  }
  doc_ = doc;
  error_.clear();
  return 0;
}

int CTinyXmlEx::Fail(const std::string& message) {
  error_ = message;
  return -1;
}

int CTinyXmlEx::open_ex(const char* path, int mode) {
  if (path == nullptr || *path == '\0') return -1;
  if (mode == OPEN_FOR_CHANGE) return open_for_readonly(path);
  if (mode != OPEN_CREATE_NEW) return -1;
  close();
  doc_ = new TiXmlDocument();
  path_ = path;
  return 0;
}

int CTinyXmlEx::savefile() {
  if (path_.empty()) return -1;
  return savefile(path_.c_str());
}

int CTinyXmlEx::savefile(const char* path) {
  if (doc_ == nullptr || path == nullptr || *path == '\0') return -1;
  return quarn_guard::Guarded(-1, [this, path]() {
    TiXmlNode* first = doc_->FirstChild();
    if (first == nullptr || first->ToDeclaration() == nullptr) {
      TiXmlDeclaration declaration("1.0", "GBK", "");
      if (first == nullptr) {
        doc_->InsertEndChild(declaration);
      } else {
        doc_->InsertBeforeChild(first, declaration);
      }
    }
    std::string text;
    if (!Render(*doc_, &text)) return Fail(strerror(errno));
    if (!Orva::WriteFileAtomic(path, text.data(), text.size())) {
      return Fail(strerror(errno));
    }
    return 0;
  });
}

void CTinyXmlEx::close() {
  error_.clear();
  delete doc_;
  doc_ = nullptr;
  path_.clear();
}

std::string CTinyXmlEx::ToText() const {
  std::string text;
  if (doc_ != nullptr) text << *doc_;
  return text;
}

TiXmlNode* CTinyXmlEx::GetRootNode() {
  return doc_ == nullptr ? nullptr : doc_->RootElement();
}

TiXmlNode* CTinyXmlEx::InsertRootElement(const char* name) {
  if (doc_ == nullptr || name == nullptr || doc_->RootElement() != nullptr) {
    return nullptr;
  }
  TiXmlElement element(name);
  return doc_->InsertEndChild(element);
}

TiXmlNode* CTinyXmlEx::GetOrCreateRootElement(const char* name, int* created) {
  if (created != nullptr) *created = 0;
  if (doc_ == nullptr || name == nullptr) return nullptr;
  TiXmlElement* root = doc_->RootElement();
  if (root != nullptr) return strcmp(root->Value(), name) == 0 ? root : nullptr;
  TiXmlNode* node = InsertRootElement(name);
  if (node != nullptr && created != nullptr) *created = 1;
  return node;
}

TiXmlNode* CTinyXmlEx::FirstChildElement(TiXmlNode* node, const char* name) {
  if (node == nullptr) return nullptr;
  return name == nullptr ? node->FirstChildElement()
                         : node->FirstChildElement(name);
}

TiXmlNode* CTinyXmlEx::NextSiblingElement(TiXmlNode* node, const char* name) {
  if (node == nullptr) return nullptr;
  return name == nullptr ? node->NextSiblingElement()
                         : node->NextSiblingElement(name);
}

TiXmlNode* CTinyXmlEx::InsertEndChildElement(TiXmlNode* node,
                                             const char* name) {
  if (node == nullptr || name == nullptr) return nullptr;
  TiXmlElement element(name);
  return node->InsertEndChild(element);
}

// ---- Attributes -----------------------------------------------------------

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name, int& value) {
  return GetParsed(AttrText(node, name), value);
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name,
                         unsigned int& value) {
  return GetParsed(AttrText(node, name), value);
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name, uint64_t& value) {
  return GetParsed(AttrText(node, name), value);
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name, bool& value) {
  const char* text = AttrText(node, name);
  bool parsed;
  if (text == nullptr || !quarn_text::ParseBool(text, &parsed)) return false;
  value = parsed;
  return true;
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name,
                         std::string& value) {
  const char* text = AttrText(node, name);
  if (text == nullptr) return false;
  value = text;
  return true;
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name, char* buffer,
                         int size) {
  const char* text = AttrText(node, name);
  if (text == nullptr || buffer == nullptr || size <= 0) return false;
  size_t length = strlen(text);
  if (length >= static_cast<size_t>(size)) return false;
  memcpy(buffer, text, length + 1);
  return true;
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name,
                         std::vector<std::string>& value, char separator) {
  const char* text = AttrText(node, name);
  if (text == nullptr) return false;
  value = SplitDroppingEmpty(text, separator);
  return true;
}

bool CTinyXmlEx::GetAttr(TiXmlNode* node, const char* name,
                         std::vector<int>& value, char separator) {
  const char* text = AttrText(node, name);
  if (text == nullptr) return false;
  std::vector<int> numbers;
  for (const std::string& item : SplitDroppingEmpty(text, separator)) {
    int number;
    if (!quarn_text::ParseInt32(item.c_str(), &number)) return false;
    numbers.push_back(number);
  }
  value.swap(numbers);
  return true;
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name, int value) {
  return SetAttrText(node, name, std::to_string(value).c_str());
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name,
                         unsigned int value) {
  return SetAttrText(node, name, std::to_string(value).c_str());
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name, uint64_t value) {
  return SetAttrText(node, name, std::to_string(value).c_str());
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name, bool value) {
  return SetAttrText(node, name, value ? "1" : "0");
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name, const char* value) {
  return SetAttrText(node, name, value);
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name,
                         const std::string& value) {
  return SetAttrText(node, name, value.c_str());
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name,
                         const std::vector<std::string>& value,
                         char separator) {
  std::string text;
  for (size_t i = 0; i < value.size(); ++i) {
    if (i > 0) text += separator;
    text += value[i];
  }
  return SetAttrText(node, name, text.c_str());
}

bool CTinyXmlEx::SetAttr(TiXmlNode* node, const char* name,
                         const std::vector<int>& value, char separator) {
  std::string text;
  for (size_t i = 0; i < value.size(); ++i) {
    if (i > 0) text += separator;
    text += std::to_string(value[i]);
  }
  return SetAttrText(node, name, text.c_str());
}

bool CTinyXmlEx::GetAttr_HostOrderIP(TiXmlNode* node, const char* name,
                                     uint32_t& ip) {
  const char* text = AttrText(node, name);
  return text != nullptr && Orva::string_to_hip(text, &ip);
}

bool CTinyXmlEx::SetAttr_HostOrderIP(TiXmlNode* node, const char* name,
                                     uint32_t ip) {
  return SetAttrText(node, name, Orva::hip_to_string(ip).c_str());
}

bool CTinyXmlEx::GetAttr_Macaddr(TiXmlNode* node, const char* name,
                                 unsigned char* mac) {
  const char* text = AttrText(node, name);
  return text != nullptr && mac != nullptr && Orva::a_to_mac_addr(text, mac);
}

bool CTinyXmlEx::SetAttr_Macaddr(TiXmlNode* node, const char* name,
                                 const unsigned char* mac) {
  if (mac == nullptr) return false;
  return SetAttrText(node, name, Orva::mac_addr_to_a(mac).c_str());
}

// ---- Element text -----------------------------------------------------------

bool CTinyXmlEx::GetValue(TiXmlNode* node, std::string& value) {
  const char* text = ElementText(node);
  if (text == nullptr) return false;
  value = text;
  return true;
}

bool CTinyXmlEx::GetValue(TiXmlNode* node, unsigned int& value) {
  return GetParsed(ElementText(node), value);
}

bool CTinyXmlEx::GetValue(TiXmlNode* node, uint64_t& value) {
  return GetParsed(ElementText(node), value);
}

bool CTinyXmlEx::SetValue(TiXmlNode* node, const char* value) {
  return SetElementText(node, value);
}

bool CTinyXmlEx::SetValue(TiXmlNode* node, const std::string& value) {
  return SetElementText(node, value.c_str());
}

bool CTinyXmlEx::SetValue(TiXmlNode* node, unsigned int value) {
  return SetElementText(node, std::to_string(value).c_str());
}

bool CTinyXmlEx::SetValue(TiXmlNode* node, uint64_t value) {
  return SetElementText(node, std::to_string(value).c_str());
}

bool CTinyXmlEx::GetValue_HostOrderIP(TiXmlNode* node, uint32_t& ip) {
  const char* text = ElementText(node);
  return text != nullptr && Orva::string_to_hip(text, &ip);
}

bool CTinyXmlEx::SetValue_HostOrderIP(TiXmlNode* node, uint32_t ip) {
  return SetElementText(node, Orva::hip_to_string(ip).c_str());
}

bool CTinyXmlEx::GetValue_HostOrderIPRange(TiXmlNode* node,
                                           IP_RANGE_PAIR& range) {
  const char* text = ElementText(node);
  return text != nullptr && Orva::string_to_hip_range(text, &range);
}

bool CTinyXmlEx::SetValue_HostOrderIPRange(TiXmlNode* node,
                                           const IP_RANGE_PAIR& range) {
  return SetElementText(node, Orva::hip_range_to_string(range).c_str());
}

bool CTinyXmlEx::GetValue_Macaddr(TiXmlNode* node, unsigned char* mac) {
  const char* text = ElementText(node);
  return text != nullptr && mac != nullptr && Orva::a_to_mac_addr(text, mac);
}

bool CTinyXmlEx::SetValue_Macaddr(TiXmlNode* node, const unsigned char* mac) {
  if (mac == nullptr) return false;
  return SetElementText(node, Orva::mac_addr_to_a(mac).c_str());
}

// ---- Lists of child elements ----------------------------------------------

bool CTinyXmlEx::GetValue_HostOrderIPRangeVector(
    TiXmlNode* node, std::vector<IP_RANGE_PAIR>& ranges,
    const char* item_name) {
  if (node == nullptr) return false;
  for (TiXmlNode* item = FirstChildElement(node, item_name); item != nullptr;
       item = NextSiblingElement(item, item_name)) {
    IP_RANGE_PAIR range;
    if (GetValue_HostOrderIPRange(item, range)) ranges.push_back(range);
  }
  return true;
}

bool CTinyXmlEx::SetValue_HostOrderIPRangeVector(
    TiXmlNode* node, const std::vector<IP_RANGE_PAIR>& ranges,
    const char* item_name) {
  if (node == nullptr) return false;
  for (const IP_RANGE_PAIR& range : ranges) {
    if (!SetValue_HostOrderIPRange(InsertEndChildElement(node, item_name),
                                   range)) {
      return false;
    }
  }
  return true;
}

bool CTinyXmlEx::GetValue_Uint16RangeVector(
    TiXmlNode* node, std::vector<UINT16_RANGE_PAIR>& ranges,
    const char* item_name) {
  if (node == nullptr) return false;
  for (TiXmlNode* item = FirstChildElement(node, item_name); item != nullptr;
       item = NextSiblingElement(item, item_name)) {
    UINT16_RANGE_PAIR range;
    const char* text = ElementText(item);
    if (text != nullptr && Orva::string_to_uint16_range(text, &range)) {
      ranges.push_back(range);
    }
  }
  return true;
}

bool CTinyXmlEx::SetValue_Uint16RangeVector(
    TiXmlNode* node, const std::vector<UINT16_RANGE_PAIR>& ranges,
    const char* item_name) {
  if (node == nullptr) return false;
  for (const UINT16_RANGE_PAIR& range : ranges) {
    if (!SetElementText(InsertEndChildElement(node, item_name),
                        Orva::uint16_range_to_string(range).c_str())) {
      return false;
    }
  }
  return true;
}

bool CTinyXmlEx::GetValue_StringVector(TiXmlNode* node,
                                       std::vector<std::string>& strings,
                                       const char* item_name) {
  if (node == nullptr) return false;
  for (TiXmlNode* item = FirstChildElement(node, item_name); item != nullptr;
       item = NextSiblingElement(item, item_name)) {
    strings.push_back(ElementText(item));
  }
  return true;
}

bool CTinyXmlEx::SetValue_StringVector(TiXmlNode* node,
                                       const std::vector<std::string>& strings,
                                       const char* item_name) {
  if (node == nullptr) return false;
  for (const std::string& text : strings) {
    if (!SetElementText(InsertEndChildElement(node, item_name), text.c_str())) {
      return false;
    }
  }
  return true;
}

// ---- Keyed child values -----------------------------------------------------

bool CTinyXmlEx::GetValueLikeIni(TiXmlNode* node, const char* key, int* value) {
  return value != nullptr &&
         GetParsed(ElementText(FirstChildElement(node, key)), *value);
}

bool CTinyXmlEx::GetValueLikeIni(TiXmlNode* node, const char* key,
                                 unsigned int* value) {
  return value != nullptr &&
         GetParsed(ElementText(FirstChildElement(node, key)), *value);
}

bool CTinyXmlEx::GetValueLikeIni(TiXmlNode* node, const char* key,
                                 std::string* value) {
  const char* text = ElementText(FirstChildElement(node, key));
  if (text == nullptr || value == nullptr) return false;
  *value = text;
  return true;
}

bool CTinyXmlEx::SetValueLikeIni(TiXmlNode* node, const char* key, int value) {
  return SetElementText(FindOrAddChild(node, key),
                        std::to_string(value).c_str());
}

bool CTinyXmlEx::SetValueLikeIni(TiXmlNode* node, const char* key,
                                 unsigned int value) {
  return SetElementText(FindOrAddChild(node, key),
                        std::to_string(value).c_str());
}

bool CTinyXmlEx::SetValueLikeIni(TiXmlNode* node, const char* key,
                                 const char* value) {
  return SetElementText(FindOrAddChild(node, key), value);
}

bool CTinyXmlEx::GetValueLikeIni_HostOrderIP(TiXmlNode* node, const char* key,
                                             uint32_t* ip) {
  return ip != nullptr &&
         GetValue_HostOrderIP(FirstChildElement(node, key), *ip);
}

bool CTinyXmlEx::SetValueLikeIni_HostOrderIP(TiXmlNode* node, const char* key,
                                             uint32_t ip) {
  return SetValue_HostOrderIP(FindOrAddChild(node, key), ip);
}

bool CTinyXmlEx::GetValueLikeIni_Macaddr(TiXmlNode* node, const char* key,
                                         unsigned char* mac) {
  return GetValue_Macaddr(FirstChildElement(node, key), mac);
}

bool CTinyXmlEx::SetValueLikeIni_Macaddr(TiXmlNode* node, const char* key,
                                         const unsigned char* mac) {
  return SetValue_Macaddr(FindOrAddChild(node, key), mac);
}
