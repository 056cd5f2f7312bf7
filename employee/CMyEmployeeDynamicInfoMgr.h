// Signed-in state of employees: which account (device id, "did") is logged
// in at which IP and MAC, and since when.
//
// CMyEmployeeDynamicInfoMgr keeps one entry per signed-in host in a
// fixed-capacity slot-hash pool with indexes by IP, by did and, in layer-2
// networks (the MAC finder on), by MAC. The table survives restarts in
// "auth_center.dat", which is only ever replaced by a complete copy of
// "auth_center_new.dat" (see docs/FORMATS.md, "Signed-in state file").
//
// Threads: the store owns a recursive mutex. Loading takes it while it
// empties the table; everything else relies on the caller bracketing its
// work with Lock() / UnLock(). Entry pointers stay valid until the entry
// is removed, or the table is cleared, reloaded, re-created or destroyed.

#ifndef QUARN_EMPLOYEE_CMYEMPLOYEEDYNAMICINFOMGR_H_
#define QUARN_EMPLOYEE_CMYEMPLOYEEDYNAMICINFOMGR_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <ace/Recursive_Thread_Mutex.h>

#include "quarn_common/employee/internal/CSlotHashPool.h"

// One signed-in host.
struct QUARN_EXPORT EMPLOYEE_DYNAMIC_INFO {
  EMPLOYEE_DYNAMIC_INFO() { Close(); }

  void Close();
  // Compares every field (the MAC by its six bytes).
  bool operator==(const EMPLOYEE_DYNAMIC_INFO& other) const;
  bool operator!=(const EMPLOYEE_DYNAMIC_INFO& other) const {
    return !(*this == other);
  }

  // The stream form: did (8), ip (4), mac (6), auth_time (4), state (4),
  // integers little-endian, 26 bytes in all.
  static int get_stream_size() { return kStreamSize; }
  // Writes the 26 bytes at `p` and advances it. Returns 26.
  int PutStream(char*& p) const;
  // Reads 26 bytes at `p` and advances it; fields the stream does not
  // carry are cleared. The caller guarantees 26 readable bytes. Returns 26.
  int GetStream(const char*& p);
  // The same from a buffer of which `available` bytes remain at `p`: -1,
  // with nothing read and `p` unchanged, when fewer than 26 remain.
  int GetStream(const char*& p, size_t available);

  static const int kStreamSize = 26;

  uint64_t did;              // account id of the signed-in user
  uint32_t ip;               // host order; key of the IP index
  uint32_t auth_time;        // seconds; when the authentication passed
  uint32_t first_auth_time;  // set with auth_time on every recording
  uint32_t refresh_time;     // seconds; set to the load time on reload
  int32_t state;             // login state; 5 is never saved
  uint32_t aux;              // carried for the callers, copied only
  unsigned char mac[6];      // all zero: unknown; key of the MAC index
};

class QUARN_EXPORT CMyEmployeeDynamicInfoMgr {
 public:
  // File names inside the directory given to Load_bin / Save_bin.
  static const char* const kMainFileName;  // "auth_center.dat"
  static const char* const kNewFileName;   // "auth_center_new.dat"
  // The format word at the start of the file.
  static const uint32_t kFileFormat = 9;
  // Entries in this state are not written to the file.
  static const int32_t kUnsavedState = 5;

  CMyEmployeeDynamicInfoMgr();
  CMyEmployeeDynamicInfoMgr(const CMyEmployeeDynamicInfoMgr& other);
  CMyEmployeeDynamicInfoMgr& operator=(const CMyEmployeeDynamicInfoMgr& other);
  ~CMyEmployeeDynamicInfoMgr();

  // Drops everything and allocates `capacity` entries, with the MAC index
  // when `mac_finder` is non-zero. 0 when allocation fails.
  int Create(unsigned int capacity, int mac_finder);
  void Destroy();
  // Removes every entry.
  void Clear();
  // Switches the MAC index on or off. A change re-creates the pool with the
  // same capacity: the entries are dropped.
  void EnableMacFinder(int on);
  int IfHaveMacFinder() const { return mac_finder_; }

  void Lock() { mutex_.acquire(); }
  void UnLock() { mutex_.release(); }

  // Lookups; null when absent. FindEmployeeByMac is null whenever the MAC
  // finder is off.
  EMPLOYEE_DYNAMIC_INFO* FindEmployeeByRunIP(unsigned int ip);
  EMPLOYEE_DYNAMIC_INFO* FindEmployeeByMac(const unsigned char* mac);
  // The did signed in at `ip`, 0 when none.
  uint64_t GetEmployeeDidByRunIP(unsigned int ip);
  // The same into `did`; 1 when an entry exists (`did` untouched if not).
  int GetEmployeeDidByRunIP(unsigned int ip, uint64_t& did);
  // The auth_time of the entry at `ip`, 0 when none.
  unsigned int GetAuthPassByIP(unsigned int ip);

  // Entries of one did: `int c = FindFirstEmployeeByDid(did);` then
  // `while (c != -1) e = FindNextEmployeeByDid(did, c);`.
  int FindFirstEmployeeByDid(uint64_t did) const;
  EMPLOYEE_DYNAMIC_INFO* FindNextEmployeeByDid(uint64_t did, int& cursor);
  int GetLiveCountByDid(uint64_t did) const;
  // The entry of `did` with the smallest / greatest auth_time, or null.
  EMPLOYEE_DYNAMIC_INFO* GetFirstEmployeeByDid(uint64_t did);
  EMPLOYEE_DYNAMIC_INFO* GetLastEmployeeByDid(uint64_t did);
  // 1 when an entry of `did` runs on `ip`.
  int CheckDidAndIP(uint64_t did, unsigned int ip) const;

