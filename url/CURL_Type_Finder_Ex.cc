#include "url/CURL_Type_Finder_Ex.h"

#include <string.h>

#include <exception>
#include <new>

#include "base/CBaseXMLConfig.h"
#include "base/OrvaMem.h"
#include "base/internal/NoThrow.h"
#include "url/internal/URLText.h"

namespace {

// Database kinds written as "url_db_type" by the name configurations.
const int kSystemDB = 0;
const int kUserDB = 2;

bool SharesBit(const CURLTypeConfig::tagOne_URL_Type_List& list,
               const URL_GROUP_TYPE& set) {
  return (list.hitype & set.hitype) != 0 || (list.lotype & set.lotype) != 0;
}

}  // namespace

CURL_Type_Finder_Ex::CURL_Type_Finder_Ex() {}

CURL_Type_Finder_Ex::CURL_Type_Finder_Ex(const CURL_Type_Finder_Ex& other)
    : m_sys_sizes(other.m_sys_sizes),
      m_user_sizes(other.m_user_sizes),
      m_user_names(other.m_user_names),
      m_sys_names(other.m_sys_names) {
  if (other.m_sys_finder) m_sys_finder.reset(new Finder(*other.m_sys_finder));
  if (other.m_user_finder) {
    m_user_finder.reset(new Finder(*other.m_user_finder));
  }
}

CURL_Type_Finder_Ex& CURL_Type_Finder_Ex::operator=(
    const CURL_Type_Finder_Ex& other) {
  if (this != &other) {
    CURL_Type_Finder_Ex copy(other);
    m_sys_finder.swap(copy.m_sys_finder);
    m_user_finder.swap(copy.m_user_finder);
    m_sys_sizes = copy.m_sys_sizes;
    m_user_sizes = copy.m_user_sizes;
    m_user_names = copy.m_user_names;
    m_sys_names = copy.m_sys_names;
  }
  return *this;
}

CURL_Type_Finder_Ex::~CURL_Type_Finder_Ex() { close(); }

void CURL_Type_Finder_Ex::init(uint64_t sys_host_www, uint64_t sys_host,
                               uint64_t sys_prefix_www, uint64_t sys_prefix,
                               uint64_t sys_domain_suffix, int sys_keep_names,
                               uint64_t user_host_www, uint64_t user_host,
                               uint64_t user_prefix_www, uint64_t user_prefix,
                               uint64_t user_domain_suffix,
                               int user_keep_names) {
  const uint64_t sys[] = {sys_host_www, sys_host, sys_prefix_www, sys_prefix,
                          sys_domain_suffix};
  const uint64_t user[] = {user_host_www, user_host, user_prefix_www,
                           user_prefix, user_domain_suffix};
  for (int i = 0; i < Finder::kSlotCount; ++i) {
    m_sys_sizes.slot[i] = sys[i];
    m_user_sizes.slot[i] = user[i];
  }
  m_sys_sizes.keep_names = sys_keep_names;
  m_user_sizes.keep_names = user_keep_names;
  m_sys_finder.reset(new (std::nothrow) Finder());
  m_user_finder.reset(new (std::nothrow) Finder());
}

void CURL_Type_Finder_Ex::close() {
  m_sys_finder.reset();
  m_user_finder.reset();
}

void CURL_Type_Finder_Ex::LoadURLDB(const char* sys_path, const char* user_path,
                                    int user_load) {
  // Out of memory, the finders keep what they had read by then.
  quarn_guard::Guarded(false, [&]() {
    if (m_sys_finder) m_sys_finder->Build(m_sys_sizes);
    if (m_user_finder) m_user_finder->Build(m_user_sizes);
    if (sys_path != nullptr) {
      m_sys_names.SetDBType(kSystemDB);
      if (strstr(sys_path, ".dat") != nullptr) {
        m_sys_names.LoadFromCryDataFile(sys_path);
        LoadSysURLDB_DataFile(sys_path);
      } else {
        m_sys_names.LoadFromFile(sys_path);
        LoadSysURLDB_XmlFile(sys_path);
      }
    }
    if (user_path != nullptr) {
      m_user_names.SetDBType(kUserDB);
      m_user_names.LoadFromFile(user_path);
      LoadUserURLDB(user_path, user_load);
    }
    return true;
  });
}

void CURL_Type_Finder_Ex::ReLoadUserURLDB(const char* user_path,
                                          int user_load) {
  quarn_guard::Guarded(false, [&]() {
    if (m_user_finder) m_user_finder->Build(m_user_sizes);
    if (user_path != nullptr) {
      m_user_names.SetDBType(kUserDB);
      m_user_names.LoadFromFile(user_path);
      LoadUserURLDB(user_path, user_load);
    }
    return true;
  });
}

