#include "settings/CCtrlStatusMgr.h"

#include "base/internal/NoThrow.h"

namespace {

const char kRootName[] = "ctrl_status";
const char kConnHistAuditAddr[] = "conn_histaudit_addr";
const char kDataToAudit[] = "data_to_audit";
const char kDataToAuditType[] = "data_to_audit_type";
const char kCopyHistData[] = "copy_hist_data";
const char kCopyConnectInfo[] = "copy_connect_info";

// A simple key: a child element of the root whose text is the integer.
struct SimpleKey {
  const char* name;
  int CCtrlStatusMgr::*member;
  int default_value;
};

// The keys before "conn_histaudit_addr" in the document, in writing order.
const SimpleKey kHistKeys[] = {
    {"disable_all_hist", &CCtrlStatusMgr::disable_all_hist, 0},
    {"histflux_status", &CCtrlStatusMgr::histflux_status, 1},
    {"fc_histflux_status", &CCtrlStatusMgr::fc_histflux_status, 1},
    {"server_histflux_status", &CCtrlStatusMgr::server_histflux_status, 0},
};

// The keys after it, in writing order.
const SimpleKey kAuditKeys[] = {
    {"employee_conn_histaudit_status",
     &CCtrlStatusMgr::employee_conn_histaudit_status, 0},
    {"audit_level", &CCtrlStatusMgr::audit_level, 2},
    {"http_audit_type", &CCtrlStatusMgr::http_audit_type, 1},
    {"save_html_only_have_title", &CCtrlStatusMgr::save_html_only_have_title,
     1},
    {"actionstat_status", &CCtrlStatusMgr::actionstat_status, 1},
    {"report_dump", &CCtrlStatusMgr::report_dump, 1},
    {"audit_save_day", &CCtrlStatusMgr::audit_save_day, 65},
    {"day_table_size", &CCtrlStatusMgr::day_table_size, 30},
    {"month_table_size", &CCtrlStatusMgr::month_table_size, 24},
    {"disk_threshold", &CCtrlStatusMgr::disk_threshold, 80},
};

template <size_t N>
void ResetKeys(CCtrlStatusMgr* mgr, const SimpleKey (&keys)[N]) {
  for (const SimpleKey& key : keys) mgr->*key.member = key.default_value;
}

template <size_t N>
void ReadKeys(TiXmlNode* root, CCtrlStatusMgr* mgr,
              const SimpleKey (&keys)[N]) {
  for (const SimpleKey& key : keys) {
    CTinyXmlEx::GetValueLikeIni(root, key.name, &(mgr->*key.member));
  }
}

template <size_t N>
void WriteKeys(TiXmlNode* root, const CCtrlStatusMgr& mgr,
               const SimpleKey (&keys)[N]) {
  for (const SimpleKey& key : keys) {
    CTinyXmlEx::SetValueLikeIni(root, key.name, mgr.*key.member);
  }
}

template <size_t N>
bool KeysEqual(const CCtrlStatusMgr& a, const CCtrlStatusMgr& b,
               const SimpleKey (&keys)[N]) {
  for (const SimpleKey& key : keys) {
    if (a.*key.member != b.*key.member) return false;
  }
  return true;
}

// The verdict of `list` meaning "no entry for this address and port".
const int kNoEntry = -1;

}  // namespace

CCtrlStatusMgr::CCtrlStatusMgr() { close(); }

CCtrlStatusMgr::~CCtrlStatusMgr() {}

CCtrlStatusMgr::CCtrlStatusMgr(const CCtrlStatusMgr& other) = default;

CCtrlStatusMgr& CCtrlStatusMgr::operator=(const CCtrlStatusMgr& other) =
    default;

bool CCtrlStatusMgr::operator==(const CCtrlStatusMgr& other) const {
  return data_to_audit_type == other.data_to_audit_type &&
         data_to_audit_list == other.data_to_audit_list &&
         KeysEqual(*this, other, kHistKeys) &&
         KeysEqual(*this, other, kAuditKeys) &&
         conn_histaudit_addr == other.conn_histaudit_addr &&
         copy_connect_info == other.copy_connect_info;
}

