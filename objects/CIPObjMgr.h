// IP objects: named sets of hosts given as IPv4 ranges, MAC addresses and
// device ids. Every object's id is one bit of a 64-bit word, so the set of
// objects a host belongs to is one mask.
//
// Three objects are built in and always sit at positions 0, 1 and 2: the
// super whitelist (id 1), the behaviour-management whitelist (id 2) and
// the internet blacklist (id 4). Ids 1 to 128 are kept for built-in
// objects; user objects get 256 and up.
//
// The document is "ip_obj_mgr" (version 0). Loading adds to what the
// manager holds, so a reload is preceded by close(). Not thread-safe:
// hosts serialise loads against readers; const queries may run in
// parallel.

#ifndef QUARN_OBJECTS_CIPOBJMGR_H_
#define QUARN_OBJECTS_CIPOBJMGR_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CIPObjMgr : public CBaseXMLConfig {
 public:
  // One IP object.
  struct tagONE_IP_MGR_OBJ {
    std::string name;  // GBK display name
    std::string desc;
    uint64_t id = 0;                       // one bit
    std::vector<IP_RANGE_PAIR> ip_ranges;  // host order, both ends included
    // Each holds the six MAC bytes in its low-addressed bytes (as copied
    // with memcpy), the other two bytes zero.
    std::vector<uint64_t> macs;
    std::vector<uint64_t> dids;  // device ids

    bool operator==(const tagONE_IP_MGR_OBJ& other) const;
    bool operator!=(const tagONE_IP_MGR_OBJ& other) const {
      return !(*this == other);
    }
    // True when the three host lists are equal, element by element.
    bool SameHosts(const tagONE_IP_MGR_OBJ& other) const;
  };

  // Ids of the built-in objects.
  static constexpr uint64_t SUPER_BLK_ID = 1;
  static constexpr uint64_t AC_BLK_ID = 2;
  static constexpr uint64_t FIREWALL_BLK_ID = 4;

  // A manager holding exactly the three built-in objects.
  CIPObjMgr();
  CIPObjMgr(const CIPObjMgr& other);
  CIPObjMgr& operator=(const CIPObjMgr& other);
  ~CIPObjMgr() override;

  // Discards every object and installs the built-in ones with empty lists.
  void close() override;

  // Equal when both hold the same objects, position by position, with all
  // fields equal (names compared case-sensitively).
  bool operator==(const CIPObjMgr& other) const;
  bool operator!=(const CIPObjMgr& other) const { return !(*this == other); }

  // Differences by id: `only_here` gets the ids of objects without a
  // counterpart of that id in `other`, `only_there` the reverse, `changed`
  // the ids present in both whose host lists differ (names and
  // descriptions are not compared). Returns 1 when any mask is non-zero.
  int advance_cmp(const CIPObjMgr& other, uint64_t& only_here,
                  uint64_t& only_there, uint64_t& changed) const;

  // Number of objects, built-in ones included.
  int GetCount() const { return static_cast<int>(objs_.size()); }
  // The object at `index`, or null when out of range. Valid until the next
  // load, close(), assignment or AddObj().
  const tagONE_IP_MGR_OBJ* GetAt(int index) const;
  tagONE_IP_MGR_OBJ* GetAt(int index);
  // Appends a copy of `obj` as given (its id is not checked) and returns
  // its index.
  int AddObj(const tagONE_IP_MGR_OBJ& obj);

  // Index of the first object with `id`, or -1.
  int find(uint64_t id) const;
  // Index of the first object named `name`, ASCII letter case folded, or
  // -1.
  int FindByName(const char* name) const;
  // The same, passing over the object at index `skip`.
  int FindByNameButIndex(const char* name, int skip) const;

  // The super whitelist (position 0), or null when there is none.
  tagONE_IP_MGR_OBJ* GetSupBlk();
  const tagONE_IP_MGR_OBJ* GetSupBlk() const;
  // The behaviour-management whitelist (position 1), or null.
  tagONE_IP_MGR_OBJ* GetACBlk();
  const tagONE_IP_MGR_OBJ* GetACBlk() const;

  // The first of 256, 512, ... 2^63 that no object holds, or 0 when all
  // are taken.
  uint64_t GetNewId() const;

  // Sets `mask` to the OR of the ids of every object the host belongs to:
  // by an address range holding `ip` (host order), by the six-byte `mac`
  // (may be null) or by device id `did`. Returns 1 when `mask` != 0.
  int find(uint64_t& mask, const void* mac, unsigned ip, uint64_t did) const;

  // The built-in lists. The two-argument forms test the address ranges
  // and the MACs, never the device ids. 0 when the object is missing.
  int IsSuperBlk(const void* mac, unsigned ip) const;
  int IsSuperBlkIP(unsigned ip) const;
  int IsSuperBlkMAC(const void* mac) const;
  int IsSuperBlkDid(uint64_t did) const;
  int IsACBlk(const void* mac, unsigned ip) const;
  int IsACBlkIP(unsigned ip) const;
  int IsACBlkMAC(const void* mac) const;
  int IsACBlkDid(uint64_t did) const;
  int IsFireWallBlk(const void* mac, unsigned ip) const;
  int IsFireWallBlkIP(unsigned ip) const;
  int IsFireWallBlkMAC(const void* mac) const;
  int IsFireWallBlkDid(uint64_t did) const;
  // On either whitelist.
  int IsBlk(const void* mac, unsigned ip) const;

  // Tests on an id or an id mask.
  static bool IsSuperObj(const uint64_t& id) { return id == SUPER_BLK_ID; }
  static bool IsIncludeSuperObj(const uint64_t& mask) {
    return (mask & SUPER_BLK_ID) != 0;
  }
  static bool IsACBlkObj(const uint64_t& id) { return id == AC_BLK_ID; }
  static bool IsIncludeACBlkObj(const uint64_t& mask) {
    return (mask & AC_BLK_ID) != 0;
  }
  static bool IsBlkObj(const uint64_t& id) {
    return id == SUPER_BLK_ID || id == AC_BLK_ID;
  }
  static bool IsIncludeBlkObj(const uint64_t& mask) {
    return (mask & (SUPER_BLK_ID | AC_BLK_ID)) != 0;
  }
  static bool IsFireWallBlkObj(const uint64_t& id) {
    return id == FIREWALL_BLK_ID;
  }
  static bool IsIncludeFireWallBlkObj(const uint64_t& mask) {
    return (mask & FIREWALL_BLK_ID) != 0;
  }

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;

  // The object at `index` when the manager holds it, else null.
  QUARN_HIDDEN const tagONE_IP_MGR_OBJ* Builtin(size_t index) const;

  std::vector<tagONE_IP_MGR_OBJ> objs_;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT ACE_Singleton<CIPObjMgr, ACE_Null_Mutex>;

class QUARN_EXPORT CIPObjMgr_Singleton
    : public ACE_Singleton<CIPObjMgr, ACE_Null_Mutex> {
 public:
  // The process-wide manager, created with the built-in objects on first
  // call; null when it cannot be created.
  static CIPObjMgr* instance() {
    return ACE_Singleton<CIPObjMgr, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_OBJECTS_CIPOBJMGR_H_
