#include "url/CURLTypeConfig.h"

#include <string.h>

#include "url/internal/URLText.h"

const uint64_t CURLTypeConfig::EXCEPT_URL_TYPE = 0x0000000000000001ULL;
const uint64_t CURLTypeConfig::URL_TYPE_RESERVE3 = 0x1000000000000000ULL;
const uint64_t CURLTypeConfig::URL_TYPE_RESERVE2 = 0x2000000000000000ULL;
const uint64_t CURLTypeConfig::URL_TYPE_RESERVE1 = 0x4000000000000000ULL;
const uint64_t CURLTypeConfig::SIMPLE_ACL_URL_TYPE = 0x8000000000000000ULL;

CURLTypeConfig::CURLTypeConfig() { ResetExceptCategory(); }

CURLTypeConfig::CURLTypeConfig(const CURLTypeConfig& other)
    : CBaseXMLConfig(other),
      m_url_db(other.m_url_db),
      m_except(other.m_except) {}

CURLTypeConfig& CURLTypeConfig::operator=(const CURLTypeConfig& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    m_url_db = other.m_url_db;
    m_except = other.m_except;
  }
  return *this;
}

CURLTypeConfig::~CURLTypeConfig() {}

bool CURLTypeConfig::operator==(const CURLTypeConfig& other) const {
  return m_url_db == other.m_url_db && m_except == other.m_except;
}

void CURLTypeConfig::close() {
  m_url_db.url_db_type = -1;
  m_url_db.types.clear();
  m_except.Clear();
  ResetExceptCategory();
}

void CURLTypeConfig::ResetExceptCategory() {
  m_except.name = quarn_url::kExceptListName;
  m_except.hitype = 0;
  m_except.lotype = EXCEPT_URL_TYPE;
}

int CURLTypeConfig::FindURL(const char* url, uint64_t length,
                            const std::vector<tagOne_URL_Item>& items) {
  if (url == nullptr) return 0;
  for (const tagOne_URL_Item& item : items) {
    const std::string& pattern = item.url;
    if (item.match == 0) {
      if (quarn_url::FindBytes(url, length, pattern.data(), pattern.size())) {
        return 1;
      }
    } else if (pattern.size() <= length &&
               memcmp(url, pattern.data(), pattern.size()) == 0) {
      return 1;
    }
  }
  return 0;
}

int CURLTypeConfig::ReadOneURLType_S(CTinyXmlEx& doc, TiXmlNode* node,
                                     tagOne_URL_Type_List& list) {
  list.Clear();
  CTinyXmlEx::GetAttr(node, "hitype", list.hitype);
  CTinyXmlEx::GetAttr(node, "lotype", list.lotype);
  CTinyXmlEx::GetAttr(node, "name", list.name);
  if ((list.hitype | list.lotype) == 0) return 0;
  if (quarn_url::EqualsIgnoreAsciiCase(list.name,
                                       quarn_url::kSimpleACLListName)) {
    return 0;
  }
  ReadURLNameAndMathType_S(doc, node, list.items);
  return 1;
}

int CURLTypeConfig::ReadURLNameAndMathType_S(
    CTinyXmlEx& /*doc*/, TiXmlNode* parent,
    std::vector<tagOne_URL_Item>& items) {
  for (TiXmlNode* url = CTinyXmlEx::FirstChildElement(parent, "url");
       url != nullptr; url = CTinyXmlEx::NextSiblingElement(url, "url")) {
    std::string text;
    int match = 0;
    CTinyXmlEx::GetAttr(url, "url", text);
    CTinyXmlEx::GetAttr(url, "match", match);
    std::vector<std::string> pieces;
    quarn_url::SplitURLList(text, &pieces);
    for (std::string& piece : pieces) {
      tagOne_URL_Item item;
      item.url.swap(piece);
      item.match = match;
      items.push_back(std::move(item));
    }
  }
  return 1;
}

int CURLTypeConfig::WriteOneURLType_S(CTinyXmlEx& doc, TiXmlNode* parent,
                                      const tagOne_URL_Type_List& list) {
  TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(parent, "url_type");
  if (node == nullptr) return 0;
  CTinyXmlEx::SetAttr(node, "name", list.name);
  CTinyXmlEx::SetAttr(node, "hitype", list.hitype);
  CTinyXmlEx::SetAttr(node, "lotype", list.lotype);
  return WriteURLNameAndMathType_S(doc, node, list.items);
}

