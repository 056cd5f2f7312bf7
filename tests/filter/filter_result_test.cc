#include <stdlib.h>

#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "filter/CFilterResult.h"
#include "filter/IFilter.h"
#include "frame/GlobalSwitches.h"
#include "support/AllocationCounter.h"

namespace {

// Per condition kind, the filters whose condition of that kind holds for
// the traffic: the simplest traffic a policy can be fed.
struct Facts {
  uint64_t matched[64] = {};
};

// A policy given as tables, the way a protocol module's filter answers.
class TablePolicy : public IFilter {
 public:
  // Room for every filter a test adds, so the references Add hands out
  // stay valid.
  TablePolicy() { actions_.reserve(128); }

  // Adds a filter testing `effective` kinds, of which `negative` must not
  // hold; returns its action for the test to adjust.
  CFilterActionContent& Add(uint64_t effective, uint64_t negative = 0) {
    effective_.push_back(effective);
    negative_.push_back(negative);
    actions_.push_back(CFilterActionContent());
    return actions_.back();
  }

  int GetFilterNum() override { return static_cast<int>(effective_.size()); }
  int GetEffectiveMask(uint64_t* masks) override {
    for (size_t i = 0; i < effective_.size(); ++i) masks[i] = effective_[i];
    return fail_query_ == 1 ? -1 : 0;
  }
  int GetNegativeMask(uint64_t* masks) override {
    for (size_t i = 0; i < negative_.size(); ++i) masks[i] = negative_[i];
    return fail_query_ == 2 ? -1 : 0;
  }
  int GetColConditionMask(uint64_t* mask) override {
    *mask = col_kinds_;
    return fail_query_ == 3 ? -1 : 0;
  }
  int GetActionAttrib(CFilterActionContent** actions) override {
    for (size_t i = 0; i < actions_.size(); ++i) actions[i] = &actions_[i];
    return fail_query_ == 4 ? -1 : 0;
  }
  void MatchCondition(uint64_t* matched, int kind, const void* data,
                      const uint64_t*) override {
    *matched = static_cast<const Facts*>(data)->matched[kind % 64];
    ++match_calls_;
  }

  std::vector<uint64_t> effective_;
  std::vector<uint64_t> negative_;
  std::vector<CFilterActionContent> actions_;
  uint64_t col_kinds_ = 0;
  int fail_query_ = 0;
  int match_calls_ = 0;
};

// The passed list as filter indexes into `policy`.
std::vector<int> Passed(const CFilterResult& result,
                        const TablePolicy& policy) {
  CFilterActionContent* const* out = nullptr;
  const int n = result.GetPassedFilters(out);
  std::vector<int> indexes;
  for (int i = 0; i < n; ++i) {
    indexes.push_back(static_cast<int>(out[i] - policy.actions_.data()));
  }
  return indexes;
}

// Restores the process-wide switches a test changes.
class FilterResultTest : public ::testing::Test {
 protected:
  void TearDown() override {
    g_nAuditSavelevel = 2;
    g_bDisnableAllWarninglevel = false;
    g_bDisnableAllInterrupt = false;
  }
};

TEST_F(FilterResultTest, UnconditionalAndUntestedKinds) {
  TablePolicy policy;
  policy.Add(0).save_level = 4;
  CFilterActionContent& stop = policy.Add(0);
  stop.continue_mode = CFilterActionContent::MODE_STOP;
  stop.save_level = 2;
  policy.Add(0).save_level = 1;
  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&policy));
  EXPECT_EQ(CFilterResult::CMP_UNKNOWN, result.GetCmpResult());
  Facts facts;
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(9, &facts));
  EXPECT_EQ(0, policy.match_calls_);
  // Every filter passes, and every one is listed: the stop filter ends the
  // evaluation, not the list.
  EXPECT_EQ((std::vector<int>{0, 1, 2}), Passed(result, policy));
  EXPECT_EQ(CFilterResult::CMP_PASS, result.GetCmpResult());
  EXPECT_EQ(4u, result.GetMaxSaveLevel());

  TablePolicy two_kinds;
  two_kinds.Add(1);
  two_kinds.Add(2);
  ASSERT_EQ(0, result.SetFilter(&two_kinds));
  facts.matched[5] = 3;
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(5, &facts));
  EXPECT_EQ(0, two_kinds.match_calls_);
  // Kinds are taken modulo 64: kind 64 is kind 0.
  facts.matched[0] = 1;
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(64, &facts));
  EXPECT_EQ(CFilterResult::CMP_UNKNOWN, result.GetCmpResult());
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &facts));
  EXPECT_EQ((std::vector<int>{0}), Passed(result, two_kinds));
  // Complete: further feeds change nothing.
  facts.matched[1] = 2;
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &facts));
  EXPECT_EQ(2, two_kinds.match_calls_);

  // Clear starts afresh: nothing matched now, so nothing passes.
  result.Clear();
  Facts none;
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(0, &none));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &none));
  EXPECT_EQ(CFilterResult::CMP_NO_PASS, result.GetCmpResult());
  CFilterActionContent* const* out = nullptr;
  EXPECT_EQ(0, result.GetPassedFilters(out));
  EXPECT_EQ(nullptr, out);
}

