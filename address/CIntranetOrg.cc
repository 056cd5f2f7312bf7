#include "address/CIntranetOrg.h"

#include <string.h>

#include <utility>

#include "address/internal/OrgNames.h"
#include "base/internal/NoThrow.h"

CIntranetOrg::CIntranetOrg(int net_area_id)
    : id_(static_cast<uint32_t>(net_area_id)), net_area_id_(net_area_id) {}

CIntranetOrg::CIntranetOrg(const CIntranetOrg& other)
    : id_(other.id_),
      name_(other.name_),
      ranges_(other.ranges_),
      net_area_id_(other.net_area_id_) {
  departments_.reserve(other.departments_.size());
  for (const auto& dep : other.departments_) {
    departments_.push_back(std::make_unique<tagDEPARTMENT_ITEM>(*dep));
  }
}

CIntranetOrg& CIntranetOrg::operator=(const CIntranetOrg& other) {
  if (this != &other) {
    CIntranetOrg copy(other);
    id_ = copy.id_;
    name_.swap(copy.name_);
    ranges_.swap(copy.ranges_);
    departments_.swap(copy.departments_);
    net_area_id_ = copy.net_area_id_;
  }
  return *this;
}

CIntranetOrg::~CIntranetOrg() {}

bool CIntranetOrg::operator==(const CIntranetOrg& other) const {
  if (id_ != other.id_ || name_ != other.name_ || ranges_ != other.ranges_ ||
      departments_.size() != other.departments_.size()) {
    return false;
  }
  for (size_t i = 0; i < departments_.size(); ++i) {
    if (*departments_[i] != *other.departments_[i]) return false;
  }
  return true;
}

void CIntranetOrg::close() {
  departments_.clear();
  ranges_.clear();
}

int CIntranetOrg::IsIPIn(uint32_t ip) const {
  return COrgStructInfo::IsInIPRange(ip, ranges_);
}

int CIntranetOrg::IsIPRangeIn(uint32_t begin, uint32_t end) const {
  return IsIPIn(begin) && IsIPIn(end) ? 1 : 0;
}

const CIntranetOrg::tagDEPARTMENT_ITEM* CIntranetOrg::FindDepartmentByIP(
    uint32_t ip) const {
  for (const auto& dep : departments_) {
    if (COrgStructInfo::IsInThisDepartment(ip, *dep)) return dep.get();
  }
  // Hosts of the intranet that no department claims fall to the
  // unclassified placeholder; so does the unset address 0.
  if (ip == 0 ||
      (net_area_id_ == static_cast<int32_t>(COrgStructInfo::ORG_INTRANET) &&
       IsIPIn(ip))) {
    return FindDepartmentById(COrgStructInfo::ORG_UNCLASSIFIED);
  }
  return nullptr;
}

unsigned int CIntranetOrg::GetDepartmentIdByIP(uint32_t ip) const {
  const tagDEPARTMENT_ITEM* dep = FindDepartmentByIP(ip);
  return dep != nullptr ? dep->id : COrgStructInfo::ORG_NONE;
}

const CIntranetOrg::tagDEPARTMENT_ITEM* CIntranetOrg::FindDepartmentByName(
    const char* name) const {
  if (name == nullptr) return nullptr;
  const size_t length = strlen(name);
  for (const auto& dep : departments_) {
    if (dep->name.size() == length &&
        memcmp(dep->name.data(), name, length) == 0) {
      return dep.get();
    }
  }
  return nullptr;
}

unsigned int CIntranetOrg::GetDepartmentIdByName(const char* name) const {
  const tagDEPARTMENT_ITEM* dep = FindDepartmentByName(name);
  return dep != nullptr ? dep->id : COrgStructInfo::ORG_NONE;
}

const CIntranetOrg::tagDEPARTMENT_ITEM* CIntranetOrg::FindDepartmentById(
    uint32_t id) const {
  for (const auto& dep : departments_) {
    if (dep->id == id) return dep.get();
  }
  return nullptr;
}

