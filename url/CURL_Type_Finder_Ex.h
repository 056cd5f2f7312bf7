// Classifies URLs against the system's URL category database and the
// administrator's, and turns category masks back into names.
//
// Use: init() with the capacity of each matcher slot of both finders, then
// LoadURLDB() with the two database files, then any number of find_url().
// System categories come back in `hitype`, the administrator's in
// `lotype`; the answer is the union of both databases. The system database
// is plain XML or, when its path contains ".dat", the enciphered form that
// CBaseXMLConfig::LoadCryDataFile reads. Every load empties the finder it
// fills first, so reloading never doubles patterns.
//
// Not thread-safe: a search changes the matchers' state, so one object
// serves one thread at a time, and loads must not overlap searches.
// Copies are deep: a copy has finders of its own with the same patterns.

#ifndef QUARN_URL_CURL_TYPE_FINDER_EX_H_
#define QUARN_URL_CURL_TYPE_FINDER_EX_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/url/CSimpleURLTypeConfig.h"
#include "quarn_common/url/CURLTypeConfig.h"
#include "quarn_common/url/CURL_Type_Finder.h"
#include "quarn_common/url/URLTypes.h"

class QUARN_EXPORT CURL_Type_Finder_Ex {
 public:
  typedef CURL_Type_Finder<URL_TYPE, URL_GROUP_TYPE> Finder;

  CURL_Type_Finder_Ex();
  CURL_Type_Finder_Ex(const CURL_Type_Finder_Ex& other);
  CURL_Type_Finder_Ex& operator=(const CURL_Type_Finder_Ex& other);
  // Calls close().
  ~CURL_Type_Finder_Ex();

  // Stores the capacities (fragment entries) of the five slots of each
  // finder, in the order host_www, host, prefix_www, prefix, domain_suffix,
  // and whether each keeps pattern texts by category, and creates both
  // finders empty. A slot of capacity 0 drops its patterns.
  void init(uint64_t sys_host_www, uint64_t sys_host, uint64_t sys_prefix_www,
            uint64_t sys_prefix, uint64_t sys_domain_suffix, int sys_keep_names,
            uint64_t user_host_www, uint64_t user_host,
            uint64_t user_prefix_www, uint64_t user_prefix,
            uint64_t user_domain_suffix, int user_keep_names);

  // Empties both finders, then loads the system database from `sys_path`
  // and the user database from `user_path` (either may be null: that
  // finder stays empty). The user database's category names are always
  // loaded; its patterns only when `user_load` is non-zero.
  void LoadURLDB(const char* sys_path, const char* user_path, int user_load);
  // Empties and reloads the user finder only.
  void ReLoadUserURLDB(const char* user_path, int user_load);

  // ORs into `set` (not cleared first) the categories of both databases
  // that the `length` bytes at `url` fall into. 1 when `set` is non-empty
  // afterwards, also when it was before the call.
  int find_url(const char* url, int length, URL_GROUP_TYPE& set);
  // The same for every URL of `urls`, into one set.
  int find_url(const std::vector<std::string>& urls, URL_GROUP_TYPE& set);

  // Adds the items of `list` (text and match type) to the user finder
  // under the list's category; they last until the user database is next
  // loaded. Used for the simplified configuration's URLs.
  void AddSimpleACLURLType(const CURLTypeConfig::tagOne_URL_Type_List& list);

  // A display name for `set`: "用户自定义URL" when it holds the simplified
  // configuration's bit, else the name of the first category of the user
  // database, then of the system database, that shares a bit with it;
  // empty when none does.
  std::string GetURLTypeName(const URL_GROUP_TYPE& set) const;

  // The pattern texts kept for exactly `category` (system finder when its
  // `hitype` is non-zero, else or failing that the user finder when its
  // `lotype` is), or null. Valid until the next load, AddSimpleACLURLType
  // or close().
  const std::vector<std::string>* GetNameByURLType(
      const URL_TYPE& category) const;

  // Releases both finders; a load then fills nothing until init() again.
  void close();

  // The finders (null before init() and after close()) and the name
  // configurations, for inspection.
  const Finder* system_finder() const { return m_sys_finder.get(); }
  const Finder* user_finder() const { return m_user_finder.get(); }
  const CSimpleURLTypeConfig& system_names() const { return m_sys_names; }
  const CSimpleURLTypeConfig& user_names() const { return m_user_names; }

 private:
  QUARN_HIDDEN void LoadBoth(const char* sys_path, const char* user_path,
                             int user_load);
  QUARN_HIDDEN void LoadSysURLDB_XmlFile(const char* path);
  QUARN_HIDDEN void LoadSysURLDB_DataFile(const char* path);
  QUARN_HIDDEN void LoadSysURLDBFromMem(const char* text, int length);
  QUARN_HIDDEN void LoadSysURLDB(CTinyXmlEx& doc);
  QUARN_HIDDEN void LoadUserURLDB(const char* path, int user_load);
  // Reads every "url_type" of the document's "url_db" into `finder`.
  QUARN_HIDDEN static void ReadURLDB(Finder* finder, CTinyXmlEx& doc);
  QUARN_HIDDEN static int ReadOneURLType(Finder* finder, CTinyXmlEx& doc,
                                         TiXmlNode* element);

  std::unique_ptr<Finder> m_sys_finder;
  std::unique_ptr<Finder> m_user_finder;
  Finder::Sizes m_sys_sizes;
  Finder::Sizes m_user_sizes;
  CSimpleURLTypeConfig m_user_names;
  CSimpleURLTypeConfig m_sys_names;
};

#endif  // QUARN_URL_CURL_TYPE_FINDER_EX_H_
