// Writes the verdict of a connection (the policy stage's output) in the
// forms of `quarn classify`: the "verdict" member of its JSON object, the
// verdict cell of its table row, and the evidence lines under that row.

#ifndef QUARN_TOOLS_COMMON_VERDICTOUTPUT_H_
#define QUARN_TOOLS_COMMON_VERDICTOUTPUT_H_

#include <string>
#include <vector>

#include "tools/common/Output.h"
#include "tools/common/PolicyStage.h"

namespace quarn_tool {

// Writes "verdict":{"filters":[{"index","name"}...],"save_level",
// "interrupt" (the code as "0x%016X", or null),"ignore","events":
// [index...],"audit":{"audited","reason","level","app"}} inside an object
// the caller opened. The filter keys are null when the policy could not be
// used. With `explain`, "evidence" lists one text per filter (see
// FilterEvidence) and the audit gets an "evidence" text.
//
// The passed filters' JSON forms are made once per policy and kept, since
// the same few recur on every line. Not thread-safe.
class VerdictJsonWriter {
 public:
  VerdictJsonWriter() {}
  VerdictJsonWriter(const VerdictJsonWriter&) = delete;
  VerdictJsonWriter& operator=(const VerdictJsonWriter&) = delete;

  // `v.policy` must stay loaded and unchanged while this object is used.
  void Write(const ConnectionVerdict& v, bool explain, JsonWriter* json);

 private:
  void Prepare(const ConnectionPolicy& policy, Utf8Cache* cache);

  const ConnectionPolicy* policy_ = nullptr;
  std::vector<std::string> filters_;  // {"index":N,"name":"..."} by index
};

// The table cell (UTF-8): "4,17 save 3 interrupt 0x1001 events 4;
// audited: black list", "no filter", or "no policy; ...".
std::string VerdictCell(const ConnectionVerdict& v);

// Appends the evidence lines (UTF-8) of a verdict decided with explain:
// one per filter, then the audit's.
void VerdictNotes(const ConnectionVerdict& v, Utf8Cache* cache,
                  std::vector<std::string>* notes);

// What the traces of filter `index` say (GBK): each tested condition,
// whether it matched and whether that is as the filter requires, then
// whether the filter is in the passed list. E.g. `filter 4 "NAME": IP
// object matched: holds; time did not match: fails; not passed`.
std::string FilterEvidence(const ConnectionVerdict& v, int index);

// Why the audit decision came out as it did, in words.
std::string AuditEvidence(const AuditDecision& audit);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_VERDICTOUTPUT_H_
