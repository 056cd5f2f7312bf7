// Evaluates policies built from arbitrary bytes with CFilterResult, over a
// protocol module's filter derived from IExpressFilter, and checks every
// step against a plain model of the evaluation.
//
// Input: a header byte with the filter count (modulo 65), a byte of
// switches, then ten bytes per filter, then operations until the input
// ends. The filters test the source address (kind 0), the destination
// address (1), a time value (2), the server port (3) and one payload byte
// (4), each positive or negative; the addresses are the last octet of
// 10.0.0.0/27 so that traffic meets them. The filter folds its list into
// condition tables; the model reads each filter's own record instead, so
// the folding is checked too.

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <vector>

#include "filter/CFilterActionContent.h"
#include "filter/CFilterResult.h"
#include "filter/CIPAddrFltCondition.h"
#include "filter/COneFltExpress.h"
#include "filter/CProtoFltCondition.h"
#include "filter/CProtoFltExpress.h"
#include "filter/IExpressFilter.h"
#include "frame/GlobalSwitches.h"
#include "fuzz/FuzzFiles.h"

namespace {

using quarn_fuzz::Require;

const uint32_t kNet = 0x0A000000;  // 10.0.0.0
const int kPortKind = 3;
const int kPayloadKind = 4;
const uint64_t kAllOnes = ~uint64_t(0);

// The data of one piece of traffic, as the module's matcher reads it.
struct Traffic {
  uint32_t src;
  uint32_t dst;
  uint32_t time;
  uint32_t port;
  int payload;
};

// Reads the input front to back; past its end every byte reads 0.
class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool done() const { return pos_ >= size_; }
  uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// An address range from one byte: first octet 0..15, width 0..7; bit 7
// says whether the range is there at all (for except ranges).
IP_RANGE_PAIR RangeOf(uint8_t b) {
  uint32_t first = kNet + (b & 0x0F);
  return IP_RANGE_PAIR(first, first + ((b >> 4) & 7));
}

bool InRange(const IP_RANGE_PAIR& r, uint32_t ip) {
  return ip >= r.first && ip <= r.second;
}

// One filter of the module: the base expression plus a port list and a
// payload byte, kinds 3 and 4 of its own.
class ModuleExpress : public COneFltExpress {
 public:
  CFilterActionContent* GetActionContent() override { return &action; }
  uint64_t GetEffectiveMask() const override {
    uint64_t mask = COneFltExpress::GetEffectiveMask();
    if (!ports.values.empty()) mask |= uint64_t(1) << kPortKind;
    if (payload >= 0) mask |= uint64_t(1) << kPayloadKind;
    return mask;
  }
  uint64_t GetNegativeMask() const override {
    uint64_t mask = COneFltExpress::GetNegativeMask();
    if (!ports.positive) mask |= uint64_t(1) << kPortKind;
    if (!payload_positive) mask |= uint64_t(1) << kPayloadKind;
    return mask;
  }

  CFilterActionContent action;
  INT_FLT_EXPRESS ports;
  int payload = -1;  // -1: no payload condition
  bool payload_positive = true;
};

class ModuleList : public CProtoFltExpress {
 public:
  ~ModuleList() override { Destroy(); }
  COneFltExpress* NewOneFltExpress() override { return new ModuleExpress; }
  void DestroyOneFltExpress(COneFltExpress* express) override {
    delete express;
  }
};

// The module's filter: address sides and time values from the folded
// condition, ports from an integer table, the payload byte per filter.
class ModuleFilter : public IExpressFilter {
 public:
  int GetColConditionMask(uint64_t* mask) override {
    *mask = col_kinds;
    return 0;
  }
  void MatchCondition(uint64_t* matched, int kind, const void* data,
                      const uint64_t*) override {
    const Traffic& t = *static_cast<const Traffic*>(data);
    uint64_t in = 0;
    switch (kind % 64) {
      case COneFltExpress::KIND_SRC_ADDR:
        in = MatchSide(cond.src, t.src);
        break;
      case COneFltExpress::KIND_DST_ADDR:
        in = MatchSide(cond.dst, t.dst);
        break;
      case COneFltExpress::KIND_TIME:
        for (const TIME_CONDITION_ITEM& item : cond.time) {
          for (const CTimeRange& range : item.ranges) {
            if (range.value != 0 && range.value == t.time) {
              in |= FilterBit(item.filter_index);
            }
          }
        }
        break;
      case kPortKind:
        for (const INT_CONDITION_ITEM& item : port_cond) {
          if (item.value == t.port) in |= item.mask;
        }
        break;
      case kPayloadKind:
        for (size_t i = 0; i < list.list.size(); ++i) {
          if (static_cast<ModuleExpress*>(list.list[i])->payload == t.payload) {
            in |= FilterBit(i);
          }
        }
        break;
    }
    *matched = in;
  }
  CProtoFltExpress* GetProtoFltExpress() override { return &list; }
  CProtoFltCondition* GetProtoFltCondition() override { return &cond; }
  void TransOneExpressToCondition(int index, COneFltExpress* express,
                                  CProtoFltCondition*) override {
    IntExpressToCondition(index, static_cast<ModuleExpress*>(express)->ports,
                          port_cond);
  }

