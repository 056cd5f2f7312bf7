#include "tools/common/GatewayConfig.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "address/InternetRange.h"
#include "appid/CAppSubtypeReader.h"
#include "base/CTinyXmlEx.h"
#include "base/OrvaPath.h"
#include "frame/quarn_common_frame.h"

namespace quarn_tool {

namespace {

// Capacity of each employee store: the stores allocate it once.
const unsigned int kEmployeeCapacity = 65536;
// Capacity of each matcher slot of the system and user URL finders.
const uint64_t kSystemUrlSlot = 1 << 20;
const uint64_t kUserUrlSlot = 1 << 16;

// Why a document that a loader refused was refused, as far as we can tell
// from outside: the file cannot be read, it is not well-formed XML (where
// the parser stopped), or the loader did not accept its content.
std::string WhyRefused(const std::string& path) {
  CTinyXmlEx doc;
  if (doc.open_for_readonly(path.c_str()) != 0) return doc.error();
  return "the loader refused the document (root element or version)";
}

// Whether `path` is a regular file that can be opened for reading; else
// why not in *why.
bool Readable(const std::string& path, std::string* why) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat st;
  int error = 0;
  if (fd < 0) {
    error = errno;
  } else if (fstat(fd, &st) != 0) {
    error = errno;
  } else if (S_ISDIR(st.st_mode)) {
    error = EISDIR;
  }
  if (fd >= 0) close(fd);
  if (error != 0) *why = strerror(error);
  return error == 0;
}

// Why a URL database gave no category: the file cannot be read, is not
// well-formed XML, or holds none.
std::string WhyNoCategory(const std::string& path) {
  std::string why;
  if (!Readable(path, &why)) return why;
  if (path.size() > 4 && path.compare(path.size() - 4, 4, ".xml") == 0) {
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path.c_str()) != 0) return doc.error();
  }
  return "no URL category loaded";
}

}  // namespace

LibrarySession::LibrarySession() { quarn_common_init(0, 0); }
LibrarySession::~LibrarySession() { quarn_common_fini(); }

std::string DefaultConfigDir() {
  return Orva::GetModuleDirectory() + "/gateway";
}

GatewayConfig::GatewayConfig() = default;
GatewayConfig::~GatewayConfig() = default;

void GatewayConfig::Problem(const std::string& path, const std::string& what) {
  problems_.push_back(path + ": " + what);
}

bool GatewayConfig::Load(const std::string& dir, int parts) {
  dir_ = dir;
  problems_.clear();
  if (!LoadPlan()) return false;
  if (parts & kConfigApps) LoadApps();
  if (parts & kConfigObjects) LoadObjects();
  if (parts & kConfigUrls) LoadUrls();
  if (parts & kConfigEmployees) LoadEmployees();
  if (parts & kConfigAreas) CheckAreas();
  if (parts & kConfigPolicy) LoadPolicyDocuments();
  return true;
}

bool GatewayConfig::LoadPlan() {
  const std::string path = PathOf("organization.xml");
  plan_ = CLocalIPTypeTable_Singleton::instance();
  if (plan_ == nullptr) {
    Problem(path, "out of memory");
    return false;
  }
  plan_->close();
  if (plan_->LoadFromFile(path.c_str()) == 0) {
    Problem(path, WhyRefused(path));
    return false;
  }
  return true;
}

void GatewayConfig::LoadApps() {
  // The protocol tree is the library's, read when it started; without it
  // every application name is empty.
  if (CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_EXTERN) ==
      nullptr) {
    const std::string tree =
        Orva::GetModuleOtherFileName("pat", "proto_tree.xml");
    Problem(tree, WhyRefused(tree) + "; application names will not be found");
  }
  const std::string path = PathOf("user_def_app.xml");
  if (!apps_.read(path.c_str())) {
    Problem(path, WhyRefused(path));
    return;
  }
  // Display names come from the protocol tree, as in a host process.
  CAppSubtypeReader::DeleteAllUserDefApp();
  for (const UserDefAppItem& item : apps_.items) {
    const std::string& disp = item.desc.empty() ? item.name : item.desc;
    CAppSubtypeReader::AddUserDefApp(item.name.c_str(), disp.c_str(),
                                     item.appid, 1);
  }
}

void GatewayConfig::LoadObjects() {
  const std::string ip_path = PathOf("ip_obj_mgr.xml");
  if (ip_objects_.LoadFromFile(ip_path.c_str()) == 0) {
    Problem(ip_path, WhyRefused(ip_path));
  }
  const std::string time_path = PathOf("time_obj_mgr.xml");
  if (time_objects_.LoadFromFile(time_path.c_str()) == 0) {
    Problem(time_path, WhyRefused(time_path));
  }
}

