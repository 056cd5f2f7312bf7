#include "filter/CFilterResult.h"

#include <new>

#include "frame/GlobalSwitches.h"

namespace {

const uint64_t kAllOnes = ~uint64_t(0);
const int kMaxFilters = 64;

uint64_t KindBit(int kind) {
  return uint64_t(1) << (static_cast<unsigned>(kind) % 64);
}

// Mask of filters 0 to n - 1.
uint64_t FiltersBelow(int n) {
  return n >= 64 ? kAllOnes : (uint64_t(1) << n) - 1;
}

int LowestBit(uint64_t mask) { return __builtin_ctzll(mask); }

template <typename T>
void Release(T*& array) {
  delete[] array;
  array = nullptr;
}

template <typename T>
bool Allocate(T*& array, int n) {
  array = new (std::nothrow) T[n > 0 ? n : 1]();
  return array != nullptr;
}

template <typename T>
void CopyArray(T* to, const T* from, int n) {
  for (int i = 0; i < n; ++i) to[i] = from[i];
}

}  // namespace

CFilterResult::CFilterResult()
    : filter(nullptr),
      filter_num(0),
      states(nullptr),
      effective_masks(nullptr),
      negative_masks(nullptr),
      actions(nullptr),
      passed(nullptr),
      passed_num(0),
      events(nullptr),
      event_num(0),
      modes(nullptr),
      all_kinds(0),
      completed_kinds(0),
      col_kinds(0),
      cmp_state(CMP_RUNNING) {
  for (int g = 0; g < PRI_GROUP_COUNT; ++g) {
    group_results[g] = -1;
    group_members[g] = 0;
  }
}

CFilterResult::~CFilterResult() {
  passed_num = 0;
  event_num = 0;
  FreeBuffer();
}

CFilterResult::CFilterResult(const CFilterResult& other) : CFilterResult() {
  CopyFrom(other);
}

CFilterResult& CFilterResult::operator=(const CFilterResult& other) {
  if (&other != this) CopyFrom(other);
  return *this;
}

void CFilterResult::CopyFrom(const CFilterResult& other) {
  FreeBuffer();
  filter = other.filter;
  filter_num = other.filter_num;
  passed_num = other.passed_num;
  event_num = other.event_num;
  all_kinds = other.all_kinds;
  completed_kinds = other.completed_kinds;
  col_kinds = other.col_kinds;
  cmp_state = other.cmp_state;
  for (int g = 0; g < PRI_GROUP_COUNT; ++g) {
    group_results[g] = other.group_results[g];
    group_members[g] = other.group_members[g];
  }
  if (other.states == nullptr) return;  // unbound
  const int n = filter_num;
  if (!AllocBuffer(n)) {
    FreeBuffer();
    passed_num = 0;
    event_num = 0;
    return;
  }
  CopyArray(states, other.states, n);
  CopyArray(effective_masks, other.effective_masks, n);
  CopyArray(negative_masks, other.negative_masks, n);
  CopyArray(modes, other.modes, n);
  CopyArray(actions, other.actions, n);
  CopyArray(passed, other.passed, n);
  CopyArray(events, other.events, n);
}

bool CFilterResult::AllocBuffer(int n) {
  return Allocate(states, n) && Allocate(effective_masks, n) &&
         Allocate(negative_masks, n) && Allocate(modes, n) &&
         Allocate(actions, n) && Allocate(passed, n) && Allocate(events, n);
}

void CFilterResult::FreeBuffer() {
  Release(states);
  Release(effective_masks);
  Release(negative_masks);
  Release(modes);
  Release(actions);
  Release(passed);
  Release(events);
}

