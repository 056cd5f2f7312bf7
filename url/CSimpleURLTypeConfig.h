// The category names of one URL database, with the database's version.
//
// Reads the same document as CURLTypeConfig but keeps only each category's
// mask and name (no patterns), from every "url_db" element, with no overlap
// test; it reads the "version_info" element as well. The database kind
// ("url_db_type") is set by the owner and written on save; loading leaves
// it alone. The URL finder keeps one of these per database to turn masks
// back into names.
//
// Every load replaces the categories. Not thread-safe.

#ifndef QUARN_URL_CSIMPLEURLTYPECONFIG_H_
#define QUARN_URL_CSIMPLEURLTYPECONFIG_H_

#include "quarn_common/base/Export.h"

#include "quarn_common/appid/CAppSubtypeReader.h"
#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/url/CURLTypeConfig.h"

class QUARN_EXPORT CSimpleURLTypeConfig : public CBaseXMLConfig {
 public:
  CSimpleURLTypeConfig();
  CSimpleURLTypeConfig(const CSimpleURLTypeConfig& other);
  CSimpleURLTypeConfig& operator=(const CSimpleURLTypeConfig& other);
  ~CSimpleURLTypeConfig() override;

  // Compares the database kind and the categories, not the version.
  bool operator==(const CSimpleURLTypeConfig& other) const;

  // Empties the category list; version and database kind are kept.
  void close() override;

  // The database kind written as "url_db_type" (0 system, 2 user).
  void SetDBType(int type) { m_url_db.url_db_type = type; }
  int GetDBType() const { return m_url_db.url_db_type; }

  // The categories (mask and name; no items), in file order.
  const CURLTypeConfig::tagOne_URL_DB& url_db() const { return m_url_db; }
  CURLTypeConfig::tagOne_URL_DB& url_db() { return m_url_db; }
  // The version record last read, empty fields until then.
  const __ST_DB_VERSION_TMP__& version() const { return m_version; }
  __ST_DB_VERSION_TMP__& version() { return m_version; }

  // Reads the "version_info" child of `node` into `version`; 0 (and
  // `version` untouched) when there is none.
  static int ReadVersion(CTinyXmlEx& doc, TiXmlNode* node,
                         __ST_DB_VERSION_TMP__& version);
  // Appends a "version_info" element for `version` to `node`; 0 when
  // `node` is null.
  static int WriteVersion(CTinyXmlEx& doc, TiXmlNode* node,
                          const __ST_DB_VERSION_TMP__& version);

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;

  QUARN_HIDDEN int ReadOneURLType(CTinyXmlEx& doc, TiXmlNode* node,
                                  CURLTypeConfig::tagOne_URL_Type_List& list);
  QUARN_HIDDEN int WriteOneDB(CTinyXmlEx& doc, TiXmlNode* root);
  QUARN_HIDDEN int WriteOneURLType(
      CTinyXmlEx& doc, TiXmlNode* parent,
      const CURLTypeConfig::tagOne_URL_Type_List& list);

  __ST_DB_VERSION_TMP__ m_version;
  CURLTypeConfig::tagOne_URL_DB m_url_db;
};

#endif  // QUARN_URL_CSIMPLEURLTYPECONFIG_H_
