// The company address plan: which addresses belong to the company and to
// which of its departments.
//
// Holds five address classes (intranet hosts 21, internal servers 27, DMZ
// 31, and the two abnormal classes 40 and 50, which hold no ranges), the
// departments of the intranet class, the default private networks, the
// network environment settings and three IP-management flags. Loaded from
// and saved to one XML document (root "organization") by the class
// itself. One process-wide instance, CLocalIPTypeTable_Singleton, is what
// the address predicates read.
//
// No locks: hosts load the plan before lookups run and do not reload it
// while other threads read it. Department pointers handed out stay valid
// until the next load, close(), edit of the departments or destruction.

#ifndef QUARN_ADDRESS_CLOCALIPTYPETABLE_H_
#define QUARN_ADDRESS_CLOCALIPTYPETABLE_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>

#include "quarn_common/address/CIntranetOrg.h"
#include "quarn_common/address/CNetEnvSetData.h"
#include "quarn_common/address/COrgStructInfo.h"
#include "quarn_common/base/CPrivateNetList.h"
#include "quarn_common/base/CTinyXmlEx.h"

class QUARN_EXPORT CLocalIPTypeTable {
 public:
  typedef COrgStructInfo::tagDEPARTMENT_ITEM tagDEPARTMENT_ITEM;

  // Root element of the document when written.
  static const char* const kRootName;  // "organization"
  // Max department id of a new table: the first id handed out is 101.
  static const unsigned int kInitialMaxDepId = 100;

  // The five classes with their built-in names, max department id 100 and
  // the default private networks; nothing loaded.
  CLocalIPTypeTable();
  CLocalIPTypeTable(const CLocalIPTypeTable& other);
  CLocalIPTypeTable& operator=(const CLocalIPTypeTable& other);
  ~CLocalIPTypeTable();

  // Compares the default private networks, the five classes, the network
  // environment and the three IP-management flags.
  bool operator==(const CLocalIPTypeTable& other) const;
  bool operator!=(const CLocalIPTypeTable& other) const {
    return !(*this == other);
  }

  // Loads and saves never throw: running out of memory is a failure (0).
  //
  // Loads the plan from the file at `path`, starting from close(). 1 on
  // success; 0 for an empty path, a document that does not parse, or one
  // without "org_info" or "company" (what was read before stays).
  int LoadFromFile(const char* path);
  // The same from `length` bytes at `text`. A null buffer or a length of 0
  // leaves the defaults and succeeds; a negative length fails. (Saved and
  // loaded again, such an empty plan gains the default private networks as
  // intranet ranges and the placeholder 25, as any file read does.)
  int LoadFromMem(const char* text, int length);
  // Writes the whole plan as a new document at `path`. 1 on success.
  // Loading the file gives back an equal plan, department order and
  // repeated ids included, except for what loading itself supplies or
  // moves: the private networks for an empty intranet range list, the
  // placeholder 25 when there is none, placeholders moved above a
  // department (read back last); department 27 is not written.
  int SaveToFile(const char* path) const;
  // Reads the network environment and the company below `org_info`,
  // starting from close(). 0 when there is no "company" element.
  int Load(CTinyXmlEx& doc, TiXmlNode* org_info);
  // Writes the network environment and the company below `org_info`.
  int Save(CTinyXmlEx& doc, TiXmlNode* org_info) const;

  // Empties every class (ranges and departments), resets the network
  // environment and the IP-management flags. Class names and ids, the
  // default private networks and the max department id are kept.
  void close();

  // 1 when `ip` is in the default private networks or the intranet ranges.
  int IsPrivateAddr(unsigned int ip) const;
  // The negation of IsPrivateAddr.
  int IsOutterAddr(unsigned int ip) const;
  // 1 when `ip` is in the server ranges.
  int IsInVPNServer(unsigned int ip) const;
  // 1 when `ip` is in the DMZ ranges.
  int IsInternetDMZAddr(unsigned int ip) const;
  // 1 when `ip` is in the DMZ or the server ranges.
  int IsServerIP(unsigned int ip) const;
  // 1 with *type = 21 for an intranet address, 1 with *type = 31 for a DMZ
  // address, else 0 (`type` untouched). `type` may be null.
  int IsIPInCompany(unsigned int ip, int* type) const;