TEST_F(FilterResultTest, PriorityGroupsDecideInOrder) {
  TablePolicy policy;
  policy.Add(1).pri_group = 1;  // filter 0
  policy.Add(2).pri_group = 1;  // filter 1
  policy.Add(4).pri_group = 2;  // filter 2
  policy.Add(4).pri_group = 2;  // filter 3: fails
  policy.Add(4);                // filter 4: passes, but not in a group
  policy.Add(8);                // filter 5: keeps the scan open
  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&policy));
  Facts facts;
  facts.matched[2] = 0x15;  // filters 0, 2 and 4 for kind 2
  // Group 2 has passed, but group 1 is still open: not looked at.
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(2, &facts));
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(0, &facts));
  // Kind 1 settles filter 1 as failed too: group 1 failed, group 2 passed.
  // Filter 4 has passed as well, outside any group, and is listed.
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &facts));
  EXPECT_EQ((std::vector<int>{2, 4}), Passed(result, policy));

  // Group 1 passing wins over everything else, with all its passers.
  result.Clear();
  facts.matched[0] = 1;
  facts.matched[1] = 2;
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(0, &facts));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &facts));
  EXPECT_EQ((std::vector<int>{0, 1}), Passed(result, policy));

  // Every group failed: the filter scan decides, over all filters.
  result.Clear();
  Facts only_kind2;
  only_kind2.matched[2] = 0x10;
  only_kind2.matched[3] = 0x20;
  for (int kind : {0, 1, 2}) result.OnCondition(kind, &only_kind2);
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.GetCmpState());
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(3, &only_kind2));
  EXPECT_EQ((std::vector<int>{4, 5}), Passed(result, policy));
}

TEST_F(FilterResultTest, StopAndContinueModes) {
  TablePolicy policy;
  policy.Add(1);  // filter 0: fails
  CFilterActionContent& first = policy.Add(1);
  policy.Add(2);  // filter 2: open until kind 1 arrives
  policy.Add(1);  // filter 3: passes after the stop filter
  first.continue_mode = CFilterActionContent::MODE_CONTINUE;
  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&policy));
  Facts facts;
  facts.matched[0] = 0xA;
  facts.matched[1] = 0x4;
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(0, &facts));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &facts));
  EXPECT_EQ((std::vector<int>{1, 2, 3}), Passed(result, policy));

  // The same with filter 1 stopping: done before filter 2 is settled;
  // filter 3 has passed by then and is listed, filter 2 is not.
  policy.actions_[1].continue_mode = CFilterActionContent::MODE_STOP;
  ASSERT_EQ(0, result.SetFilter(&policy));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(0, &facts));
  EXPECT_EQ((std::vector<int>{1, 3}), Passed(result, policy));
}

TEST_F(FilterResultTest, NegativeAndColumnKindsWaitForCompletion) {
  TablePolicy policy;
  policy.Add(3, 2);  // kind 0 must hold, kind 1 must not
  policy.Add(4);     // kind 2, a column kind
  policy.col_kinds_ = 4;
  policy.actions_[0].continue_mode = CFilterActionContent::MODE_STOP;
  policy.actions_[1].continue_mode = CFilterActionContent::MODE_STOP;
  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&policy));
  Facts facts;
  facts.matched[0] = 1;
  // Every positive kind matched, yet kind 1 may still match.
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(0, &facts));
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(2, &facts));
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(2, &facts));
  // Kind 1 arrives without matching: filter 0 passes and stops.
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(1, &facts));
  EXPECT_EQ((std::vector<int>{0}), Passed(result, policy));

  // A matched negative kind fails the filter at once; the column kind then
  // stays open however often it is fed, until the caller closes it.
  result.Clear();
  facts.matched[1] = 1;
  result.OnCondition(1, &facts);
  result.OnCondition(0, &facts);
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(2, &facts));
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(2, &facts));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.ColConditionComplete(2));
  EXPECT_EQ(CFilterResult::CMP_NO_PASS, result.GetCmpResult());

  // A column kind that matches passes its filter without being closed.
  result.Clear();
  facts.matched[2] = 2;
  EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(1, &facts));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(2, &facts));
  EXPECT_EQ((std::vector<int>{1}), Passed(result, policy));

  // Feeding every kind at once completes each, column kinds included.
  Facts quiet;
  quiet.matched[0] = 1;
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(&quiet));
  EXPECT_EQ((std::vector<int>{0}), Passed(result, policy));
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(&facts));
  EXPECT_EQ((std::vector<int>{1}), Passed(result, policy));
}

