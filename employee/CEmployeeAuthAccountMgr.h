// Authentication accounts: key name and password, bound addresses,
// validity period and bandwidth allowance of each user who logs in to the
// gateway.
//
// CEmployeeAuthAccountMgr keeps the accounts in a fixed-capacity slot-hash
// pool indexed by device id ("did") and by key name, and loads and saves
// them as the document "tb_employee_auth_account" (see docs/FORMATS.md,
// "Authentication accounts"). Passwords are plain text in memory; version-1
// documents hold them URL-encoded, older documents scrambled (cry_passwd).
//
// Threads: the store owns a recursive mutex. Loading takes it while it
// empties the table and saving while it writes; every other operation
// relies on the caller bracketing its work with Lock() / UnLock(). Account
// pointers stay valid until the account is removed, or the table is
// cleared, reloaded, re-created or destroyed.

#ifndef QUARN_EMPLOYEE_CEMPLOYEEAUTHACCOUNTMGR_H_
#define QUARN_EMPLOYEE_CEMPLOYEEAUTHACCOUNTMGR_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include <ace/Recursive_Thread_Mutex.h>

#include "quarn_common/base/CBaseXMLConfig.h"
#include "quarn_common/base/CStr.h"
#include "quarn_common/base/CVtIPAndMac.h"
#include "quarn_common/employee/internal/CSlotHashPool.h"

// One account. A default-constructed or Close()d account is a new account.
struct QUARN_EXPORT EMPLOYEE_AUTH_ACCOUNT_INFO {
  // The password of a key_type 1 account that has none, and after a reset.
  static const char* const kDefaultPasswd;  // "60481357"
  // key_type of password accounts.
  static const int32_t kKeyTypePasswd = 1;

  EMPLOYEE_AUTH_ACCOUNT_INFO() { Close(); }

  void Close();
  // True when every field but insert_flag is equal.
  bool cmp_base_info(const EMPLOYEE_AUTH_ACCOUNT_INFO& other) const;
  bool operator==(const EMPLOYEE_AUTH_ACCOUNT_INFO& other) const {
    return cmp_base_info(other);
  }
  bool operator!=(const EMPLOYEE_AUTH_ACCOUNT_INFO& other) const {
    return !cmp_base_info(other);
  }
  // Copies every field except kname and did.
  void AssignButKeyFrom(const EMPLOYEE_AUTH_ACCOUNT_INFO& other);

  // 1 when logins from `ip` (and `mac`, may be null) are allowed: binding
  // off or an empty list, else the host named by either address.
  int IsBindAddr(unsigned int ip, const unsigned char* mac) const;
  int IsBindAddr(unsigned int ip) const;
  // 1 when the account is valid at `now` (seconds): not before
  // begin_effective_time, and not after an end other than 0 or -1.
  int IsAccountEffective(unsigned int now) const;

  // mode 1: fname, or kname when fname is empty; mode 2: "kname(fname)",
  // or kname alone; any other mode: kname.
  std::string GetShownName(int mode) const;
  // True when `text` occurs in "fname,kname," lower-cased (empty names
  // left out). `text` itself is used as given.
  bool find_string(const char* text) const;

  // The stream form (docs/FORMATS.md): marks of eight 0x41 and eight 0x42
  // around the fields, the password in plain text. PutStream writes at `p`,
  // advances it and returns the bytes written; the caller makes room for
  // get_stream_size() bytes. Bind lists longer than 255 ranges or MACs are
  // cut to 255.
  int PutStream(char*& p) const;
  size_t get_stream_size() const;
  // Reads a record at `p` and advances `p` past it. The caller guarantees
  // a whole record. Returns the bytes read, or -1 for a wrong mark.
  int GetStream(const char*& p);
  // The same from a buffer of which `available` bytes remain at `p`. -1,
  // with `p` and the account unchanged and nothing read beyond the
  // buffer, when a mark is wrong or the record is cut short.
  int GetStream(const char*& p, size_t available);

