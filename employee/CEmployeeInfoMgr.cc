#include "employee/CEmployeeInfoMgr.h"

#include <string.h>

#include <utility>

#include <ace/Guard_T.h>

#include "address/CLocalIPTypeTable.h"
#include "base/OrvaAddr.h"
#include "base/OrvaText.h"
#include "base/OrvaTime.h"
#include "base/internal/NoThrow.h"
#include "employee/internal/EmployeeKeys.h"

using quarn_employee::IsZeroMac;
using quarn_employee::MacKey;
using quarn_employee::NowSeconds;
using quarn_employee::SameMac;

namespace {

const char kEmployeeInfo[] = "employee_info";
const char kOneEmployee[] = "one_employee";
const unsigned int kAllDeps = 0xFFFFFFFFu;

}  // namespace

const char* const CEmployeeInfoMgr::kRootName = "tb_employee";

CEmployeeInfoMgr::CEmployeeInfoMgr()
    : plan_(nullptr),
      outside_count_(0),
      gray_timeout_(kDefaultGrayTimeout),
      modified_(0),
      mac_finder_(0) {}

CEmployeeInfoMgr::CEmployeeInfoMgr(const CEmployeeInfoMgr& other)
    : pool_(other.pool_),
      plan_(other.plan_),
      outside_count_(other.outside_count_),
      gray_timeout_(other.gray_timeout_),
      modified_(other.modified_),
      mac_finder_(other.mac_finder_),
      file_name_(other.file_name_) {}

CEmployeeInfoMgr& CEmployeeInfoMgr::operator=(const CEmployeeInfoMgr& other) {
  if (this != &other) {
    pool_ = other.pool_;
    plan_ = other.plan_;
    outside_count_ = other.outside_count_;
    gray_timeout_ = other.gray_timeout_;
    modified_ = other.modified_;
    mac_finder_ = other.mac_finder_;
    file_name_ = other.file_name_;
  }
  return *this;
}

CEmployeeInfoMgr::~CEmployeeInfoMgr() {}

int CEmployeeInfoMgr::Create(CLocalIPTypeTable* plan, unsigned int capacity,
                             int mac_finder) {
  plan_ = plan;
  outside_count_ = 0;
  mac_finder_ = mac_finder != 0 ? 1 : 0;
  return pool_.Create(capacity, mac_finder_ ? 2 : 1) ? 1 : 0;
}

void CEmployeeInfoMgr::Destroy() {
  pool_.Destroy();
  outside_count_ = 0;
}

void CEmployeeInfoMgr::Clear() {
  pool_.Clear();
  outside_count_ = 0;
}

void CEmployeeInfoMgr::EanbelMacFinder(int on) {
  const int want = on != 0 ? 1 : 0;
  if (want == mac_finder_) return;
  ACE_Guard<ACE_Recursive_Thread_Mutex> guard(mutex_);
  if (!pool_.created()) {
    mac_finder_ = want;  // Create() will build the indexes
    return;
  }
  // The records go into a new pool first, so a failure leaves the table
  // as it was.
  quarn_guard::Guarded(0, [&] {
    CEmployeeInfoMgr rebuilt;
    if (!rebuilt.Create(plan_, pool_.capacity(), want)) return 0;
    for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
      const EMPLOYEE_INFO& rec = pool_.at(s);
      EMPLOYEE_INFO* r =
          rebuilt.InsertEmployee(-1, rec.ip, rec.host_mac, rec.vlan_mac);
      if (r != nullptr) rebuilt.AssignEmployee(r, rec);
    }
    pool_ = std::move(rebuilt.pool_);
    outside_count_ = rebuilt.outside_count_;
    mac_finder_ = want;
    return 1;
  });
}

// ---- lookups ----

