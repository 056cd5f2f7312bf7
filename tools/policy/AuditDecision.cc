#include "tools/policy/AuditDecision.h"

#include <string.h>

#include "appid/CAppSubtypeReader.h"
#include "frame/GlobalSwitches.h"

namespace quarn_tool {

namespace {

typedef CAppSubtypeReader Tree;

// Application ids served by each element besides the groups of web and
// mail. Internal applications have no constants of their own in the tree
// header; their ids are the protocol tree's numbering.
const uint32_t kInternalWeb = 20010000;
const uint32_t kInternalMail = 20020000;
const uint32_t kInternalFtp = 20030000;
const uint32_t kInternalTelnet = 20050000;
const uint32_t kTelnet = 19090002;
const uint32_t kMobileQq = 19110002;

struct AppElement {
  uint32_t app_id;
  AuditApp app;
};

const AppElement kSubtypes[] = {
    {Tree::APP_EX_IM_MSN, kAuditAppMsn},
    {Tree::APP_EX_IM_MSN_FILE, kAuditAppMsn},
    {Tree::APP_EX_IM_QQ, kAuditAppQq},
    {Tree::APP_EX_IM_QQ_TM, kAuditAppQq},
    {Tree::APP_EX_IM_QQ_FILE, kAuditAppQq},
    {Tree::APP_EX_FILE_TRANS_QQ_SHARE_FILE, kAuditAppQq},
    {kMobileQq, kAuditAppQq},
    {Tree::APP_EX_IM_YMSG, kAuditAppYmsg},
    {Tree::APP_EX_IM_YMSG_FILE, kAuditAppYmsg},
    {Tree::APP_EX_FILE_TRANS_FTP, kAuditAppFtp},
    {Tree::APP_EX_FILE_TRANS_MULTI_FTP, kAuditAppFtp},
    {kInternalFtp, kAuditAppFtp},
    {kTelnet, kAuditAppTelnet},
    {kInternalTelnet, kAuditAppTelnet},
};

const COneAppAuditFilterConfig& Element(const CAuditFilterConfig& policy,
                                        AuditApp app) {
  switch (app) {
    case kAuditAppMail:
      return policy.mail;
    case kAuditAppMsn:
      return policy.msn;
    case kAuditAppQq:
      return policy.qq;
    case kAuditAppYmsg:
      return policy.ymsg;
    case kAuditAppFtp:
      return policy.ftp;
    case kAuditAppTelnet:
      return policy.telnet;
    default:
      return policy.web;
  }
}

AuditDecision Decided(AuditDecision decision, bool audit, AuditReason reason) {
  decision.audit = audit;
  decision.reason = reason;
  return decision;
}

}  // namespace

const char* AuditReasonName(AuditReason reason) {
  switch (reason) {
    case kAuditReasonOff:
      return "off";
    case kAuditReasonBlackList:
      return "black list";
    case kAuditReasonNotPassed:
      return "not passed to audit";
    case kAuditReasonWhiteList:
      return "white list";
    case kAuditReasonAppFilter:
      return "application filter";
    case kAuditReasonLevel:
      return "audit level";
  }
  return "unknown";
}

const char* AuditAppName(AuditApp app) {
  static const char* const kNames[] = {"web",  "mail", "msn",   "qq",
                                       "ymsg", "ftp",  "telnet"};
  return app >= kAuditAppWeb && app <= kAuditAppTelnet ? kNames[app] : "none";
}

AuditApp AuditAppOf(uint32_t app_id, bool has_url) {
  for (const AppElement& element : kSubtypes) {
    if (element.app_id == app_id) return element.app;
  }
  const uint32_t group = Tree::GetExtGrpAppType(app_id);
  const uint32_t own = group != 0 ? group : app_id;
  if (own == Tree::APP_EX_WEB || own == kInternalWeb) return kAuditAppWeb;
  if (own == Tree::APP_EX_MAIL || own == kInternalMail) return kAuditAppMail;
  return has_url ? kAuditAppWeb : kAuditAppNone;
}

void FillDecodeContext(const ConnectionFacts& facts,
                       CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT* ctx) {
  memset(ctx, 0, sizeof(*ctx));
  ctx->app_type = facts.app_id;
  ctx->src_ip = facts.client.ip;
  ctx->src_port = facts.client.port;
  ctx->dst_ip = facts.server.ip;
  ctx->dst_port = facts.server.port;
}

AuditDecision DecideAudit(const CAuditFilterConfig& policy,
                          const CCtrlStatusMgr& ctrl,
                          const ConnectionFacts& facts) {
  AuditDecision decision;
  decision.level = ctrl.GetAuditLevel();
  decision.app = AuditAppOf(facts.app_id, facts.url != nullptr);
  decision.flow_record =
      ctrl.IfEnableHistFlux() != 0 &&
      (!facts.server.server || ctrl.IfEnableServerHistFlux() != 0);
  decision.fc_flow_record = ctrl.IfEnableFCHistFlux() != 0;
  decision.action_stat = ctrl.IfEnableActionState() != 0;
  if (decision.level == 0) return Decided(decision, false, kAuditReasonOff);
  if (policy.IsBlackList(facts.addr)) {
    return Decided(decision, true, kAuditReasonBlackList);
  }
  CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT ctx;
  FillDecodeContext(facts, &ctx);
  if (!ctrl.IsPassDataToAudit(ctx)) {
    return Decided(decision, false, kAuditReasonNotPassed);
  }
  if (policy.IsWhiteList(facts.addr)) {
    return Decided(decision, false, kAuditReasonWhiteList);
  }
  if (decision.app != kAuditAppNone) {
    const COneAppAuditFilterConfig& element = Element(policy, decision.app);
    const char* text =
        decision.app == kAuditAppWeb ? facts.url : facts.app_text;
    decision.by_text = text != nullptr && element.find(text) != 0;
    if (decision.by_text || element.find(facts.addr) != 0) {
      return Decided(decision, false, kAuditReasonAppFilter);
    }
  }
  return Decided(decision, true, kAuditReasonLevel);
}

void ApplyControlStatus(const CCtrlStatusMgr& ctrl) {
  g_nAuditSavelevel = ctrl.GetAuditLevel();
  g_nHttpAuditType = ctrl.http_audit_type;
  g_save_html_only_have_title = ctrl.save_html_only_have_title;
  g_bDisnableActionStat = ctrl.IfEnableActionState() == 0;
  g_bDisnableAllWarninglevel = ctrl.GetAuditLevel() == 0;
  g_bDisnableAllInterrupt =
      ctrl.data_to_audit_type == CCtrlStatusMgr::DATA_TO_AUDIT_NONE;
}

}  // namespace quarn_tool
