// The audit filter policy: which traffic the gateway leaves out of, or
// always keeps in, its audit records.
//
// The policy holds a white list and a black list of address pairs
// (tagSIMPLE_IP_FILTER) and, for seven audited applications (web, mail,
// msn, qq, ymsg, ftp, telnet), a list of text fragments and a list of
// address ranges. It lives in the document "audit_filter_policy":
//
//   <audit_filter_policy>
//     <white_list><ip .../></white_list>
//     <black_list><ip .../></black_list>
//     <web><string>fragment</string><ip_range>a.b.c.d-e.f.g.h</ip_range></web>
//     ... mail, msn, qq, ymsg, ftp, telnet alike
//   </audit_filter_policy>
//
// The root's name is not checked on reading. Loading replaces the whole
// policy. No locks: the owner loads the process-wide instance, then readers
// query it; nobody reloads while readers run.

#ifndef QUARN_FILTER_CAUDITFILTERCONFIG_H_
#define QUARN_FILTER_CAUDITFILTERCONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/address/AddressPredicates.h"
#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/base/Orva_SimpleFltIO.h"

// One application's audit filter: text fragments and address ranges, both
// in file order.
class QUARN_EXPORT COneAppAuditFilterConfig {
 public:
  COneAppAuditFilterConfig() = default;

  // 1 when some fragment occurs in `text` as a byte-exact, case-sensitive
  // substring (an empty fragment occurs in every text); 0 otherwise, and
  // always 0 for a null text or an empty list.
  int find(const char* text) const;
  // 1 when `a` or `b` lies in some range (low <= value <= high); 0
  // otherwise. A range whose low is above its high holds nothing.
  int find(uint32_t a, uint32_t b) const;
  // find(first address, second address) of the connection.
  int find(const tagIPv4_CONNECT_ADDR& addr) const;

  // Appends the "string" and "ip_range" items below `node` to the lists.
  // Always 1.
  int Load(CTinyXmlEx& doc, TiXmlNode* node);
  // Writes the lists as "string" then "ip_range" items below `node`.
  // Always 1.
  int Save(CTinyXmlEx& doc, TiXmlNode* node) const;
  // Empties both lists.
  void Close();

  bool operator==(const COneAppAuditFilterConfig& other) const {
    return strings == other.strings && ranges == other.ranges;
  }
  bool operator!=(const COneAppAuditFilterConfig& other) const {
    return !(*this == other);
  }

  std::vector<std::string> strings;   // GBK fragments
  std::vector<IP_RANGE_PAIR> ranges;  // host order, inclusive
};

class QUARN_EXPORT CAuditFilterConfig {
 public:
  // An empty policy.
  CAuditFilterConfig() = default;

  // Replaces the policy with the file at `path`, which is remembered for
  // SaveToFile(). Returns 1 when the file parsed and has a root element,
  // else 0 with the policy left empty.
  int LoadFromFile(const char* path);
  // Replaces the policy with `length` bytes of XML at `text`; a null text
  // or a zero length is an empty policy (1). 0 when the text does not parse
  // or has no root element. The remembered path is kept.
  int LoadFromMem(const char* text, int length);
  // Writes the whole policy to `path` as a new document. Returns 1 when the
  // document was built; a failure to write the file is not reported.
  int SaveToFile(const char* path);
  // SaveToFile(file_name); 0 when no file was loaded.
  int SaveToFile();
  // Empties both address filters and all seven applications; file_name
  // stays.
  void Close();

  // 1 when the white (black) list is set and the pair (`first`, `second`)
  // matches it; an unset list matches nothing, even when inverted.
  int IsWhiteList(uint32_t first, uint32_t second) const;
  int IsBlackList(uint32_t first, uint32_t second) const;
  int IsWhiteList(const tagIPv4_CONNECT_ADDR& addr) const;
  int IsBlackList(const tagIPv4_CONNECT_ADDR& addr) const;

  // Compares the address filters and the applications, not file_name.
  bool operator==(const CAuditFilterConfig& other) const;
  bool operator!=(const CAuditFilterConfig& other) const {
    return !(*this == other);
  }

  tagSIMPLE_IP_FILTER white_list;
  tagSIMPLE_IP_FILTER black_list;
  COneAppAuditFilterConfig web;
  COneAppAuditFilterConfig mail;
  COneAppAuditFilterConfig msn;
  COneAppAuditFilterConfig qq;
  COneAppAuditFilterConfig ymsg;
  COneAppAuditFilterConfig ftp;
  COneAppAuditFilterConfig telnet;
  std::string file_name;  // path of the last LoadFromFile

 private:
  // Reads an opened document; 0 when it has no root element.
  int Load(CTinyXmlEx& doc);
  QUARN_HIDDEN void read_white_list(CTinyXmlEx& doc, TiXmlNode* root);
  QUARN_HIDDEN void read_black_list(CTinyXmlEx& doc, TiXmlNode* root);
  QUARN_HIDDEN void write_white_list(CTinyXmlEx& doc, TiXmlNode* root) const;
  QUARN_HIDDEN void write_black_list(CTinyXmlEx& doc, TiXmlNode* root) const;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CAuditFilterConfig, ACE_Null_Mutex>;

// The process-wide audit filter policy.
class QUARN_EXPORT CAuditFilterConfig_Singleton
    : public ACE_Singleton<CAuditFilterConfig, ACE_Null_Mutex> {
 public:
  static CAuditFilterConfig* instance() {
    return ACE_Singleton<CAuditFilterConfig, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_FILTER_CAUDITFILTERCONFIG_H_