TEST_F(FilterResultTest, ActionsAndProcessWideSwitches) {
  TablePolicy policy;
  policy.Add(1).flags[0] = 0;  // raises no event
  policy.Add(1).interrupt_code = 0x55;
  policy.Add(1).interrupt_code = 0x66;
  for (int i = 0; i < 3; ++i) policy.actions_[i].save_level = 3 + 4 * (i % 2);
  policy.actions_[1].need_interrupt = policy.actions_[2].need_interrupt = true;
  policy.actions_[2].need_ignore = true;
  policy.Add(1).save_level = 100;  // does not pass
  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&policy));
  Facts facts;
  facts.matched[0] = 7;
  ASSERT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(0, &facts));

  EXPECT_EQ(7u, result.GetMaxSaveLevel());
  EXPECT_EQ(0x55u, result.IsNeedtoInterrupt());
  EXPECT_TRUE(result.IsNeedtoIgnore());
  CFilterActionContent* const* events = nullptr;
  ASSERT_EQ(2, result.GetEventFilters(events));
  EXPECT_EQ(&policy.actions_[1], events[0]);
  EXPECT_EQ(&policy.actions_[2], events[1]);

  g_nAuditSavelevel = 0;
  g_bDisnableAllWarninglevel = true;
  g_bDisnableAllInterrupt = true;
  EXPECT_EQ(0u, result.GetMaxSaveLevel());
  EXPECT_EQ(0u, result.IsNeedtoInterrupt());
  EXPECT_EQ(0, result.GetEventFilters(events));
  EXPECT_EQ(nullptr, events);
  EXPECT_TRUE(result.IsNeedtoIgnore());  // no switch for ignoring
  EXPECT_EQ(3, result.GetPassedFilters(events));

  // A copy keeps the outcome while the original starts again; a matcher
  // naming filters beyond the policy writes nothing past it.
  CFilterResult copy(result);
  result.Clear();
  EXPECT_EQ(3, copy.GetPassedFilters(events));
  facts.matched[0] = ~uint64_t(0);
  result.OnCondition(0, &facts);
  EXPECT_EQ(4u, Passed(result, policy).size());
}

TEST_F(FilterResultTest, FailedSetFilterLeavesTheObjectUnbound) {
  for (int query = 1; query <= 4; ++query) {
    TablePolicy policy;
    policy.Add(1);
    policy.fail_query_ = query;
    CFilterResult result;
    EXPECT_EQ(-1, result.SetFilter(&policy)) << "query " << query;
    Facts facts;  // feeding an unbound object does nothing
    EXPECT_EQ(CFilterResult::CMP_RUNNING, result.OnCondition(&facts));
    CFilterResult copy(result);  // copying an unbound object is fine
    policy.fail_query_ = 0;
    EXPECT_EQ(0, copy.SetFilter(&policy));
  }
}

TEST_F(FilterResultTest, EvaluationsAllocateNothing) {
  TablePolicy policy;
  for (int i = 0; i < 64; ++i) {
    policy.Add(uint64_t(1) << (i % 3), i % 5 == 0 ? uint64_t(1) << (i % 3) : 0)
        .pri_group = i % 7;
  }
  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&policy));
  Facts facts;
  for (int kind = 0; kind < 3; ++kind) facts.matched[kind] = 0x5555555555555555;
  const uint64_t before = quarn_test::AllocationCount();
  for (int round = 0; round < 10; ++round) {
    result.Clear();
    for (int kind = 0; kind < 3; ++kind) result.OnCondition(kind, &facts);
    result.OnCondition(&facts);
    result.ColConditionComplete(1);
  }
  EXPECT_EQ(before, quarn_test::AllocationCount());
  EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.GetCmpState());
}

}  // namespace
