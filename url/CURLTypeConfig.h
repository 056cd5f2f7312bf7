// The URL category configuration: every category's name, mask and URL
// patterns, and a separate list of excepted URLs.
//
// Document layout (GBK):
//   <sys_url>
//     <url_db url_db_type="2">
//       <url_type name=".." hitype="0" lotype="2">
//         <url url="host.example,other.example" match="0"/>
//       </url_type>
//     </url_db>
//     <except_url><url_type ...><url .../></url_type></except_url>
//   </sys_url>
// A "url" attribute may hold several patterns separated by ","; each is
// trimmed and becomes an item of its own, and is written back as its own
// "url" element. Categories with a zero mask, the simplified
// configuration's category, and categories that share a bit with an
// earlier one are left out when loading.
//
// A configuration without a database kind (-1: nothing loaded, or a
// document without "url_db") and without categories is saved without
// "url_db" and reads back unchanged. Categories are always saved inside
// "url_db", and a kind of -1 there reads back as 2 (the user database).
//
// Every load replaces what the object holds. Not thread-safe.

#ifndef QUARN_URL_CURLTYPECONFIG_H_
#define QUARN_URL_CURLTYPECONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/url/URLTypes.h"

class QUARN_EXPORT CURLTypeConfig : public CBaseXMLConfig {
 public:
  // `lotype` of the excepted-URL list.
  static const uint64_t EXCEPT_URL_TYPE;
  // Reserved for host processes; no meaning inside the library.
  static const uint64_t URL_TYPE_RESERVE3;
  static const uint64_t URL_TYPE_RESERVE2;
  static const uint64_t URL_TYPE_RESERVE1;
  // `lotype` bit of the URLs of the simplified configuration.
  static const uint64_t SIMPLE_ACL_URL_TYPE;

  // One pattern. `match` 0: the pattern may occur anywhere in the URL;
  // any other value: the URL must begin with it.
  struct tagOne_URL_Item {
    std::string url;
    int match = 0;

    bool operator==(const tagOne_URL_Item& other) const {
      return url == other.url && match == other.match;
    }
  };

  // One category: its mask, display name and patterns in file order.
  struct tagOne_URL_Type_List {
    uint64_t hitype = 0;
    uint64_t lotype = 0;
    std::string name;
    std::vector<tagOne_URL_Item> items;

    void Clear() {
      hitype = lotype = 0;
      name.clear();
      items.clear();
    }
    bool operator==(const tagOne_URL_Type_List& other) const {
      return hitype == other.hitype && lotype == other.lotype &&
             name == other.name && items == other.items;
    }
  };

  // A whole database: its kind and its categories in file order.
  struct tagOne_URL_DB {
    int url_db_type = -1;
    std::vector<tagOne_URL_Type_List> types;

    bool operator==(const tagOne_URL_DB& other) const {
      return url_db_type == other.url_db_type && types == other.types;
    }
  };

  CURLTypeConfig();
  CURLTypeConfig(const CURLTypeConfig& other);
  CURLTypeConfig& operator=(const CURLTypeConfig& other);
  ~CURLTypeConfig() override;

  // Deep comparison of the database kind, every category with its items,
  // and the except list.
  bool operator==(const CURLTypeConfig& other) const;

  // Empties the categories (database kind back to -1, "not loaded") and
  // the except list; the except list keeps its name and category.
  void close() override;

  // The categories. Host processes may edit them before saving.
  tagOne_URL_DB& url_db() { return m_url_db; }
  const tagOne_URL_DB& url_db() const { return m_url_db; }
  // The excepted URLs (category `hitype` 0, `lotype` EXCEPT_URL_TYPE).
  tagOne_URL_Type_List& except_list() { return m_except; }
  const tagOne_URL_Type_List& except_list() const { return m_except; }

  // 1 when an item hits the first `length` bytes of `url`: a match-0 item
  // when its text occurs anywhere in them, another item when they begin
  // with its text. Items are tried in order; comparison is byte-wise and
  // case-sensitive. An empty list gives 0.
  static int FindURL(const char* url, uint64_t length,
                     const std::vector<tagOne_URL_Item>& items);

  // Reads the "url_type" element `node` into `list` (emptied first): mask,
  // name and items. 0 when the mask is zero or the category is the
  // simplified configuration's (the list is then left with what was read).
  static int ReadOneURLType_S(CTinyXmlEx& doc, TiXmlNode* node,
                              tagOne_URL_Type_List& list);
  // Appends the items of every "url" child of `parent` to `items`. Always 1.
  static int ReadURLNameAndMathType_S(CTinyXmlEx& doc, TiXmlNode* parent,
                                      std::vector<tagOne_URL_Item>& items);
  // Appends a "url_type" element for `list` (with its items) to `parent`.
  // 1 on success, 0 when `parent` is null.
  static int WriteOneURLType_S(CTinyXmlEx& doc, TiXmlNode* parent,
                               const tagOne_URL_Type_List& list);
  // Appends one "url" element per item to `node`. 1 on success, 0 when
  // `node` is null.
  static int WriteURLNameAndMathType_S(
      CTinyXmlEx& doc, TiXmlNode* node,
      const std::vector<tagOne_URL_Item>& items);

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;

  QUARN_HIDDEN int ReadOneURLType(CTinyXmlEx& doc, TiXmlNode* node,
                                  tagOne_URL_Type_List& list);
  QUARN_HIDDEN int WriteOneURLType(CTinyXmlEx& doc, TiXmlNode* parent,
                                   const tagOne_URL_Type_List& list);
  QUARN_HIDDEN int WriteOneDB(CTinyXmlEx& doc, TiXmlNode* root);
  QUARN_HIDDEN int ReadExceptURL(CTinyXmlEx& doc, TiXmlNode* root);
  QUARN_HIDDEN int WriteExceptURL(CTinyXmlEx& doc, TiXmlNode* root);
  // True when `list` shares a bit with a category already loaded.
  QUARN_HIDDEN bool OverlapsLoaded(const tagOne_URL_Type_List& list) const;
  QUARN_HIDDEN void ResetExceptCategory();

  tagOne_URL_DB m_url_db;
  tagOne_URL_Type_List m_except;
};

#endif  // QUARN_URL_CURLTYPECONFIG_H_
