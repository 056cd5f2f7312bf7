// The white URL list: hosts and URLs the gateway lets through.
//
// Document layout: root "white_url" holding an element "white_url" whose
// "url" children carry "url" (one or more patterns separated by ",") and
// "match" (0: the pattern may occur anywhere; other: the text must begin
// with it). Items keep file order; duplicates are kept.
//
// Every load replaces the list. IsWhiteHost only reads; hosts must not
// reload while it runs. No lock is taken.

#ifndef QUARN_URL_CWHITEURLCONFIG_H_
#define QUARN_URL_CWHITEURLCONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/url/CURLTypeConfig.h"

class QUARN_EXPORT CWhiteURLConfig : public CBaseXMLConfig {
 public:
  typedef std::vector<CURLTypeConfig::tagOne_URL_Item> ItemList;

  CWhiteURLConfig();
  CWhiteURLConfig(const CWhiteURLConfig& other);
  CWhiteURLConfig& operator=(const CWhiteURLConfig& other);
  ~CWhiteURLConfig() override;

  // True when both lists hold the same items in the same order.
  bool operator==(const CWhiteURLConfig& other) const;

  // Empties the list.
  void close() override;

  // 1 when an item hits the first `length` bytes of `text` (a host name or
  // a URL), by CURLTypeConfig::FindURL: byte-wise, case-sensitive, with no
  // special handling of "www.".
  int IsWhiteHost(const char* text, uint64_t length) const;

  // The items, in file order. Host processes may edit them before saving.
  ItemList& items() { return m_items; }
  const ItemList& items() const { return m_items; }

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;

  ItemList m_items;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CWhiteURLConfig, ACE_Null_Mutex>;

// The process-wide white URL list, created empty on first access; the host
// process that owns the file loads it.
class QUARN_EXPORT CWhiteURLConfig_Singleton
    : public ACE_Singleton<CWhiteURLConfig, ACE_Null_Mutex> {
 public:
  static CWhiteURLConfig* instance() {
    return ACE_Singleton<CWhiteURLConfig, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_URL_CWHITEURLCONFIG_H_
