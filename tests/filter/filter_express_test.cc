#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filter/CFilterActionContent.h"
#include "filter/CFilterResult.h"
#include "filter/CIPAddrFltCondition.h"
#include "filter/COneFltExpress.h"
#include "filter/CProtoFltCondition.h"
#include "filter/CProtoFltExpress.h"
#include "filter/IExpressFilter.h"

namespace {

// A protocol module's filter: the expression owns its action.
class TestExpress : public COneFltExpress {
 public:
  CFilterActionContent* GetActionContent() override { return &action; }
  CFilterActionContent action;
  std::vector<uint32_t> ports;  // a kind of the module's own: kind 3
};

// A list that records the order in which expressions are released.
class TestList : public CProtoFltExpress {
 public:
  COneFltExpress* NewOneFltExpress() override { return new TestExpress; }
  void DestroyOneFltExpress(COneFltExpress* express) override {
    // The slot is cleared before or while the expression goes away, never
    // left dangling after it.
    destroyed.push_back(express);
    delete express;
  }
  std::vector<COneFltExpress*> destroyed;
};

// The module's filter folds its port kind into an integer table.
class TestFilter : public IExpressFilter {
 public:
  int GetColConditionMask(uint64_t* mask) override {
    *mask = 0;
    return 0;
  }
  // Kinds 0 and 1: the connection's source or destination address (data
  // is two host-order addresses) in a covered range and no except range.
  void MatchCondition(uint64_t* matched, int kind, const void* data,
                      const uint64_t*) override {
    const uint32_t ip = static_cast<const uint32_t*>(data)[kind];
    const CIPAddrFltCondition& side = kind == 0 ? cond.src : cond.dst;
    uint64_t in = 0;
    for (const auto& e : side.ip_ranges) {
      if (ip >= e.key.first && ip <= e.key.second) in |= e.mask;
    }
    for (const auto& e : side.except_ip_ranges) {
      if (ip >= e.key.first && ip <= e.key.second) in &= ~e.mask;
    }
    *matched = in;
  }
  CProtoFltExpress* GetProtoFltExpress() override { return &list; }
  CProtoFltCondition* GetProtoFltCondition() override { return &cond; }
  void TransOneExpressToCondition(int index, COneFltExpress* express,
                                  CProtoFltCondition*) override {
    INT_FLT_EXPRESS ports;
    ports.values = static_cast<TestExpress*>(express)->ports;
    IntExpressToCondition(index, ports, port_cond);
  }

