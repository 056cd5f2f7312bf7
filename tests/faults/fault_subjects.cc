#include "faults/fault_subjects.h"

#include "address/CARPProtectData.h"
#include "address/CFetchMacPortInSwitch_Config.h"
#include "address/CLocalIPTypeTable.h"
#include "appid/CUserDefAppConfig.h"
#include "employee/CEmployeeAuthAccountMgr.h"
#include "employee/CEmployeeInfoMgr.h"
#include "filter/CAuditFilterConfig.h"
#include "objects/CIPObjMgr.h"
#include "objects/CKeyTypeObjMgr.h"
#include "objects/CTimeObjMgrConfig.h"
#include "objects/CZoneObjMgrConfig.h"
#include "settings/CCtrlStatusMgr.h"
#include "url/CURLTypeConfig.h"
#include "url/CWhiteURLConfig.h"

namespace quarn_faults {
namespace {

std::string Example(const char* name) { return ExampleDir() + "/" + name; }

// A class derived from the configuration base: every one loads and saves
// through the same virtual operations.
template <typename T>
Subject XmlConfig(const char* name, const char* file) {
  Subject s;
  s.name = name;
  s.example = Example(file);
  s.load = [](const char* path) { return T().LoadFromFile(path) != 0; };
  std::string example = s.example;
  s.save = [example](const char* path) {
    T config;
    config.LoadFromFile(example.c_str());
    return config.SaveToFile(path) != 0;
  };
  return s;
}

// A class with loaders of its own, of the same shape.
template <typename T>
Subject SelfLoading(const char* name, const char* file) {
  Subject s = XmlConfig<T>(name, file);
  s.load = [](const char* path) {
    T config;
    return static_cast<int>(config.LoadFromFile(path)) != 0;
  };
  std::string example = s.example;
  s.save = [example](const char* path) {
    T config;
    config.LoadFromFile(example.c_str());
    return static_cast<int>(config.SaveToFile(path)) != 0;
  };
  return s;
}

Subject AuditPolicy() {
  Subject s = SelfLoading<CAuditFilterConfig>("CAuditFilterConfig",
                                              "audit_filter_policy.xml");
  // Its save writes what it can and reports success all the same.
  s.save_always_succeeds = true;
  return s;
}

Subject Accounts() {
  Subject s;
  s.name = "CEmployeeAuthAccountMgr";
  s.example = Example("tb_employee_auth_account.xml");
  s.load = [](const char* path) {
    CEmployeeAuthAccountMgr accounts;
    accounts.Create(100);
    return accounts.LoadFromFile(path) != 0;
  };
  std::string example = s.example;
  s.save = [example](const char* path) {
    CEmployeeAuthAccountMgr accounts;
    accounts.Create(100);
    accounts.LoadFromFile(example.c_str());
    return accounts.SaveToFile(path) != 0;
  };
  return s;
}

Subject Employees() {
  Subject s;
  s.name = "CEmployeeInfoMgr";
  s.example = Example("tb_employee.xml");
  s.load = [](const char* path) {
    CLocalIPTypeTable plan;
    plan.LoadFromFile(Example("organization.xml").c_str());
    CEmployeeInfoMgr employees;
    employees.Create(&plan, 100, 0);
    return employees.Load(path) != 0;
  };
  std::string example = s.example;
  s.save = [example](const char* path) {
    CLocalIPTypeTable plan;
    plan.LoadFromFile(Example("organization.xml").c_str());
    CEmployeeInfoMgr employees;
    employees.Create(&plan, 100, 0);
    employees.Load(example.c_str());
    return employees.Save(path) != 0;
  };
  return s;
}

std::vector<Subject> MakeSubjects() {
  std::vector<Subject> all = {
      XmlConfig<CARPProtectData>("CARPProtectData", "arp_protect.xml"),
      XmlConfig<CCtrlStatusMgr>("CCtrlStatusMgr", "ctrl_status.xml"),
      XmlConfig<CFetchMacPortInSwitch_Config>("CFetchMacPortInSwitch_Config",
                                              "fetch_macport_inswitch.xml"),
      XmlConfig<CIPObjMgr>("CIPObjMgr", "ip_obj_mgr.xml"),
      XmlConfig<CKeyTypeObjMgr>("CKeyTypeObjMgr", "keytype_obj_mgr.xml"),
      XmlConfig<CTimeObjMgrConfig>("CTimeObjMgrConfig", "time_obj_mgr.xml"),
      XmlConfig<CWhiteURLConfig>("CWhiteURLConfig", "white_url.xml"),
      XmlConfig<CZoneObjMgrConfig>("CZoneObjMgrConfig", "zone_obj_mgr.xml"),
      XmlConfig<CURLTypeConfig>("CURLTypeConfig", "user_url.xml"),
      SelfLoading<CLocalIPTypeTable>("CLocalIPTypeTable", "organization.xml"),
      SelfLoading<CUserDefAppConfig>("CUserDefAppConfig", "user_def_app.xml"),
      AuditPolicy(),
      Accounts(),
      Employees(),
  };
  return all;
}

}  // namespace

const std::vector<Subject>& AllSubjects() {
  static const std::vector<Subject> subjects = MakeSubjects();
  return subjects;
}

std::string ExampleDir() {
  return std::string(QUARN_SOURCE_DIR) + "/examples/gateway";
}

}  // namespace quarn_faults
