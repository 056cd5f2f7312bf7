#include "tools/common/VerdictOutput.h"

#include <inttypes.h>
#include <stdio.h>

namespace quarn_tool {

namespace {

bool IsPassed(const Verdict& verdict, int index) {
  for (int i = 0; i < verdict.passed_count; ++i) {
    if (verdict.passed[i] == index) return true;
  }
  return false;
}

void WriteAudit(const AuditDecision& audit, bool explain, JsonWriter* json) {
  json->Key("audit");
  json->BeginObject();
  json->Key("audited");
  json->Bool(audit.audit);
  json->Key("reason");
  json->Utf8(AuditReasonName(audit.reason));
  json->Key("level");
  json->Int(audit.level);
  json->Key("app");
  if (audit.app == kAuditAppNone) {
    json->Null();
  } else {
    json->Utf8(AuditAppName(audit.app));
  }
  if (explain) {
    json->Key("evidence");
    json->Utf8(AuditEvidence(audit));
  }
  json->EndObject();
}

std::string ShortHex(uint64_t value) {
  char text[24];
  snprintf(text, sizeof(text), "0x%" PRIX64, value);
  return text;
}

}  // namespace

std::string AuditEvidence(const AuditDecision& audit) {
  const std::string app = AuditAppName(audit.app);
  switch (audit.reason) {
    case kAuditReasonOff:
      return "the audit level is 0: nothing is audited";
    case kAuditReasonBlackList:
      return "the address pair is on the black list";
    case kAuditReasonNotPassed:
      return "the control status keeps the connection's data from the audit";
    case kAuditReasonWhiteList:
      return "the address pair is on the white list";
    case kAuditReasonAppFilter:
      if (!audit.by_text) {
        return "an address range of the " + app + " element holds an end";
      }
      return "a text of the " + app + " element occurs in the " +
             (audit.app == kAuditAppWeb ? "URL" : "connection's text");
    case kAuditReasonLevel:
      break;
  }
  std::string text = "audited at level " + std::to_string(audit.level);
  if (audit.app != kAuditAppNone) {
    text += "; nothing of the " + app + " element matched";
  }
  return text;
}

std::string FilterEvidence(const ConnectionVerdict& v, int index) {
  const PolicyFilter& filter = v.policy->filter(index);
  std::string text =
      "filter " + std::to_string(index) + " \"" + filter.name + "\": ";
  bool any = false;
  for (const ConditionTrace& trace : v.traces) {
    if (trace.filter != index) continue;
    text += any ? "; " : "";
    text += KindName(trace.kind);
    text += trace.matched ? " matched" : " did not match";
    if (trace.negative) text += ", required not to";
    text += trace.satisfied() ? ": holds" : ": fails";
    any = true;
  }
  if (!any) text += "no condition";
  return text + (IsPassed(v.verdict, index) ? "; passed" : "; not passed");
}

void VerdictJsonWriter::Prepare(const ConnectionPolicy& policy,
                                Utf8Cache* cache) {
  policy_ = &policy;
  filters_.clear();
  JsonWriter one(cache);
  for (int i = 0; i < policy.filter_count(); ++i) {
    one.Clear();
    one.BeginObject();
    one.Key("index");
    one.Int(i);
    one.Key("name");
    one.Gbk(policy.filter(i).name);
    one.EndObject();
    filters_.push_back(std::string(one.str()));
  }
}

void VerdictJsonWriter::Write(const ConnectionVerdict& v, bool explain,
                              JsonWriter* json) {
  if (v.policy != nullptr && v.policy != policy_) {
    Prepare(*v.policy, json->cache());
  }
  json->Key("verdict");
  json->BeginObject();
  const Verdict& verdict = v.verdict;
  const bool policy = v.policy != nullptr;
  json->Key("filters");
  if (policy) {
    json->BeginArray();
    for (int i = 0; i < verdict.passed_count; ++i) {
      json->Raw(filters_[verdict.passed[i]]);
    }
    json->EndArray();
  } else {
    json->Null();
  }
  json->Key("save_level");
  policy ? json->Uint(verdict.save_level) : json->Null();
  json->Key("interrupt");
  if (policy && verdict.interrupt_code != 0) {
    json->Hex(verdict.interrupt_code);
  } else {
    json->Null();
  }
  json->Key("ignore");
  policy ? json->Bool(verdict.ignore) : json->Null();
  json->Key("events");
  if (policy) {
    json->BeginArray();
    for (int i = 0; i < verdict.event_count; ++i) json->Uint(verdict.events[i]);
    json->EndArray();
  } else {
    json->Null();
  }
  WriteAudit(v.audit, explain, json);
  if (explain && policy) {
    json->Key("evidence");
    json->BeginArray();
    for (int i = 0; i < v.policy->filter_count(); ++i) {
      json->Gbk(FilterEvidence(v, i));
    }
    json->EndArray();
  }
  json->EndObject();
}

std::string VerdictCell(const ConnectionVerdict& v) {
  const Verdict& verdict = v.verdict;
  std::string text;
  if (v.policy == nullptr) {
    text = "no policy";
  } else if (verdict.passed_count == 0) {
    text = "no filter";
  } else {
    for (int i = 0; i < verdict.passed_count; ++i) {
      text += (i > 0 ? "," : "") + std::to_string(verdict.passed[i]);
    }
    text += " save " + std::to_string(verdict.save_level);
    if (verdict.interrupt_code != 0) {
      text += " interrupt " + ShortHex(verdict.interrupt_code);
    }
    if (verdict.ignore) text += " ignore";
    for (int i = 0; i < verdict.event_count; ++i) {
      text += (i > 0 ? "," : " events ") + std::to_string(verdict.events[i]);
    }
  }
  text += v.audit.audit ? "; audited: " : "; not audited: ";
  return text + AuditReasonName(v.audit.reason);
}

void VerdictNotes(const ConnectionVerdict& v, Utf8Cache* cache,
                  std::vector<std::string>* notes) {
  if (v.policy != nullptr) {
    for (int i = 0; i < v.policy->filter_count(); ++i) {
      notes->push_back("verdict: " + cache->Get(FilterEvidence(v, i)));
    }
  }
  notes->push_back("audit: " + AuditEvidence(v.audit));
}

}  // namespace quarn_tool