int CURLTypeConfig::WriteURLNameAndMathType_S(
    CTinyXmlEx& /*doc*/, TiXmlNode* node,
    const std::vector<tagOne_URL_Item>& items) {
  if (node == nullptr) return 0;
  for (const tagOne_URL_Item& item : items) {
    TiXmlNode* url = CTinyXmlEx::InsertEndChildElement(node, "url");
    CTinyXmlEx::SetAttr(url, "url", item.url);
    CTinyXmlEx::SetAttr(url, "match", item.match);
  }
  return 1;
}

bool CURLTypeConfig::OverlapsLoaded(const tagOne_URL_Type_List& list) const {
  for (const tagOne_URL_Type_List& loaded : m_url_db.types) {
    if ((loaded.hitype & list.hitype) || (loaded.lotype & list.lotype)) {
      return true;
    }
  }
  return false;
}

int CURLTypeConfig::ReadOneURLType(CTinyXmlEx& doc, TiXmlNode* node,
                                   tagOne_URL_Type_List& list) {
  if (!ReadOneURLType_S(doc, node, list)) return 0;
  return OverlapsLoaded(list) ? 0 : 1;
}

int CURLTypeConfig::LoadConfig(CTinyXmlEx& doc) {
  close();
  TiXmlNode* root = doc.GetRootNode();
  TiXmlNode* db = CTinyXmlEx::FirstChildElement(root, "url_db");
  if (db != nullptr) {
    int type = -1;
    CTinyXmlEx::GetAttr(db, "url_db_type", type);
    m_url_db.url_db_type = (type == -1) ? 2 : type;
    for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(db, "url_type");
         node != nullptr;
         node = CTinyXmlEx::NextSiblingElement(node, "url_type")) {
      tagOne_URL_Type_List list;
      if (ReadOneURLType(doc, node, list)) {
        m_url_db.types.push_back(std::move(list));
      }
    }
  }
  ReadExceptURL(doc, root);
  return 1;
}

int CURLTypeConfig::ReadExceptURL(CTinyXmlEx& doc, TiXmlNode* root) {
  TiXmlNode* except = CTinyXmlEx::FirstChildElement(root, "except_url");
  TiXmlNode* node = CTinyXmlEx::FirstChildElement(except, "url_type");
  int result = 0;
  if (node != nullptr) result = ReadOneURLType(doc, node, m_except);
  // Whatever the file calls it, this list is always the exclusion list.
  ResetExceptCategory();
  return result;
}

int CURLTypeConfig::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement("sys_url");
  if (root == nullptr) root = doc.GetOrCreateRootElement("sys_url");
  WriteOneDB(doc, root);
  WriteExceptURL(doc, root);
  return 1;
}

int CURLTypeConfig::WriteOneDB(CTinyXmlEx& doc, TiXmlNode* root) {
  // A configuration that holds no database (its kind still -1, as before
  // any load or after loading a document without one) is written without
  // one, so it reads back the same: a "url_db" with kind -1 or none reads
  // as the user database (2).
  if (m_url_db.url_db_type == -1 && m_url_db.types.empty()) return 1;
  TiXmlNode* db = CTinyXmlEx::InsertEndChildElement(root, "url_db");
  if (db == nullptr) return 0;
  CTinyXmlEx::SetAttr(db, "url_db_type", m_url_db.url_db_type);
  for (const tagOne_URL_Type_List& list : m_url_db.types) {
    WriteOneURLType(doc, db, list);
  }
  return 1;
}

int CURLTypeConfig::WriteOneURLType(CTinyXmlEx& doc, TiXmlNode* parent,
                                    const tagOne_URL_Type_List& list) {
  return WriteOneURLType_S(doc, parent, list);
}

int CURLTypeConfig::WriteExceptURL(CTinyXmlEx& doc, TiXmlNode* root) {
  TiXmlNode* except = CTinyXmlEx::InsertEndChildElement(root, "except_url");
  if (except == nullptr) return 0;
  return WriteOneURLType(doc, except, m_except);
}
