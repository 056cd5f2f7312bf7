// One authentication account: checks, display texts and the stream form.

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "base/CData_Stream_LE.h"
#include "base/OrvaAddr.h"
#include "base/OrvaString.h"
#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/internal/EmployeeKeys.h"

namespace {

using quarn_employee::GetStreamMark;
using quarn_employee::kStreamEndMark;
using quarn_employee::kStreamMarkSize;
using quarn_employee::kStreamStartMark;
using quarn_employee::PutStreamMark;

const int kStringMode = 4;
const size_t kMaxListItems = 255;

}  // namespace

const char* const EMPLOYEE_AUTH_ACCOUNT_INFO::kDefaultPasswd = "60481357";

void EMPLOYEE_AUTH_ACCOUNT_INFO::Close() {
  onoff = 1;
  did = 0;
  bind_addr = 0;
  bind_list.clear();
  kname.clear();
  fname.clear();
  passwd.clear();
  pwd_state = 1;
  band_as_common = 1;
  nMaxDownBand = nMaxUpBand = 0;
  share_count = 1;
  key_type = 0;
  del_time = begin_effective_time = end_effective_time = 0;
  permit_live_time = -1;
  aux_flag = 1;
  insert_flag = 1;
}

bool EMPLOYEE_AUTH_ACCOUNT_INFO::cmp_base_info(
    const EMPLOYEE_AUTH_ACCOUNT_INFO& o) const {
  return onoff == o.onoff && did == o.did && bind_addr == o.bind_addr &&
         bind_list == o.bind_list && kname == o.kname && fname == o.fname &&
         passwd == o.passwd && pwd_state == o.pwd_state &&
         band_as_common == o.band_as_common && nMaxDownBand == o.nMaxDownBand &&
         nMaxUpBand == o.nMaxUpBand && share_count == o.share_count &&
         key_type == o.key_type && del_time == o.del_time &&
         begin_effective_time == o.begin_effective_time &&
         end_effective_time == o.end_effective_time &&
         permit_live_time == o.permit_live_time && aux_flag == o.aux_flag;
}

void EMPLOYEE_AUTH_ACCOUNT_INFO::AssignButKeyFrom(
    const EMPLOYEE_AUTH_ACCOUNT_INFO& other) {
  std::string keep_name;
  keep_name.swap(kname);
  uint64_t keep_did = did;
  *this = other;
  kname.swap(keep_name);
  did = keep_did;
}

int EMPLOYEE_AUTH_ACCOUNT_INFO::IsBindAddr(unsigned int ip,
                                           const unsigned char* mac) const {
  if (bind_addr == 0 || bind_list.empty()) return 1;
  return bind_list.IsIn(ip, mac) ? 1 : 0;
}

int EMPLOYEE_AUTH_ACCOUNT_INFO::IsBindAddr(unsigned int ip) const {
  if (bind_addr == 0 || bind_list.empty()) return 1;
  return bind_list.IsIn(ip) ? 1 : 0;
}

int EMPLOYEE_AUTH_ACCOUNT_INFO::IsAccountEffective(unsigned int now) const {
  if (now < static_cast<uint32_t>(begin_effective_time)) return 0;
  uint32_t end = static_cast<uint32_t>(end_effective_time);
  if (end == 0 || end == 0xFFFFFFFFu) return 1;
  return end >= now ? 1 : 0;
}

std::string EMPLOYEE_AUTH_ACCOUNT_INFO::GetShownName(int mode) const {
  if (mode == 1) return fname.empty() ? kname : fname;
  if (mode == 2) return fname.empty() ? kname : kname + "(" + fname + ")";
  return kname;
}

bool EMPLOYEE_AUTH_ACCOUNT_INFO::find_string(const char* text) const {
  if (text == nullptr || *text == '\0') return false;
  std::string all;
  if (!fname.empty()) all += fname + ",";
  if (!kname.empty()) all += kname + ",";
  all = Orva::str_lwr(all);
  return all.find(text) != std::string::npos;
}

size_t EMPLOYEE_AUTH_ACCOUNT_INFO::get_stream_size() const {
  size_t ranges = std::min(bind_list.ranges().size(), kMaxListItems);
  size_t macs = std::min(bind_list.macs().size(), kMaxListItems);
  return 2 * kStreamMarkSize + 1 + 8 + 1 + 1 + 8 * ranges + 1 + 6 * macs + 4 +
         CData_Stream_LE::StringSize(kname.size(), kStringMode) +
         CData_Stream_LE::StringSize(passwd.size(), kStringMode) +
         CData_Stream_LE::StringSize(fname.size(), kStringMode) + 4 * 4 + 1 +
         1 + 8 + 8 + 1 + 1;
}