  TestList list;
  CProtoFltCondition cond;
  INT_CONDITION port_cond;
};

TEST(ActionContentTest, EmptyOnlyWhileTheCountedFieldsAreUntouched) {
  CFilterActionContent action;
  EXPECT_EQ(1, action.IsEmpty());
  // Fields that do not count.
  action.need_interrupt = true;
  action.text = "x";
  action.subtypes.insert(5);
  action.continue_mode = CFilterActionContent::MODE_STOP;
  EXPECT_EQ(1, action.IsEmpty());
  CFilterActionContent changed = action;
  changed.flags[3] = 0;  // the last flags word counts too
  EXPECT_EQ(0, changed.IsEmpty());
  changed = action;
  changed.pri_group = 1;
  EXPECT_EQ(0, changed.IsEmpty());
}

TEST(OneFltExpressTest, MasksFollowCoveredListsAndPositiveFlags) {
  TestExpress e;
  EXPECT_TRUE(e.IsEmpty());
  EXPECT_EQ(0u, e.GetEffectiveMask());
  EXPECT_EQ(0u, e.GetNegativeMask());

  // Except lists alone name nothing.
  e.src.except_ip_ranges.push_back(IP_RANGE_PAIR(1, 2));
  e.dst.except_device_ids.push_back(1);
  EXPECT_TRUE(e.IsEmpty());
  EXPECT_EQ(0u, e.GetEffectiveMask());

  e.src.device_ids.push_back(4);
  e.time.value = 2;
  EXPECT_FALSE(e.IsEmpty());
  EXPECT_EQ(5u, e.GetEffectiveMask());
  e.time.positive = false;
  EXPECT_EQ(4u, e.GetNegativeMask());
  e.dst.positive = false;  // negative although not tested
  EXPECT_EQ(6u, e.GetNegativeMask());

  // CopyFrom takes both sides and leaves the time range alone.
  TestExpress target;
  target.time.value = 9;
  target.CopyFrom(e);
  EXPECT_EQ(9u, target.time.value);
  EXPECT_TRUE(target.time.positive);
  EXPECT_FALSE(target.dst.positive);
  EXPECT_EQ(std::vector<uint64_t>{4}, target.src.device_ids);
}

TEST(IPAddrFltConditionTest, InsertsOrderPairsAndMergeExactKeysOnly) {
  CIPAddrFltCondition cond;
  EXPECT_EQ(1, cond.InsertIPRange(3, 20, 10));
  ASSERT_EQ(1u, cond.ip_ranges.size());
  EXPECT_EQ(IP_RANGE_PAIR(10, 20), cond.ip_ranges[0].key);
  EXPECT_EQ(8u, cond.ip_ranges[0].mask);
  cond.InsertIPRange(4, IP_RANGE_PAIR(10, 20));
  EXPECT_EQ(0x18u, cond.ip_ranges[0].mask);
  // The pair form stores what it is given; overlap is not equality.
  cond.InsertIPRange(67, IP_RANGE_PAIR(20, 10));
  cond.InsertIPRange(5, 10, 21);
  ASSERT_EQ(3u, cond.ip_ranges.size());
  EXPECT_EQ(IP_RANGE_PAIR(20, 10), cond.ip_ranges[1].key);
  EXPECT_EQ(8u, cond.ip_ranges[1].mask);

  cond.InsertExceptIPRange(0, 9, 1);
  EXPECT_EQ(IP_RANGE_PAIR(1, 9), cond.except_ip_ranges[0].key);

  // A whole expression: each list to its own table, the same value in two
  // lists staying apart.
  IPADDR_FLT_EXPRESS expr;
  expr.internet_types = {2};
  expr.device_ids = {2};
  expr.except_ip_ranges = {IP_RANGE_PAIR(1, 9)};
  cond.IPExpressToFltCondition(1, expr);
  cond.IPExpressToFltCondition(2, expr);
  EXPECT_EQ(6u, cond.internet_types[0].mask);
  EXPECT_EQ(6u, cond.device_ids[0].mask);
  EXPECT_EQ(7u, cond.except_ip_ranges[0].mask);
  EXPECT_TRUE(cond.intranet_types.empty() && cond.except_device_ids.empty());
  EXPECT_EQ(0u, cond.Find(5, 0).mask);
}

TEST(ExpressFilterTest, FoldsEveryFilterAndReleasesInOrder) {
  TestFilter filter;
  TestExpress* a = new TestExpress;
  a->src.ip_ranges = {IP_RANGE_PAIR(1, 5)};
  a->src.positive = false;
  a->ports = {80};
  TestExpress* b = new TestExpress;  // no time value: still folded
  b->src.ip_ranges = {IP_RANGE_PAIR(1, 5)};
  b->dst.internet_types = {0xA00000000000ull};
  b->ports = {80, 443};
  TestExpress* c = new TestExpress;
  c->time.value = 6;
  c->time.positive = false;
  filter.list.InsertOneFltExpress(a);
  filter.list.InsertOneFltExpress(b);
  filter.list.InsertOneFltExpress(c);

  filter.TransExpressToCondition();
  ASSERT_EQ(1u, filter.cond.src.ip_ranges.size());
  EXPECT_EQ(3u, filter.cond.src.ip_ranges[0].mask);
  EXPECT_EQ(2u, filter.cond.dst.internet_types[0].mask);
  ASSERT_EQ(3u, filter.cond.time.size());
  EXPECT_EQ(0u, filter.cond.time[1].ranges[0].value);
  EXPECT_EQ(2u, filter.cond.time[2].filter_index);
  ASSERT_EQ(2u, filter.port_cond.size());
  EXPECT_EQ(3u, filter.port_cond[0].mask);

  // Nothing is cleared first: bits OR again, time ranges repeat.
  filter.TransExpressToCondition();
  EXPECT_EQ(1u, filter.cond.src.ip_ranges.size());
  EXPECT_EQ(2u, filter.cond.time[0].ranges.size());

  filter.list.Destroy();
  EXPECT_TRUE(filter.list.list.empty());
  EXPECT_EQ((std::vector<COneFltExpress*>{a, b, c}), filter.list.destroyed);
  filter.list.Destroy();  // nothing left: no calls
  EXPECT_EQ(3u, filter.list.destroyed.size());
}

// A policy written as expressions, folded, and evaluated end to end.
TEST(ExpressFilterTest, AddressPolicyEvaluatesThroughItsFoldedForm) {
  TestFilter filter;
  // 0: from 10.0.0.0/8 but not 10.1.0.0/16, to anywhere but 8.8.8.8.
  TestExpress* inside = new TestExpress;
  inside->src.ip_ranges = {IP_RANGE_PAIR(0x0A000000, 0x0AFFFFFF)};
  inside->src.except_ip_ranges = {IP_RANGE_PAIR(0x0A010000, 0x0A01FFFF)};
  inside->dst.ip_ranges = {IP_RANGE_PAIR(0x08080808, 0x08080808)};
  inside->dst.positive = false;
  inside->action.save_level = 5;
  filter.list.InsertOneFltExpress(inside);
  // 1: everything else, at a lower level.
  TestExpress* rest = new TestExpress;
  rest->action.save_level = 1;
  filter.list.InsertOneFltExpress(rest);
  filter.TransExpressToCondition();

  CFilterResult result;
  ASSERT_EQ(0, result.SetFilter(&filter));
  const uint32_t cases[][2] = {{0x0A020304, 0x01020304},
                               {0x0A010304, 0x01020304},
                               {0x0A020304, 0x08080808}};
  const uint32_t levels[] = {5, 1, 1};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(CFilterResult::CMP_COMPLETE, result.OnCondition(cases[i]));
    EXPECT_EQ(levels[i], result.GetMaxSaveLevel()) << "case " << i;
  }
  filter.list.Destroy();
}

}  // namespace
