// The gateway's audit and control switches, kept in the "ctrl_status"
// document: which history flow records are kept, the audit level, how web
// pages are audited, how long audit data is kept and how large its tables
// grow, the disk threshold, which traffic goes to the audit, and whether
// connection records are copied.
//
// Host processes create their own instance (there is no process-wide one),
// load it with LoadFromFile() / LoadFromMem() and save it with SaveToFile().
// WriteCtrlStatus() changes one key in the file last loaded without touching
// the object. No value is range-checked: what the file holds is used as it
// is. No locks: one owner thread, or the host serialises access.

#ifndef QUARN_SETTINGS_CCTRLSTATUSMGR_H_
#define QUARN_SETTINGS_CCTRLSTATUSMGR_H_

#include "quarn_common/base/Export.h"

#include "quarn_common/base/CAddrAndPortSetVector.h"
#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CCommonMacTCPIPDecode.h"
#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/base/CVtIPAndMac.h"

class QUARN_EXPORT CCtrlStatusMgr : public CBaseXMLConfig {
 public:
  // Values of data_to_audit_type.
  enum {
    DATA_TO_AUDIT_NONE = 0,     // nothing goes to the audit
    DATA_TO_AUDIT_ALL = 1,      // everything goes (also any unknown value)
    DATA_TO_AUDIT_BY_LIST = 2,  // data_to_audit_list decides
  };

  // Every setting at its default.
  CCtrlStatusMgr();
  ~CCtrlStatusMgr() override;
  CCtrlStatusMgr(const CCtrlStatusMgr& other);
  CCtrlStatusMgr& operator=(const CCtrlStatusMgr& other);

  // Every member, both lists included, compared; the remembered file path
  // is not.
  bool operator==(const CCtrlStatusMgr& other) const;
  bool operator!=(const CCtrlStatusMgr& other) const {
    return !(*this == other);
  }

  // Every setting back to its default; both lists emptied.
  void close() override;

  // 1 when history features are not all switched off and the named kind of
  // record is switched on.
  int IfEnableHistFlux() const;
  int IfEnableFCHistFlux() const;
  int IfEnableServerHistFlux() const;
  int IfEnableActionState() const;
  // 0 while every history feature is switched off, else audit_level.
  int GetAuditLevel() const;

  // 1 when the decoded packet's data goes to the audit. With
  // data_to_audit_type 0 nothing goes, with 2 the list decides for the
  // destination address and port (then, when the list holds no entry for
  // it, for the source address with the destination port), with any other
  // value everything goes.
  int IsPassDataToAudit(
      const CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT& ctx) const;

  // Sets the simple key `key` to `value` in the file last loaded (by
  // LoadFromFile) and saves it; the object itself is not changed. 0 when no
  // file was loaded or it cannot be opened or written.
  int WriteCtrlStatus(const char* key, int value);

  // The settings, in document order of their keys. Hosts may change them
  // before SaveToFile().
  int data_to_audit_type;
  CAddrAndPortSetVector data_to_audit_list;
  int disable_all_hist;
  int histflux_status;
  int fc_histflux_status;
  int server_histflux_status;
  int actionstat_status;
  int audit_level;
  int http_audit_type;
  int save_html_only_have_title;
  int employee_conn_histaudit_status;
  CVtIPAndMac conn_histaudit_addr;
  int report_dump;
  int audit_save_day;
  int day_table_size;
  int month_table_size;
  int disk_threshold;
  int copy_connect_info;

 private:
  // Reads every key the document holds over the current values. Returns 1.
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  // Writes every key into the "ctrl_status" root and saves the document to
  // its own path. Returns 1.
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;
};

#endif  // QUARN_SETTINGS_CCTRLSTATUSMGR_H_
