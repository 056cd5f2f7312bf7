// Applications the administrator defines by address and port: a connection
// whose server (or client) lies in given ranges belongs to a given
// application. Kept in the "user_def_app" document, version 1.
//
// Entering the named applications into the protocol tree
// (CAppSubtypeReader::AddUserDefApp) is the host's business, not this
// class's. No locks: a reload must not overlap lookups.

#ifndef QUARN_APPID_CUSERDEFAPPCONFIG_H_
#define QUARN_APPID_CUSERDEFAPPCONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/address/AddressPredicates.h"
#include "quarn_common/base/CTinyXmlEx.h"

// One administrator-defined application and the condition a connection
// must meet to belong to it.
//
// The direction handed to the Cmp operations says which endpoint is the
// server: DIR_CS_FIRST_CLIENT means the second endpoint is, and
// DIR_CS_FIRST_SERVER the first. When it is DIR_CS_UNKNOWN, a condition that
// involves the server or the client tries the second endpoint as the server
// first, then the first endpoint, and on success writes back the direction
// it used; on failure the direction is left alone.
class QUARN_EXPORT UserDefAppItem {
 public:
  // Values of cond_type; any other value never matches.
  enum {
    COND_SERVER_PORT = 1,            // the server's port in `ports`
    COND_CLIENT_PORT = 2,            // the client's port in `ports`
    COND_SERVER_IP_SERVER_PORT = 3,  // the server's address and port
    COND_CLIENT_IP_SERVER_PORT = 4,  // the client's address, server's port
    COND_ANY_IP = 5,                 // either endpoint's address in `ips`
  };

  UserDefAppItem();
  UserDefAppItem(const UserDefAppItem& other) = default;
  UserDefAppItem& operator=(const UserDefAppItem& other) = default;
  bool operator==(const UserDefAppItem& other) const;
  bool operator!=(const UserDefAppItem& other) const {
    return !(*this == other);
  }

  // 1 when `trans_type` shares a bit with `transport`, `judge_type` equals
  // `judge` and the condition holds for `addr`.
  int Cmp(const tagIPv4_CONNECT_ADDR& addr, int transport, int judge,
          DIR_CS& dir) const;
  // The same without the judge test.
  int Cmp(const tagIPv4_CONNECT_ADDR& addr, int transport, DIR_CS& dir) const;

  // 1 when both `ips` and `ports` are empty.
  int IsEmpty() const;
  // Back to the defaults.
  void close();

  uint32_t cond_type;   // which condition applies; 1 by default
  uint32_t judge_type;  // must equal the caller's judge value; 0
  uint32_t trans_type;  // mask of transports; all bits by default
  uint32_t appid;       // 0 while no id is given
  std::string name;
  std::string desc;
  // Inclusive ranges; an empty list holds every value.
  std::vector<UINT16_RANGE_PAIR> ports;
  std::vector<IP_RANGE_PAIR> ips;

 private:
  // The condition alone.
  int Cmp(const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir) const;
  QUARN_HIDDEN int Cmp_ServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                  DIR_CS& dir) const;
  QUARN_HIDDEN int Cmp_ClientPort(const tagIPv4_CONNECT_ADDR& addr,
                                  DIR_CS& dir) const;
  QUARN_HIDDEN int Cmp_ServerIPAndServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                             DIR_CS& dir) const;
  QUARN_HIDDEN int Cmp_ClientIPAndServerPort(const tagIPv4_CONNECT_ADDR& addr,
                                             DIR_CS& dir) const;
  // Kind 5 neither reads nor writes the direction.
  QUARN_HIDDEN int Cmp_IP(const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir) const;
};

// The version-1 "user_def_app" document: named applications with ids of
// their own, in file order.
class QUARN_EXPORT CUserDefAppConfig {
 public:
  CUserDefAppConfig();
  CUserDefAppConfig(const CUserDefAppConfig& other) = default;
  CUserDefAppConfig& operator=(const CUserDefAppConfig& other) = default;
  // Items, next_appid and name compared.
  bool operator==(const CUserDefAppConfig& other) const;
  bool operator!=(const CUserDefAppConfig& other) const {
    return !(*this == other);
  }

  // Replaces the items with those of the file at `path` and sets `name` to
  // the file's base name. False, with no items, when the file cannot be
  // read or parsed.
  bool read(const char* path);
  // The same as read(), under the name every self-loading class offers.
  bool LoadFromFile(const char* path) { return read(path); }
  // Replaces the items with those of `length` bytes at `text`. No text or a
  // length of 0 gives true and no items; text that does not parse, false.
  bool LoadFromMem(const char* text, int length);
  // Writes the document to `path`. False when it cannot be created or
  // written.
  bool SaveToFile(const char* path) const;

  // The first item, in list order, that matches (judge test included), or
  // null. The item belongs to this object and stays valid until the next
  // load, close() or change of `items`. `dir` is written back as
  // UserDefAppItem explains.
  const UserDefAppItem* find(const tagIPv4_CONNECT_ADDR& addr, int transport,
                             int judge, DIR_CS& dir) const;

  // Gives every item whose appid is 0 the value of next_appid, counting it
  // up by one each time, in list order.
  void ReCalAppid();

  // Empties the item list. `name` and `next_appid` stay.
  void close();

  std::string name;  // base name of the file last read, without extension
  int next_appid;    // the id ReCalAppid() hands out next; 1 at first
  std::vector<UserDefAppItem> items;

 private:
  QUARN_HIDDEN bool ReadDocument(CTinyXmlEx& doc);
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CUserDefAppConfig, ACE_Null_Mutex>;

class QUARN_EXPORT CUserDefAppConfig_Singleton
    : public ACE_Singleton<CUserDefAppConfig, ACE_Null_Mutex> {
 public:
  static CUserDefAppConfig* instance() {
    return ACE_Singleton<CUserDefAppConfig, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_APPID_CUSERDEFAPPCONFIG_H_
