#include "objects/CIPObjMgr.h"

#include <string.h>

#include "base/internal/BuiltinTexts.h"
#include "objects/internal/BitIdObjects.h"
#include "objects/internal/ObjectText.h"

namespace {

using quarn_texts::kIPObjACName;
using quarn_texts::kIPObjFireWallDesc;
using quarn_texts::kIPObjFireWallName;
using quarn_texts::kIPObjSuperName;

const char kRoot[] = "ip_obj_mgr";
const int kVersion = 0;
const uint64_t kFirstUserId = 256;

typedef CIPObjMgr::tagONE_IP_MGR_OBJ Obj;

Obj MakeBuiltin(uint64_t id, const char* name, const char* desc) {
  Obj obj;
  obj.name = name;
  obj.desc = desc;
  obj.id = id;
  return obj;
}

bool InRanges(const std::vector<IP_RANGE_PAIR>& ranges, unsigned ip) {
  for (const IP_RANGE_PAIR& r : ranges) {
    if (r.first <= ip && ip <= r.second) return true;
  }
  return false;
}

// The objects keep a MAC as its six bytes copied into the low-addressed
// bytes of a zeroed word, so the host's bytes are compared the same way.
// An all-zero MAC stands for "unknown" and belongs to no object.
bool HasMac(const Obj& obj, const void* mac) {
  if (mac == nullptr) return false;
  uint64_t value = 0;
  memcpy(&value, mac, 6);
  if (value == 0) return false;
  for (uint64_t m : obj.macs) {
    if (m == value) return true;
  }
  return false;
}

bool HasDid(const Obj& obj, uint64_t did) {
  for (uint64_t d : obj.dids) {
    if (d == did) return true;
  }
  return false;
}

Obj ReadObj(TiXmlNode* node) {
  Obj obj;
  CTinyXmlEx::GetAttr(node, "name", obj.name);
  CTinyXmlEx::GetAttr(node, "desc", obj.desc);
  CTinyXmlEx::GetAttr(node, "id", obj.id);
  CTinyXmlEx::GetValue_HostOrderIPRangeVector(
      CTinyXmlEx::FirstChildElement(node, "ip"), obj.ip_ranges, "ip_range");
  TiXmlNode* list = CTinyXmlEx::FirstChildElement(node, "mac");
  for (TiXmlNode* item = CTinyXmlEx::FirstChildElement(list, "mac_item");
       item != nullptr;
       item = CTinyXmlEx::NextSiblingElement(item, "mac_item")) {
    unsigned char mac[6];
    if (!CTinyXmlEx::GetValue_Macaddr(item, mac)) continue;
    uint64_t value = 0;
    memcpy(&value, mac, sizeof(mac));
    obj.macs.push_back(value);
  }
  list = CTinyXmlEx::FirstChildElement(node, "did");
  for (TiXmlNode* item = CTinyXmlEx::FirstChildElement(list, "did_item");
       item != nullptr;
       item = CTinyXmlEx::NextSiblingElement(item, "did_item")) {
    uint64_t did = 0;
    if (CTinyXmlEx::GetValue(item, did)) obj.dids.push_back(did);
  }
  return obj;
}

void WriteObj(TiXmlNode* root, const Obj& obj) {
  TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(root, "one_mgr_obj");
  CTinyXmlEx::SetAttr(node, "name", obj.name);
  CTinyXmlEx::SetAttr(node, "desc", obj.desc);
  CTinyXmlEx::SetAttr(node, "id", obj.id);
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(
      CTinyXmlEx::InsertEndChildElement(node, "ip"), obj.ip_ranges, "ip_range");
  TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(node, "mac");
  for (uint64_t value : obj.macs) {
    unsigned char mac[6];
    memcpy(mac, &value, sizeof(mac));
    CTinyXmlEx::SetValue_Macaddr(
        CTinyXmlEx::InsertEndChildElement(list, "mac_item"), mac);
  }
  list = CTinyXmlEx::InsertEndChildElement(node, "did");
  for (uint64_t did : obj.dids) {
    CTinyXmlEx::SetValue(CTinyXmlEx::InsertEndChildElement(list, "did_item"),
                         did);
  }
}

}  // namespace

bool CIPObjMgr::tagONE_IP_MGR_OBJ::operator==(
    const tagONE_IP_MGR_OBJ& other) const {
  return name == other.name && desc == other.desc && id == other.id &&
         SameHosts(other);
}

bool CIPObjMgr::tagONE_IP_MGR_OBJ::SameHosts(
    const tagONE_IP_MGR_OBJ& other) const {
  return ip_ranges == other.ip_ranges && macs == other.macs &&
         dids == other.dids;
}

CIPObjMgr::CIPObjMgr() { close(); }

CIPObjMgr::CIPObjMgr(const CIPObjMgr& other)
    : CBaseXMLConfig(other), objs_(other.objs_) {}

CIPObjMgr& CIPObjMgr::operator=(const CIPObjMgr& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    objs_ = other.objs_;
  }
  return *this;
}

CIPObjMgr::~CIPObjMgr() {}

void CIPObjMgr::close() {
  objs_.clear();
  objs_.push_back(MakeBuiltin(SUPER_BLK_ID, kIPObjSuperName, kIPObjSuperName));
  objs_.push_back(MakeBuiltin(AC_BLK_ID, kIPObjACName, kIPObjACName));
  objs_.push_back(
      MakeBuiltin(FIREWALL_BLK_ID, kIPObjFireWallName, kIPObjFireWallDesc));
}

