// CFilterResult evaluates one policy (an IFilter) against one piece of
// traffic, condition kind by condition kind, and stops as soon as the
// outcome is settled. The traffic module feeds the data of each kind as it
// becomes known; the caller then reads the outcome and the actions of the
// filters that passed. Clear() readies the object for the next piece of
// traffic; all arrays are allocated once, by SetFilter, so evaluations
// allocate nothing.
//
// Per filter i, with E its tested kinds, N its negative kinds (a subset of
// E), S its state (untested kinds 1, a tested kind 1 once it matched) and
// K the kinds whose data is complete:
//   passes  when E = 0, or N = 0 and S is all ones, or N is non-empty and
//           complete and S XOR N is all ones;
//   fails   when E != 0 and a completed positive kind is unmatched or a
//           negative kind matched;
//   is open otherwise.
//
// The evaluation completes when a priority group (1 to 6, scanned in
// order; a group counts only when every lower group has definitely not
// passed) passes, when every kind is complete, when the filter scan meets a
// passing "stop" filter before any open filter, or when the scan meets no
// open filter at all.
//
// The passed list, built when the evaluation completes and before the
// event list, holds the action of every filter that has passed by then, in
// filter order, whatever completed the evaluation: a host sees every
// action that applies, and the first passing stop filter or the deciding
// group's members keep their place in that order.
// The event list is the passed filters whose flags[0] is non-zero.
// GetPassedFilters, GetMaxSaveLevel, IsNeedtoInterrupt, IsNeedtoIgnore and
// GetCmpResult read the passed list.
//
// Not thread-safe: one evaluation at a time. The IFilter and its actions
// are not owned and must outlive the binding.

#ifndef QUARN_FILTER_CFILTERRESULT_H_
#define QUARN_FILTER_CFILTERRESULT_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include "quarn_common/filter/CFilterActionContent.h"
#include "quarn_common/filter/IFilter.h"

class QUARN_EXPORT CFilterResult {
 public:
  enum CMP_STATE { CMP_RUNNING = 0, CMP_COMPLETE = 1 };
  enum CMP_RESULT { CMP_PASS = 1, CMP_NO_PASS = 0, CMP_UNKNOWN = -1 };

  static constexpr int PRI_GROUP_COUNT = 6;  // groups 1 to 6

  // Unbound: SetFilter must succeed before anything is fed.
  CFilterResult();
  ~CFilterResult();
  // Copies share the IFilter and copy every array.
  CFilterResult(const CFilterResult& other);
  CFilterResult& operator=(const CFilterResult& other);

  // Binds `f` (not owned) and readies a fresh evaluation: reads the filter
  // count, masks and actions. 0 on success; -1 when memory runs out or a
  // query of `f` fails, leaving the object unbound.
  int SetFilter(IFilter* f);
  // Starts a new evaluation over the bound policy. Returns 0.
  int Clear();

  // Feeds the data of condition kind `kind`. Unless `kind` is a column
  // kind it is complete afterwards. Returns the state after the update.
  CMP_STATE OnCondition(int kind, const void* data);
  // Starts a new evaluation and feeds `data` to every tested kind in
  // ascending order, each complete afterwards. Always returns complete.
  CMP_STATE OnCondition(const void* data);
  // Marks column kind `kind` complete and updates the state.
  CMP_STATE ColConditionComplete(int kind);

  CMP_STATE GetCmpState() const { return cmp_state; }
  // Unknown until complete; then pass when some filter passed.
  CMP_RESULT GetCmpResult() const;
  // The passed list: its length; `out` points into this object (valid
  // until the next Clear, SetFilter or destruction), null when empty.
  int GetPassedFilters(CFilterActionContent* const*& out) const;
  // The event list, as GetPassedFilters; empty while the process-wide
  // g_bDisnableAllWarninglevel is set.
  int GetEventFilters(CFilterActionContent* const*& out) const;
  // Largest save_level of the passed filters; 0 when none passed or the
  // process-wide g_nAuditSavelevel is 0.
  uint32_t GetMaxSaveLevel() const;
  // interrupt_code of the first passed filter with need_interrupt; 0 when
  // none, or when the process-wide g_bDisnableAllInterrupt is set.
  uint64_t IsNeedtoInterrupt() const;
  // True when a passed filter has need_ignore set.
  bool IsNeedtoIgnore() const;

  // Bit `bit` (mod 64) of masks[i].
  static uint64_t GetResult(const uint64_t* masks, int i, int bit);
  static void SetPass(uint64_t* masks, int i, int bit);

 private:
  // False before a successful SetFilter: the feeding operations then do
  // nothing rather than touch arrays that are not there.
  bool IsBound() const { return states != nullptr; }
  QUARN_HIDDEN bool IsFilterPass(int i) const;
  QUARN_HIDDEN bool IsFilterNoPass(int i) const;
  // 1 pass, 0 fail, -1 open.
  int GetCmpResult(int i) const;
  bool IsStop(int i) const {
    return modes[i] == CFilterActionContent::MODE_STOP;
  }
  bool IsContinue(int i) const {
    return modes[i] == CFilterActionContent::MODE_CONTINUE;
  }
  // 1 when a member of `group` passed and none is open, 0 when every
  // member failed (or there is none), -1 at the first open member.
  QUARN_HIDDEN int GetPRIGroupCmpResult(int group) const;
  QUARN_HIDDEN void UpdateState();
  // Marks the evaluation complete and builds the passed and event lists;
  // `group` is the priority group that completed it, 0 for none.
  QUARN_HIDDEN void Complete(int group);
  QUARN_HIDDEN int GenrateEventFilters();
  QUARN_HIDDEN int GenratePassedFilters(int group);
  QUARN_HIDDEN bool AllocBuffer(int n);
  QUARN_HIDDEN void FreeBuffer();
  QUARN_HIDDEN void CopyFrom(const CFilterResult& other);

  IFilter* filter;
  int32_t filter_num;
  uint64_t* states;
  uint64_t* effective_masks;
  uint64_t* negative_masks;
  CFilterActionContent** actions;
  CFilterActionContent** passed;
  int32_t passed_num;
  CFilterActionContent** events;
  int32_t event_num;
  uint32_t* modes;
  uint64_t all_kinds;
  uint64_t completed_kinds;
  uint64_t col_kinds;
  CMP_STATE cmp_state;
  int32_t group_results[PRI_GROUP_COUNT];
  // Filter masks of the members of groups 1 to 6, so group scans visit
  // members only. Derived from the actions by SetFilter.
  uint64_t group_members[PRI_GROUP_COUNT];
};

#endif  // QUARN_FILTER_CFILTERRESULT_H_
