// Everything the `quarn` tool reads from a gateway configuration directory,
// loaded once: the company address plan, the administrator's applications,
// the IP, time and keyword type objects, the URL databases and white list,
// the three employee stores, the audit filter policy and the control
// status settings. The connection policy itself is read by PolicyStage.
//
// The company address plan is the process-wide instance, because the
// address predicates and direction functions read that one. The caller
// brackets the object's life with quarn_common_init / quarn_common_fini
// (LibrarySession does both), since the protocol tree and the range tables
// are the library's.

#ifndef QUARN_TOOLS_COMMON_GATEWAYCONFIG_H_
#define QUARN_TOOLS_COMMON_GATEWAYCONFIG_H_

#include <memory>
#include <string>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "appid/CUserDefAppConfig.h"
#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"
#include "filter/CAuditFilterConfig.h"
#include "objects/CIPObjMgr.h"
#include "objects/CKeyTypeObjMgr.h"
#include "objects/CTimeObjMgrConfig.h"
#include "settings/CCtrlStatusMgr.h"
#include "url/CURL_Type_Finder_Ex.h"
#include "url/CWhiteURLConfig.h"

namespace quarn_tool {

// Starts the library on construction and stops it on destruction.
class LibrarySession {
 public:
  LibrarySession();
  ~LibrarySession();
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;
};

// The default configuration directory: "gateway" in the module directory.
std::string DefaultConfigDir();

// Which documents a command needs; Load() reads only those. kConfigAreas
// is the internet range tables the library loaded at its start, checked
// rather than read; kConfigApps checks its protocol tree the same way.
// kConfigPolicy is what the policy stage reads besides the policy file:
// the keyword type objects, "audit_filter_policy" and "ctrl_status".
enum ConfigPart {
  kConfigPlan = 1,
  kConfigApps = 2,
  kConfigObjects = 4,
  kConfigUrls = 8,
  kConfigEmployees = 16,
  kConfigAreas = 32,
  kConfigPolicy = 64,
  kConfigAll = 127,
};

class GatewayConfig {
 public:
  GatewayConfig();
  ~GatewayConfig();
  GatewayConfig(const GatewayConfig&) = delete;
  GatewayConfig& operator=(const GatewayConfig&) = delete;

  // Loads the documents of `parts` from directory `dir`. Each missing or
  // broken document or reference file is described in problems() with its
  // path and why (for a document that is not well-formed XML, the line and
  // column), and leaves its object empty. Returns false only when the
  // company address plan (needed by everything else) cannot be loaded.
  // Enters the administrator's applications into the protocol tree, so the
  // library must be started (LibrarySession).
  bool Load(const std::string& dir, int parts = kConfigAll);

  const std::string& dir() const { return dir_; }
  const std::vector<std::string>& problems() const { return problems_; }

  // The process-wide plan; never null after a successful Load().
  CLocalIPTypeTable* plan() const { return plan_; }
  const CUserDefAppConfig& apps() const { return apps_; }
  const CIPObjMgr& ip_objects() const { return ip_objects_; }
  const CTimeObjMgrConfig& time_objects() const { return time_objects_; }
  CURL_Type_Finder_Ex& urls() { return *urls_; }
  const CURL_Type_Finder_Ex& urls() const { return *urls_; }
  const CWhiteURLConfig& white_urls() const { return white_urls_; }
  bool has_urls() const { return has_urls_; }
  bool has_employees() const { return has_employees_; }
  CEmployeeInfoMgr& employees() { return *employees_; }
  CEmployeeAuthAccountMgr& accounts() { return *accounts_; }
  CMyEmployeeDynamicInfoMgr& signed_in() { return *signed_in_; }
  // Loaded with kConfigPolicy; each is empty when its document is missing
  // (has_ctrl_status() then says false: the control status defaults
  // apply).
  const CKeyTypeObjMgr& key_types() const { return key_types_; }
  const CAuditFilterConfig& audit_policy() const { return audit_policy_; }
  const CCtrlStatusMgr& ctrl_status() const { return ctrl_status_; }
  bool has_ctrl_status() const { return has_ctrl_status_; }

  // "<dir>/<name>".
  std::string PathOf(const char* name) const { return dir_ + "/" + name; }

 private:
  void Problem(const std::string& path, const std::string& what);
  bool LoadPlan();
  void LoadApps();
  void LoadObjects();
  void LoadUrls();
  void LoadEmployees();
  void CheckAreas();
  void LoadPolicyDocuments();

  std::string dir_;
  std::vector<std::string> problems_;
  CLocalIPTypeTable* plan_ = nullptr;
  CUserDefAppConfig apps_;
  CIPObjMgr ip_objects_;
  CTimeObjMgrConfig time_objects_;
  std::unique_ptr<CURL_Type_Finder_Ex> urls_;
  CWhiteURLConfig white_urls_;
  bool has_urls_ = false;
  bool has_employees_ = false;
  std::unique_ptr<CEmployeeInfoMgr> employees_;
  std::unique_ptr<CEmployeeAuthAccountMgr> accounts_;
  std::unique_ptr<CMyEmployeeDynamicInfoMgr> signed_in_;
  CKeyTypeObjMgr key_types_;
  CAuditFilterConfig audit_policy_;
  CCtrlStatusMgr ctrl_status_;
  bool has_ctrl_status_ = false;
};

// Loads `parts` of `dir` into *config (see GatewayConfig::Load) and reports
// each problem on standard error, one line each: "quarn: <path>: <what>"
// when the plan could not be loaded, else "quarn: warning: <path>: <what>"
// (the command goes on without that file). Returns what Load() returned.
bool LoadAndReport(const std::string& dir, int parts, GatewayConfig* config);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_GATEWAYCONFIG_H_