  ModuleExpress& at(size_t i) {
    return *static_cast<ModuleExpress*>(list.list[i]);
  }

  ModuleList list;
  CProtoFltCondition cond;
  INT_CONDITION port_cond;
  uint64_t col_kinds = 0;

 private:
  static uint64_t MatchSide(const CIPAddrFltCondition& side, uint32_t ip) {
    uint64_t in = 0;
    for (const auto& e : side.ip_ranges) {
      if (InRange(e.key, ip)) in |= e.mask;
    }
    for (const auto& e : side.except_ip_ranges) {
      if (InRange(e.key, ip)) in &= ~e.mask;
    }
    return in;
  }
};

// Fills the filter `e` from ten input bytes.
void ReadFilter(Reader& in, ModuleExpress* e) {
  const uint8_t flags = in.Byte();
  const uint8_t src = in.Byte(), src_except = in.Byte();
  const uint8_t dst = in.Byte(), dst_except = in.Byte();
  if (flags & 0x01) e->src.ip_ranges.push_back(RangeOf(src));
  if (src_except & 0x80) e->src.except_ip_ranges.push_back(RangeOf(src_except));
  e->src.positive = (flags & 0x02) == 0;
  if (flags & 0x04) e->dst.ip_ranges.push_back(RangeOf(dst));
  if (dst_except & 0x80) e->dst.except_ip_ranges.push_back(RangeOf(dst_except));
  e->dst.positive = (flags & 0x08) == 0;
  e->time.value = in.Byte() % 4;
  e->time.positive = (flags & 0x10) == 0;
  const uint8_t port = in.Byte();
  if (flags & 0x20) e->ports.values.push_back(port % 8);
  e->ports.positive = (flags & 0x40) == 0;
  const uint8_t payload = in.Byte();
  if (payload & 0x80) e->payload = payload & 7;
  e->payload_positive = (payload & 0x40) == 0;

  const uint8_t a = in.Byte(), b = in.Byte();
  CFilterActionContent& act = e->action;
  act.pri_group = a % 8;  // 1 to 6 are groups, 0 and 7 none
  act.continue_mode = (a >> 3) % 3;
  act.need_interrupt = (a & 0x20) != 0;
  act.need_ignore = (a & 0x40) != 0;
  act.flags[0] = (a & 0x80) ? 1 : 0;
  act.save_level = b % 8;
  act.interrupt_code = b >> 3;
}

Traffic ReadTraffic(Reader& in) {
  Traffic t;
  t.src = kNet + in.Byte() % 32;
  t.dst = kNet + in.Byte() % 32;
  t.time = in.Byte() % 4;
  t.port = in.Byte() % 8;
  t.payload = in.Byte() % 8;
  return t;
}

// The evaluation as a plain reading of the rules, over each filter's own
// record rather than the folded tables.
class Model {
 public:
  explicit Model(ModuleFilter& f) : f_(f), n_(f.list.list.size()) {
    for (size_t i = 0; i < n_; ++i) {
      e_.push_back(f.at(i).GetEffectiveMask());
      neg_.push_back(f.at(i).GetNegativeMask() & e_.back());
      all_ |= e_.back();
    }
    Clear();
  }

  void Clear() {
    s_.clear();
    for (uint64_t e : e_) s_.push_back(~e);
    k_ = 0;
    complete_ = false;
    passed_.clear();
  }

  bool OnCondition(int kind, const Traffic& t) {
    const uint64_t bit = uint64_t(1) << (kind % 64);
    if (all_ == 0) {
      if (!complete_) Complete();
      return true;
    }
    if ((all_ & bit) == 0) return complete_;
    if (complete_) return true;
    if ((f_.col_kinds & bit) == 0) k_ |= bit;
    for (size_t i = 0; i < n_; ++i) {
      if (Matches(i, kind % 64, t)) s_[i] |= bit;
    }
    Update();
    return complete_;
  }

