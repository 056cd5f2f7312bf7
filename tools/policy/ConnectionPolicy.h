// The connection policy: a list of at most 64 filters read from a policy
// file, folded for matching, and evaluated per connection through the
// library's CFilterResult. This is the host-side module that a gateway's
// protocol modules would be: it supplies the filters (IExpressFilter) and
// the condition matching (MatchCondition); the library decides which
// filters pass and what follows from them.
//
// Typical use:
//   ConnectionPolicy policy;
//   std::vector<std::string> messages;
//   if (!policy.Load(path, objects, &messages)) { report messages; }
//   ConnectionFacts facts;  // filled per connection
//   Verdict verdict;
//   policy.Evaluate(facts, &verdict);
//
// Not thread-safe: one evaluation at a time (the evaluator and the keyword
// table keep per-evaluation state). Evaluate allocates nothing.

#ifndef QUARN_TOOLS_POLICY_CONNECTIONPOLICY_H_
#define QUARN_TOOLS_POLICY_CONNECTIONPOLICY_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "filter/CFilterResult.h"
#include "filter/IExpressFilter.h"
#include "objects/CKeyTypeTable.h"
#include "tools/policy/ConnectionFacts.h"
#include "tools/policy/PolicyFilter.h"
#include "tools/policy/PolicyReader.h"

namespace quarn_tool {

// What the policy decided for one connection, read from the evaluator.
struct Verdict {
  static constexpr int kMaxFilters = 64;

  // CFilterResult::CMP_RESULT: 1 when some filter passed, 0 when none did.
  int result = 0;
  // The filters that passed, by index, in filter order.
  int passed_count = 0;
  uint8_t passed[kMaxFilters] = {};
  // The passed filters that raise an event (none while events are
  // switched off process-wide).
  int event_count = 0;
  uint8_t events[kMaxFilters] = {};
  uint32_t save_level = 0;      // largest save level of the passed filters
  uint64_t interrupt_code = 0;  // 0: do not interrupt
  bool ignore = false;
  // The kinds fed before the outcome was settled.
  uint64_t fed_kinds = 0;
};

// One condition of one filter as it came out for a connection.
struct ConditionTrace {
  int filter = 0;
  int kind = 0;
  bool negative = false;  // the filter requires the condition not to hold
  bool matched = false;   // the condition holds for the connection
  // True when the condition is as the filter requires.
  bool satisfied() const { return matched != negative; }
};

class ConnectionPolicy : public IExpressFilter {
 public:
  static constexpr int kMaxFilters = 64;

  ConnectionPolicy();
  ~ConnectionPolicy() override;
  ConnectionPolicy(const ConnectionPolicy&) = delete;
  ConnectionPolicy& operator=(const ConnectionPolicy&) = delete;

  // Replaces the policy with the file at `path`, naming objects from
  // `objects` (copied; the managers themselves are not owned and must stay
  // loaded). Appends every warning and error to *messages. Returns true
  // when the policy is ready to evaluate: the file was read and no error
  // was found. After a false return the filters read are still listed by
  // Describe(), but Evaluate() refuses.
  bool Load(const char* path, const PolicyObjects& objects,
            std::vector<std::string>* messages);

  bool ready() const { return ready_; }
  int filter_count() const { return static_cast<int>(filters_.list.size()); }
  // Filter `i`, 0 <= i < filter_count().
  const PolicyFilter& filter(int i) const { return *filters_.at(i); }
  // The kinds some filter tests.
  uint64_t kinds() const { return kinds_; }

  // Evaluates the policy for `facts` into *out. False (and *out reset)
  // when the policy is not ready. Allocates nothing.
  bool Evaluate(const ConnectionFacts& facts, Verdict* out);

  // One line per filter: index, name, line, each condition and the action.
  // Names are GBK.
  std::vector<std::string> Describe() const;
  // Every tested condition of every filter for `facts`, in filter order,
  // then kind order. Independent of Evaluate (which may stop early).
  void Explain(const ConnectionFacts& facts, std::vector<ConditionTrace>* out);
  // "filter 3 "NAME": server address matched, required not to: fails".
  std::string TraceText(const ConditionTrace& trace) const;
  // The conditions of filter `index` ("not time{0x2} app{id=10070000}", or
  // "every connection") and its action ("save 3, interrupt 0x1001, event,
  // group 2, stop"), as Describe() writes them. GBK.
  std::string ConditionText(int index) const;
  std::string ActionText(int index) const;

  // IExpressFilter: the list, its folded form, and the folding of this
  // module's kinds of filter `index`.
  CProtoFltExpress* GetProtoFltExpress() override { return &filters_; }
  CProtoFltCondition* GetProtoFltCondition() override { return &condition_; }
  void TransOneExpressToCondition(int index, COneFltExpress* express,
                                  CProtoFltCondition* cond) override;
  // No kind arrives in pieces: 0.
  int GetColConditionMask(uint64_t* mask) override;
  // `data` is a const ConnectionFacts*. `states` is not read.
  void MatchCondition(uint64_t* matched, int kind, const void* data,
                      const uint64_t* states) override;

 private:
  void Reset();
  void Check(PolicyDiagnostics* diag);
  void FoldTimes();
  void BuildKeywordTable(PolicyDiagnostics* diag);
  uint64_t MatchSide(const CIPAddrFltCondition& side,
                     const EndpointFacts& end) const;
  uint64_t MatchTime(uint64_t time_objects) const;
  uint64_t MatchApp(uint32_t app_id) const;
  uint64_t MatchPort(uint16_t port) const;
  uint64_t MatchDepartment(uint32_t department) const;
  uint64_t MatchUrlType(const URL_GROUP_TYPE& types) const;
  uint64_t MatchUrlText(const ConnectionFacts& facts);
  uint64_t MatchUrlKey(const ConnectionFacts& facts);
  const char* LoweredUrl(const ConnectionFacts& facts);
  std::string DescribeFilter(int index) const;

  PolicyObjects objects_;
  PolicyFilterList filters_;
  CProtoFltCondition condition_;
  // This module's kinds, folded: value -> filters (the library's tables)
  // or, for one-bit ids and category bits, bit -> filters.
  INT_CONDITION apps_;
  SIZE_CONDITION ports_;
  INT_CONDITION departments_;
  uint64_t ip_object_filters_[64];
  uint64_t sys_url_filters_[64];
  uint64_t user_url_filters_[64];
  uint64_t key_type_filters_[64];
  std::vector<std::pair<std::string, uint64_t>> url_texts_;
  // Time object bit -> filters naming it; [64] for the all-time object.
  uint64_t time_filters_[65];
  CKeyTypeTable key_table_;
  uint64_t kinds_ = 0;
  bool ready_ = false;

  CFilterResult result_;
  // The URL of the current evaluation, ASCII letters lower-cased, made on
  // first use by the URL text or keyword kinds. Longer URLs are cut.
  static constexpr size_t kUrlBufferSize = 4096;
  char lowered_url_[kUrlBufferSize];
  size_t lowered_length_ = 0;
  bool lowered_valid_ = false;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_POLICY_CONNECTIONPOLICY_H_