  // Slot of an entry of this store (-1 for any other pointer) and back
  // (null for a free or out-of-range slot).
  int GetIndexByData(const EMPLOYEE_DYNAMIC_INFO* entry) const;
  EMPLOYEE_DYNAMIC_INFO* GetDataByIndex(int slot);
  unsigned int GetUsedCount() const { return pool_.used_count(); }
  unsigned int GetTotalCount() const { return pool_.capacity(); }
  // All entries, oldest first: `int c = GetHeadBlock();` then
  // `while (c != -1) e = GetNextBlockFromHead(c);`.
  int GetHeadBlock() const { return pool_.Head(); }
  EMPLOYEE_DYNAMIC_INFO* GetNextBlockFromHead(int& cursor);

  // Records that `did` passed authentication at `ip` (and `mac`, which may
  // be null) at `auth_time`. Returns the entry, or null when the pool is
  // full. `*result` (when given) is 1 when an entry was created or its did
  // (in layer-2 recording also its IP) changed, else 0.
  EMPLOYEE_DYNAMIC_INFO* SetAuth(unsigned int ip, uint64_t did,
                                 const unsigned char* mac,
                                 unsigned int auth_time, int state,
                                 int* result = nullptr);
  // Checks a packet's host: the auth_time of its entry, or 0 when it is not
  // signed in. May move the entry to `ip`, teach it `mac`, or remove it when
  // `mac` contradicts the entry's MAC. A null `mac` asks only for the
  // auth_time; that question, asked for every packet, is answered inline
  // in the caller.
  unsigned int TestAuthPassByIP(unsigned int ip, const void* mac) {
    if (mac != nullptr || !pool_.created()) return TestAuthPassWithMac(ip, mac);
    int s = pool_.FindKey(kIpIndex, ip);
    return s >= 0 ? pool_.at(s).auth_time : 0;
  }

  // Removal. DelAuthByDid: every entry of `did`, 1 when any existed.
  // DelAuthByIP: the entry at `ip`, 0 when none.
  int DelAuthByDid(uint64_t did);
  int DelAuthByIP(unsigned int ip);
  int DelAuthByIndex(int slot);
  int DeleteEmployee(int slot) { return DelAuthByIndex(slot); }
  int DeleteEmployee(EMPLOYEE_DYNAMIC_INFO* entry);

  // Store a new key in `entry` and move it in the matching index. When
  // `touch` is non-zero the table also counts as modified.
  void ChangeInfo_IP(EMPLOYEE_DYNAMIC_INFO* entry, unsigned int ip, int touch);
  void ChangeInfo_DID(EMPLOYEE_DYNAMIC_INFO* entry, uint64_t did, int touch);
  void ChangeInfo_MAC(EMPLOYEE_DYNAMIC_INFO* entry, const unsigned char* mac,
                      int touch);

  // Reads "auth_center.dat" in `dir`, or "auth_center_new.dat" when that
  // fails (missing, not a regular file, another format, or a header that
  // is unreadable or counts fewer than zero records). 1 on success.
  int Load_bin(const char* dir);
  // Writes "auth_center_new.dat" in `dir`, then "auth_center.dat" with the
  // same bytes, each replaced atomically (Orva::WriteFileAtomic). 1 on
  // success; on failure the main file is untouched. Does not lock.
  int Save_bin(const char* dir);
  // 0 when not modified; else marks the table saved, saves, and returns 1.
  int JudgeModifyedToSave(const char* dir);
  // m = 0: the table counts as saved; else as modified now.
  void SetModified(int m);
  int IsModified() const { return cur_modified_tick_ != last_saved_tick_; }
  uint32_t GetCurModifiedTickCount() const { return cur_modified_tick_; }
  void SetCurModifiedTickCount(uint32_t tick) { cur_modified_tick_ = tick; }
  uint32_t GetLastSavedTickCount() const { return last_saved_tick_; }
  void SetLastSaveTickCount(uint32_t tick) { last_saved_tick_ = tick; }

 private:
  unsigned int TestAuthPassWithMac(unsigned int ip, const void* mac);
  enum { kIpIndex = 0, kDidIndex = 1, kMacIndex = 2 };

  QUARN_HIDDEN EMPLOYEE_DYNAMIC_INFO* NewEntry(unsigned int ip, uint64_t did,
                                               const unsigned char* mac);
  QUARN_HIDDEN EMPLOYEE_DYNAMIC_INFO* SetAuthNoMac(unsigned int ip,
                                                   uint64_t did,
                                                   unsigned int auth_time,
                                                   int state, int* result);
  QUARN_HIDDEN EMPLOYEE_DYNAMIC_INFO* SetAuthLayer3(unsigned int ip,
                                                    uint64_t did,
                                                    const unsigned char* mac,
                                                    unsigned int auth_time,
                                                    int state, int* result);
  QUARN_HIDDEN EMPLOYEE_DYNAMIC_INFO* SetAuthLayer2(unsigned int ip,
                                                    uint64_t did,
                                                    const unsigned char* mac,
                                                    unsigned int auth_time,
                                                    int state, int* result);
  QUARN_HIDDEN int Inner_Load_bin(const char* path);

  CSlotHashPool<EMPLOYEE_DYNAMIC_INFO> pool_;
  ACE_Recursive_Thread_Mutex mutex_;
  int mac_finder_;
  uint32_t cur_modified_tick_;
  uint32_t last_saved_tick_;
};

#endif  // QUARN_EMPLOYEE_CMYEMPLOYEEDYNAMICINFOMGR_H_