  bool OnAllConditions(const Traffic& t) {
    Clear();
    for (int kind = 0; kind < 64; ++kind) {
      if ((all_ >> kind & 1) == 0) continue;
      bool done = OnCondition(kind, t);
      k_ |= uint64_t(1) << kind;
      Update();
      if (done) break;
    }
    if (!complete_) Complete();
    return true;
  }

  bool ColConditionComplete(int kind) {
    k_ |= uint64_t(1) << (kind % 64);
    Update();
    return complete_;
  }

  bool complete() const { return complete_; }
  const std::vector<size_t>& passed() const { return passed_; }

 private:
  // Whether filter i's own condition of `kind` holds for `t`.
  bool Matches(size_t i, int kind, const Traffic& t) const {
    ModuleExpress& e = f_.at(i);
    switch (kind) {
      case COneFltExpress::KIND_SRC_ADDR:
        return SideHolds(e.src, t.src);
      case COneFltExpress::KIND_DST_ADDR:
        return SideHolds(e.dst, t.dst);
      case COneFltExpress::KIND_TIME:
        return e.time.value != 0 && e.time.value == t.time;
      case kPortKind:
        return !e.ports.values.empty() && e.ports.values[0] == t.port;
      case kPayloadKind:
        return e.payload == t.payload;
    }
    return false;
  }
  static bool SideHolds(const IPADDR_FLT_EXPRESS& side, uint32_t ip) {
    bool in = false;
    for (const IP_RANGE_PAIR& r : side.ip_ranges) in = in || InRange(r, ip);
    for (const IP_RANGE_PAIR& r : side.except_ip_ranges) {
      if (InRange(r, ip)) in = false;
    }
    return in;
  }

  bool Passes(size_t i) const {
    const uint64_t e = e_[i], n = neg_[i], s = s_[i];
    return e == 0 || (n == 0 && s == kAllOnes) ||
           (n != 0 && (n & ~k_) == 0 && (s ^ n) == kAllOnes);
  }
  bool Fails(size_t i) const {
    const uint64_t n = neg_[i], s = s_[i], positive = k_ & ~n;
    return e_[i] != 0 && ((s & positive) != positive || (s & n) != 0);
  }
  int Result(size_t i) const { return Passes(i) ? 1 : Fails(i) ? 0 : -1; }

  int Group(int group) const {
    bool any = false;
    for (size_t i = 0; i < n_; ++i) {
      if (f_.at(i).action.pri_group != group) continue;
      const int r = Result(i);
      if (r == -1) return -1;
      any = any || r == 1;
    }
    return any ? 1 : 0;
  }

  void Update() {
    if (complete_) return;
    for (int group = 1; group <= 6; ++group) {
      const int r = Group(group);
      if (r == 1) return Complete();
      if (r == -1) break;
    }
    if ((all_ & ~k_) == 0) return Complete();
    for (size_t i = 0; i < n_; ++i) {
      const int r = Result(i);
      if (r == -1) return;
      if (r == 1 && f_.at(i).action.continue_mode == 1) return Complete();
    }
    Complete();
  }

  void Complete() {
    complete_ = true;
    passed_.clear();
    for (size_t i = 0; i < n_; ++i) {
      if (Passes(i)) passed_.push_back(i);
    }
  }

