// Employee (host) records: one per host seen on the company network, with
// its running and configured IP, its MACs, the names found for it, its
// department and when it was last active.
//
// CEmployeeInfoMgr keeps the records in a fixed-capacity slot-hash pool
// with an index by running IP and, in layer-2 networks (the MAC finder
// on), one by host MAC. New hosts are admitted by the company address plan
// (CLocalIPTypeTable, not owned), which also gives their departments, the
// IP-collision mode and whether hosts outside the company ranges count.
// The table loads from and saves to the document "tb_employee" (see
// docs/FORMATS.md, "Employee table").
//
// Threads: the store owns a recursive mutex. Load, Save(doc, node) and
// EanbelMacFinder take it themselves; a caller that reads or changes
// records from several threads brackets its work with Lock() / UnLock().
// Record pointers stay valid until the record is removed, or the table is
// cleared, reloaded, re-created or destroyed.

#ifndef QUARN_EMPLOYEE_CEMPLOYEEINFOMGR_H_
#define QUARN_EMPLOYEE_CEMPLOYEEINFOMGR_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Recursive_Thread_Mutex.h>

#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/employee/internal/CSlotHashPool.h"

class CLocalIPTypeTable;

// One host.
struct QUARN_EXPORT EMPLOYEE_INFO {
  EMPLOYEE_INFO() { Close(); }

  // Every field to 0 / empty.
  void Close();
  // True when all fields but last_active_time are equal. The traffic
  // counters are running figures, not part of what a record says about its
  // host, and are left out of every comparison.
  bool cmp_base_info_but_activetime(const EMPLOYEE_INFO& other) const;
  bool cmp_but_activetime(const EMPLOYEE_INFO& other) const {
    return cmp_base_info_but_activetime(other);
  }
  bool operator==(const EMPLOYEE_INFO& other) const {
    return cmp_base_info_but_activetime(other) &&
           last_active_time == other.last_active_time;
  }
  bool operator!=(const EMPLOYEE_INFO& other) const {
    return !(*this == other);
  }

  // mode 0: GetShownName(nullptr); 1: name; 2: host_name; other: the dotted
  // running IP, or the configured IP when the running IP is 0.
  std::string GetShownName(int mode) const;
  // name when set (*from_ip = 0); else host_name followed by "*"
  // (*from_ip = 0); else the dotted IP as above (*from_ip = 1). `from_ip`
  // may be null.
  std::string GetShownName(int* from_ip) const;
  // True when `text` occurs in the lower-cased search line of the record:
  // configured IP, IP, the MAC in four spellings and the names, each
  // followed by ",". `text` itself is used as given.
  bool find_string(const char* text) const;

  // The stream form (docs/FORMATS.md): eight 0x41, the fields, eight 0x42.
  // PutStream writes at `p`, advances it and returns the bytes written;
  // the caller makes room for get_stream_size() bytes.
  int PutStream(char*& p) const;
  size_t get_stream_size() const;
  // Reads a record at `p` and advances `p` past it. The caller guarantees
  // a whole record. Returns the bytes read, or -1 for a wrong mark.
  int GetStream(const char*& p);
  // The same from a buffer of which `available` bytes remain at `p`. -1,
  // with `p` and the record unchanged and nothing read beyond the buffer,
  // when a mark is wrong or the record is cut short.
  int GetStream(const char*& p, size_t available);

  uint32_t cip;              // configured IP, 0 = none
  uint32_t ip;               // running IP, 0 = unknown; key of the IP index
  int32_t last_active_time;  // seconds since 1970, 0 = never
  uint32_t dep_id;           // department id from the address plan
  unsigned char vlan_mac[6];
  unsigned char host_mac[6];  // all zero = unknown; key of the MAC index
  std::string name;
  std::string host_name;
  std::string os_name;
  std::string mail;
  std::string desc;
  int32_t checked;
  int32_t ipmac_bind;
  uint64_t flux[2];  // traffic counters, not saved or streamed
};