  // The department or class of `ip`: 31 in the DMZ, else the intranet
  // department holding it (25 for an intranet host in none), else 40 for
  // a private address and 50 for any other.
  int GetDepartmentIdByIP(unsigned int ip) const;
  // The id of the intranet department named `name`, or -1 (0xFFFFFFFF).
  int GetDepartmentIdByName(const char* name) const;
  // The intranet department with id `id`, or null.
  const tagDEPARTMENT_ITEM* FindDepartmentById(unsigned int id) const;
  // The name of the intranet department `id`, the abnormal class names for
  // 40 and 50, else "未知部门" (unknown department). GBK.
  std::string GetDepartmentName(unsigned int id) const;

  // Raises the max department id by one and returns it.
  unsigned int GenNextDepid();
  unsigned int GetMaxDepid() const { return max_dep_id_; }
  // Removes every department but the placeholders, in all five classes.
  void RemoveAllDeparnment();

  // 1 when hosts may only use the addresses they were given: selection or
  // MAC binding is on.
  int IsIPManagerPolicyOn() const;
  // 1 when any of the three IP-management flags differs from `other`'s.
  int IsIPManagerPolicyChanged(const CLocalIPTypeTable& other) const;

  CIntranetOrg& intranet() { return intranet_; }
  const CIntranetOrg& intranet() const { return intranet_; }
  CIntranetOrg& server() { return server_; }
  const CIntranetOrg& server() const { return server_; }
  CIntranetOrg& dmz() { return dmz_; }
  const CIntranetOrg& dmz() const { return dmz_; }
  const CIntranetOrg& abnormal_intranet() const { return abnormal_intranet_; }
  const CIntranetOrg& abnormal_external() const { return abnormal_external_; }
  const CPrivateNetList& private_nets() const { return private_nets_; }
  CNetEnvSetData& netenv() { return netenv_; }
  const CNetEnvSetData& netenv() const { return netenv_; }

  int32_t log_ip_change;
  int32_t permit_ip_select;
  int32_t permit_macip_bind;

 private:
  QUARN_HIDDEN int LoadDocument(CTinyXmlEx& doc);
  QUARN_HIDDEN void LoadCompany(TiXmlNode* company);
  QUARN_HIDDEN void LoadIntranet(TiXmlNode* intranet);
  QUARN_HIDDEN void LoadDepartment(TiXmlNode* node);
  QUARN_HIDDEN int SaveCompany(TiXmlNode* company) const;
  QUARN_HIDDEN int SaveDepartments(TiXmlNode* department) const;
  QUARN_HIDDEN static void SaveDepartment(TiXmlNode* node,
                                          const tagDEPARTMENT_ITEM& dep);

  CIntranetOrg intranet_;
  CIntranetOrg server_;
  CIntranetOrg dmz_;
  CIntranetOrg abnormal_intranet_;
  CIntranetOrg abnormal_external_;
  unsigned int max_dep_id_;
  CPrivateNetList private_nets_;
  CNetEnvSetData netenv_;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT
    ACE_Singleton<CLocalIPTypeTable, ACE_Null_Mutex>;

// The process-wide company address plan, created empty on first access and
// destroyed at process end.
class QUARN_EXPORT CLocalIPTypeTable_Singleton
    : public ACE_Singleton<CLocalIPTypeTable, ACE_Null_Mutex> {
 public:
  static CLocalIPTypeTable* instance() {
    return ACE_Singleton<CLocalIPTypeTable, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_ADDRESS_CLOCALIPTYPETABLE_H_
