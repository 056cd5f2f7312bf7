// One employee (host) record: comparison, display and search texts, and
// the stream form.

#include <string.h>

#include "base/CData_Stream_LE.h"
#include "base/OrvaAddr.h"
#include "base/OrvaString.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/internal/EmployeeKeys.h"

namespace {

using quarn_employee::GetStreamMark;
using quarn_employee::kStreamEndMark;
using quarn_employee::kStreamMarkSize;
using quarn_employee::kStreamStartMark;
using quarn_employee::PutStreamMark;

const int kStringMode = 1;

}  // namespace

void EMPLOYEE_INFO::Close() {
  cip = ip = 0;
  last_active_time = 0;
  dep_id = 0;
  memset(vlan_mac, 0, sizeof(vlan_mac));
  memset(host_mac, 0, sizeof(host_mac));
  name.clear();
  host_name.clear();
  os_name.clear();
  mail.clear();
  desc.clear();
  checked = ipmac_bind = 0;
  flux[0] = flux[1] = 0;
}

bool EMPLOYEE_INFO::cmp_base_info_but_activetime(const EMPLOYEE_INFO& o) const {
  return cip == o.cip && ip == o.ip && dep_id == o.dep_id &&
         memcmp(vlan_mac, o.vlan_mac, 6) == 0 &&
         memcmp(host_mac, o.host_mac, 6) == 0 && name == o.name &&
         host_name == o.host_name && os_name == o.os_name && mail == o.mail &&
         desc == o.desc && checked == o.checked && ipmac_bind == o.ipmac_bind;
}

std::string EMPLOYEE_INFO::GetShownName(int mode) const {
  switch (mode) {
    case 0:
      return GetShownName(static_cast<int*>(nullptr));
    case 1:
      return name;
    case 2:
      return host_name;
    default:
      return Orva::hip_to_string(ip != 0 ? ip : cip);
  }
}

std::string EMPLOYEE_INFO::GetShownName(int* from_ip) const {
  if (from_ip != nullptr) *from_ip = 0;
  if (!name.empty()) return name;
  if (!host_name.empty()) return host_name + "*";
  if (from_ip != nullptr) *from_ip = 1;
  return Orva::hip_to_string(ip != 0 ? ip : cip);
}

bool EMPLOYEE_INFO::find_string(const char* text) const {
  if (text == nullptr || *text == '\0') return false;
  std::string all;
  if (cip != 0 && cip != ip) all += Orva::hip_to_string(cip) + ",";
  if (ip != 0) all += Orva::hip_to_string(ip) + ",";
  const unsigned char* mac =
      quarn_employee::IsZeroMac(host_mac) ? vlan_mac : host_mac;
  all += Orva::mac_addr_to_a(mac, '-') + ",";
  all += Orva::mac_addr_to_a(mac, '_') + ",";
  all += Orva::mac_addr_to_a(mac, ':') + ",";
  all += Orva::mac_addr_to_a(mac, '\0') + ",";
  for (const std::string* s : {&name, &host_name, &os_name, &mail, &desc}) {
    if (!s->empty()) all += *s + ",";
  }
  all = Orva::str_lwr(all);
  return all.find(text) != std::string::npos;
}

size_t EMPLOYEE_INFO::get_stream_size() const {
  size_t size = 2 * kStreamMarkSize + 2 + 4 * 4 + 12;
  for (const std::string* s : {&name, &host_name, &os_name, &mail, &desc}) {
    size += CData_Stream_LE::StringSize(s->size(), kStringMode);
  }
  return size;
}

int EMPLOYEE_INFO::PutStream(char*& p) const {
  char* start = p;
  PutStreamMark(p, kStreamStartMark);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(ipmac_bind));
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(checked));
  CData_Stream_LE::PutUint32(p, cip);
  CData_Stream_LE::PutUint32(p, ip);
  CData_Stream_LE::PutInt32(p, last_active_time);
  CData_Stream_LE::PutUint32(p, dep_id);
  CData_Stream_LE::PutBytes(p, vlan_mac, 6);
  CData_Stream_LE::PutBytes(p, host_mac, 6);
  for (const std::string* s : {&name, &host_name, &os_name, &mail, &desc}) {
    CData_Stream_LE::PutString(p, *s, kStringMode);
  }
  PutStreamMark(p, kStreamEndMark);
  return static_cast<int>(p - start);
}

int EMPLOYEE_INFO::GetStream(const char*& p) {
  // The caller vouches for a whole record; the strings' own lengths bound
  // what is read.
  return GetStream(p, static_cast<size_t>(INT32_MAX));
}

int EMPLOYEE_INFO::GetStream(const char*& p, size_t available) {
  if (p == nullptr) return -1;
  CData_Stream_LE in(p, available);
  EMPLOYEE_INFO rec;
  if (!GetStreamMark(in, kStreamStartMark)) return -1;
  uint8_t u8 = 0;
  if (in.GetUint8(&u8)) rec.ipmac_bind = u8;
  if (in.GetUint8(&u8)) rec.checked = u8;
  in.GetUint32(&rec.cip);
  in.GetUint32(&rec.ip);
  in.GetInt32(&rec.last_active_time);
  in.GetUint32(&rec.dep_id);
  in.GetBytes(rec.vlan_mac, 6);
  in.GetBytes(rec.host_mac, 6);
  for (std::string* s :
       {&rec.name, &rec.host_name, &rec.os_name, &rec.mail, &rec.desc}) {
    in.GetVarString(s, kStringMode);
  }
  if (!GetStreamMark(in, kStreamEndMark) || !in.ok()) return -1;
  // The traffic counters do not travel; keep ours.
  rec.flux[0] = flux[0];
  rec.flux[1] = flux[1];
  *this = rec;
  int read = static_cast<int>(in.position() - p);
  p = in.position();
  return read;
}
