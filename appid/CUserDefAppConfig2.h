// The lighter form of administrator-defined applications: address and port
// conditions mapped onto an application id that already exists in the
// protocol tree. Kept in the "user_def_app" document, version 2, which
// shares the entry layout of version 1 without names, kinds or judge
// values.
//
// Loading checks each id against the process-wide protocol tree, so the
// tree must be read first. No locks: a reload must not overlap lookups.

#ifndef QUARN_APPID_CUSERDEFAPPCONFIG2_H_
#define QUARN_APPID_CUSERDEFAPPCONFIG2_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/address/AddressPredicates.h"
#include "quarn_common/base/CTinyXmlEx.h"

// One mapping: connections whose server address is in `ips` and whose
// server port is in `ports` belong to `appid`. The direction is handled as
// for UserDefAppItem: an undecided one is settled and written back.
class QUARN_EXPORT UserDefAppItem2 {
 public:
  UserDefAppItem2();
  UserDefAppItem2(const UserDefAppItem2& other) = default;
  UserDefAppItem2& operator=(const UserDefAppItem2& other) = default;
  bool operator==(const UserDefAppItem2& other) const;
  bool operator!=(const UserDefAppItem2& other) const {
    return !(*this == other);
  }

  // 1 when `trans_type` shares a bit with `transport` and the server's
  // address and port are in the lists.
  int Cmp(const tagIPv4_CONNECT_ADDR& addr, int transport, DIR_CS& dir) const;

  // 1 when both `ips` and `ports` are empty.
  int IsEmpty() const;
  // Id 0, transport mask 1 (not all bits, unlike a new item), lists empty.
  void close();

  uint32_t appid;       // an id of the protocol tree; 0 while none is given
  uint32_t trans_type;  // mask of transports; all bits in a new item
  std::vector<UINT16_RANGE_PAIR> ports;  // inclusive; empty holds all
  std::vector<IP_RANGE_PAIR> ips;        // inclusive; empty holds all

 private:
  int Cmp(const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir) const;
  QUARN_HIDDEN int Cmp_ServerIPAndServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                             DIR_CS& dir) const;
};

// The version-2 "user_def_app" document, items in file order.
class QUARN_EXPORT CUserDefAppConfig2 {
 public:
  CUserDefAppConfig2() {}
  CUserDefAppConfig2(const CUserDefAppConfig2& other) = default;
  CUserDefAppConfig2& operator=(const CUserDefAppConfig2& other) = default;
  // Items and name compared.
  bool operator==(const CUserDefAppConfig2& other) const;
  bool operator!=(const CUserDefAppConfig2& other) const {
    return !(*this == other);
  }

  // Replaces the items with those of the file at `path` and sets `name` to
  // the file's base name. Entries whose id the protocol tree does not hold
  // are left out. False, with no items, when the file cannot be read or
  // parsed.
  bool read(const char* path);
  // The same as read(), under the name every self-loading class offers.
  bool LoadFromFile(const char* path) { return read(path); }
  // The same from `length` bytes at `text`; no text or a length of 0 gives
  // true and no items.
  bool LoadFromMem(const char* text, int length);
  // Writes the document to `path`. False when it cannot be created or
  // written.
  bool SaveToFile(const char* path) const;

  // The first item, in list order, that matches, or null. Valid until the
  // next load, close() or change of `items`.
  const UserDefAppItem2* find(const tagIPv4_CONNECT_ADDR& addr, int transport,
                              DIR_CS& dir) const;

  // Empties the item list; `name` stays.
  void close();

  std::string name;  // base name of the file last read, without extension
  std::vector<UserDefAppItem2> items;

 private:
  QUARN_HIDDEN bool ReadDocument(CTinyXmlEx& doc);
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CUserDefAppConfig2, ACE_Null_Mutex>;

class QUARN_EXPORT CUserDefAppConfig2_Singleton
    : public ACE_Singleton<CUserDefAppConfig2, ACE_Null_Mutex> {
 public:
  static CUserDefAppConfig2* instance() {
    return ACE_Singleton<CUserDefAppConfig2, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_APPID_CUSERDEFAPPCONFIG2_H_
