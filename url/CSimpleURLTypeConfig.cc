#include "url/CSimpleURLTypeConfig.h"

#include "url/internal/URLText.h"

CSimpleURLTypeConfig::CSimpleURLTypeConfig() {}

CSimpleURLTypeConfig::CSimpleURLTypeConfig(const CSimpleURLTypeConfig& other)
    : CBaseXMLConfig(other),
      m_version(other.m_version),
      m_url_db(other.m_url_db) {}

CSimpleURLTypeConfig& CSimpleURLTypeConfig::operator=(
    const CSimpleURLTypeConfig& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    m_version = other.m_version;
    m_url_db = other.m_url_db;
  }
  return *this;
}

CSimpleURLTypeConfig::~CSimpleURLTypeConfig() {}

bool CSimpleURLTypeConfig::operator==(const CSimpleURLTypeConfig& other) const {
  return m_url_db == other.m_url_db;
}

void CSimpleURLTypeConfig::close() { m_url_db.types.clear(); }

int CSimpleURLTypeConfig::ReadVersion(CTinyXmlEx& /*doc*/, TiXmlNode* node,
                                      __ST_DB_VERSION_TMP__& version) {
  TiXmlNode* info = CTinyXmlEx::FirstChildElement(node, "version_info");
  if (info == nullptr) return 0;
  CTinyXmlEx::GetAttr(info, "current", version.current);
  CTinyXmlEx::GetAttr(info, "time", version.time);
  return 1;
}

int CSimpleURLTypeConfig::WriteVersion(CTinyXmlEx& /*doc*/, TiXmlNode* node,
                                       const __ST_DB_VERSION_TMP__& version) {
  TiXmlNode* info = CTinyXmlEx::InsertEndChildElement(node, "version_info");
  if (info == nullptr) return 0;
  CTinyXmlEx::SetAttr(info, "current", version.current);
  CTinyXmlEx::SetAttr(info, "time", version.time);
  return 1;
}

int CSimpleURLTypeConfig::ReadOneURLType(
    CTinyXmlEx& /*doc*/, TiXmlNode* node,
    CURLTypeConfig::tagOne_URL_Type_List& list) {
  list.Clear();
  CTinyXmlEx::GetAttr(node, "hitype", list.hitype);
  CTinyXmlEx::GetAttr(node, "lotype", list.lotype);
  CTinyXmlEx::GetAttr(node, "name", list.name);
  if ((list.hitype | list.lotype) == 0) return 0;
  return quarn_url::EqualsIgnoreAsciiCase(list.name,
                                          quarn_url::kSimpleACLListName)
             ? 0
             : 1;
}

int CSimpleURLTypeConfig::LoadConfig(CTinyXmlEx& doc) {
  close();
  TiXmlNode* root = doc.GetRootNode();
  ReadVersion(doc, root, m_version);
  for (TiXmlNode* db = CTinyXmlEx::FirstChildElement(root, "url_db");
       db != nullptr; db = CTinyXmlEx::NextSiblingElement(db, "url_db")) {
    for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(db, "url_type");
         node != nullptr;
         node = CTinyXmlEx::NextSiblingElement(node, "url_type")) {
      CURLTypeConfig::tagOne_URL_Type_List list;
      if (ReadOneURLType(doc, node, list)) {
        m_url_db.types.push_back(std::move(list));
      }
    }
  }
  return 1;
}

int CSimpleURLTypeConfig::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement("sys_url");
  if (root == nullptr) root = doc.GetOrCreateRootElement("sys_url");
  WriteVersion(doc, root, m_version);
  WriteOneDB(doc, root);
  return 1;
}

int CSimpleURLTypeConfig::WriteOneDB(CTinyXmlEx& doc, TiXmlNode* root) {
  TiXmlNode* db = CTinyXmlEx::InsertEndChildElement(root, "url_db");
  if (db == nullptr) return 0;
  CTinyXmlEx::SetAttr(db, "url_db_type", m_url_db.url_db_type);
  for (const CURLTypeConfig::tagOne_URL_Type_List& list : m_url_db.types) {
    WriteOneURLType(doc, db, list);
  }
  return 1;
}

int CSimpleURLTypeConfig::WriteOneURLType(
    CTinyXmlEx& /*doc*/, TiXmlNode* parent,
    const CURLTypeConfig::tagOne_URL_Type_List& list) {
  TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(parent, "url_type");
  if (node == nullptr) return 0;
  CTinyXmlEx::SetAttr(node, "name", list.name);
  CTinyXmlEx::SetAttr(node, "hitype", list.hitype);
  CTinyXmlEx::SetAttr(node, "lotype", list.lotype);
  return 1;
}