EMPLOYEE_INFO* CEmployeeInfoMgr::FindByRunIP(unsigned int ip) {
  if (!pool_.created()) return nullptr;
  // The IP index is keyed by the whole address: a key match is a match.
  int s = pool_.FindKey(kIpIndex, ip);
  return s >= 0 ? &pool_.at(s) : nullptr;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::FindInMacIndex(const unsigned char* mac) {
  // The MAC index is keyed by the whole MAC: a key match is a match.
  int s = pool_.FindKey(kMacIndex, MacKey(mac));
  return s >= 0 ? &pool_.at(s) : nullptr;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::FindByMAC(const unsigned char* mac) {
  if (!pool_.created() || IsZeroMac(mac)) return nullptr;
  if (mac_finder_) return FindInMacIndex(mac);
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    if (SameMac(pool_.at(s).host_mac, mac)) return &pool_.at(s);
  }
  return nullptr;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::FindEmployeeByConfigIP(unsigned int cip) {
  if (cip == 0) return nullptr;
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    if (pool_.at(s).cip == cip) return &pool_.at(s);
  }
  return nullptr;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::LatestOnIP(int best) {
  for (int s = pool_.NextKey(kIpIndex, best); s >= 0;
       s = pool_.NextKey(kIpIndex, s)) {
    if (pool_.at(s).last_active_time >= pool_.at(best).last_active_time) {
      best = s;
    }
  }
  return &pool_.at(best);
}

int CEmployeeInfoMgr::GetIndexByData(const EMPLOYEE_INFO* record) const {
  int slot = pool_.SlotOf(record);
  return pool_.InUse(slot) ? slot : -1;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::GetDataByIndex(int slot) {
  return pool_.InUse(slot) ? &pool_.at(slot) : nullptr;
}

// ---- walkers ----

int CEmployeeInfoMgr::GetHeadBlock(unsigned int dep) const {
  int s = pool_.Head();
  while (s >= 0 && dep != kAllDeps && pool_.at(s).dep_id != dep) {
    s = pool_.NextInOrder(s);
  }
  return s;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::GetNextBlockFromHead(int& cursor,
                                                      unsigned int dep) {
  if (!pool_.InUse(cursor)) {
    cursor = -1;
    return nullptr;
  }
  EMPLOYEE_INFO* r = &pool_.at(cursor);
  int s = pool_.NextInOrder(cursor);
  while (s >= 0 && dep != kAllDeps && pool_.at(s).dep_id != dep) {
    s = pool_.NextInOrder(s);
  }
  cursor = s;
  return r;
}

// Every record is entered in both indexes, so a walk over either index
// is a walk over all records, and follows the insertion order.
int CEmployeeInfoMgr::GetHeadBlockByIP() const { return GetHeadBlock(); }

EMPLOYEE_INFO* CEmployeeInfoMgr::GetNextBlockFromHeadByIP(int& cursor) {
  return GetNextBlockFromHead(cursor);
}

int CEmployeeInfoMgr::GetHeadBlockByMac() const {
  return mac_finder_ ? GetHeadBlock() : -1;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::GetNextBlockFromHeadByMac(int& cursor) {
  if (!mac_finder_) {
    cursor = -1;
    return nullptr;
  }
  return GetNextBlockFromHead(cursor);
}

int CEmployeeInfoMgr::GetHeadBlockByOneIP(unsigned int ip) const {
  if (!pool_.created()) return -1;
  // The IP index is keyed by the whole address: a key match is a match.
  return pool_.FindKey(kIpIndex, ip);
}

EMPLOYEE_INFO* CEmployeeInfoMgr::GetNextBlockFromHeadByOneIP(
    unsigned int /*ip*/, int& cursor) {
  if (!pool_.InUse(cursor)) {
    cursor = -1;
    return nullptr;
  }
  EMPLOYEE_INFO* r = &pool_.at(cursor);
  cursor = pool_.NextKey(kIpIndex, cursor);
  return r;
}

// ---- insertion ----

int CEmployeeInfoMgr::CollisionMode() const {
  return plan_ != nullptr ? plan_->netenv().GetHandleCollisionIPType() : 0;
}

int CEmployeeInfoMgr::IsOutsideAdmitted() const {
  return plan_ != nullptr ? plan_->netenv().IsAdmitOutsideHost() : 0;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::NewRecord(int outside, unsigned int ip,
                                           const unsigned char* mac) {
  uint64_t keys[2] = {ip, IsZeroMac(mac) ? 0 : MacKey(mac)};
  int slot = pool_.Take(keys);
  if (slot < 0) return nullptr;
  EMPLOYEE_INFO& r = pool_.at(slot);
  r.Close();
  r.ip = ip;
  if (!IsZeroMac(mac)) memcpy(r.host_mac, mac, 6);
  if (outside) ++outside_count_;
  return &r;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::InsertEmployee(int time, unsigned int ip,
                                                const unsigned char* host_mac,
                                                const unsigned char* vlan_mac,
                                                int* result) {
  if (!pool_.created()) return nullptr;
  if (ip == 0 || (plan_ != nullptr && plan_->IsIPInCompany(ip, nullptr))) {
    return Inner_InsertEmployee(time, 0, ip, host_mac, vlan_mac, result);
  }
  if (IsOutsideAdmitted() && outside_count_ < pool_.capacity() / 10) {
    return Inner_InsertEmployee(time, 1, ip, host_mac, vlan_mac, result);
  }
  return nullptr;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::InsertEmployee(const EMPLOYEE_INFO& rec,
                                                int* result) {
  EMPLOYEE_INFO* r =
      InsertEmployee(-1, rec.ip, rec.host_mac, rec.vlan_mac, result);
  if (r != nullptr) AssignEmployee(r, rec);
  return r;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::Inner_InsertEmployee(
    int time, int outside, unsigned int ip, const unsigned char* host_mac,
    const unsigned char* vlan_mac, int* result) {
  int code = INSERT_FOUND;
  EMPLOYEE_INFO* r;
  if (IsZeroMac(host_mac)) {
    r = FindByRunIP(ip);
    if (r == nullptr) {
      r = NewRecord(outside, ip, nullptr);
      code = INSERT_CREATED;
    }
    if (r != nullptr && time != 0 && time != -1) r->last_active_time = time;
  } else if (mac_finder_) {
    r = InsertEmployee_Lay2_Ex(time, outside, ip, host_mac, &code);
  } else {
    r = InsertEmployee_Lay3_Ex(time, outside, ip, host_mac, &code);
  }
  if (r == nullptr) return nullptr;
  if (!IsZeroMac(vlan_mac)) memcpy(r->vlan_mac, vlan_mac, 6);
  if (result != nullptr) *result = code;
  return r;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::InsertEmployee_Lay2_Ex(
    int time, int outside, unsigned int ip, const unsigned char* mac,
    int* result) {
  if (!pool_.created() || !mac_finder_ || IsZeroMac(mac)) return nullptr;
  int code = INSERT_FOUND;
  EMPLOYEE_INFO* r = FindInMacIndex(mac);
  if (r != nullptr) {
    if (r->ip != ip) {
      if (time != -1 && r->last_active_time >= time) {
        code = INSERT_STALE;
      } else {
        EMPLOYEE_INFO* holder = ip != 0 ? FindByRunIP(ip) : nullptr;
        if (holder != nullptr) HandleCollisionIP_ByInsertEmployee(holder);
        ChangeEmployeeIP(r, ip);
        code = INSERT_IP_CHANGED;
      }
    }
  } else {
    EMPLOYEE_INFO* holder = FindByRunIP(ip);
    if (holder != nullptr && IsZeroMac(holder->host_mac)) {
      ChangeEmployeeMac(holder, mac);
      r = holder;
      code = INSERT_MAC_GIVEN;
    } else {
      if (holder != nullptr && ip != 0) {
        HandleCollisionIP_ByInsertEmployee(holder);
      }
      r = NewRecord(outside, ip, mac);
      code = INSERT_CREATED;
    }
  }
  if (r == nullptr) return nullptr;
  if (code != INSERT_STALE && time != 0 && time != -1) {
    r->last_active_time = time;
  }
  if (result != nullptr) *result = code;
  return r;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::InsertEmployee_Lay3_Ex(
    int time, int outside, unsigned int ip, const unsigned char* mac,
    int* result) {
  if (!pool_.created()) return nullptr;
  EMPLOYEE_INFO* r = FindByRunIP(ip);
  if (r == nullptr) r = NewRecord(outside, ip, mac);
  if (r == nullptr) return nullptr;
  if (time != 0 && time != -1) r->last_active_time = time;
  // Without a MAC index a layer-3 insertion only reports "found".
  if (result != nullptr) *result = INSERT_FOUND;
  return r;
}

void CEmployeeInfoMgr::HandleCollisionIP_ByInsertEmployee(
    EMPLOYEE_INFO* other) {
  switch (CollisionMode()) {
    case 1:
      ChangeEmployeeIP(other, 0);
      break;
    case 2:
      if (other->name.empty()) {
        DeleteEmployee(other);
      } else {
        ChangeEmployeeIP(other, 0);
      }
      break;
    default:
      break;
  }
}

EMPLOYEE_INFO* CEmployeeInfoMgr::InsertEmployee_ConfigIP(
    unsigned int cip, const unsigned char* mac, int* result) {
  int code = INSERT_REFUSED;
  EMPLOYEE_INFO* r = nullptr;
  if (!mac_finder_ || IsZeroMac(mac) || cip == 0 || cip == 0xFFFFFFFFu) {
    code = INSERT_REFUSED;
  } else if (FindEmployeeByConfigIP(cip) != nullptr ||
             FindByRunIP(cip) != nullptr) {
    code = INSERT_MAC_GIVEN;
  } else if ((r = FindInMacIndex(mac)) != nullptr) {
    code = INSERT_FOUND;
    if (r->cip != cip) {
      r->cip = cip;
      code = INSERT_IP_CHANGED;
    }
  } else {
    r = InsertEmployee(-1, cip, mac, nullptr, &code);
    if (r != nullptr) {
      r->cip = cip;
      code = INSERT_CREATED;
    }
  }
  if (result != nullptr) *result = code;
  return r;
}

EMPLOYEE_INFO* CEmployeeInfoMgr::InsertEmployeeByDelete(
    int time, unsigned int ip, const unsigned char* host_mac,
    const unsigned char* vlan_mac, int* result) {
  EMPLOYEE_INFO* r = InsertEmployee(time, ip, host_mac, vlan_mac, result);
  if (r == nullptr && pool_.created() &&
      pool_.used_count() == pool_.capacity() &&
      CleanOldEmployee(NowSeconds(), kAgeOnFull) > 0) {
    r = InsertEmployee(time, ip, host_mac, vlan_mac, result);
  }
  return r;
}

// ---- changes and deletion ----

void CEmployeeInfoMgr::ChangeEmployeeIP(EMPLOYEE_INFO* record,
                                        unsigned int ip) {
  ChangeEmployeeIP(GetIndexByData(record), ip);
}

void CEmployeeInfoMgr::ChangeEmployeeIP(int slot, unsigned int ip) {
  if (!pool_.InUse(slot)) return;
  pool_.at(slot).ip = ip;
  pool_.Rekey(kIpIndex, slot, ip);
}

void CEmployeeInfoMgr::ChangeEmployeeMac(EMPLOYEE_INFO* record,
                                         const unsigned char* mac) {
  ChangeEmployeeMac(GetIndexByData(record), mac);
}

void CEmployeeInfoMgr::ChangeEmployeeMac(int slot, const unsigned char* mac) {
  if (!pool_.InUse(slot)) return;
  unsigned char* stored = pool_.at(slot).host_mac;
  if (IsZeroMac(mac)) {
    memset(stored, 0, 6);
  } else {
    memcpy(stored, mac, 6);
  }
  if (mac_finder_) pool_.Rekey(kMacIndex, slot, MacKey(stored));
}

void CEmployeeInfoMgr::AssignEmployee(EMPLOYEE_INFO* dst,
                                      const EMPLOYEE_INFO& src) {
  int slot = GetIndexByData(dst);
  if (slot < 0 || dst == &src) return;
  bool new_ip = dst->ip != src.ip;
  bool new_mac = !SameMac(dst->host_mac, src.host_mac);
  *dst = src;
  if (new_ip) pool_.Rekey(kIpIndex, slot, src.ip);
  if (new_mac && mac_finder_) {
    pool_.Rekey(kMacIndex, slot, MacKey(src.host_mac));
  }
}

int CEmployeeInfoMgr::DeleteEmployee(int slot) {
  if (!pool_.InUse(slot)) return 0;
  pool_.Free(slot);
  return 1;
}

int CEmployeeInfoMgr::DeleteEmployee(EMPLOYEE_INFO* record) {
  return DeleteEmployee(GetIndexByData(record));
}

int CEmployeeInfoMgr::DeleteEmployee(const std::vector<int>& slots) {
  int removed = 0;
  for (int slot : slots) removed += DeleteEmployee(slot);
  return removed;
}

int CEmployeeInfoMgr::DeleteEmployee(unsigned int ip) {
  int removed = 0;
  for (int s = GetHeadBlockByOneIP(ip); s != -1; s = GetHeadBlockByOneIP(ip)) {
    removed += DeleteEmployee(s);
  }
  return removed;
}

int CEmployeeInfoMgr::DeleteEmployee(unsigned int ip,
                                     const unsigned char* mac) {
  int removed = 0;
  for (int c = GetHeadBlockByOneIP(ip); c != -1;) {
    EMPLOYEE_INFO* r = GetNextBlockFromHeadByOneIP(ip, c);
    bool same =
        IsZeroMac(mac) ? IsZeroMac(r->host_mac) : SameMac(r->host_mac, mac);
    if (same) removed += DeleteEmployee(r);
  }
  return removed;
}

int CEmployeeInfoMgr::DeleteEmployee(const std::vector<unsigned int>& ips) {
  int removed = 0;
  for (unsigned int ip : ips) removed += DeleteEmployee(ip);
  return removed;
}

int CEmployeeInfoMgr::DeleteEmployee(const unsigned char* mac) {
  int removed = 0;
  for (EMPLOYEE_INFO* r = FindByMAC(mac); r != nullptr; r = FindByMAC(mac)) {
    removed += DeleteEmployee(r);
  }
  return removed;
}

int CEmployeeInfoMgr::DeleteEmployee(const std::vector<uint64_t>& macs) {
  int removed = 0;
  for (uint64_t value : macs) {
    unsigned char mac[6];
    Orva::uint64_to_mac(value, mac);
    removed += DeleteEmployee(mac);
  }
  return removed;
}

int CEmployeeInfoMgr::DeleteAllEmployeesInDep(unsigned int dep) {
  int removed = 0;
  for (int c = GetHeadBlock(dep); c != -1;) {
    removed += DeleteEmployee(GetNextBlockFromHead(c, dep));
  }
  return removed;
}

// ---- bulk operations ----

void CEmployeeInfoMgr::ResetAllConfigIP() {
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    pool_.at(s).cip = 0;
  }
}

void CEmployeeInfoMgr::ResetAllEmployeeFlux() {
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    pool_.at(s).flux[0] = pool_.at(s).flux[1] = 0;
  }
}

void CEmployeeInfoMgr::ResetOrgIdForEmployee() {
  if (plan_ == nullptr) return;
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    EMPLOYEE_INFO& r = pool_.at(s);
    uint32_t dep = static_cast<uint32_t>(plan_->GetDepartmentIdByIP(r.ip));
    if (dep != r.dep_id) {
      r.dep_id = dep;
      modified_ = 1;
    }
  }
}

int CEmployeeInfoMgr::CleanOldEmployee(int now, int age) {
  int removed = 0;
  for (int c = pool_.Head(); c != -1;) {
    int slot = c;
    c = pool_.NextInOrder(c);
    const EMPLOYEE_INFO& r = pool_.at(slot);
    if (r.last_active_time == 0 || r.last_active_time > now) continue;
    if (static_cast<int64_t>(now) - r.last_active_time < age) continue;
    if (r.checked != 0 || r.ipmac_bind != 0 || !r.name.empty()) continue;
    removed += DeleteEmployee(slot);
  }
  if (removed > 0) modified_ = 1;
  return removed;
}

void CEmployeeInfoMgr::CheckRepeatIP(std::vector<EMPLOYEE_INFO*>& out) {
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    EMPLOYEE_INFO* r = &pool_.at(s);
    if (r->ip == 0) continue;
    int same = 0;
    for (int c = GetHeadBlockByOneIP(r->ip); c != -1;) {
      GetNextBlockFromHeadByOneIP(r->ip, c);
      ++same;
    }
    if (same > 1) out.push_back(r);
  }
}

void CEmployeeInfoMgr::CheckRepeatMac(std::vector<EMPLOYEE_INFO*>& out) {
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    EMPLOYEE_INFO* r = &pool_.at(s);
    if (IsZeroMac(r->host_mac)) continue;
    int same = 0;
    if (mac_finder_) {
      for (int c = pool_.FindKey(kMacIndex, MacKey(r->host_mac)); c >= 0;
           c = pool_.NextKey(kMacIndex, c)) {
        ++same;
      }
    } else {
      for (int c = pool_.Head(); c >= 0; c = pool_.NextInOrder(c)) {
        if (SameMac(pool_.at(c).host_mac, r->host_mac)) ++same;
      }
    }
    if (same > 1) out.push_back(r);
  }
}

// ---- counting ----

bool CEmployeeInfoMgr::IsActive(const EMPLOYEE_INFO& r, int32_t now) const {
  return static_cast<int64_t>(now) - r.last_active_time < gray_timeout_ ||
         r.last_active_time > now;
}

int CEmployeeInfoMgr::CountDep(unsigned int dep, bool active) {
  if (dep == COrgStructInfo::ORG_SERVER) return CountServers(active);
  int32_t now = NowSeconds();
  int count = 0;
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    const EMPLOYEE_INFO& r = pool_.at(s);
    if (r.dep_id == dep && (!active || IsActive(r, now))) ++count;
  }
  return count;
}

int CEmployeeInfoMgr::CountServers(bool active) {
  if (plan_ == nullptr) return 0;
  int32_t now = NowSeconds();
  int count = 0;
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    const EMPLOYEE_INFO& r = pool_.at(s);
    if (plan_->IsInVPNServer(r.ip) && (!active || IsActive(r, now))) ++count;
  }
  return count;
}

std::vector<unsigned int> CEmployeeInfoMgr::PlanDepartments(
    bool with_dmz) const {
  std::vector<unsigned int> deps;
  if (plan_ == nullptr) return deps;
  // Servers lie inside the intranet and already count in their own
  // department; their placeholder 27 would count them twice.
  for (const auto& dep : plan_->intranet().departments()) {
    if (dep->id != COrgStructInfo::ORG_SERVER) deps.push_back(dep->id);
  }
  const unsigned int dmz = COrgStructInfo::ORG_DMZ;
  if (with_dmz) deps.push_back(dmz);
  return deps;
}

int CEmployeeInfoMgr::CountDepList(const std::vector<unsigned int>& deps,
                                   bool active) {
  int count = 0;
  for (unsigned int dep : deps) count += CountDep(dep, active);
  return count;
}

int CEmployeeInfoMgr::GetCountInDep(unsigned int dep) {
  return CountDep(dep, false);
}
int CEmployeeInfoMgr::GetActiveCountInDep(unsigned int dep) {
  return CountDep(dep, true);
}
int CEmployeeInfoMgr::GetCountServer_InPVN() { return CountServers(false); }
int CEmployeeInfoMgr::GetActiveCountServer_InPVN() {
  return CountServers(true);
}
int CEmployeeInfoMgr::GetCountIn_IntranetExcept() {
  return CountDep(COrgStructInfo::ORG_ABNORMAL_INTRANET, false);
}
int CEmployeeInfoMgr::GetActiveCountIn_IntranetExcept() {
  return CountDep(COrgStructInfo::ORG_ABNORMAL_INTRANET, true);
}
int CEmployeeInfoMgr::GetCountIn_InternetExecept() {
  return CountDep(COrgStructInfo::ORG_ABNORMAL_EXTERNAL, false);
}
int CEmployeeInfoMgr::GetActiveCountIn_InternetExecept() {
  return CountDep(COrgStructInfo::ORG_ABNORMAL_EXTERNAL, true);
}
int CEmployeeInfoMgr::GetCountInNoDep_InVPN() {
  return CountDep(COrgStructInfo::ORG_UNCLASSIFIED, false);
}
int CEmployeeInfoMgr::GetActiveCountInNoDep_InVPN() {
  return CountDep(COrgStructInfo::ORG_UNCLASSIFIED, true);
}
int CEmployeeInfoMgr::GetCountIn_DMZ() {
  return CountDep(COrgStructInfo::ORG_DMZ, false);
}
int CEmployeeInfoMgr::GetActiveCountIn_DMZ() {
  return CountDep(COrgStructInfo::ORG_DMZ, true);
}
int CEmployeeInfoMgr::GetCountInCompany() {
  return static_cast<int>(pool_.used_count()) - GetCountIn_IntranetExcept() -
         GetCountIn_InternetExecept();
}
int CEmployeeInfoMgr::GetCountIn_Intranet_Company() {
  return CountDepList(PlanDepartments(true), false);
}
int CEmployeeInfoMgr::GetActiveCountIn_Intranet_Company() {
  return CountDepList(PlanDepartments(true), true);
}
int CEmployeeInfoMgr::GetCountIn_InVPN() {
  return CountDepList(PlanDepartments(false), false);
}
int CEmployeeInfoMgr::GetActiveCountIn_InVPN() {
  return CountDepList(PlanDepartments(false), true);
}

// ---- difference ----

int CEmployeeInfoMgr::DiffToOther(CEmployeeInfoMgr& other,
                                  std::vector<EMPLOYEE_INFO>* added,
                                  std::vector<EMPLOYEE_INFO>* changed,
                                  std::vector<unsigned int>* removed_ips,
                                  std::vector<uint64_t>* removed_macs) {
  // A record without a MAC has no MAC key: it is matched by its IP even in
  // MAC mode.
  const bool mac_mode = mac_finder_ != 0;
  auto by_mac = [mac_mode](const EMPLOYEE_INFO& r) {
    return mac_mode && !IsZeroMac(r.host_mac);
  };
  auto counterpart = [&by_mac](CEmployeeInfoMgr& table,
                               const EMPLOYEE_INFO& r) {
    return by_mac(r) ? table.FindByMAC(r.host_mac)
                     : table.FindLastEmployeeByRunIP(r.ip);
  };
  int differs = 0;
  for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
    const EMPLOYEE_INFO& r = pool_.at(s);
    const EMPLOYEE_INFO* o = counterpart(other, r);
    if (o == nullptr) {
      differs = 1;
      if (added != nullptr) added->push_back(r);
    } else if (!r.cmp_base_info_but_activetime(*o)) {
      differs = 1;
      if (changed != nullptr) changed->push_back(r);
    }
  }
  for (int s = other.pool_.Head(); s >= 0; s = other.pool_.NextInOrder(s)) {
    const EMPLOYEE_INFO& o = other.pool_.at(s);
    if (counterpart(*this, o) != nullptr) continue;
    differs = 1;
    if (by_mac(o)) {
      if (removed_macs != nullptr) {
        removed_macs->push_back(Orva::mac_to_uint64(o.host_mac));
      }
    } else if (removed_ips != nullptr) {
      removed_ips->push_back(o.ip);
    }
  }
  return differs;
}

// ---- the document ----

namespace {

void ReadRecord(TiXmlNode* node, EMPLOYEE_INFO* r) {
  r->Close();
  CTinyXmlEx::GetAttr_HostOrderIP(node, "ip", r->ip);
  CTinyXmlEx::GetAttr_HostOrderIP(node, "cip", r->cip);
  CTinyXmlEx::GetAttr(node, "ipmac_bind", r->ipmac_bind);
  CTinyXmlEx::GetAttr(node, "checked", r->checked);
  CTinyXmlEx::GetAttr(node, "name", r->name);
  if (!r->name.empty() && Orva::isUTF8_16(r->name)) {
    r->name = Orva::UTF8_to_HOME(r->name);
  }
  CTinyXmlEx::GetAttr(node, "host_name", r->host_name);
  CTinyXmlEx::GetAttr(node, "os_name", r->os_name);
  if (!CTinyXmlEx::GetAttr_Macaddr(node, "host_mac", r->host_mac)) {
    memset(r->host_mac, 0, 6);
  }
  if (!CTinyXmlEx::GetAttr_Macaddr(node, "vlan_mac", r->vlan_mac)) {
    memset(r->vlan_mac, 0, 6);
  }
  CTinyXmlEx::GetAttr(node, "mail", r->mail);
  CTinyXmlEx::GetAttr(node, "desc", r->desc);
  std::string text;
  if (CTinyXmlEx::GetAttr(node, "last_active_time", text) && !text.empty()) {
    Orva::StrToTime(Orva::kTimeFormatDateTime, text.c_str(),
                    &r->last_active_time);
  }
}

void WriteRecord(TiXmlNode* node, const EMPLOYEE_INFO& r) {
  if (r.ip != 0) CTinyXmlEx::SetAttr_HostOrderIP(node, "ip", r.ip);
  if (r.cip != 0) CTinyXmlEx::SetAttr_HostOrderIP(node, "cip", r.cip);
  if (r.ipmac_bind != 0) CTinyXmlEx::SetAttr(node, "ipmac_bind", r.ipmac_bind);
  if (r.checked != 0) CTinyXmlEx::SetAttr(node, "checked", r.checked);
  if (!r.name.empty()) CTinyXmlEx::SetAttr(node, "name", r.name);
  if (!r.host_name.empty()) CTinyXmlEx::SetAttr(node, "host_name", r.host_name);
  if (!r.os_name.empty()) CTinyXmlEx::SetAttr(node, "os_name", r.os_name);
  if (!IsZeroMac(r.host_mac)) {
    CTinyXmlEx::SetAttr_Macaddr(node, "host_mac", r.host_mac);
  }
  if (!IsZeroMac(r.vlan_mac)) {
    CTinyXmlEx::SetAttr_Macaddr(node, "vlan_mac", r.vlan_mac);
  }
  if (!r.mail.empty()) CTinyXmlEx::SetAttr(node, "mail", r.mail);
  if (!r.desc.empty()) CTinyXmlEx::SetAttr(node, "desc", r.desc);
  if (r.last_active_time != 0) {
    CTinyXmlEx::SetAttr(
        node, "last_active_time",
        Orva::FormatTime(Orva::kTimeFormatDateTime, r.last_active_time));
  }
}

}  // namespace

int CEmployeeInfoMgr::Load(const char* path) {
  return quarn_guard::Guarded(0, [&] {
    file_name_ = path != nullptr ? path : "";
    if (file_name_.empty()) return 0;
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path) != 0) return 0;
    TiXmlNode* list =
        CTinyXmlEx::FirstChildElement(doc.GetRootNode(), kEmployeeInfo);
    if (list == nullptr) return 0;
    return Load(doc, list);
  });
}

int CEmployeeInfoMgr::Load(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  ACE_Guard<ACE_Recursive_Thread_Mutex> guard(mutex_);
  Clear();
  // Running out of memory part way keeps the records read so far.
  return quarn_guard::Guarded(0, [&] {
    EMPLOYEE_INFO rec;
    for (TiXmlNode* one = CTinyXmlEx::FirstChildElement(node, kOneEmployee);
         one != nullptr;
         one = CTinyXmlEx::NextSiblingElement(one, kOneEmployee)) {
      ReadRecord(one, &rec);
      EMPLOYEE_INFO* r = InsertEmployee(-1, rec.ip, rec.host_mac, rec.vlan_mac);
      if (r != nullptr) AssignEmployee(r, rec);
    }
    return node != nullptr ? 1 : 0;
  });
}

int CEmployeeInfoMgr::Save(const char* path) {
  return quarn_guard::Guarded(0, [&] {
    const std::string target =
        path != nullptr && *path != '\0' ? path : file_name_;
    if (target.empty()) return 0;
    CTinyXmlEx doc;
    if (doc.open_ex(target.c_str(), CTinyXmlEx::OPEN_CREATE_NEW) != 0) {
      return 0;
    }
    TiXmlNode* root = doc.InsertRootElement(kRootName);
    TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(root, kEmployeeInfo);
    const int ok =
        list != nullptr && Save(doc, list) != 0 && doc.savefile() == 0;
    doc.close();
    return ok ? 1 : 0;
  });
}

int CEmployeeInfoMgr::Save(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  if (node == nullptr) return 0;
  ACE_Guard<ACE_Recursive_Thread_Mutex> guard(mutex_);
  return quarn_guard::Guarded(0, [&] {
    for (int s = pool_.Head(); s >= 0; s = pool_.NextInOrder(s)) {
      TiXmlNode* one = CTinyXmlEx::InsertEndChildElement(node, kOneEmployee);
      if (one == nullptr) return 0;
      WriteRecord(one, pool_.at(s));
    }
    return 1;
  });
}

int CEmployeeInfoMgr::JudgeModifyedToSave(const char* path) {
  if (!modified_) return 0;
  if (Save(path) == 0) return -1;
  modified_ = 0;
  return 1;
}