  ModuleFilter& f_;
  size_t n_;
  std::vector<uint64_t> e_, neg_, s_;
  uint64_t all_ = 0;
  uint64_t k_ = 0;
  bool complete_ = false;
  std::vector<size_t> passed_;
};

// Index of `action` in the filter list.
size_t IndexOf(ModuleFilter& f, const CFilterActionContent* action) {
  for (size_t i = 0; i < f.list.list.size(); ++i) {
    if (&f.at(i).action == action) return i;
  }
  Require(false, "a listed action belongs to the policy");
  return 0;
}

// Everything a host reads from `result` agrees with the model.
void Compare(const CFilterResult& result, const Model& model, ModuleFilter& f) {
  Require(
      result.GetCmpState() == (model.complete() ? CFilterResult::CMP_COMPLETE
                                                : CFilterResult::CMP_RUNNING),
      "evaluation state");
  CFilterActionContent* const* out = nullptr;
  const int passed = result.GetPassedFilters(out);
  std::vector<size_t> indexes;
  for (int i = 0; i < passed; ++i) indexes.push_back(IndexOf(f, out[i]));
  const std::vector<size_t> expected =
      model.complete() ? model.passed() : std::vector<size_t>();
  if (indexes != expected) {
    fprintf(stderr, "passed %zu filters, model %zu\n", indexes.size(),
            expected.size());
  }
  Require(indexes == expected, "passed filters");
  Require(
      result.GetCmpResult() == (!model.complete()  ? CFilterResult::CMP_UNKNOWN
                                : expected.empty() ? CFilterResult::CMP_NO_PASS
                                                   : CFilterResult::CMP_PASS),
      "evaluation result");

  std::vector<size_t> events;
  uint32_t level = 0;
  uint64_t interrupt = 0;
  bool interrupt_found = false, ignore = false;
  for (size_t i : expected) {
    const CFilterActionContent& a = f.at(i).action;
    if (a.flags[0] != 0) events.push_back(i);
    if (a.save_level > level) level = a.save_level;
    if (a.need_interrupt && !interrupt_found) {
      interrupt = a.interrupt_code;
      interrupt_found = true;
    }
    ignore = ignore || a.need_ignore;
  }
  if (g_bDisnableAllWarninglevel) events.clear();
  if (g_nAuditSavelevel == 0) level = 0;
  if (g_bDisnableAllInterrupt) interrupt = 0;

  const int event_count = result.GetEventFilters(out);
  std::vector<size_t> event_indexes;
  for (int i = 0; i < event_count; ++i) {
    event_indexes.push_back(IndexOf(f, out[i]));
  }
  Require(event_indexes == events, "event filters");
  Require(result.GetMaxSaveLevel() == level, "largest save level");
  Require(result.IsNeedtoInterrupt() == interrupt, "interrupt code");
  Require(result.IsNeedtoIgnore() == ignore, "ignore flag");
}

void Run(const uint8_t* data, size_t size) {
  Reader in(data, size);
  const size_t count = in.Byte() % 65;
  const uint8_t switches = in.Byte();
  ModuleFilter filter;
  if (switches & 0x01) filter.col_kinds |= uint64_t(1) << kPayloadKind;
  if (switches & 0x02) filter.col_kinds |= uint64_t(1) << kPortKind;
  g_nAuditSavelevel = (switches & 0x04) ? 0 : 2;
  g_bDisnableAllWarninglevel = (switches & 0x08) != 0;
  g_bDisnableAllInterrupt = (switches & 0x10) != 0;
  for (size_t i = 0; i < count; ++i) {
    ModuleExpress* e =
        static_cast<ModuleExpress*>(filter.list.NewOneFltExpress());
    ReadFilter(in, e);
    filter.list.InsertOneFltExpress(e);
  }
  filter.TransExpressToCondition();

  CFilterResult result;
  if (result.SetFilter(&filter) != 0) return;
  Model model(filter);
  Compare(result, model, filter);
  for (int ops = 0; !in.done() && ops < 256; ++ops) {
    const uint8_t op = in.Byte();
    switch (op % 8) {
      case 0:
      case 1:
      case 2: {
        const int kind = in.Byte() % 80;
        const Traffic t = ReadTraffic(in);
        const bool done = model.OnCondition(kind, t);
        Require((result.OnCondition(kind, &t) == CFilterResult::CMP_COMPLETE) ==
                    done,
                "state after one kind");
        break;
      }
      case 3: {
        // A column kind when there is one, else any kind.
        int kind = in.Byte() % 80;
        if (filter.col_kinds != 0 && (op & 0x80)) {
          kind =
              (filter.col_kinds >> kPayloadKind & 1) ? kPayloadKind : kPortKind;
        }
        const bool done = model.ColConditionComplete(kind);
        Require((result.ColConditionComplete(kind) ==
                 CFilterResult::CMP_COMPLETE) == done,
                "state after completing a kind");
        break;
      }
      case 4:
        model.Clear();
        Require(result.Clear() == 0, "clear");
        break;
      case 5: {
        const Traffic t = ReadTraffic(in);
        model.OnAllConditions(t);
        Require(result.OnCondition(&t) == CFilterResult::CMP_COMPLETE,
                "feeding every kind completes");
        break;
      }
      case 6: {
        // A copy reads the same, and carries on as the original would.
        CFilterResult copy(result);
        Compare(copy, model, filter);
        result = copy;
        break;
      }
      default:
        Require(result.SetFilter(&filter) == 0, "binding again");
        model.Clear();
        break;
    }
    Compare(result, model, filter);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Run(data, size);
  g_nAuditSavelevel = 2;
  g_bDisnableAllWarninglevel = false;
  g_bDisnableAllInterrupt = false;
  return 0;
}