  int32_t onoff;
  uint64_t did;
  int32_t bind_addr;
  CVtIPAndMac bind_list;
  std::string kname;
  std::string fname;
  std::string passwd;
  int32_t pwd_state;
  int32_t band_as_common;
  uint64_t nMaxDownBand;
  uint64_t nMaxUpBand;
  int32_t share_count;
  int32_t key_type;
  int32_t del_time;
  int32_t begin_effective_time;
  int32_t end_effective_time;
  int32_t permit_live_time;
  int32_t aux_flag;
  int32_t insert_flag;
};

class QUARN_EXPORT CEmployeeAuthAccountMgr : public CBaseXMLConfig {
 public:
  static const char* const kRootName;  // "tb_employee_auth_account"
  // The version written on the root element.
  static const int kVersion = 1;

  CEmployeeAuthAccountMgr();
  CEmployeeAuthAccountMgr(const CEmployeeAuthAccountMgr& other);
  CEmployeeAuthAccountMgr& operator=(const CEmployeeAuthAccountMgr& other);
  ~CEmployeeAuthAccountMgr() override;

  // Empties the table (the pool stays allocated).
  void close() override;
  void Clear() { close(); }

  // Drops everything and allocates room for `capacity` accounts. 0 when
  // allocation fails.
  int Create(unsigned int capacity);
  void Destroy();

  void Lock() { mutex_.acquire(); }
  void UnLock() { mutex_.release(); }

  // Same accounts, compared by cmp_base_info, in the same insertion order.
  bool operator==(const CEmployeeAuthAccountMgr& other) const;
  bool operator!=(const CEmployeeAuthAccountMgr& other) const {
    return !(*this == other);
  }

  // Lookups; null when absent. Names are compared byte for byte.
  EMPLOYEE_AUTH_ACCOUNT_INFO* FindEmployeeByDid(uint64_t did);
  EMPLOYEE_AUTH_ACCOUNT_INFO* FindEmployeeByKeyName(const char* kname);
  int GetIndexByData(const EMPLOYEE_AUTH_ACCOUNT_INFO* account) const;
  EMPLOYEE_AUTH_ACCOUNT_INFO* GetDataByIndex(int slot);
  unsigned int GetUsedCount() const { return pool_.used_count(); }
  unsigned int GetTotalCount() const { return pool_.capacity(); }
  // All accounts, oldest first: `int c = GetHeadBlock();` then
  // `while (c != -1) a = GetNextBlockFromHead(c);`.
  int GetHeadBlock() const { return pool_.Head(); }
  EMPLOYEE_AUTH_ACCOUNT_INFO* GetNextBlockFromHead(int& cursor);

  // A new account named `kname` with id `did`. An account of that name is
  // returned instead, with *result = 0 (the only case that writes
  // `result`). Null without a pool, for an empty name or a full pool.
  EMPLOYEE_AUTH_ACCOUNT_INFO* InsertOneEmployee(const char* kname, int* result,
                                                uint64_t did, int flag);
  // A copy of `rec` with insert_flag = `flag`. Null without a pool, when its
  // name is empty or exists, when its non-zero did exists, or when the pool
  // is full.
  EMPLOYEE_AUTH_ACCOUNT_INFO* InsertOneEmployee(
      const EMPLOYEE_AUTH_ACCOUNT_INFO& rec, int flag);
  // A fresh id, 2^48 (kind 0) or 2^49 (other kinds) plus a random value,
  // that no account holds.
  uint64_t CalNewDid(int kind);

  // Removal; 1 when an account was removed.
  int DeleteEmployeeByDid(uint64_t did);
  int DeleteEmployeeByKeyName(const char* kname);
  int DeleteEmployee(int slot);
  // Removes the accounts of each id; returns how many were removed.
  int DeleteEmployee(const std::vector<uint64_t>& dids);