class QUARN_EXPORT CEmployeeInfoMgr {
 public:
  // Result codes of the insertions.
  enum {
    INSERT_REFUSED = -1,    // bad arguments (configured-IP insertion)
    INSERT_FOUND = 0,       // found, nothing changed
    INSERT_CREATED = 1,     // a new record was created
    INSERT_IP_CHANGED = 2,  // the record's IP (or configured IP) changed
    INSERT_MAC_GIVEN = 3,   // a record without MAC got this MAC; for a
                            // configured IP: refused, the IP is in use
    INSERT_STALE = 5,       // the stored record is at least as recent
  };
  static const char* const kRootName;  // "tb_employee"
  static const int kDefaultGrayTimeout = 600;
  // Idle time after which InsertEmployeeByDelete ages records out.
  static const int kAgeOnFull = 259200;

  CEmployeeInfoMgr();
  CEmployeeInfoMgr(const CEmployeeInfoMgr& other);
  CEmployeeInfoMgr& operator=(const CEmployeeInfoMgr& other);
  ~CEmployeeInfoMgr();

  // Drops everything and allocates `capacity` records, with the MAC index
  // when `mac_finder` is non-zero. 0 when allocation fails.
  int Create(CLocalIPTypeTable* plan, unsigned int capacity, int mac_finder);
  void Destroy();
  // Removes every record.
  void Clear();
  // Switches the MAC index on or off, keeping the records (under the lock).
  // When memory runs out the table stays as it was, switch included.
  void EanbelMacFinder(int on);
  int IfHaveMacFinder() const { return mac_finder_; }

  void SetOrgInfoTable(CLocalIPTypeTable* plan) { plan_ = plan; }
  CLocalIPTypeTable* GetOrgTable() const { return plan_; }
  void SetGrayEmployeeTimeout(int seconds) { gray_timeout_ = seconds; }
  int IsModified() const { return modified_; }
  void SetModified(int m) { modified_ = m; }
  unsigned int GetOutsideCount() const { return outside_count_; }

  void Lock() { mutex_.acquire(); }
  void UnLock() { mutex_.release(); }

  // Lookups; null when absent.
  EMPLOYEE_INFO* FindByMAC(const unsigned char* mac);
  EMPLOYEE_INFO* FindEmployeeByConfigIP(unsigned int cip);
  // Of the records running on `ip`, the most recently active. Asked for
  // every connection, so the usual case (one record) is answered inline in
  // the caller.
  EMPLOYEE_INFO* FindLastEmployeeByRunIP(unsigned int ip) {
    if (!pool_.created()) return nullptr;
    int slot = pool_.FindKey(kIpIndex, ip);
    if (slot < 0) return nullptr;
    if (pool_.MayRepeatKey(kIpIndex, ip)) return LatestOnIP(slot);
    return &pool_.at(slot);
  }
  int GetIndexByData(const EMPLOYEE_INFO* record) const;
  EMPLOYEE_INFO* GetDataByIndex(int slot);
  unsigned int GetUsedCount() const { return pool_.used_count(); }
  unsigned int GetTotalCount() const { return pool_.capacity(); }

  // Walkers with an integer cursor, -1 at the end:
  //   for (int c = GetHeadBlock(dep); c != -1;)
  //     r = GetNextBlockFromHead(c, dep);
  // All records in insertion order (dep 0xFFFFFFFF) or those of `dep`.
  int GetHeadBlock(unsigned int dep = 0xFFFFFFFFu) const;
  EMPLOYEE_INFO* GetNextBlockFromHead(int& cursor,
                                      unsigned int dep = 0xFFFFFFFFu);
  // All records, in insertion order like GetHeadBlock(); each record is in
  // both indexes. The MAC walk is empty when the MAC finder is off.
  int GetHeadBlockByIP() const;
  EMPLOYEE_INFO* GetNextBlockFromHeadByIP(int& cursor);
  int GetHeadBlockByMac() const;
  EMPLOYEE_INFO* GetNextBlockFromHeadByMac(int& cursor);
  // The records running on `ip`, newest first.
  int GetHeadBlockByOneIP(unsigned int ip) const;
  EMPLOYEE_INFO* GetNextBlockFromHeadByOneIP(unsigned int ip, int& cursor);