void CCtrlStatusMgr::close() {
  data_to_audit_type = DATA_TO_AUDIT_ALL;
  data_to_audit_list = CAddrAndPortSetVector();
  ResetKeys(this, kHistKeys);
  ResetKeys(this, kAuditKeys);
  conn_histaudit_addr = CVtIPAndMac();
  copy_connect_info = 0;
}

int CCtrlStatusMgr::IfEnableHistFlux() const {
  return disable_all_hist == 0 && histflux_status != 0 ? 1 : 0;
}

int CCtrlStatusMgr::IfEnableFCHistFlux() const {
  return disable_all_hist == 0 && fc_histflux_status != 0 ? 1 : 0;
}

int CCtrlStatusMgr::IfEnableServerHistFlux() const {
  return disable_all_hist == 0 && server_histflux_status != 0 ? 1 : 0;
}

int CCtrlStatusMgr::IfEnableActionState() const {
  return disable_all_hist == 0 && actionstat_status != 0 ? 1 : 0;
}

int CCtrlStatusMgr::GetAuditLevel() const {
  return disable_all_hist != 0 ? 0 : audit_level;
}

int CCtrlStatusMgr::IsPassDataToAudit(
    const CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT& ctx) const {
  if (data_to_audit_type == DATA_TO_AUDIT_NONE) return 0;
  if (data_to_audit_type != DATA_TO_AUDIT_BY_LIST) return 1;
  int verdict =
      data_to_audit_list.is_passed(ctx.dst_ip, ctx.dst_port, ctx.app_type);
  if (verdict == kNoEntry) {
    verdict =
        data_to_audit_list.is_passed(ctx.src_ip, ctx.dst_port, ctx.app_type);
  }
  return verdict == 1 ? 1 : 0;
}

int CCtrlStatusMgr::WriteCtrlStatus(const char* key, int value) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    if (key == nullptr || *key == '\0' || m_file_path.empty()) return 0;
    CTinyXmlEx doc;
    if (doc.open_ex(m_file_path.c_str(), CTinyXmlEx::OPEN_FOR_CHANGE) != 0) {
      return 0;
    }
    TiXmlNode* root = doc.GetOrCreateRootElement(kRootName);
    if (root == nullptr || !CTinyXmlEx::SetValueLikeIni(root, key, value)) {
      return 0;
    }
    return doc.savefile() == 0 ? 1 : 0;
  });
}

int CCtrlStatusMgr::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  ReadKeys(root, this, kHistKeys);
  ReadKeys(root, this, kAuditKeys);
  TiXmlNode* addr = CTinyXmlEx::FirstChildElement(root, kConnHistAuditAddr);
  if (addr != nullptr) conn_histaudit_addr.Read(doc, addr);
  TiXmlNode* audit = CTinyXmlEx::FirstChildElement(root, kDataToAudit);
  if (audit != nullptr) {
    CTinyXmlEx::GetAttr(audit, kDataToAuditType, data_to_audit_type);
    data_to_audit_list.Load(doc, audit);
  }
  TiXmlNode* copy = CTinyXmlEx::FirstChildElement(root, kCopyHistData);
  if (copy != nullptr) {
    CTinyXmlEx::GetValueLikeIni(copy, kCopyConnectInfo, &copy_connect_info);
  }
  return 1;
}

int CCtrlStatusMgr::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetOrCreateRootElement(kRootName);
  WriteKeys(root, *this, kHistKeys);
  conn_histaudit_addr.Write(
      doc, CTinyXmlEx::InsertEndChildElement(root, kConnHistAuditAddr));
  WriteKeys(root, *this, kAuditKeys);
  TiXmlNode* audit = CTinyXmlEx::InsertEndChildElement(root, kDataToAudit);
  CTinyXmlEx::SetAttr(audit, kDataToAuditType, data_to_audit_type);
  data_to_audit_list.Save(doc, audit);
  TiXmlNode* copy = CTinyXmlEx::InsertEndChildElement(root, kCopyHistData);
  CTinyXmlEx::SetValueLikeIni(copy, kCopyConnectInfo, copy_connect_info);
  doc.savefile();
  return 1;
}
