#include "employee/CEmployeeAuthAccountMgr.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "base/CURLDecoder.h"
#include "base/OrvaTime.h"

namespace {

const char kEmployeeInfo[] = "employee_info";
const char kOneEmployee[] = "one_employee";
const uint64_t kLow48 = (uint64_t{1} << 48) - 1;

// A time attribute in the base library's format 6; 0 when absent, empty
// or unreadable.
int32_t GetTimeAttr(TiXmlNode* node, const char* name) {
  std::string text;
  int32_t value = 0;
  if (!CTinyXmlEx::GetAttr(node, name, text) || text.empty()) return 0;
  if (Orva::StrToTime(Orva::kTimeFormatDateTime, text.c_str(), &value) == 0) {
    return 0;
  }
  return value;
}

void SetTimeAttr(TiXmlNode* node, const char* name, int32_t value) {
  if (value != 0) {
    CTinyXmlEx::SetAttr(node, name,
                        Orva::FormatTime(Orva::kTimeFormatDateTime, value));
  }
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  return 0;
}

}  // namespace

const char* const CEmployeeAuthAccountMgr::kRootName =
    "tb_employee_auth_account";

CEmployeeAuthAccountMgr::CEmployeeAuthAccountMgr()
    : version_(0), cur_modified_tick_(0), last_saved_tick_(0) {}

CEmployeeAuthAccountMgr::CEmployeeAuthAccountMgr(
    const CEmployeeAuthAccountMgr& other)
    : CBaseXMLConfig(other),
      pool_(other.pool_),
      version_(other.version_),
      cur_modified_tick_(other.cur_modified_tick_),
      last_saved_tick_(other.last_saved_tick_) {}

CEmployeeAuthAccountMgr& CEmployeeAuthAccountMgr::operator=(
    const CEmployeeAuthAccountMgr& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    pool_ = other.pool_;
    version_ = other.version_;
    cur_modified_tick_ = other.cur_modified_tick_;
    last_saved_tick_ = other.last_saved_tick_;
  }
  return *this;
}

CEmployeeAuthAccountMgr::~CEmployeeAuthAccountMgr() {}

void CEmployeeAuthAccountMgr::close() { pool_.Clear(); }

int CEmployeeAuthAccountMgr::Create(unsigned int capacity) {
  return pool_.Create(capacity, 2) ? 1 : 0;
}

void CEmployeeAuthAccountMgr::Destroy() { pool_.Destroy(); }

bool CEmployeeAuthAccountMgr::operator==(
    const CEmployeeAuthAccountMgr& other) const {
  if (pool_.used_count() != other.pool_.used_count()) return false;
  int a = pool_.Head();
  int b = other.pool_.Head();
  for (; a >= 0 && b >= 0;
       a = pool_.NextInOrder(a), b = other.pool_.NextInOrder(b)) {
    if (!pool_.at(a).cmp_base_info(other.pool_.at(b))) return false;
  }
  return a < 0 && b < 0;
}