int CFilterResult::SetFilter(IFilter* f) {
  filter = f;
  filter_num = 0;
  FreeBuffer();
  cmp_state = CMP_RUNNING;
  passed_num = 0;
  event_num = 0;
  if (f == nullptr) return -1;

  const int n = f->GetFilterNum();
  filter_num = n;
  if (n < 0 || n > kMaxFilters || !AllocBuffer(n)) {
    FreeBuffer();
    return -1;
  }
  if (f->GetEffectiveMask(effective_masks) != 0 ||
      f->GetNegativeMask(negative_masks) != 0) {
    FreeBuffer();
    return -1;
  }
  for (int i = 0; i < n; ++i) negative_masks[i] &= effective_masks[i];
  if (f->GetColConditionMask(&col_kinds) != 0 ||
      f->GetActionAttrib(actions) != 0) {
    FreeBuffer();
    return -1;
  }
  for (int g = 0; g < PRI_GROUP_COUNT; ++g) group_members[g] = 0;
  for (int i = 0; i < n; ++i) {
    if (actions[i] == nullptr) {  // every filter must say what it does
      FreeBuffer();
      return -1;
    }
    modes[i] = actions[i]->continue_mode;
    const int32_t group = actions[i]->pri_group;
    if (group >= 1 && group <= PRI_GROUP_COUNT) {
      group_members[group - 1] |= uint64_t(1) << i;
    }
  }
  Clear();
  return 0;
}

int CFilterResult::Clear() {
  all_kinds = 0;
  completed_kinds = 0;
  passed_num = 0;
  event_num = 0;
  cmp_state = CMP_RUNNING;
  for (int g = 0; g < PRI_GROUP_COUNT; ++g) group_results[g] = -1;
  if (!IsBound()) return 0;
  for (int i = 0; i < filter_num; ++i) {
    passed[i] = nullptr;
    events[i] = nullptr;
    all_kinds |= effective_masks[i];
    states[i] = ~effective_masks[i];
  }
  return 0;
}

CFilterResult::CMP_STATE CFilterResult::OnCondition(int kind,
                                                    const void* data) {
  if (!IsBound()) return cmp_state;
  if (all_kinds == 0) {
    // Every filter is unconditional: nothing can change any more.
    if (cmp_state != CMP_COMPLETE) Complete(0);
    return CMP_COMPLETE;
  }
  const uint64_t bit = KindBit(kind);
  if ((all_kinds & bit) == 0) return cmp_state;
  if (cmp_state == CMP_COMPLETE) return CMP_COMPLETE;
  if ((col_kinds & bit) == 0) completed_kinds |= bit;

  uint64_t matched = 0;
  filter->MatchCondition(&matched, kind, data, states);
  // A matcher that names filters beyond the policy must not write past
  // the arrays.
  for (matched &= FiltersBelow(filter_num); matched != 0;
       matched &= matched - 1) {
    states[LowestBit(matched)] |= bit;
  }
  UpdateState();
  return cmp_state;
}

CFilterResult::CMP_STATE CFilterResult::OnCondition(const void* data) {
  Clear();
  if (!IsBound()) return cmp_state;
  for (int kind = 0; kind < 64; ++kind) {
    const uint64_t bit = KindBit(kind);
    if ((all_kinds & bit) == 0) continue;
    const CMP_STATE state = OnCondition(kind, data);
    completed_kinds |= bit;  // also a column kind: this datum is all of it
    UpdateState();
    if (state == CMP_COMPLETE) break;
  }
  if (cmp_state != CMP_COMPLETE) Complete(0);
  return cmp_state;
}

CFilterResult::CMP_STATE CFilterResult::ColConditionComplete(int kind) {
  if (!IsBound()) return cmp_state;
  completed_kinds |= KindBit(kind);
  UpdateState();
  return cmp_state;
}

CFilterResult::CMP_RESULT CFilterResult::GetCmpResult() const {
  if (cmp_state != CMP_COMPLETE) return CMP_UNKNOWN;
  return passed_num > 0 ? CMP_PASS : CMP_NO_PASS;
}

int CFilterResult::GetPassedFilters(CFilterActionContent* const*& out) const {
  out = passed_num < 1 ? nullptr : passed;
  return passed_num;
}