  // Insertion. Each returns the record or null, and the result code in
  // `*result` when given (untouched when the address plan refuses the host
  // or the pool is full). `time` -1 means "unknown" (no recency check).
  EMPLOYEE_INFO* InsertEmployee(int time, unsigned int ip,
                                const unsigned char* host_mac,
                                const unsigned char* vlan_mac = nullptr,
                                int* result = nullptr);
  // Inserts by rec's addresses, then copies the whole of `rec` in.
  EMPLOYEE_INFO* InsertEmployee(const EMPLOYEE_INFO& rec,
                                int* result = nullptr);
  EMPLOYEE_INFO* InsertEmployee_ConfigIP(unsigned int cip,
                                         const unsigned char* mac,
                                         int* result = nullptr);
  // Like InsertEmployee, but a full pool first ages out records idle for
  // kAgeOnFull seconds and then tries once more.
  EMPLOYEE_INFO* InsertEmployeeByDelete(int time, unsigned int ip,
                                        const unsigned char* host_mac,
                                        const unsigned char* vlan_mac = nullptr,
                                        int* result = nullptr);
  // The two insertion modes, without admission; `outside` counts a new
  // record as an outside host.
  EMPLOYEE_INFO* InsertEmployee_Lay2_Ex(int time, int outside, unsigned int ip,
                                        const unsigned char* mac,
                                        int* result = nullptr);
  EMPLOYEE_INFO* InsertEmployee_Lay3_Ex(int time, int outside, unsigned int ip,
                                        const unsigned char* mac,
                                        int* result = nullptr);

  // Moves a record to a new running IP / host MAC in its index.
  void ChangeEmployeeIP(EMPLOYEE_INFO* record, unsigned int ip);
  void ChangeEmployeeIP(int slot, unsigned int ip);
  void ChangeEmployeeMac(EMPLOYEE_INFO* record, const unsigned char* mac);
  void ChangeEmployeeMac(int slot, const unsigned char* mac);
  // Copies `src` into `dst` (a record of this store), moving it in the
  // indexes when its IP or MAC changes.
  void AssignEmployee(EMPLOYEE_INFO* dst, const EMPLOYEE_INFO& src);

  // Removal; each returns the number of records removed.
  int DeleteEmployee(EMPLOYEE_INFO* record);
  int DeleteEmployee(int slot);
  int DeleteEmployee(const std::vector<int>& slots);
  int DeleteEmployee(unsigned int ip);
  int DeleteEmployee(unsigned int ip, const unsigned char* mac);
  int DeleteEmployee(const std::vector<unsigned int>& ips);
  int DeleteEmployee(const unsigned char* mac);
  // MACs as Orva::mac_to_uint64 values.
  int DeleteEmployee(const std::vector<uint64_t>& macs);
  int DeleteAllEmployeesInDep(unsigned int dep);

  // Bulk changes.
  void ResetAllConfigIP();
  void ResetAllEmployeeFlux();
  // Gives every record the department of its running IP; raises the
  // modified flag when any changes.
  void ResetOrgIdForEmployee();
  // Deletes unnamed, unchecked, unbound records idle for at least `age`
  // seconds at `now`. Returns how many.
  int CleanOldEmployee(int now, int age);
  // Records whose IP / MAC occurs more than once.
  void CheckRepeatIP(std::vector<EMPLOYEE_INFO*>& out);
  void CheckRepeatMac(std::vector<EMPLOYEE_INFO*>& out);

  // Counting ("active": seen within the gray timeout, or in the future).
  int GetCountInDep(unsigned int dep);
  int GetActiveCountInDep(unsigned int dep);
  int GetCountServer_InPVN();
  int GetActiveCountServer_InPVN();
  int GetCountIn_IntranetExcept();
  int GetActiveCountIn_IntranetExcept();
  int GetCountIn_InternetExecept();
  int GetActiveCountIn_InternetExecept();
  int GetCountInNoDep_InVPN();
  int GetActiveCountInNoDep_InVPN();
  int GetCountIn_DMZ();
  int GetActiveCountIn_DMZ();
  int GetCountInCompany();
  // Sums over the departments of the intranet class (the placeholder 25
  // included; not 27, whose servers already count in their departments)
  // plus the DMZ (31): every host inside the company.
  int GetCountIn_Intranet_Company();
  int GetActiveCountIn_Intranet_Company();
  // The same without the DMZ.
  int GetCountIn_InVPN();
  int GetActiveCountIn_InVPN();

