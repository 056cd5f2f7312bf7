#include "tools/common/PolicyStage.h"

namespace quarn_tool {

const char kPolicyFileName[] = "connection_policy.xml";

PolicyObjects PolicyObjectsOf(GatewayConfig* config, int parts) {
  PolicyObjects objects;
  objects.plan = config->plan();
  if (parts & kConfigObjects) {
    objects.ip_objects = &config->ip_objects();
    objects.time_objects = &config->time_objects();
  }
  if ((parts & kConfigUrls) && config->has_urls()) {
    objects.system_urls = &config->urls().system_names();
    objects.user_urls = &config->urls().user_names();
  }
  if (parts & kConfigPolicy) objects.key_types = &config->key_types();
  return objects;
}

PolicyStage::PolicyStage(GatewayConfig* config) : config_(config) {}

bool PolicyStage::Load(const std::string& path, int parts,
                       std::vector<std::string>* messages) {
  path_ = path.empty() ? config_->PathOf(kPolicyFileName) : path;
  if (parts & kConfigPolicy) ApplyControlStatus(config_->ctrl_status());
  return policy_.Load(path_.c_str(), PolicyObjectsOf(config_, parts), messages);
}

void PolicyStage::Decide(const ConnectionFacts& facts, bool explain,
                         ConnectionVerdict* out) {
  out->policy = policy_.Evaluate(facts, &out->verdict) ? &policy_ : nullptr;
  out->audit =
      DecideAudit(config_->audit_policy(), config_->ctrl_status(), facts);
  if (explain && out->policy != nullptr) {
    policy_.Explain(facts, &out->traces);
  } else {
    out->traces.clear();
  }
}

}  // namespace quarn_tool
