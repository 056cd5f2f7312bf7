#include "employee/CMyEmployeeDynamicInfoMgr.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "base/CData_Stream_LE.h"
#include "base/OrvaFile.h"
#include "base/OrvaPath.h"
#include "base/OrvaTime.h"
#include "base/internal/NoThrow.h"
#include "employee/internal/EmployeeKeys.h"

using quarn_employee::IsBroadcastMac;
using quarn_employee::IsZeroMac;
using quarn_employee::MacKey;
using quarn_employee::NowSeconds;
using quarn_employee::SameMac;

// ---- EMPLOYEE_DYNAMIC_INFO ----

void EMPLOYEE_DYNAMIC_INFO::Close() {
  did = 0;
  ip = auth_time = first_auth_time = refresh_time = 0;
  state = 0;
  aux = 0;
  memset(mac, 0, sizeof(mac));
}

bool EMPLOYEE_DYNAMIC_INFO::operator==(
    const EMPLOYEE_DYNAMIC_INFO& other) const {
  return did == other.did && ip == other.ip && auth_time == other.auth_time &&
         first_auth_time == other.first_auth_time &&
         refresh_time == other.refresh_time && state == other.state &&
         aux == other.aux && SameMac(mac, other.mac);
}

int EMPLOYEE_DYNAMIC_INFO::PutStream(char*& p) const {
  CData_Stream_LE::PutUint64(p, did);
  CData_Stream_LE::PutUint32(p, ip);
  CData_Stream_LE::PutBytes(p, mac, 6);
  CData_Stream_LE::PutUint32(p, auth_time);
  CData_Stream_LE::PutInt32(p, state);
  return kStreamSize;
}

int EMPLOYEE_DYNAMIC_INFO::GetStream(const char*& p) {
  return GetStream(p, kStreamSize);
}

int EMPLOYEE_DYNAMIC_INFO::GetStream(const char*& p, size_t available) {
  if (p == nullptr || available < static_cast<size_t>(kStreamSize)) return -1;
  CData_Stream_LE in(p, kStreamSize);
  EMPLOYEE_DYNAMIC_INFO read;
  in.GetUint64(&read.did);
  in.GetUint32(&read.ip);
  in.GetBytes(read.mac, 6);
  in.GetUint32(&read.auth_time);
  in.GetInt32(&read.state);
  if (!in.ok()) return -1;
  *this = read;
  p += kStreamSize;
  return kStreamSize;
}

// ---- CMyEmployeeDynamicInfoMgr ----

const char* const CMyEmployeeDynamicInfoMgr::kMainFileName = "auth_center.dat";
const char* const CMyEmployeeDynamicInfoMgr::kNewFileName =
    "auth_center_new.dat";

CMyEmployeeDynamicInfoMgr::CMyEmployeeDynamicInfoMgr()
    : mac_finder_(0), cur_modified_tick_(0), last_saved_tick_(0) {}

CMyEmployeeDynamicInfoMgr::CMyEmployeeDynamicInfoMgr(
    const CMyEmployeeDynamicInfoMgr& other)
    : pool_(other.pool_),
      mac_finder_(other.mac_finder_),
      cur_modified_tick_(other.cur_modified_tick_),
      last_saved_tick_(other.last_saved_tick_) {}

CMyEmployeeDynamicInfoMgr& CMyEmployeeDynamicInfoMgr::operator=(
    const CMyEmployeeDynamicInfoMgr& other) {
  if (this != &other) {
    pool_ = other.pool_;
    mac_finder_ = other.mac_finder_;
    cur_modified_tick_ = other.cur_modified_tick_;
    last_saved_tick_ = other.last_saved_tick_;
  }
  return *this;
}

CMyEmployeeDynamicInfoMgr::~CMyEmployeeDynamicInfoMgr() {}

int CMyEmployeeDynamicInfoMgr::Create(unsigned int capacity, int mac_finder) {
  mac_finder_ = mac_finder != 0 ? 1 : 0;
  return pool_.Create(capacity, mac_finder_ ? 3 : 2) ? 1 : 0;
}

void CMyEmployeeDynamicInfoMgr::Destroy() { pool_.Destroy(); }

