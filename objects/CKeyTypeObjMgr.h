// Keyword types: named lists of keyword strings that policies refer to by
// id, one bit per type, so that a set of types is one 64-bit mask. There
// are no built-in types.
//
// The document is "keytype_obj_mgr" (version 1). Loading adds types to
// what the manager holds, so a reload is preceded by close(). Not
// thread-safe: hosts serialise loads against readers.

#ifndef QUARN_OBJECTS_CKEYTYPEOBJMGR_H_
#define QUARN_OBJECTS_CKEYTYPEOBJMGR_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CKeyTypeObjMgr : public CBaseXMLConfig {
 public:
  // One keyword type.
  struct tagONE_KEYTYPE_MGR_OBJ {
    std::string name;  // GBK
    std::string desc;
    uint64_t id = 0;                // one bit
    std::vector<std::string> keys;  // in document order

    bool operator==(const tagONE_KEYTYPE_MGR_OBJ& other) const {
      return name == other.name && desc == other.desc && id == other.id &&
             keys == other.keys;
    }
    bool operator!=(const tagONE_KEYTYPE_MGR_OBJ& other) const {
      return !(*this == other);
    }
  };

  CKeyTypeObjMgr();
  CKeyTypeObjMgr(const CKeyTypeObjMgr& other);
  CKeyTypeObjMgr& operator=(const CKeyTypeObjMgr& other);
  ~CKeyTypeObjMgr() override;

  // Empties the list.
  void close() override;

  // Same types in the same order, all fields equal.
  bool operator==(const CKeyTypeObjMgr& other) const {
    return objs == other.objs;
  }
  bool operator!=(const CKeyTypeObjMgr& other) const {
    return !(*this == other);
  }

  // Index of the first type with `id`, or -1.
  int find(uint64_t id) const;
  // Index of the first type named exactly `name` (case-sensitive), or -1.
  int FindName(const char* name) const;
  // The first of 256, 512, ... 2^63 that no type holds; 0 when all are
  // taken.
  uint64_t GetNewId() const;
  // Differences by id between the types here and in `other`: `changed`
  // gets the ids present in both whose keyword lists differ (names and
  // descriptions are not compared). Returns 1 when any mask is non-zero.
  int advance_cmp(const CKeyTypeObjMgr& other, uint64_t& only_here,
                  uint64_t& only_there, uint64_t& changed) const;

  std::vector<tagONE_KEYTYPE_MGR_OBJ> objs;

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CKeyTypeObjMgr, ACE_Null_Mutex>;

class QUARN_EXPORT CKeyTypeObjMgr_Singleton
    : public ACE_Singleton<CKeyTypeObjMgr, ACE_Null_Mutex> {
 public:
  // The process-wide manager, created empty on first call; null when it
  // cannot be created.
  static CKeyTypeObjMgr* instance() {
    return ACE_Singleton<CKeyTypeObjMgr, ACE_Null_Mutex>::instance();
  }
};

// The file-type view of the keyword types: the same process-wide manager.
class QUARN_EXPORT CFileTypeObjMgr_Singleton : public CKeyTypeObjMgr_Singleton {
 public:
  static CKeyTypeObjMgr* instance() {
    return CKeyTypeObjMgr_Singleton::instance();
  }
};

#endif  // QUARN_OBJECTS_CKEYTYPEOBJMGR_H_