int CFilterResult::GetEventFilters(CFilterActionContent* const*& out) const {
  if (g_bDisnableAllWarninglevel) {
    out = nullptr;
    return 0;
  }
  out = event_num < 1 ? nullptr : events;
  return event_num;
}

uint32_t CFilterResult::GetMaxSaveLevel() const {
  if (g_nAuditSavelevel == 0 || passed_num < 1) return 0;
  uint32_t level = 0;
  for (int i = 0; i < passed_num; ++i) {
    if (passed[i]->save_level > level) level = passed[i]->save_level;
  }
  return level;
}

uint64_t CFilterResult::IsNeedtoInterrupt() const {
  if (g_bDisnableAllInterrupt || passed_num < 1) return 0;
  for (int i = 0; i < passed_num; ++i) {
    if (passed[i]->need_interrupt) return passed[i]->interrupt_code;
  }
  return 0;
}

bool CFilterResult::IsNeedtoIgnore() const {
  for (int i = 0; i < passed_num; ++i) {
    if (passed[i]->need_ignore) return true;
  }
  return false;
}

uint64_t CFilterResult::GetResult(const uint64_t* masks, int i, int bit) {
  return (masks[i] >> (static_cast<unsigned>(bit) % 64)) & 1;
}

void CFilterResult::SetPass(uint64_t* masks, int i, int bit) {
  masks[i] |= KindBit(bit);
}

bool CFilterResult::IsFilterPass(int i) const {
  const uint64_t e = effective_masks[i];
  const uint64_t n = negative_masks[i];
  const uint64_t s = states[i];
  if (e == 0) return true;
  if (n == 0) return s == kAllOnes;
  return (n & ~completed_kinds) == 0 && (s ^ n) == kAllOnes;
}

bool CFilterResult::IsFilterNoPass(int i) const {
  if (effective_masks[i] == 0) return false;
  const uint64_t n = negative_masks[i];
  const uint64_t s = states[i];
  const uint64_t completed_positive = completed_kinds & ~n;
  return (s & completed_positive) != completed_positive || (s & n) != 0;
}

int CFilterResult::GetCmpResult(int i) const {
  if (IsFilterPass(i)) return 1;
  if (IsFilterNoPass(i)) return 0;
  return -1;
}

int CFilterResult::GetPRIGroupCmpResult(int group) const {
  bool any_passed = false;
  for (uint64_t members = group_members[group - 1]; members != 0;
       members &= members - 1) {
    const int r = GetCmpResult(LowestBit(members));
    if (r == -1) return -1;
    if (r == 1) any_passed = true;
  }
  return any_passed ? 1 : 0;
}

void CFilterResult::UpdateState() {
  if (cmp_state == CMP_COMPLETE) return;
  for (int group = 1; group <= PRI_GROUP_COUNT; ++group) {
    const int r = GetPRIGroupCmpResult(group);
    group_results[group - 1] = r;
    if (r == 1) {
      Complete(group);
      return;
    }
    if (r == -1) break;
  }
  if ((completed_kinds & all_kinds) == all_kinds) {
    Complete(0);
    return;
  }
  for (int i = 0; i < filter_num; ++i) {
    const int r = GetCmpResult(i);
    if (r == 0) continue;
    if (r == -1) return;  // an open filter: the outcome may still change
    if (IsStop(i)) break;
  }
  Complete(0);
}

void CFilterResult::Complete(int group) {
  cmp_state = CMP_COMPLETE;
  GenratePassedFilters(group);
  GenrateEventFilters();
}

int CFilterResult::GenratePassedFilters(int /*group*/) {
  passed_num = 0;
  for (int i = 0; i < filter_num; ++i) {
    if (IsFilterPass(i)) passed[passed_num++] = actions[i];
  }
  return passed_num;
}

int CFilterResult::GenrateEventFilters() {
  event_num = 0;
  for (int i = 0; i < passed_num; ++i) {
    if (passed[i]->flags[0] != 0) events[event_num++] = passed[i];
  }
  return event_num;
}
