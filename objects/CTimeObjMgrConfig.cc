#include "objects/CTimeObjMgrConfig.h"

#include <string.h>
#include <time.h>

#include "base/internal/BuiltinTexts.h"
#include "objects/internal/BitIdObjects.h"
#include "objects/internal/ObjectText.h"

namespace {

using quarn_texts::kTimeObjAllName;
using quarn_texts::kTimeObjDeletedName;
using quarn_texts::kTimeObjOffdutyName;
using quarn_texts::kTimeObjWorkingName;

const char kRoot[] = "time_obj_mgr";
const int kVersion = 0;
const uint64_t kFirstUserId = 16;

// Keys of the weekdays, index 0 = Sunday.
const char* const kDayKeys[7] = {"sun",   "mon", "tue", "wed",
                                 "thurs", "fri", "sat"};

typedef CTimeObjMgrConfig::tagONE_TIME_OBJ Obj;
typedef CTimeObjMgrConfig::tagOne_TimeSeg_Item SegItem;

CTimeObjMgrConfig::tagONE_TIME_OBJ DefaultWorkingTime() {
  Obj obj;
  obj.id = CTimeObjMgrConfig::ms_working_time_id;
  obj.name = kTimeObjWorkingName;
  obj.desc = kTimeObjWorkingName;
  SegItem item;  // Monday to Friday
  item.seg = Orva_Time_Seg(8, 0, 18, 0);
  obj.segs.push_back(item);
  return obj;
}

SegItem ReadSeg(TiXmlNode* node) {
  SegItem item;
  TiXmlNode* week = CTinyXmlEx::FirstChildElement(node, "weektime");
  for (int d = 0; d < 7; ++d) {
    CTinyXmlEx::GetValueLikeIni(week, kDayKeys[d], &item.week[d]);
  }
  CTinyXmlEx::GetAttr(node, "begin_hour", item.seg.begin_hour);
  CTinyXmlEx::GetAttr(node, "begin_min", item.seg.begin_minute);
  CTinyXmlEx::GetAttr(node, "end_hour", item.seg.end_hour);
  CTinyXmlEx::GetAttr(node, "end_min", item.seg.end_minute);
  return item;
}

void WriteSeg(TiXmlNode* obj_node, const SegItem& item) {
  TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(obj_node, "time_seg");
  TiXmlNode* week = CTinyXmlEx::InsertEndChildElement(node, "weektime");
  for (int d = 0; d < 7; ++d) {
    CTinyXmlEx::SetValueLikeIni(week, kDayKeys[d], item.week[d]);
  }
  CTinyXmlEx::SetAttr(node, "begin_hour", item.seg.begin_hour);
  CTinyXmlEx::SetAttr(node, "begin_min", item.seg.begin_minute);
  CTinyXmlEx::SetAttr(node, "end_hour", item.seg.end_hour);
  CTinyXmlEx::SetAttr(node, "end_min", item.seg.end_minute);
}

// Replaces `segs` with the "one_date_seg" children of `list`.
void ReadDates(TiXmlNode* list, std::vector<Orva_Date_Seg>* segs) {
  segs->clear();
  for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(list, "one_date_seg");
       node != nullptr;
       node = CTinyXmlEx::NextSiblingElement(node, "one_date_seg")) {
    Orva_Date_Seg seg;
    CTinyXmlEx::GetAttr(node, "begin_month", seg.begin_month);
    CTinyXmlEx::GetAttr(node, "begin_date", seg.begin_day);
    CTinyXmlEx::GetAttr(node, "end_month", seg.end_month);
    CTinyXmlEx::GetAttr(node, "end_date", seg.end_day);
    segs->push_back(seg);
  }
}

void WriteDates(TiXmlNode* list, const std::vector<Orva_Date_Seg>& segs) {
  for (const Orva_Date_Seg& seg : segs) {
    TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(list, "one_date_seg");
    CTinyXmlEx::SetAttr(node, "begin_month", seg.begin_month);
    CTinyXmlEx::SetAttr(node, "begin_date", seg.begin_day);
    CTinyXmlEx::SetAttr(node, "end_month", seg.end_month);
    CTinyXmlEx::SetAttr(node, "end_date", seg.end_day);
  }
}