int EMPLOYEE_AUTH_ACCOUNT_INFO::PutStream(char*& p) const {
  char* start = p;
  PutStreamMark(p, kStreamStartMark);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(onoff));
  CData_Stream_LE::PutUint64(p, did);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(bind_addr));
  size_t ranges = std::min(bind_list.ranges().size(), kMaxListItems);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(ranges));
  for (size_t i = 0; i < ranges; ++i) {
    CData_Stream_LE::PutUint32(p, bind_list.ranges()[i].first);
    CData_Stream_LE::PutUint32(p, bind_list.ranges()[i].second);
  }
  size_t macs = std::min(bind_list.macs().size(), kMaxListItems);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(macs));
  for (size_t i = 0; i < macs; ++i) {
    unsigned char mac[6];
    Orva::uint64_to_mac(bind_list.macs()[i], mac);
    CData_Stream_LE::PutBytes(p, mac, 6);
  }
  CData_Stream_LE::PutInt32(p, key_type);
  CData_Stream_LE::PutString(p, kname, kStringMode);
  CData_Stream_LE::PutString(p, passwd, kStringMode);
  CData_Stream_LE::PutString(p, fname, kStringMode);
  CData_Stream_LE::PutInt32(p, del_time);
  CData_Stream_LE::PutInt32(p, begin_effective_time);
  CData_Stream_LE::PutInt32(p, end_effective_time);
  CData_Stream_LE::PutInt32(p, permit_live_time);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(share_count));
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(band_as_common));
  CData_Stream_LE::PutUint64(p, nMaxUpBand);
  CData_Stream_LE::PutUint64(p, nMaxDownBand);
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(pwd_state));
  CData_Stream_LE::PutUint8(p, static_cast<uint8_t>(aux_flag));
  PutStreamMark(p, kStreamEndMark);
  return static_cast<int>(p - start);
}

int EMPLOYEE_AUTH_ACCOUNT_INFO::GetStream(const char*& p) {
  // The caller vouches for a whole record; the strings' own lengths bound
  // what is read.
  return GetStream(p, static_cast<size_t>(INT32_MAX));
}

int EMPLOYEE_AUTH_ACCOUNT_INFO::GetStream(const char*& p, size_t available) {
  if (p == nullptr) return -1;
  CData_Stream_LE in(p, available);
  EMPLOYEE_AUTH_ACCOUNT_INFO rec;
  if (!GetStreamMark(in, kStreamStartMark)) return -1;
  uint8_t u8 = 0;
  if (in.GetUint8(&u8)) rec.onoff = u8;
  in.GetUint64(&rec.did);
  if (in.GetUint8(&u8)) rec.bind_addr = u8;
  uint8_t count = 0;
  in.GetUint8(&count);
  for (int i = 0; i < count && in.ok(); ++i) {
    uint32_t begin = 0, end = 0;
    in.GetUint32(&begin);
    if (in.GetUint32(&end)) rec.bind_list.AddIPRange(begin, end);
  }
  count = 0;
  in.GetUint8(&count);
  for (int i = 0; i < count && in.ok(); ++i) {
    unsigned char mac[6];
    if (in.GetBytes(mac, 6)) rec.bind_list.AddMac(mac);
  }
  in.GetInt32(&rec.key_type);
  in.GetVarString(&rec.kname, kStringMode);
  in.GetVarString(&rec.passwd, kStringMode);
  in.GetVarString(&rec.fname, kStringMode);
  in.GetInt32(&rec.del_time);
  in.GetInt32(&rec.begin_effective_time);
  in.GetInt32(&rec.end_effective_time);
  in.GetInt32(&rec.permit_live_time);
  if (in.GetUint8(&u8)) rec.share_count = u8;
  if (in.GetUint8(&u8)) rec.band_as_common = u8;
  in.GetUint64(&rec.nMaxUpBand);
  in.GetUint64(&rec.nMaxDownBand);
  if (in.GetUint8(&u8)) rec.pwd_state = u8;
  if (in.GetUint8(&u8)) rec.aux_flag = u8;
  if (!GetStreamMark(in, kStreamEndMark) || !in.ok()) return -1;
  rec.insert_flag = insert_flag;
  *this = rec;
  int read = static_cast<int>(in.position() - p);
  p = in.position();
  return read;
}