  // Records here without a counterpart in `other` go to `added`, those
  // that differ (ignoring the active time) to `changed`; the keys of
  // records only in `other` to `removed_ips` (IP mode) or `removed_macs`
  // (MAC mode, Orva::mac_to_uint64 values). Records are matched by host MAC
  // when the MAC finder is on, else (and for records without MAC) by
  // running IP, the most recently active record of an IP standing for it.
  // Non-zero when anything differs. Null lists are skipped.
  int DiffToOther(CEmployeeInfoMgr& other,
                  std::vector<EMPLOYEE_INFO>* added = nullptr,
                  std::vector<EMPLOYEE_INFO>* changed = nullptr,
                  std::vector<unsigned int>* removed_ips = nullptr,
                  std::vector<uint64_t>* removed_macs = nullptr);

  // Loads and saves never throw: running out of memory is a failure (0),
  // and the lock is released.
  //
  // Loads the document at `path` (remembered for Save), replacing the
  // table. 1 on success; 0 when it does not parse or lacks "employee_info".
  int Load(const char* path);
  // Replaces the table by the "one_employee" elements below `node` (under
  // the lock). 0 for a null node; after a failure part way the records read
  // so far stay.
  int Load(CTinyXmlEx& doc, TiXmlNode* node);
  // Writes the table to `path`, or to the remembered path when `path` is
  // null or empty. 0 when there is no path or writing fails.
  int Save(const char* path = nullptr);
  // Appends the "one_employee" elements below `node` (under the lock). 0
  // for a null node or when an element cannot be made.
  int Save(CTinyXmlEx& doc, TiXmlNode* node);
  // 0 when not modified; -1 when the save fails; else 1, flag cleared.
  int JudgeModifyedToSave(const char* path);

 private:
  enum { kIpIndex = 0, kMacIndex = 1 };

  QUARN_HIDDEN EMPLOYEE_INFO* Inner_InsertEmployee(
      int time, int outside, unsigned int ip, const unsigned char* host_mac,
      const unsigned char* vlan_mac, int* result);
  QUARN_HIDDEN EMPLOYEE_INFO* NewRecord(int outside, unsigned int ip,
                                        const unsigned char* mac);
  QUARN_HIDDEN EMPLOYEE_INFO* FindByRunIP(unsigned int ip);
  // Of `slot` and the older slots on its IP, the most recently active.
  EMPLOYEE_INFO* LatestOnIP(int slot);
  QUARN_HIDDEN EMPLOYEE_INFO* FindInMacIndex(const unsigned char* mac);
  QUARN_HIDDEN void HandleCollisionIP_ByInsertEmployee(EMPLOYEE_INFO* other);
  QUARN_HIDDEN int CollisionMode() const;
  QUARN_HIDDEN int IsOutsideAdmitted() const;
  QUARN_HIDDEN bool IsActive(const EMPLOYEE_INFO& r, int32_t now) const;
  QUARN_HIDDEN int CountDep(unsigned int dep, bool active);
  QUARN_HIDDEN int CountServers(bool active);
  QUARN_HIDDEN int CountDepList(const std::vector<unsigned int>& deps,
                                bool active);
  QUARN_HIDDEN std::vector<unsigned int> PlanDepartments(
      bool with_server_dmz) const;

  CSlotHashPool<EMPLOYEE_INFO> pool_;
  ACE_Recursive_Thread_Mutex mutex_;
  CLocalIPTypeTable* plan_;
  unsigned int outside_count_;
  int gray_timeout_;
  int modified_;
  int mac_finder_;
  std::string file_name_;
};

#endif  // QUARN_EMPLOYEE_CEMPLOYEEINFOMGR_H_