void CURL_Type_Finder_Ex::LoadSysURLDB_XmlFile(const char* path) {
  CTinyXmlEx doc;
  if (doc.open_for_readonly(path) != 0) return;
  LoadSysURLDB(doc);
}

void CURL_Type_Finder_Ex::LoadSysURLDB_DataFile(const char* path) {
  char* buffer = nullptr;
  int length = 0;
  if (!CBaseXMLConfig::LoadCryDataFile(path, buffer, length)) return;
  LoadSysURLDBFromMem(buffer, length);
  Orva::MyMemFree(buffer);
}

void CURL_Type_Finder_Ex::LoadSysURLDBFromMem(const char* text, int length) {
  CTinyXmlEx doc;
  if (doc.open(text, length) != 0) return;
  LoadSysURLDB(doc);
}

void CURL_Type_Finder_Ex::LoadSysURLDB(CTinyXmlEx& doc) {
  ReadURLDB(m_sys_finder.get(), doc);
}

void CURL_Type_Finder_Ex::LoadUserURLDB(const char* path, int user_load) {
  CTinyXmlEx doc;
  if (doc.open_for_readonly(path) != 0 || !user_load) return;
  ReadURLDB(m_user_finder.get(), doc);
}

void CURL_Type_Finder_Ex::ReadURLDB(Finder* finder, CTinyXmlEx& doc) {
  if (finder == nullptr) return;
  TiXmlNode* db = CTinyXmlEx::FirstChildElement(doc.GetRootNode(), "url_db");
  for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(db, "url_type");
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, "url_type")) {
    ReadOneURLType(finder, doc, node);
  }
}

int CURL_Type_Finder_Ex::ReadOneURLType(Finder* finder, CTinyXmlEx& doc,
                                        TiXmlNode* element) {
  URL_TYPE category;
  CTinyXmlEx::GetAttr(element, "hitype", category.hitype);
  CTinyXmlEx::GetAttr(element, "lotype", category.lotype);
  if (category.IsZero()) return 0;
  std::vector<CURLTypeConfig::tagOne_URL_Item> items;
  CURLTypeConfig::ReadURLNameAndMathType_S(doc, element, items);
  for (const CURLTypeConfig::tagOne_URL_Item& item : items) {
    finder->AddURL(item.url, category, item.match);
  }
  return 1;
}

int CURL_Type_Finder_Ex::find_url(const char* url, int length,
                                  URL_GROUP_TYPE& set) {
  if (m_sys_finder) m_sys_finder->FindURL(url, length, set);
  if (m_user_finder) m_user_finder->FindURL(url, length, set);
  return set.IsNotZero();
}

int CURL_Type_Finder_Ex::find_url(const std::vector<std::string>& urls,
                                  URL_GROUP_TYPE& set) {
  for (const std::string& url : urls) {
    find_url(url.data(), static_cast<int>(url.size()), set);
  }
  return set.IsNotZero();
}

void CURL_Type_Finder_Ex::AddSimpleACLURLType(
    const CURLTypeConfig::tagOne_URL_Type_List& list) {
  if (!m_user_finder) return;
  URL_TYPE category(list.hitype, list.lotype);
  try {
    for (const CURLTypeConfig::tagOne_URL_Item& item : list.items) {
      m_user_finder->AddURL(item.url, category, item.match);
    }
  } catch (const std::exception&) {
  }
}

std::string CURL_Type_Finder_Ex::GetURLTypeName(
    const URL_GROUP_TYPE& set) const {
  if (set.lotype & CURLTypeConfig::SIMPLE_ACL_URL_TYPE) {
    return quarn_url::kUserDefinedURLName;
  }
  for (const CSimpleURLTypeConfig* names : {&m_user_names, &m_sys_names}) {
    for (const auto& list : names->url_db().types) {
      if (SharesBit(list, set)) return list.name;
    }
  }
  return std::string();
}

const std::vector<std::string>* CURL_Type_Finder_Ex::GetNameByURLType(
    const URL_TYPE& category) const {
  const std::vector<std::string>* names = nullptr;
  if (m_sys_finder && category.hitype != 0) {
    names = m_sys_finder->GetNames(category);
  }
  if (names == nullptr && m_user_finder && category.lotype != 0) {
    names = m_user_finder->GetNames(category);
  }
  return names;
}
