// The policy stage of `quarn classify`, the last step of a connection's
// path through the gateway: the connection policy (a policy file read by
// the tools' policy module) takes the facts the classifier gathered and
// decides the filters that pass, the save level, the interrupt, the ignore
// and the events; the audit filter policy and the control status decide
// whether the connection is audited. The stage only asks: every decision
// is the policy module's or the library's.

#ifndef QUARN_TOOLS_COMMON_POLICYSTAGE_H_
#define QUARN_TOOLS_COMMON_POLICYSTAGE_H_

#include <string>
#include <vector>

#include "tools/common/GatewayConfig.h"
#include "tools/policy/AuditDecision.h"
#include "tools/policy/ConnectionPolicy.h"

namespace quarn_tool {

// The policy file of a configuration directory.
extern const char kPolicyFileName[];  // "connection_policy.xml"

// The verdict of one connection.
struct ConnectionVerdict {
  // The connection policy that evaluated the connection; null when the
  // policy could not be used (its filter fields are then meaningless).
  const ConnectionPolicy* policy = nullptr;
  Verdict verdict;
  AuditDecision audit;
  // With explain: every tested condition of every filter.
  std::vector<ConditionTrace> traces;
};

// The objects a policy names, from a configuration loaded with
// kConfigPlan, kConfigObjects, kConfigUrls and kConfigPolicy (a part not
// loaded leaves its manager null, so the kinds that need it are reported).
PolicyObjects PolicyObjectsOf(GatewayConfig* config, int parts);

class PolicyStage {
 public:
  // `config` (not owned) must have loaded at least kConfigPlan and stay
  // loaded and unchanged while this object is used.
  explicit PolicyStage(GatewayConfig* config);
  PolicyStage(const PolicyStage&) = delete;
  PolicyStage& operator=(const PolicyStage&) = delete;

  // Reads the policy file `path` (empty: kPolicyFileName in the
  // configuration directory), naming objects of the parts `parts` of the
  // configuration, and sets the process-wide switches from the control
  // status the way a gateway process does (ApplyControlStatus). Appends
  // the module's messages to *messages. True when the policy is ready.
  bool Load(const std::string& path, int parts,
            std::vector<std::string>* messages);

  const std::string& path() const { return path_; }
  ConnectionPolicy& policy() { return policy_; }

  // The verdict for `facts` into *out; with `explain`, the condition
  // traces too. Evaluating and deciding allocate nothing; the traces
  // reuse their vector. One thread at a time.
  void Decide(const ConnectionFacts& facts, bool explain,
              ConnectionVerdict* out);

 private:
  GatewayConfig* config_;
  std::string path_;
  ConnectionPolicy policy_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_POLICYSTAGE_H_