void CMyEmployeeDynamicInfoMgr::Clear() { pool_.Clear(); }

void CMyEmployeeDynamicInfoMgr::EnableMacFinder(int on) {
  int want = on != 0 ? 1 : 0;
  if (want == mac_finder_) return;
  Create(pool_.capacity(), want);
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::FindEmployeeByRunIP(
    unsigned int ip) {
  if (!pool_.created()) return nullptr;
  // The IP index is keyed by the whole address: a key match is a match.
  int s = pool_.FindKey(kIpIndex, ip);
  return s >= 0 ? &pool_.at(s) : nullptr;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::FindEmployeeByMac(
    const unsigned char* mac) {
  if (!mac_finder_ || mac == nullptr || !pool_.created()) return nullptr;
  // The MAC index is keyed by the whole MAC: a key match is a match.
  int s = pool_.FindKey(kMacIndex, MacKey(mac));
  return s >= 0 ? &pool_.at(s) : nullptr;
}

uint64_t CMyEmployeeDynamicInfoMgr::GetEmployeeDidByRunIP(unsigned int ip) {
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByRunIP(ip);
  return e != nullptr ? e->did : 0;
}

int CMyEmployeeDynamicInfoMgr::GetEmployeeDidByRunIP(unsigned int ip,
                                                     uint64_t& did) {
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByRunIP(ip);
  if (e == nullptr) return 0;
  did = e->did;
  return 1;
}

unsigned int CMyEmployeeDynamicInfoMgr::GetAuthPassByIP(unsigned int ip) {
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByRunIP(ip);
  return e != nullptr ? e->auth_time : 0;
}

int CMyEmployeeDynamicInfoMgr::FindFirstEmployeeByDid(uint64_t did) const {
  if (!pool_.created()) return -1;
  // The id index is keyed by the whole id: a key match is a match.
  return pool_.FindKey(kDidIndex, did);
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::FindNextEmployeeByDid(
    uint64_t did, int& cursor) {
  // A cursor of another walk ends this one.
  if (!pool_.InUse(cursor) || pool_.at(cursor).did != did) {
    cursor = -1;
    return nullptr;
  }
  EMPLOYEE_DYNAMIC_INFO* e = &pool_.at(cursor);
  cursor = pool_.NextKey(kDidIndex, cursor);
  return e;
}

int CMyEmployeeDynamicInfoMgr::GetLiveCountByDid(uint64_t did) const {
  int count = 0;
  if (!pool_.created()) return 0;
  for (int s = pool_.FindKey(kDidIndex, did); s >= 0;
       s = pool_.NextKey(kDidIndex, s)) {
    ++count;
  }
  return count;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::GetFirstEmployeeByDid(
    uint64_t did) {
  EMPLOYEE_DYNAMIC_INFO* best = nullptr;
  for (int c = FindFirstEmployeeByDid(did); c != -1;) {
    EMPLOYEE_DYNAMIC_INFO* e = FindNextEmployeeByDid(did, c);
    if (best == nullptr || e->auth_time < best->auth_time) best = e;
  }
  return best;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::GetLastEmployeeByDid(
    uint64_t did) {
  EMPLOYEE_DYNAMIC_INFO* best = nullptr;
  for (int c = FindFirstEmployeeByDid(did); c != -1;) {
    EMPLOYEE_DYNAMIC_INFO* e = FindNextEmployeeByDid(did, c);
    if (best == nullptr || e->auth_time > best->auth_time) best = e;
  }
  return best;
}

int CMyEmployeeDynamicInfoMgr::CheckDidAndIP(uint64_t did,
                                             unsigned int ip) const {
  if (!pool_.created()) return 0;
  for (int s = pool_.FindKey(kDidIndex, did); s >= 0;
       s = pool_.NextKey(kDidIndex, s)) {
    if (pool_.at(s).ip == ip) return 1;
  }
  return 0;
}

int CMyEmployeeDynamicInfoMgr::GetIndexByData(
    const EMPLOYEE_DYNAMIC_INFO* entry) const {
  int slot = pool_.SlotOf(entry);
  return pool_.InUse(slot) ? slot : -1;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::GetDataByIndex(int slot) {
  return pool_.InUse(slot) ? &pool_.at(slot) : nullptr;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::GetNextBlockFromHead(
    int& cursor) {
  if (!pool_.InUse(cursor)) {
    cursor = -1;
    return nullptr;
  }
  EMPLOYEE_DYNAMIC_INFO* e = &pool_.at(cursor);
  cursor = pool_.NextInOrder(cursor);
  return e;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::NewEntry(
    unsigned int ip, uint64_t did, const unsigned char* mac) {
  uint64_t keys[3] = {ip, did, MacKey(mac)};
  int slot = pool_.Take(keys);
  if (slot < 0) return nullptr;
  EMPLOYEE_DYNAMIC_INFO& e = pool_.at(slot);
  e.Close();
  e.ip = ip;
  e.did = did;
  if (mac != nullptr) memcpy(e.mac, mac, 6);
  return &e;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::SetAuth(
    unsigned int ip, uint64_t did, const unsigned char* mac,
    unsigned int auth_time, int state, int* result) {
  int changed = 0;
  EMPLOYEE_DYNAMIC_INFO* e;
  if (!pool_.created()) {
    e = nullptr;
  } else if (IsZeroMac(mac)) {
    e = SetAuthNoMac(ip, did, auth_time, state, &changed);
  } else if (mac_finder_) {
    e = SetAuthLayer2(ip, did, mac, auth_time, state, &changed);
  } else {
    e = SetAuthLayer3(ip, did, mac, auth_time, state, &changed);
  }
  if (result != nullptr) *result = changed;
  if (e != nullptr) cur_modified_tick_ = GetTickCount();
  return e;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::SetAuthNoMac(
    unsigned int ip, uint64_t did, unsigned int auth_time, int state,
    int* result) {
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByRunIP(ip);
  if (e != nullptr) {
    if (e->did != did) {
      ChangeInfo_DID(e, did, 0);
      *result = 1;
    }
    // The host no longer shows a MAC: forget the old one in the index too.
    if (!IsZeroMac(e->mac)) {
      static const unsigned char kZero[6] = {0, 0, 0, 0, 0, 0};
      ChangeInfo_MAC(e, kZero, 0);
    }
  } else {
    e = NewEntry(ip, did, nullptr);
    if (e == nullptr) return nullptr;
    *result = 1;
  }
  e->state = state;
  e->auth_time = e->first_auth_time = auth_time;
  return e;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::SetAuthLayer3(
    unsigned int ip, uint64_t did, const unsigned char* mac,
    unsigned int auth_time, int state, int* result) {
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByRunIP(ip);
  if (e != nullptr) {
    if (e->did != did) {
      ChangeInfo_DID(e, did, 0);
      *result = 1;
    }
    memcpy(e->mac, mac, 6);
  } else {
    e = NewEntry(ip, did, mac);
    if (e == nullptr) return nullptr;
    e->state = state;
    *result = 1;
  }
  e->auth_time = e->first_auth_time = auth_time;
  return e;
}

EMPLOYEE_DYNAMIC_INFO* CMyEmployeeDynamicInfoMgr::SetAuthLayer2(
    unsigned int ip, uint64_t did, const unsigned char* mac,
    unsigned int auth_time, int state, int* result) {
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByMac(mac);
  if (e != nullptr) {
    if (e->ip != ip) {
      // One host per address: whoever held `ip` before has left it.
      for (EMPLOYEE_DYNAMIC_INFO* other = FindEmployeeByRunIP(ip);
           other != nullptr; other = FindEmployeeByRunIP(ip)) {
        DeleteEmployee(other);
      }
      ChangeInfo_IP(e, ip, 0);
      *result = 1;
    }
  } else {
    e = FindEmployeeByRunIP(ip);
    if (e != nullptr) {
      if (!SameMac(e->mac, mac)) ChangeInfo_MAC(e, mac, 0);
    } else {
      e = NewEntry(ip, did, mac);
      if (e == nullptr) return nullptr;
      *result = 1;
    }
  }
  if (e->did != did) {
    ChangeInfo_DID(e, did, 0);
    *result = 1;
  }
  e->auth_time = e->first_auth_time = auth_time;
  e->state = state;
  return e;
}

unsigned int CMyEmployeeDynamicInfoMgr::TestAuthPassWithMac(unsigned int ip,
                                                            const void* mac) {
  if (!pool_.created()) return 0;
  const unsigned char* m = static_cast<const unsigned char*>(mac);
  if (mac_finder_ && !IsZeroMac(m)) {
    EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByMac(m);
    if (e == nullptr) return 0;
    if (e->ip != ip) ChangeInfo_IP(e, ip, 1);
    return e->auth_time;
  }
  EMPLOYEE_DYNAMIC_INFO* e = FindEmployeeByRunIP(ip);
  if (e == nullptr) return 0;
  if (!IsZeroMac(m) && !IsBroadcastMac(m)) {
    if (IsZeroMac(e->mac)) {
      ChangeInfo_MAC(e, m, 1);
    } else if (!SameMac(e->mac, m)) {
      // Another host has taken the address: its sign-in is not ours.
      DeleteEmployee(e);
      return 0;
    }
  }
  return e->auth_time;
}

int CMyEmployeeDynamicInfoMgr::DelAuthByDid(uint64_t did) {
  int found = 0;
  for (int s = FindFirstEmployeeByDid(did); s != -1;
       s = FindFirstEmployeeByDid(did)) {
    pool_.Free(s);
    found = 1;
  }
  return found;
}

int CMyEmployeeDynamicInfoMgr::DelAuthByIP(unsigned int ip) {
  return DeleteEmployee(FindEmployeeByRunIP(ip));
}

int CMyEmployeeDynamicInfoMgr::DelAuthByIndex(int slot) {
  if (!pool_.InUse(slot)) return 0;
  pool_.Free(slot);
  return 1;
}

int CMyEmployeeDynamicInfoMgr::DeleteEmployee(EMPLOYEE_DYNAMIC_INFO* entry) {
  return DelAuthByIndex(GetIndexByData(entry));
}

void CMyEmployeeDynamicInfoMgr::ChangeInfo_IP(EMPLOYEE_DYNAMIC_INFO* entry,
                                              unsigned int ip, int touch) {
  int slot = GetIndexByData(entry);
  if (slot < 0) return;
  entry->ip = ip;
  pool_.Rekey(kIpIndex, slot, ip);
  if (touch) cur_modified_tick_ = GetTickCount();
}

void CMyEmployeeDynamicInfoMgr::ChangeInfo_DID(EMPLOYEE_DYNAMIC_INFO* entry,
                                               uint64_t did, int touch) {
  int slot = GetIndexByData(entry);
  if (slot < 0) return;
  entry->did = did;
  pool_.Rekey(kDidIndex, slot, did);
  if (touch) cur_modified_tick_ = GetTickCount();
}

void CMyEmployeeDynamicInfoMgr::ChangeInfo_MAC(EMPLOYEE_DYNAMIC_INFO* entry,
                                               const unsigned char* mac,
                                               int touch) {
  int slot = GetIndexByData(entry);
  if (slot < 0 || mac == nullptr) return;
  memcpy(entry->mac, mac, 6);
  if (mac_finder_) pool_.Rekey(kMacIndex, slot, MacKey(mac));
  if (touch) cur_modified_tick_ = GetTickCount();
}

// ---- persistence ----

namespace {

const size_t kHeaderSize = 12;
const size_t kRecordSize = 30;

// Writes everything or fails; the file is flushed to the disk before it
// counts as written.
}  // namespace

int CMyEmployeeDynamicInfoMgr::Save_bin(const char* dir) {
  char new_path[260];
  char main_path[260];
  if (Orva::JoinPathToPath(new_path, sizeof(new_path), dir, kNewFileName) ==
          0 ||
      Orva::JoinPathToPath(main_path, sizeof(main_path), dir, kMainFileName) ==
          0) {
    return 0;
  }
  std::string bytes;
  bool built = quarn_guard::Guarded(false, [this, &bytes]() {
    bytes.assign(kHeaderSize, '\0');
    int32_t count = 0;
    for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
      const EMPLOYEE_DYNAMIC_INFO& e = pool_.at(s);
      if (e.state == kUnsavedState) continue;
      char record[kRecordSize];
      char* p = record;
      CData_Stream_LE::PutUint32(p, e.ip);
      CData_Stream_LE::PutBytes(p, e.mac, 6);
      CData_Stream_LE::PutUint32(p, e.auth_time);
      CData_Stream_LE::PutUint64(p, e.did);
      CData_Stream_LE::PutInt32(p, e.state);
      CData_Stream_LE::PutUint32(p, e.refresh_time);
      bytes.append(record, kRecordSize);
      ++count;
    }
    char* p = &bytes[0];
    CData_Stream_LE::PutUint32(p, kFileFormat);
    CData_Stream_LE::PutUint32(p, last_saved_tick_);
    CData_Stream_LE::PutInt32(p, count);
    return true;
  });
  if (!built) return 0;

  // Each file is replaced atomically, and the main file only once the new
  // file is complete on the disk; the main file then gets the same bytes.
  if (!Orva::WriteFileAtomic(new_path, bytes.data(), bytes.size())) return 0;
  return Orva::WriteFileAtomic(main_path, bytes.data(), bytes.size()) ? 1 : 0;
}

int CMyEmployeeDynamicInfoMgr::Load_bin(const char* dir) {
  char path[260];
  if (Orva::JoinPathToPath(path, sizeof(path), dir, kMainFileName) != 0 &&
      Inner_Load_bin(path) != 0) {
    return 1;
  }
  if (Orva::JoinPathToPath(path, sizeof(path), dir, kNewFileName) == 0) {
    return 0;
  }
  return Inner_Load_bin(path);
}

int CMyEmployeeDynamicInfoMgr::Inner_Load_bin(const char* path) {
  Lock();
  pool_.Clear();
  UnLock();
  cur_modified_tick_ = GetTickCount();
  FILE* file = Orva::OpenRegularFile(path);
  if (file == nullptr) return 0;
  char header[kHeaderSize];
  if (fread(header, 1, kHeaderSize, file) != kHeaderSize) {
    fclose(file);
    return 0;
  }
  CData_Stream_LE head(header, kHeaderSize);
  uint32_t format = 0;
  uint32_t tick = 0;
  int32_t count = 0;
  head.GetUint32(&format);
  if (format != kFileFormat) {
    fclose(file);
    return 0;
  }
  head.GetUint32(&tick);
  head.GetInt32(&count);
  if (count < 0) {
    // No writer produces a negative count: the header is damaged, and the
    // caller falls back to the new file.
    fclose(file);
    return 0;
  }
  last_saved_tick_ = tick;
  for (int32_t i = 0; i < count; ++i) {
    char record[kRecordSize];
    size_t got = fread(record, 1, kRecordSize, file);
    if (got != kRecordSize) {
      fclose(file);
      // Cut inside a record: keep what came before. Cut at a record
      // boundary: the file is short of records, so it is not trusted.
      return got != 0 ? 1 : 0;
    }
    CData_Stream_LE in(record, kRecordSize);
    uint32_t ip = 0, auth_time = 0, refresh_time = 0;
    unsigned char mac[6];
    uint64_t did = 0;
    int32_t state = 0;
    in.GetUint32(&ip);
    in.GetBytes(mac, 6);
    in.GetUint32(&auth_time);
    in.GetUint64(&did);
    in.GetInt32(&state);
    in.GetUint32(&refresh_time);
    EMPLOYEE_DYNAMIC_INFO* e = SetAuth(ip, did, mac, auth_time, state);
    if (e == nullptr) continue;
    memcpy(e->mac, mac, 6);
    if (refresh_time != 0) {
      e->refresh_time = static_cast<uint32_t>(NowSeconds());
    }
  }
  fclose(file);
  cur_modified_tick_ = last_saved_tick_;
  return 1;
}

int CMyEmployeeDynamicInfoMgr::JudgeModifyedToSave(const char* dir) {
  if (!IsModified()) return 0;
  last_saved_tick_ = cur_modified_tick_;
  Save_bin(dir);
  return 1;
}

void CMyEmployeeDynamicInfoMgr::SetModified(int m) {
  if (m == 0) {
    last_saved_tick_ = cur_modified_tick_;
  } else {
    cur_modified_tick_ = GetTickCount();
  }
}