bool HoldsAt(const Obj& obj, int weekday, int hour, int minute) {
  for (const SegItem& item : obj.segs) {
    if (item.week[weekday] != 0 && item.seg.cmp(hour, minute) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool CTimeObjMgrConfig::tagOne_TimeSeg_Item::operator==(
    const tagOne_TimeSeg_Item& other) const {
  return seg == other.seg && memcmp(week, other.week, sizeof(week)) == 0;
}

bool CTimeObjMgrConfig::tagONE_TIME_OBJ::operator==(
    const tagONE_TIME_OBJ& other) const {
  return id == other.id && name == other.name && desc == other.desc &&
         segs == other.segs;
}

CTimeObjMgrConfig::CTimeObjMgrConfig() { close(); }

CTimeObjMgrConfig::CTimeObjMgrConfig(const CTimeObjMgrConfig& other)
    : CBaseXMLConfig(other), objs(other.objs), holidays(other.holidays) {
  for (int d = 0; d < 7; ++d) working_dates[d] = other.working_dates[d];
}

CTimeObjMgrConfig& CTimeObjMgrConfig::operator=(
    const CTimeObjMgrConfig& other) {
  if (this != &other) {
    CBaseXMLConfig::operator=(other);
    objs = other.objs;
    holidays = other.holidays;
    for (int d = 0; d < 7; ++d) working_dates[d] = other.working_dates[d];
  }
  return *this;
}

CTimeObjMgrConfig::~CTimeObjMgrConfig() {}

void CTimeObjMgrConfig::close() {
  objs.clear();
  holidays.clear();
  for (int d = 0; d < 7; ++d) working_dates[d].clear();
}

bool CTimeObjMgrConfig::operator==(const CTimeObjMgrConfig& other) const {
  if (objs != other.objs || holidays != other.holidays) return false;
  for (int d = 0; d < 7; ++d) {
    if (working_dates[d] != other.working_dates[d]) return false;
  }
  return true;
}

int CTimeObjMgrConfig::find(const uint64_t& id) const {
  for (size_t i = 0; i < objs.size(); ++i) {
    if (objs[i].id == id) return static_cast<int>(i);
  }
  return -1;
}

uint64_t CTimeObjMgrConfig::find_by_name(const char* name) const {
  using quarn_objects::EqualsAsciiNoCase;
  if (name == nullptr) return ms_null_time_id;
  if (EqualsAsciiNoCase(kTimeObjAllName, name)) return ms_all_time_id;
  if (EqualsAsciiNoCase(kTimeObjWorkingName, name)) return ms_working_time_id;
  if (EqualsAsciiNoCase(kTimeObjOffdutyName, name)) return ms_offduty_time_id;
  for (const Obj& obj : objs) {
    if (EqualsAsciiNoCase(obj.name, name)) return obj.id;
  }
  return ms_null_time_id;
}

std::string CTimeObjMgrConfig::GetTimeObjIdString(const uint64_t& id) const {
  if (id == ms_all_time_id) return kTimeObjAllName;
  if (id == ms_working_time_id) return kTimeObjWorkingName;
  if (id == ms_offduty_time_id) return kTimeObjOffdutyName;
  int at = find(id);
  return at >= 0 ? objs[at].name : std::string(kTimeObjDeletedName);
}

uint64_t CTimeObjMgrConfig::GetNewId() const {
  return quarn_objects::FirstFreeBitId(objs, kFirstUserId);
}

int CTimeObjMgrConfig::advance_cmp(const CTimeObjMgrConfig& other,
                                   uint64_t& only_here, uint64_t& only_there,
                                   uint64_t& changed) const {
  return quarn_objects::DiffByBitId(
      objs, other.objs, only_here, only_there, changed,
      [](const Obj& a, const Obj& b) { return a.segs == b.segs; });
}

bool CTimeObjMgrConfig::IsAboutTimeObj(const uint64_t& id,
                                       const uint64_t& mask) {
  return id != ms_all_time_id && (id & mask) != 0;
}

uint64_t CTimeObjMgrConfig::get_time_type() const {
  return get_time_type(static_cast<int>(::time(nullptr)));
}

uint64_t CTimeObjMgrConfig::get_time_type(int t) const {
  time_t when = t;
  struct tm local;
  if (localtime_r(&when, &local) == nullptr) return 0;
  return get_time_type(local.tm_mon, local.tm_mday, local.tm_hour, local.tm_min,
                       local.tm_wday);
}

uint64_t CTimeObjMgrConfig::get_time_type(int month, int day, int hour,
                                          int minute, int weekday) const {
  if (objs.empty()) return ms_all_time_id;
  int schedule = IsWorkingDate(month, day);
  if (schedule < 0) schedule = weekday;
  if (schedule < 0 || schedule > 6) return ms_offduty_time_id;

  uint64_t mask = 0;
  for (const Obj& obj : objs) {
    if (HoldsAt(obj, schedule, hour, minute)) mask |= obj.id;
  }
  if ((mask & ms_working_time_id) == 0) return mask | ms_offduty_time_id;
  // A holiday turns working time into non-working time, even on a date
  // that would otherwise be worked on another weekday's schedule.
  if (IsHoliday(month, day)) {
    return (mask & ~ms_working_time_id) | ms_offduty_time_id;
  }
  return mask;
}

int CTimeObjMgrConfig::IsHoliday(int month, int day) const {
  return IsInDateSeg(holidays, month, day) ? 1 : 0;
}

int CTimeObjMgrConfig::IsWorkingDate(int month, int day) const {
  for (int d = 0; d < 7; ++d) {
    if (IsInDateSeg(working_dates[d], month, day)) return d;
  }
  return -1;
}

bool CTimeObjMgrConfig::IsInDateSeg(const std::vector<Orva_Date_Seg>& segs,
                                    int month, int day) {
  for (const Orva_Date_Seg& seg : segs) {
    if (seg.cmp(month, day) == 0) return true;
  }
  return false;
}

int CTimeObjMgrConfig::LoadConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root != nullptr) {
    int version = 0;
    CTinyXmlEx::GetAttr(root, "version", version);
    if (version == kVersion) {
      for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(root, "one_mgr_obj");
           node != nullptr;
           node = CTinyXmlEx::NextSiblingElement(node, "one_mgr_obj")) {
        Obj obj;
        CTinyXmlEx::GetAttr(node, "name", obj.name);
        CTinyXmlEx::GetAttr(node, "desc", obj.desc);
        CTinyXmlEx::GetAttr(node, "id", obj.id);
        for (TiXmlNode* seg = CTinyXmlEx::FirstChildElement(node, "time_seg");
             seg != nullptr;
             seg = CTinyXmlEx::NextSiblingElement(seg, "time_seg")) {
          obj.segs.push_back(ReadSeg(seg));
        }
        // Non-working time is derived, never stored.
        if (obj.id != ms_offduty_time_id) objs.push_back(obj);
      }
    }
    // The calendar is read whatever the version.
    TiXmlNode* list = CTinyXmlEx::FirstChildElement(root, "holiday_list");
    if (list != nullptr) ReadDates(list, &holidays);
    list = CTinyXmlEx::FirstChildElement(root, "working_list_date");
    for (TiXmlNode* node =
             CTinyXmlEx::FirstChildElement(list, "one_working_date");
         node != nullptr;
         node = CTinyXmlEx::NextSiblingElement(node, "one_working_date")) {
      std::string day_name;
      CTinyXmlEx::GetAttr(node, "day_name", day_name);
      for (int d = 0; d < 7; ++d) {
        if (day_name == kDayKeys[d]) {
          ReadDates(node, &working_dates[d]);
          break;
        }
      }
    }
  }
  if (find(ms_working_time_id) < 0) objs.push_back(DefaultWorkingTime());
  return 1;
}

int CTimeObjMgrConfig::SaveConfig(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.InsertRootElement(kRoot);
  if (root == nullptr) return 0;
  CTinyXmlEx::SetAttr(root, "version", kVersion);
  for (const Obj& obj : objs) {
    TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(root, "one_mgr_obj");
    CTinyXmlEx::SetAttr(node, "name", obj.name);
    CTinyXmlEx::SetAttr(node, "desc", obj.desc);
    CTinyXmlEx::SetAttr(node, "id", obj.id);
    for (const SegItem& item : obj.segs) WriteSeg(node, item);
  }
  WriteDates(CTinyXmlEx::InsertEndChildElement(root, "holiday_list"), holidays);
  TiXmlNode* list =
      CTinyXmlEx::InsertEndChildElement(root, "working_list_date");
  for (int d = 0; d < 7; ++d) {
    TiXmlNode* node =
        CTinyXmlEx::InsertEndChildElement(list, "one_working_date");
    CTinyXmlEx::SetAttr(node, "day_name", kDayKeys[d]);
    WriteDates(node, working_dates[d]);
  }
  return 1;
}

template class ACE_Singleton<CTimeObjMgrConfig, ACE_Null_Mutex>;