  // Renames account `old_name`: -1 when it does not exist, 0 when
  // `new_name` is taken (or empty), else 1.
  int ChangeEmployeeName(const char* old_name, const char* new_name);
  // Renames the account in `slot`: -1 for a free slot, 0 when the name is
  // taken or empty, else 1.
  int ChangeEmployeeName(int slot, const char* new_name);
  // Copies `src` into `dst`, moving `dst` in the indexes when its did or
  // kname changes. `dst` must be an account of this store.
  void AssignEmployee(EMPLOYEE_AUTH_ACCOUNT_INFO* dst,
                      const EMPLOYEE_AUTH_ACCOUNT_INFO& src);

  // Password accounts (key_type 1) get the default password, pwd_state 0.
  void ResetAllEmployeePasswd();
  int ResetOneEmployeePasssed(const char* kname);
  int ResetOneEmployeePasssed(uint64_t did);

  // The account `kname` when it is a password account and `passwd` equals
  // its password exactly; else null.
  EMPLOYEE_AUTH_ACCOUNT_INFO* CheckPwd(const char* kname, const char* passwd);
  // The account's GetShownName(mode), or `did` in decimal when no account
  // has that id.
  CStr GetShowName(uint64_t did, int mode);

  // Accounts here without a counterpart (same did) in `other` go to
  // `added`, those that differ by cmp_base_info to `changed`; ids of
  // accounts only in `other` to `removed_dids`. Null lists are skipped.
  // Non-zero when anything differs.
  int DiffToOther(const CEmployeeAuthAccountMgr& other,
                  std::vector<EMPLOYEE_AUTH_ACCOUNT_INFO>* added = nullptr,
                  std::vector<EMPLOYEE_AUTH_ACCOUNT_INFO>* changed = nullptr,
                  std::vector<uint64_t>* removed_dids = nullptr) const;

  // The "version" of the last document read (0 when it had none).
  int GetVersion() const { return version_; }
  void SetModified(int m);
  int IsModified() const { return cur_modified_tick_ != last_saved_tick_; }
  // 0 when not modified; else marks the table saved, saves (the save's own
  // result is not reported) and returns 1.
  int JudgeModifyedToSave(const char* path);
  int JudgeModifyedToSave();
  uint32_t GetCurModifiedTickCount() const { return cur_modified_tick_; }
  void SetCurModifiedTickCount(uint32_t tick) { cur_modified_tick_ = tick; }
  uint32_t GetLastSavedTickCount() const { return last_saved_tick_; }
  void SetLastSavedTickCount(uint32_t tick) { last_saved_tick_ = tick; }

  // Scrambles a password for documents of version 0: upper-case hex of
  // the bytes 1, k ^ 1 and each password byte ^ k, k random in 0..254.
  static std::string cry_passwd(const char* passwd);
  // The password back; the default password for a text that does not
  // start with the byte 1.
  static std::string uncry_passwd(const char* text);

  // Index key of a key name: the sum of its bytes times 37.
  static uint32_t NameKey(const char* kname);

 private:
  enum { kDidIndex = 0, kNameIndex = 1 };

  QUARN_HIDDEN int LoadConfig(CTinyXmlEx& doc) override;
  QUARN_HIDDEN int SaveConfig(CTinyXmlEx& doc) override;

  QUARN_HIDDEN EMPLOYEE_AUTH_ACCOUNT_INFO* Inner_InsertOneEmployee(
      const char* kname, uint64_t did, int flag);
  QUARN_HIDDEN void ReadAccount(TiXmlNode* node,
                                EMPLOYEE_AUTH_ACCOUNT_INFO* rec) const;
  QUARN_HIDDEN static void WriteAccount(TiXmlNode* node,
                                        const EMPLOYEE_AUTH_ACCOUNT_INFO& rec);
  QUARN_HIDDEN void Touch();

  CSlotHashPool<EMPLOYEE_AUTH_ACCOUNT_INFO> pool_;
  ACE_Recursive_Thread_Mutex mutex_;
  int version_;
  uint32_t cur_modified_tick_;
  uint32_t last_saved_tick_;
};

#endif  // QUARN_EMPLOYEE_CEMPLOYEEAUTHACCOUNTMGR_H_
