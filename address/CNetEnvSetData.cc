#include "address/CNetEnvSetData.h"

namespace {

const char kFetchElement[] = "fetch_ipmac_inl3switch";
const char kTraceElement[] = "trace";

}  // namespace

CNetEnvSetData::CNetEnvSetData() { close(); }

CNetEnvSetData::CNetEnvSetData(const CNetEnvSetData& other) = default;

CNetEnvSetData& CNetEnvSetData::operator=(const CNetEnvSetData& other) =
    default;

CNetEnvSetData::~CNetEnvSetData() {}

void CNetEnvSetData::close() {
  netenv_layer = kDefaultNetEnvLayer;
  dep_type = kDefaultDepType;
  fetch_ipmac_inl3switch.close();
  forbit_except_addr = 0;
  log_except_addr = 0;
  handle_collision_ip_type = 0;
  admit_outside_host = 0;
  handle_netbios_pkt = 0;
  learn_host_type = kDefaultLearnHostType;
  delete_old_host = kDefaultDeleteOldHost;
  over_hour = kDefaultOverHour;
}

int CNetEnvSetData::LoadFromFile(CTinyXmlEx& doc, TiXmlNode* node) {
  close();
  if (node == nullptr) return 1;
  CTinyXmlEx::GetValueLikeIni(node, "netenv_layer", &netenv_layer);
  CTinyXmlEx::GetValueLikeIni(node, "dep_type", &dep_type);
  CTinyXmlEx::GetValueLikeIni(node, "forbit_except_addr", &forbit_except_addr);
  CTinyXmlEx::GetValueLikeIni(node, "log_except_addr", &log_except_addr);
  CTinyXmlEx::GetValueLikeIni(node, "handle_collision_ip_type",
                              &handle_collision_ip_type);
  CTinyXmlEx::GetValueLikeIni(node, "admit_outside_host", &admit_outside_host);
  TiXmlNode* fetch = CTinyXmlEx::FirstChildElement(node, kFetchElement);
  if (fetch != nullptr) fetch_ipmac_inl3switch.LoadConfig(doc, fetch);
  TiXmlNode* trace = CTinyXmlEx::FirstChildElement(node, kTraceElement);
  if (trace != nullptr) {
    CTinyXmlEx::GetAttr(trace, "learn_host_type", learn_host_type);
    CTinyXmlEx::GetAttr(trace, "delete_old_host", delete_old_host);
    CTinyXmlEx::GetAttr(trace, "over_hour", over_hour);
    CTinyXmlEx::GetAttr(trace, "handle_netbios_pkt", handle_netbios_pkt);
  }
  return 1;
}

int CNetEnvSetData::SaveToFile(CTinyXmlEx& doc, TiXmlNode* node) const {
  if (node == nullptr) return 0;
  CTinyXmlEx::SetValueLikeIni(node, "netenv_layer",
                              static_cast<int>(netenv_layer));
  CTinyXmlEx::SetValueLikeIni(node, "dep_type", static_cast<int>(dep_type));
  CTinyXmlEx::SetValueLikeIni(node, "forbit_except_addr",
                              static_cast<int>(forbit_except_addr));
  CTinyXmlEx::SetValueLikeIni(node, "log_except_addr",
                              static_cast<int>(log_except_addr));
  CTinyXmlEx::SetValueLikeIni(node, "handle_collision_ip_type",
                              static_cast<int>(handle_collision_ip_type));
  CTinyXmlEx::SetValueLikeIni(node, "admit_outside_host",
                              static_cast<int>(admit_outside_host));
  TiXmlNode* fetch = CTinyXmlEx::InsertEndChildElement(node, kFetchElement);
  if (fetch == nullptr || !fetch_ipmac_inl3switch.SaveConfig(doc, fetch)) {
    return 0;
  }
  TiXmlNode* trace = CTinyXmlEx::InsertEndChildElement(node, kTraceElement);
  if (trace == nullptr) return 0;
  CTinyXmlEx::SetAttr(trace, "learn_host_type",
                      static_cast<int>(learn_host_type));
  CTinyXmlEx::SetAttr(trace, "delete_old_host",
                      static_cast<int>(delete_old_host));
  CTinyXmlEx::SetAttr(trace, "over_hour", static_cast<int>(over_hour));
  CTinyXmlEx::SetAttr(trace, "handle_netbios_pkt",
                      static_cast<int>(handle_netbios_pkt));
  return 1;
}

int CNetEnvSetData::compare_config(const CNetEnvSetData& other) const {
  return netenv_layer == other.netenv_layer && dep_type == other.dep_type &&
                 fetch_ipmac_inl3switch == other.fetch_ipmac_inl3switch &&
                 forbit_except_addr == other.forbit_except_addr &&
                 log_except_addr == other.log_except_addr &&
                 handle_collision_ip_type == other.handle_collision_ip_type &&
                 admit_outside_host == other.admit_outside_host &&
                 handle_netbios_pkt == other.handle_netbios_pkt &&
                 learn_host_type == other.learn_host_type &&
                 delete_old_host == other.delete_old_host &&
                 over_hour == other.over_hour
             ? 1
             : 0;
}

int CNetEnvSetData::IsEanbelIPMacBind() const {
  return netenv_layer == 0 || fetch_ipmac_inl3switch.enable != 0 ? 1 : 0;
}
