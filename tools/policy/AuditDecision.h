// The audit side of a connection's verdict: whether the gateway keeps an
// audit record of it, and why, from the control status settings
// ("ctrl_status") and the audit filter policy ("audit_filter_policy");
// and the process-wide switches a gateway process sets from the control
// status settings.

#ifndef QUARN_TOOLS_POLICY_AUDITDECISION_H_
#define QUARN_TOOLS_POLICY_AUDITDECISION_H_

#include "base/CCommonMacTCPIPDecode.h"
#include "filter/CAuditFilterConfig.h"
#include "settings/CCtrlStatusMgr.h"
#include "tools/policy/ConnectionFacts.h"

namespace quarn_tool {

// The audit filter policy's seven application elements.
enum AuditApp {
  kAuditAppNone = -1,
  kAuditAppWeb = 0,
  kAuditAppMail,
  kAuditAppMsn,
  kAuditAppQq,
  kAuditAppYmsg,
  kAuditAppFtp,
  kAuditAppTelnet,
};

// Why the decision came out as it did, in the order the rules are tried.
enum AuditReason {
  kAuditReasonOff,        // the audit level is 0: nothing is audited
  kAuditReasonBlackList,  // the address pair is on the black list: kept
  kAuditReasonNotPassed,  // the control status keeps the data from audit
  kAuditReasonWhiteList,  // the address pair is on the white list: left out
  kAuditReasonAppFilter,  // the application's audit filter leaves it out
  kAuditReasonLevel,      // none of the above: audited at the audit level
};

struct AuditDecision {
  bool audit = false;
  AuditReason reason = kAuditReasonOff;
  int level = 0;                 // CCtrlStatusMgr::GetAuditLevel
  AuditApp app = kAuditAppNone;  // the connection's application element
  // For kAuditReasonAppFilter: true when a text fragment matched, false
  // when an address range did.
  bool by_text = false;
  // The history switches as they apply to this connection.
  bool flow_record = false;     // IfEnableHistFlux, and for a connection
                                // to a company server IfEnableServerHistFlux
  bool fc_flow_record = false;  // IfEnableFCHistFlux
  bool action_stat = false;     // IfEnableActionState
};

// "off", "black list", "not passed to audit", "white list",
// "application filter", "audit level".
const char* AuditReasonName(AuditReason reason);
// "web", "mail", ... "telnet"; "none".
const char* AuditAppName(AuditApp app);

// The audit filter element that serves application `app_id`: web (the web
// groups), mail (the mail groups), msn, qq, ymsg, ftp or telnet (their
// subtypes). A connection whose application is none of these but which
// carries a URL (`has_url`) is web traffic.
AuditApp AuditAppOf(uint32_t app_id, bool has_url);

// The decode context a capture process would hand over for the
// connection: the application id and the client (source) and server
// (destination) ends; every other byte zero.
void FillDecodeContext(const ConnectionFacts& facts,
                       CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT* ctx);

// The audit decision for `facts`. Rules, first that applies:
//   1. GetAuditLevel() is 0: not audited (off);
//   2. IsBlackList on the connection's address pair: audited (black list);
//   3. IsPassDataToAudit on the decode context is 0: not audited;
//   4. IsWhiteList on the address pair: not audited (white list);
//   5. the application element's fragments occur in the URL (web) or in
//      the connection's application text, or its ranges hold either
//      address: not audited (application filter);
//   6. otherwise audited at the audit level.
AuditDecision DecideAudit(const CAuditFilterConfig& policy,
                          const CCtrlStatusMgr& ctrl,
                          const ConnectionFacts& facts);

// Sets the process-wide switches from the control status settings, the
// way a gateway process does after loading them:
//   g_nAuditSavelevel          = GetAuditLevel() (0 while history is off);
//   g_nHttpAuditType           = http_audit_type;
//   g_save_html_only_have_title = save_html_only_have_title;
//   g_bDisnableActionStat      = !IfEnableActionState();
//   g_bDisnableAllWarninglevel = GetAuditLevel() is 0: with the audit off
//                                no filter raises an event;
//   g_bDisnableAllInterrupt    = data_to_audit_type is 0: a gateway that
//                                hands no traffic to inspection runs as a
//                                bypass and interrupts nothing.
// Not thread-safe: call before evaluations start.
void ApplyControlStatus(const CCtrlStatusMgr& ctrl);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_POLICY_AUDITDECISION_H_
