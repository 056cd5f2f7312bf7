#include "objects/CKeyTypeObjMgr.h"

#include <string.h>

#include "objects/internal/BitIdObjects.h"

namespace {

const char kRoot[] = "keytype_obj_mgr";
const int kVersion = 1;
const uint64_t kFirstUserId = 256;

typedef CKeyTypeObjMgr::tagONE_KEYTYPE_MGR_OBJ Obj;

}  // namespace

CKeyTypeObjMgr::CKeyTypeObjMgr() { close(); }

CKeyTypeObjMgr::CKeyTypeObjMgr(const CKeyTypeObjMgr& other)
    : CBaseXMLConfig(other), objs(other.objs) {}

CKeyTypeObjMgr& CKeyTypeObjMgr::operator=(const CKeyTypeObjMgr& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    objs = other.objs;
  }
  return *this;
}

CKeyTypeObjMgr::~CKeyTypeObjMgr() {}

void CKeyTypeObjMgr::close() { objs.clear(); }

int CKeyTypeObjMgr::find(uint64_t id) const {
  for (size_t i = 0; i < objs.size(); ++i) {
    if (objs[i].id == id) return static_cast<int>(i);
  }
  return -1;
}

int CKeyTypeObjMgr::FindName(const char* name) const {
  if (name == nullptr) return -1;
  for (size_t i = 0; i < objs.size(); ++i) {
    if (objs[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

uint64_t CKeyTypeObjMgr::GetNewId() const {
  return quarn_objects::FirstFreeBitId(objs, kFirstUserId);
}

int CKeyTypeObjMgr::advance_cmp(const CKeyTypeObjMgr& other,
                                uint64_t& only_here, uint64_t& only_there,
                                uint64_t& changed) const {
  return quarn_objects::DiffByBitId(
      objs, other.objs, only_here, only_there, changed,
      [](const Obj& a, const Obj& b) { return a.keys == b.keys; });
}

int CKeyTypeObjMgr::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  int version = kVersion;
  CTinyXmlEx::GetAttr(root, "version", version);
  if (version != kVersion) return 1;
  for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(root, "one_mgr_obj");
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, "one_mgr_obj")) {
    Obj obj;
    CTinyXmlEx::GetAttr(node, "name", obj.name);
    CTinyXmlEx::GetAttr(node, "desc", obj.desc);
    CTinyXmlEx::GetAttr(node, "id", obj.id);
    TiXmlNode* list = CTinyXmlEx::FirstChildElement(node, "string");
    for (TiXmlNode* item = CTinyXmlEx::FirstChildElement(list, "string_item");
         item != nullptr;
         item = CTinyXmlEx::NextSiblingElement(item, "string_item")) {
      std::string key;
      if (CTinyXmlEx::GetAttr(item, "key", key)) obj.keys.push_back(key);
    }
    objs.push_back(obj);
  }
  return 1;
}

int CKeyTypeObjMgr::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRoot);
  if (root == nullptr) return 0;
  CTinyXmlEx::SetAttr(root, "version", kVersion);
  for (const Obj& obj : objs) {
    TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(root, "one_mgr_obj");
    CTinyXmlEx::SetAttr(node, "name", obj.name);
    CTinyXmlEx::SetAttr(node, "desc", obj.desc);
    CTinyXmlEx::SetAttr(node, "id", obj.id);
    TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(node, "string");
    for (const std::string& key : obj.keys) {
      CTinyXmlEx::SetAttr(
          CTinyXmlEx::InsertEndChildElement(list, "string_item"), "key", key);
    }
  }
  return 1;
}

template class ACE_Singleton<CKeyTypeObjMgr, ACE_Null_Mutex>;