bool CIPObjMgr::operator==(const CIPObjMgr& other) const {
  return objs_ == other.objs_;
}

int CIPObjMgr::advance_cmp(const CIPObjMgr& other, uint64_t& only_here,
                           uint64_t& only_there, uint64_t& changed) const {
  return quarn_objects::DiffByBitId(
      objs_, other.objs_, only_here, only_there, changed,
      [](const Obj& a, const Obj& b) { return a.SameHosts(b); });
}

const CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::GetAt(int index) const {
  if (index < 0 || index >= GetCount()) return nullptr;
  return &objs_[index];
}

CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::GetAt(int index) {
  if (index < 0 || index >= GetCount()) return nullptr;
  return &objs_[index];
}

int CIPObjMgr::AddObj(const tagONE_IP_MGR_OBJ& obj) {
  objs_.push_back(obj);
  return GetCount() - 1;
}

int CIPObjMgr::find(uint64_t id) const {
  for (size_t i = 0; i < objs_.size(); ++i) {
    if (objs_[i].id == id) return static_cast<int>(i);
  }
  return -1;
}

int CIPObjMgr::FindByName(const char* name) const {
  return FindByNameButIndex(name, -1);
}

int CIPObjMgr::FindByNameButIndex(const char* name, int skip) const {
  for (int i = 0; i < GetCount(); ++i) {
    if (i == skip) continue;
    if (quarn_objects::EqualsAsciiNoCase(objs_[i].name, name)) return i;
  }
  return -1;
}

CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::GetSupBlk() { return GetAt(0); }
const CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::GetSupBlk() const {
  return GetAt(0);
}
CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::GetACBlk() { return GetAt(1); }
const CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::GetACBlk() const {
  return GetAt(1);
}

uint64_t CIPObjMgr::GetNewId() const {
  return quarn_objects::FirstFreeBitId(objs_, kFirstUserId);
}

int CIPObjMgr::find(uint64_t& mask, const void* mac, unsigned ip,
                    uint64_t did) const {
  mask = 0;
  for (const Obj& obj : objs_) {
    if (InRanges(obj.ip_ranges, ip) || HasMac(obj, mac) || HasDid(obj, did)) {
      mask |= obj.id;
    }
  }
  return mask != 0 ? 1 : 0;
}

const CIPObjMgr::tagONE_IP_MGR_OBJ* CIPObjMgr::Builtin(size_t index) const {
  return index < objs_.size() ? &objs_[index] : nullptr;
}

// The built-in predicates share one shape: the object at a fixed position,
// tested by address, MAC or device id.
#define QUARN_BUILTIN_PREDICATES(Name, index)                   \
  int CIPObjMgr::Name(const void* mac, unsigned ip) const {     \
    const Obj* obj = Builtin(index);                            \
    return obj != nullptr &&                                    \
           (InRanges(obj->ip_ranges, ip) || HasMac(*obj, mac)); \
  }                                                             \
  int CIPObjMgr::Name##IP(unsigned ip) const {                  \
    const Obj* obj = Builtin(index);                            \
    return obj != nullptr && InRanges(obj->ip_ranges, ip);      \
  }                                                             \
  int CIPObjMgr::Name##MAC(const void* mac) const {             \
    const Obj* obj = Builtin(index);                            \
    return obj != nullptr && HasMac(*obj, mac);                 \
  }                                                             \
  int CIPObjMgr::Name##Did(uint64_t did) const {                \
    const Obj* obj = Builtin(index);                            \
    return obj != nullptr && HasDid(*obj, did);                 \
  }

QUARN_BUILTIN_PREDICATES(IsSuperBlk, 0)
QUARN_BUILTIN_PREDICATES(IsACBlk, 1)
QUARN_BUILTIN_PREDICATES(IsFireWallBlk, 2)
#undef QUARN_BUILTIN_PREDICATES

int CIPObjMgr::IsBlk(const void* mac, unsigned ip) const {
  return IsSuperBlk(mac, ip) || IsACBlk(mac, ip);
}

int CIPObjMgr::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  int version = 0;
  CTinyXmlEx::GetAttr(root, "version", version);
  if (version != kVersion) return 1;

  std::vector<Obj> working(objs_);
  for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(root, "one_mgr_obj");
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, "one_mgr_obj")) {
    Obj obj = ReadObj(node);
    // A built-in object in the document only brings its host lists; its
    // name and description stay the library's own.
    int builtin = obj.id == SUPER_BLK_ID      ? 0
                  : obj.id == AC_BLK_ID       ? 1
                  : obj.id == FIREWALL_BLK_ID ? 2
                                              : -1;
    if (builtin >= 0 && static_cast<size_t>(builtin) < working.size()) {
      working[builtin].ip_ranges.swap(obj.ip_ranges);
      working[builtin].macs.swap(obj.macs);
      working[builtin].dids.swap(obj.dids);
    } else {
      working.push_back(obj);
    }
  }
  objs_.swap(working);
  return 1;
}

int CIPObjMgr::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRoot);
  if (root == nullptr) return 0;
  CTinyXmlEx::SetAttr(root, "version", kVersion);
  for (const Obj& obj : objs_) WriteObj(root, obj);
  return 1;
}

template class ACE_Singleton<CIPObjMgr, ACE_Null_Mutex>;