void GatewayConfig::LoadUrls() {
  // The enciphered system database is preferred; the XML form serves when
  // there is none.
  std::string sys_path = Orva::GetModuleOtherFileName("url", "sys_url.dat");
  std::string why;
  if (!Readable(sys_path, &why)) {
    sys_path = Orva::GetModuleOtherFileName("url", "sys_url.xml");
  }
  const std::string user_path = PathOf("user_url.xml");
  urls_.reset(new CURL_Type_Finder_Ex);
  urls_->init(kSystemUrlSlot, kSystemUrlSlot, kSystemUrlSlot, kSystemUrlSlot,
              kSystemUrlSlot, 0, kUserUrlSlot, kUserUrlSlot, kUserUrlSlot,
              kUserUrlSlot, kUserUrlSlot, 0);
  urls_->LoadURLDB(sys_path.c_str(), user_path.c_str(), 1);
  if (urls_->system_names().url_db().types.empty()) {
    Problem(sys_path, WhyNoCategory(sys_path));
  }
  if (urls_->user_names().url_db().types.empty()) {
    Problem(user_path, WhyNoCategory(user_path));
  }
  const std::string white_path = PathOf("white_url.xml");
  if (white_urls_.LoadFromFile(white_path.c_str()) == 0) {
    Problem(white_path, WhyRefused(white_path));
  }
  has_urls_ = true;
}

void GatewayConfig::LoadEmployees() {
  employees_.reset(new CEmployeeInfoMgr);
  accounts_.reset(new CEmployeeAuthAccountMgr);
  signed_in_.reset(new CMyEmployeeDynamicInfoMgr);
  const int mac_finder = plan_->netenv().IsLayer3() ? 0 : 1;
  if (!employees_->Create(plan_, kEmployeeCapacity, mac_finder) ||
      !accounts_->Create(kEmployeeCapacity) ||
      !signed_in_->Create(kEmployeeCapacity, mac_finder)) {
    Problem(dir_, "out of memory for the employee stores");
    return;
  }
  const std::string employee_path = PathOf("tb_employee.xml");
  if (employees_->Load(employee_path.c_str()) == 0) {
    Problem(employee_path, WhyRefused(employee_path));
  }
  employees_->ResetOrgIdForEmployee();
  const std::string account_path = PathOf("tb_employee_auth_account.xml");
  if (accounts_->LoadFromFile(account_path.c_str()) == 0) {
    Problem(account_path, WhyRefused(account_path));
  }
  if (signed_in_->Load_bin(dir_.c_str()) == 0) {
    Problem(PathOf("auth_center.dat"), "no signed-in state could be read");
  }
  has_employees_ = true;
}

void GatewayConfig::CheckAreas() {
  // The library loads both tables when it starts and keeps a table that
  // failed to load absent; every area is then the unknown one.
  const struct {
    const char* name;
    bool loaded;
  } tables[] = {{"ipt1.dat", GetInternetArea_Level1_First() >= 0},
                {"ipt2.dat", GetInternetArea_Level2_First() >= 0}};
  for (const auto& table : tables) {
    if (table.loaded) continue;
    char buffer[4096];
    const std::string path =
        Orva::GetModuleFullFileName(buffer, sizeof(buffer), table.name)
            ? buffer
            : Orva::GetModuleDirectory() + "/" + table.name;
    std::string why;
    if (Readable(path, &why)) why = "not a range table the library could load";
    Problem(path, why + "; internet areas will read as unknown");
  }
}

void GatewayConfig::LoadPolicyDocuments() {
  const std::string key_path = PathOf("keytype_obj_mgr.xml");
  if (key_types_.LoadFromFile(key_path.c_str()) == 0) {
    Problem(key_path, WhyRefused(key_path));
  }
  const std::string audit_path = PathOf("audit_filter_policy.xml");
  if (audit_policy_.LoadFromFile(audit_path.c_str()) == 0) {
    Problem(audit_path, WhyRefused(audit_path));
  }
  const std::string ctrl_path = PathOf("ctrl_status.xml");
  has_ctrl_status_ = ctrl_status_.LoadFromFile(ctrl_path.c_str()) != 0;
  if (!has_ctrl_status_) Problem(ctrl_path, WhyRefused(ctrl_path));
}

bool LoadAndReport(const std::string& dir, int parts, GatewayConfig* config) {
  const bool loaded = config->Load(dir, parts);
  for (const std::string& problem : config->problems()) {
    fprintf(stderr, "quarn: %s%s\n", loaded ? "warning: " : "",
            problem.c_str());
  }
  return loaded;
}

}  // namespace quarn_tool
