// Time objects: named weekly schedules, each a list of time-of-day
// segments valid on chosen weekdays, together with the company calendar
// (holidays, and dates worked on another weekday's schedule). Every id is
// one bit, so the set of time objects that hold at an instant is one
// 64-bit mask (get_time_type).
//
// Id 2 is working time; after any load an object of that id exists
// (08:00 to 18:00, Monday to Friday, unless the document gives one). Id 1,
// non-working time, names no stored object: it holds at every instant
// outside working time, and on holidays. User objects get ids 16 and up.
//
// The document is "time_obj_mgr" (version 0). Loading adds objects to what
// the manager holds, so a reload is preceded by close(). Not thread-safe:
// get_time_type must not overlap a reload.

#ifndef QUARN_OBJECTS_CTIMEOBJMGRCONFIG_H_
#define QUARN_OBJECTS_CTIMEOBJMGRCONFIG_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/base/OrvaTime.h"

class QUARN_EXPORT CTimeObjMgrConfig : public CBaseXMLConfig {
 public:
  static constexpr uint64_t ms_null_time_id = 0;
  static constexpr uint64_t ms_all_time_id = 0xFFFFFFFFFFFFFFFFull;
  static constexpr uint64_t ms_offduty_time_id = 1;
  static constexpr uint64_t ms_working_time_id = 2;
  static constexpr uint64_t ms_reserved1_time_id = 4;
  static constexpr uint64_t ms_reserved2_time_id = 8;

  // One segment of a schedule: a time of day, valid on the weekdays whose
  // flag is non-zero (index 0 = Sunday ... 6 = Saturday).
  struct tagOne_TimeSeg_Item {
    Orva_Time_Seg seg;
    int32_t week[7] = {0, 1, 1, 1, 1, 1, 0};

    bool operator==(const tagOne_TimeSeg_Item& other) const;
    bool operator!=(const tagOne_TimeSeg_Item& other) const {
      return !(*this == other);
    }
  };

  // One time object.
  struct tagONE_TIME_OBJ {
    uint64_t id = 0;
    std::string name;  // GBK
    std::string desc;
    std::vector<tagOne_TimeSeg_Item> segs;

    bool operator==(const tagONE_TIME_OBJ& other) const;
    bool operator!=(const tagONE_TIME_OBJ& other) const {
      return !(*this == other);
    }
  };

  // Empty: no object, no holiday, no working date.
  CTimeObjMgrConfig();
  CTimeObjMgrConfig(const CTimeObjMgrConfig& other);
  CTimeObjMgrConfig& operator=(const CTimeObjMgrConfig& other);
  ~CTimeObjMgrConfig() override;

  // Empties the objects, the holidays and the seven working-date lists.
  void close() override;

  bool operator==(const CTimeObjMgrConfig& other) const;
  bool operator!=(const CTimeObjMgrConfig& other) const {
    return !(*this == other);
  }

  // Index of the first object with `id`, or -1.
  int find(const uint64_t& id) const;
  // The id for a name, ASCII letter case folded: the names of all time,
  // working time and non-working time give their reserved ids whether or
  // not an object bears them; otherwise the first object of that name
  // gives its id; 0 when none does.
  uint64_t find_by_name(const char* name) const;
  // The name for an id: the reserved names for all time, working and
  // non-working time, else the first object's name, else a text saying
  // that the time object has been deleted.
  std::string GetTimeObjIdString(const uint64_t& id) const;
  // The first of 16, 32, ... 2^63 that no object holds; 0 when all are
  // taken.
  uint64_t GetNewId() const;

  // Differences by id between the objects here and in `other` (schedules
  // compared; names, descriptions and the calendar not). Returns 1 when
  // any mask is non-zero.
  int advance_cmp(const CTimeObjMgrConfig& other, uint64_t& only_here,
                  uint64_t& only_there, uint64_t& changed) const;

  // True when `mask` touches `id`; the all-time id never counts.
  static bool IsAboutTimeObj(const uint64_t& id, const uint64_t& mask);

  // The mask of time objects that hold now, in local time.
  uint64_t get_time_type() const;
  // The same at instant `t` (seconds since 1970-01-01 UTC), taken in local
  // time. 0 when the local time cannot be computed.
  uint64_t get_time_type(int t) const;
  // The same for a broken-down local time: `month` counted from 0,
  // `day` of month from 1, `weekday` 0 = Sunday. With no object at all
  // every time id holds (all bits).
  uint64_t get_time_type(int month, int day, int hour, int minute,
                         int weekday) const;

  // The date (month from 0) is a holiday.
  int IsHoliday(int month, int day) const;
  // The weekday whose schedule the date (month from 0) runs on as an extra
  // working date, or -1.
  int IsWorkingDate(int month, int day) const;
  static bool IsInDateSeg(const std::vector<Orva_Date_Seg>& segs, int month,
                          int day);

  std::vector<tagONE_TIME_OBJ> objs;
  std::vector<Orva_Date_Seg> holidays;
  // List d holds the dates worked on weekday d's schedule.
  std::vector<Orva_Date_Seg> working_dates[7];

 private:
  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CTimeObjMgrConfig, ACE_Null_Mutex>;

class QUARN_EXPORT CTimeObjMgrConfig_Singleton
    : public ACE_Singleton<CTimeObjMgrConfig, ACE_Null_Mutex> {
 public:
  // The process-wide manager, created empty on first call; null when it
  // cannot be created.
  static CTimeObjMgrConfig* instance() {
    return ACE_Singleton<CTimeObjMgrConfig, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_OBJECTS_CTIMEOBJMGRCONFIG_H_