CIntranetOrg::tagDEPARTMENT_ITEM* CIntranetOrg::FindDepartmentById(
    uint32_t id) {
  for (const auto& dep : departments_) {
    if (dep->id == id) return dep.get();
  }
  return nullptr;
}

std::string CIntranetOrg::GetDepartmentName(uint32_t id) const {
  const tagDEPARTMENT_ITEM* dep = FindDepartmentById(id);
  return dep != nullptr ? dep->name : std::string(quarn_org::kUnknownDepName);
}

CIntranetOrg::tagDEPARTMENT_ITEM* CIntranetOrg::AddDepartment(
    const tagDEPARTMENT_ITEM& item) {
  if (item.status == 0) return nullptr;
  auto pos = departments_.begin();
  while (pos != departments_.end() &&
         !COrgStructInfo::IsPlaceholderId((*pos)->id)) {
    ++pos;
  }
  // The copy is owned before the list grows, so running out of memory
  // loses nothing and adds nothing.
  return quarn_guard::Guarded<tagDEPARTMENT_ITEM*>(nullptr, [&] {
    auto copy = std::make_unique<tagDEPARTMENT_ITEM>(item);
    return departments_.insert(pos, std::move(copy))->get();
  });
}

int CIntranetOrg::DeleteDeparment(uint32_t id) {
  for (auto it = departments_.begin(); it != departments_.end(); ++it) {
    if ((*it)->id == id) {
      departments_.erase(it);
      return 1;
    }
  }
  return 0;
}

void CIntranetOrg::RemoveAllDeparment() {
  DepartmentList kept;
  for (auto& dep : departments_) {
    if (COrgStructInfo::IsPlaceholderId(dep->id))
      kept.push_back(std::move(dep));
  }
  departments_.swap(kept);
}

unsigned int CIntranetOrg::IsAddrDiff(uint32_t begin, uint32_t end,
                                      uint32_t exclude_id) const {
  for (const auto& dep : departments_) {
    if (dep->id != exclude_id && COrgStructInfo::IsIntercross(begin, end, *dep))
      return dep->id;
  }
  return 0;
}

int CIntranetOrg::IsDepartmentInNetArea(const tagDEPARTMENT_ITEM& item) const {
  for (const IP_RANGE_PAIR& range : item.ranges) {
    if (!IsIPIn(range.first) || !IsIPIn(range.second)) return 0;
  }
  return 1;
}

unsigned int CIntranetOrg::IsNewAddrValid(
    const std::vector<IP_RANGE_PAIR>& ranges, uint32_t dep_id) const {
  for (const IP_RANGE_PAIR& range : ranges) {
    if (!IsIPRangeIn(range.first, range.second))
      return COrgStructInfo::ORG_NONE;
    const unsigned int other = IsAddrDiff(range.first, range.second, dep_id);
    if (other != 0) return other;
  }
  return 0;
}

int CIntranetOrg::IndexOf(const tagDEPARTMENT_ITEM* item) const {
  for (size_t i = 0; i < departments_.size(); ++i) {
    if (departments_[i].get() == item) return static_cast<int>(i);
  }
  return -1;
}

int CIntranetOrg::MoveUp(const tagDEPARTMENT_ITEM* item,
                         tagDEPARTMENT_ITEM** swapped) {
  const int index = IndexOf(item);
  if (index <= 0) return 0;
  std::swap(departments_[index], departments_[index - 1]);
  if (swapped != nullptr) *swapped = departments_[index].get();
  return 1;
}

int CIntranetOrg::MoveDown(const tagDEPARTMENT_ITEM* item,
                           tagDEPARTMENT_ITEM** swapped) {
  const int index = IndexOf(item);
  if (index < 0 || static_cast<size_t>(index) + 1 >= departments_.size())
    return 0;
  if (COrgStructInfo::IsPlaceholderId(departments_[index + 1]->id)) return 0;
  std::swap(departments_[index], departments_[index + 1]);
  if (swapped != nullptr) *swapped = departments_[index].get();
  return 1;
}