uint32_t CEmployeeAuthAccountMgr::NameKey(const char* kname) {
  uint32_t key = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(kname);
       p != nullptr && *p != 0; ++p) {
    key += static_cast<uint32_t>(*p) * 37u;
  }
  return key;
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::FindEmployeeByDid(
    uint64_t did) {
  if (!pool_.created()) return nullptr;
  // The id index is keyed by the whole id: a key match is a match.
  int s = pool_.FindKey(kDidIndex, did);
  return s >= 0 ? &pool_.at(s) : nullptr;
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::FindEmployeeByKeyName(
    const char* kname) {
  if (!pool_.created() || kname == nullptr) return nullptr;
  for (int s = pool_.FindKey(kNameIndex, NameKey(kname)); s >= 0;
       s = pool_.NextKey(kNameIndex, s)) {
    if (pool_.at(s).kname == kname) return &pool_.at(s);
  }
  return nullptr;
}

int CEmployeeAuthAccountMgr::GetIndexByData(
    const EMPLOYEE_AUTH_ACCOUNT_INFO* account) const {
  int slot = pool_.SlotOf(account);
  return pool_.InUse(slot) ? slot : -1;
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::GetDataByIndex(int slot) {
  return pool_.InUse(slot) ? &pool_.at(slot) : nullptr;
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::GetNextBlockFromHead(
    int& cursor) {
  if (!pool_.InUse(cursor)) {
    cursor = -1;
    return nullptr;
  }
  EMPLOYEE_AUTH_ACCOUNT_INFO* a = &pool_.at(cursor);
  cursor = pool_.NextInOrder(cursor);
  return a;
}

void CEmployeeAuthAccountMgr::Touch() { cur_modified_tick_ = GetTickCount(); }

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::Inner_InsertOneEmployee(
    const char* kname, uint64_t did, int flag) {
  uint64_t keys[2] = {did, NameKey(kname)};
  int slot = pool_.Take(keys);
  if (slot < 0) return nullptr;
  EMPLOYEE_AUTH_ACCOUNT_INFO& a = pool_.at(slot);
  a.Close();
  a.kname = kname;
  a.did = did;
  a.insert_flag = flag;
  Touch();
  return &a;
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::InsertOneEmployee(
    const char* kname, int* result, uint64_t did, int flag) {
  if (!pool_.created() || kname == nullptr || *kname == '\0') return nullptr;
  EMPLOYEE_AUTH_ACCOUNT_INFO* found = FindEmployeeByKeyName(kname);
  if (found != nullptr) {
    if (result != nullptr) *result = 0;
    return found;
  }
  return Inner_InsertOneEmployee(kname, did, flag);
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::InsertOneEmployee(
    const EMPLOYEE_AUTH_ACCOUNT_INFO& rec, int flag) {
  if (!pool_.created() || rec.kname.empty() ||
      FindEmployeeByKeyName(rec.kname.c_str()) != nullptr ||
      (rec.did != 0 && FindEmployeeByDid(rec.did) != nullptr)) {
    return nullptr;
  }
  EMPLOYEE_AUTH_ACCOUNT_INFO* a =
      Inner_InsertOneEmployee(rec.kname.c_str(), rec.did, flag);
  if (a == nullptr) return nullptr;
  a->AssignButKeyFrom(rec);
  a->insert_flag = flag;
  return a;
}

uint64_t CEmployeeAuthAccountMgr::CalNewDid(int kind) {
  uint64_t base = kind == 0 ? (uint64_t{1} << 48) : (uint64_t{1} << 49);
  for (;;) {
    uint64_t did = base + (static_cast<uint64_t>(rand()) & kLow48);
    if (FindEmployeeByDid(did) == nullptr) return did;
  }
}

int CEmployeeAuthAccountMgr::DeleteEmployee(int slot) {
  if (!pool_.InUse(slot)) return 0;
  pool_.Free(slot);
  return 1;
}

int CEmployeeAuthAccountMgr::DeleteEmployeeByDid(uint64_t did) {
  return DeleteEmployee(GetIndexByData(FindEmployeeByDid(did)));
}

int CEmployeeAuthAccountMgr::DeleteEmployeeByKeyName(const char* kname) {
  return DeleteEmployee(GetIndexByData(FindEmployeeByKeyName(kname)));
}

int CEmployeeAuthAccountMgr::DeleteEmployee(const std::vector<uint64_t>& dids) {
  int removed = 0;
  for (uint64_t did : dids) removed += DeleteEmployeeByDid(did);
  return removed;
}

int CEmployeeAuthAccountMgr::ChangeEmployeeName(const char* old_name,
                                                const char* new_name) {
  int slot = GetIndexByData(FindEmployeeByKeyName(old_name));
  if (slot < 0) return -1;
  return ChangeEmployeeName(slot, new_name);
}

int CEmployeeAuthAccountMgr::ChangeEmployeeName(int slot,
                                                const char* new_name) {
  if (!pool_.InUse(slot)) return -1;
  if (new_name == nullptr || *new_name == '\0' ||
      FindEmployeeByKeyName(new_name) != nullptr) {
    return 0;
  }
  pool_.at(slot).kname = new_name;
  pool_.Rekey(kNameIndex, slot, NameKey(new_name));
  Touch();
  return 1;
}

void CEmployeeAuthAccountMgr::AssignEmployee(
    EMPLOYEE_AUTH_ACCOUNT_INFO* dst, const EMPLOYEE_AUTH_ACCOUNT_INFO& src) {
  int slot = GetIndexByData(dst);
  if (slot < 0 || dst == &src) return;
  bool new_did = dst->did != src.did;
  bool new_name = dst->kname != src.kname;
  *dst = src;
  if (new_did) pool_.Rekey(kDidIndex, slot, src.did);
  if (new_name) pool_.Rekey(kNameIndex, slot, NameKey(src.kname.c_str()));
  Touch();
}

void CEmployeeAuthAccountMgr::ResetAllEmployeePasswd() {
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    EMPLOYEE_AUTH_ACCOUNT_INFO& a = pool_.at(s);
    if (a.key_type == EMPLOYEE_AUTH_ACCOUNT_INFO::kKeyTypePasswd) {
      a.passwd = EMPLOYEE_AUTH_ACCOUNT_INFO::kDefaultPasswd;
      a.pwd_state = 0;
    }
  }
  Touch();
}

namespace {

int ResetPasswd(EMPLOYEE_AUTH_ACCOUNT_INFO* a) {
  if (a == nullptr || a->key_type != EMPLOYEE_AUTH_ACCOUNT_INFO::kKeyTypePasswd)
    return 0;
  a->passwd = EMPLOYEE_AUTH_ACCOUNT_INFO::kDefaultPasswd;
  a->pwd_state = 0;
  return 1;
}

}  // namespace

int CEmployeeAuthAccountMgr::ResetOneEmployeePasssed(const char* kname) {
  int done = ResetPasswd(FindEmployeeByKeyName(kname));
  if (done) Touch();
  return done;
}

int CEmployeeAuthAccountMgr::ResetOneEmployeePasssed(uint64_t did) {
  int done = ResetPasswd(FindEmployeeByDid(did));
  if (done) Touch();
  return done;
}

EMPLOYEE_AUTH_ACCOUNT_INFO* CEmployeeAuthAccountMgr::CheckPwd(
    const char* kname, const char* passwd) {
  EMPLOYEE_AUTH_ACCOUNT_INFO* a = FindEmployeeByKeyName(kname);
  if (a == nullptr || passwd == nullptr ||
      a->key_type != EMPLOYEE_AUTH_ACCOUNT_INFO::kKeyTypePasswd ||
      a->passwd != passwd) {
    return nullptr;
  }
  return a;
}

CStr CEmployeeAuthAccountMgr::GetShowName(uint64_t did, int mode) {
  EMPLOYEE_AUTH_ACCOUNT_INFO* a = FindEmployeeByDid(did);
  if (a != nullptr) return CStr(a->GetShownName(mode));
  return CStr::Format("%llu", static_cast<unsigned long long>(did));
}

int CEmployeeAuthAccountMgr::DiffToOther(
    const CEmployeeAuthAccountMgr& other,
    std::vector<EMPLOYEE_AUTH_ACCOUNT_INFO>* added,
    std::vector<EMPLOYEE_AUTH_ACCOUNT_INFO>* changed,
    std::vector<uint64_t>* removed_dids) const {
  // The lookups do not change either table.
  CEmployeeAuthAccountMgr& self = const_cast<CEmployeeAuthAccountMgr&>(*this);
  CEmployeeAuthAccountMgr& that = const_cast<CEmployeeAuthAccountMgr&>(other);
  int differs = 0;
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    const EMPLOYEE_AUTH_ACCOUNT_INFO& a = pool_.at(s);
    const EMPLOYEE_AUTH_ACCOUNT_INFO* b = that.FindEmployeeByDid(a.did);
    if (b == nullptr) {
      differs = 1;
      if (added != nullptr) added->push_back(a);
    } else if (!a.cmp_base_info(*b)) {
      differs = 1;
      if (changed != nullptr) changed->push_back(a);
    }
  }
  for (int s = other.pool_.Head(); s >= 0; s = other.pool_.NextInOrder(s)) {
    uint64_t did = other.pool_.at(s).did;
    if (self.FindEmployeeByDid(did) == nullptr) {
      differs = 1;
      if (removed_dids != nullptr) removed_dids->push_back(did);
    }
  }
  return differs;
}

void CEmployeeAuthAccountMgr::SetModified(int m) {
  if (m == 0) {
    last_saved_tick_ = cur_modified_tick_;
  } else {
    Touch();
  }
}

int CEmployeeAuthAccountMgr::JudgeModifyedToSave(const char* path) {
  if (!IsModified()) return 0;
  last_saved_tick_ = cur_modified_tick_;
  SaveToFile(path);
  return 1;
}

int CEmployeeAuthAccountMgr::JudgeModifyedToSave() {
  if (!IsModified()) return 0;
  last_saved_tick_ = cur_modified_tick_;
  SaveToFile();
  return 1;
}

// ---- password scrambling ----

std::string CEmployeeAuthAccountMgr::cry_passwd(const char* passwd) {
  static const bool seeded =
      (srand(static_cast<unsigned>(time(nullptr))), true);
  (void)seeded;
  static const char kHex[] = "0123456789ABCDEF";
  unsigned k = static_cast<unsigned>(rand()) % 255u;
  std::string bytes;
  bytes += '\x01';
  bytes += static_cast<char>(k ^ 1u);
  size_t length = passwd != nullptr ? strlen(passwd) : 0;
  if (length > 255) length = 255;
  for (size_t i = 0; i < length; ++i) {
    bytes += static_cast<char>(static_cast<unsigned char>(passwd[i]) ^ k);
  }
  std::string text;
  for (unsigned char b : bytes) {
    text += kHex[b >> 4];
    text += kHex[b & 0x0F];
  }
  return text;
}

std::string CEmployeeAuthAccountMgr::uncry_passwd(const char* text) {
  std::string bytes;
  for (const char* p = text;
       p != nullptr && p[0] != '\0' && p[1] != '\0' && bytes.size() < 260;
       p += 2) {
    bytes += static_cast<char>(HexDigit(p[0]) * 16 + HexDigit(p[1]));
  }
  if (bytes.size() < 2 || bytes[0] != '\x01') {
    return EMPLOYEE_AUTH_ACCOUNT_INFO::kDefaultPasswd;
  }
  unsigned char k = static_cast<unsigned char>(bytes[1]) ^ 1u;
  std::string passwd;
  for (size_t i = 2; i < bytes.size() && passwd.size() < 255; ++i) {
    char c = static_cast<char>(static_cast<unsigned char>(bytes[i]) ^ k);
    if (c == '\0') break;
    passwd += c;
  }
  return passwd;
}

// ---- the document ----

void CEmployeeAuthAccountMgr::ReadAccount(
    TiXmlNode* node, EMPLOYEE_AUTH_ACCOUNT_INFO* rec) const {
  rec->Close();
  CTinyXmlEx::GetAttr(node, "did", rec->did);
  CTinyXmlEx::GetAttr(node, "onoff", rec->onoff);
  CTinyXmlEx::GetAttr(node, "bind_addr", rec->bind_addr);
  std::string text;
  if (CTinyXmlEx::GetAttr(node, "bind_addr_list", text) && !text.empty()) {
    rec->bind_list.GetFromString(text.c_str());
  }
  CTinyXmlEx::GetAttr(node, "kname", rec->kname);
  text.clear();
  if (CTinyXmlEx::GetAttr(node, "passwd", text) && !text.empty()) {
    rec->passwd = version_ != 0 ? CURLDecoder::unencode(text)
                                : uncry_passwd(text.c_str());
  }
  CTinyXmlEx::GetAttr(node, "fname", rec->fname);
  rec->key_type = EMPLOYEE_AUTH_ACCOUNT_INFO::kKeyTypePasswd;
  CTinyXmlEx::GetAttr(node, "key_type", rec->key_type);
  if (rec->key_type == EMPLOYEE_AUTH_ACCOUNT_INFO::kKeyTypePasswd &&
      rec->passwd.empty()) {
    rec->passwd = EMPLOYEE_AUTH_ACCOUNT_INFO::kDefaultPasswd;
  }
  CTinyXmlEx::GetAttr(node, "permit_live_time", rec->permit_live_time);
  rec->del_time = GetTimeAttr(node, "del_time");
  rec->begin_effective_time = GetTimeAttr(node, "begin_effective_time");
  rec->end_effective_time =
      GetTimeAttr(node, CTinyXmlEx::GetAttr(node, "end_effective_time", text)
                            ? "end_effective_time"
                            : "effective_time");
  CTinyXmlEx::GetAttr(node, "share_count", rec->share_count);
  if (rec->share_count < 1 || rec->share_count > 255) rec->share_count = 1;
  CTinyXmlEx::GetAttr(node, "band_as_common", rec->band_as_common);
  CTinyXmlEx::GetAttr(node, "nMaxUpBand", rec->nMaxUpBand);
  CTinyXmlEx::GetAttr(node, "nMaxDownBand", rec->nMaxDownBand);
}

int CEmployeeAuthAccountMgr::LoadConfig(CTinyXmlEx& doc) {
  Lock();
  pool_.Clear();
  UnLock();
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  Touch();
  CTinyXmlEx::GetAttr(root, "last_save_tickcount", last_saved_tick_);
  version_ = 0;
  CTinyXmlEx::GetAttr(root, "version", version_);
  TiXmlNode* list = CTinyXmlEx::FirstChildElement(root, kEmployeeInfo);
  if (list == nullptr) return 0;
  cur_modified_tick_ = last_saved_tick_;
  EMPLOYEE_AUTH_ACCOUNT_INFO rec;
  for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(list, kOneEmployee);
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, kOneEmployee)) {
    ReadAccount(node, &rec);
    InsertOneEmployee(rec, 1);
  }
  // Insertion moves the tick; a table just loaded is not modified.
  cur_modified_tick_ = last_saved_tick_;
  return 1;
}

void CEmployeeAuthAccountMgr::WriteAccount(
    TiXmlNode* node, const EMPLOYEE_AUTH_ACCOUNT_INFO& a) {
  if (a.onoff == 0) CTinyXmlEx::SetAttr(node, "onoff", 0);
  CTinyXmlEx::SetAttr(node, "did", a.did);
  if (a.bind_addr != 0) CTinyXmlEx::SetAttr(node, "bind_addr", a.bind_addr);
  if (!a.bind_list.empty()) {
    CTinyXmlEx::SetAttr(node, "bind_addr_list", a.bind_list.GetAddrDesc());
  }
  if (!a.kname.empty()) CTinyXmlEx::SetAttr(node, "kname", a.kname);
  CTinyXmlEx::SetAttr(node, "passwd", CURLDecoder::encode(a.passwd));
  if (!a.fname.empty()) CTinyXmlEx::SetAttr(node, "fname", a.fname);
  if (a.key_type != 1) CTinyXmlEx::SetAttr(node, "key_type", a.key_type);
  if (a.permit_live_time != -1) {
    CTinyXmlEx::SetAttr(node, "permit_live_time", a.permit_live_time);
  }
  SetTimeAttr(node, "del_time", a.del_time);
  SetTimeAttr(node, "begin_effective_time", a.begin_effective_time);
  SetTimeAttr(node, "end_effective_time", a.end_effective_time);
  if (a.share_count != 1) {
    CTinyXmlEx::SetAttr(node, "share_count", a.share_count);
  }
  if (a.band_as_common == 0) {
    CTinyXmlEx::SetAttr(node, "band_as_common", 0);
    CTinyXmlEx::SetAttr(node, "nMaxUpBand", a.nMaxUpBand);
    CTinyXmlEx::SetAttr(node, "nMaxDownBand", a.nMaxDownBand);
  }
}

int CEmployeeAuthAccountMgr::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRootName);
  if (root == nullptr) return 0;
  CTinyXmlEx::SetAttr(root, "version", kVersion);
  CTinyXmlEx::SetAttr(root, "last_save_tickcount", last_saved_tick_);
  TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(root, kEmployeeInfo);
  if (list == nullptr) return 0;
  Lock();
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(list, kOneEmployee);
    if (node != nullptr) WriteAccount(node, pool_.at(s));
  }
  UnLock();
  return 1;
}
