// The example gateway's configuration (examples/gateway, examples/url),
// loaded once per test binary the way the tool loads it, and small
// helpers that write policy texts to files and build connection facts.

#ifndef QUARN_TESTS_POLICY_EXAMPLECONFIG_H_
#define QUARN_TESTS_POLICY_EXAMPLECONFIG_H_

#include <stdlib.h>

#include <string>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "appid/CAppSubtypeReader.h"
#include "appid/CUserDefAppConfig.h"
#include "base/OrvaAddr.h"
#include "base/OrvaText.h"
#include "frame/quarn_common_frame.h"
#include "support/TempDir.h"
#include "tools/policy/ConnectionFacts.h"
#include "tools/policy/ConnectionPolicy.h"
#include "url/CSimpleURLTypeConfig.h"

namespace quarn_policy_test {

inline std::string ExamplePath(const std::string& name) {
  return std::string(QUARN_SOURCE_DIR) + "/examples/" + name;
}

// The library started, the process-wide plan loaded and every object
// manager a policy names objects from. Built on first use; lives until
// the process ends.
class ExampleConfig {
 public:
  static ExampleConfig& Get() {
    static ExampleConfig* config = new ExampleConfig;
    return *config;
  }

  quarn_tool::PolicyObjects objects() const {
    quarn_tool::PolicyObjects o;
    o.plan = plan;
    o.ip_objects = &ip_objects;
    o.time_objects = &time_objects;
    o.key_types = &key_types;
    o.system_urls = &system_urls;
    o.user_urls = &user_urls;
    return o;
  }

  CLocalIPTypeTable* plan = nullptr;
  CIPObjMgr ip_objects;
  CTimeObjMgrConfig time_objects;
  CKeyTypeObjMgr key_types;
  CSimpleURLTypeConfig system_urls;
  CSimpleURLTypeConfig user_urls;
  bool loaded = true;

 private:
  ExampleConfig() {
    quarn_common_init(0, 0);
    // Stopped at exit, so that the library's tables are released before
    // the leak checker looks.
    atexit([] { quarn_common_fini(); });
    plan = CLocalIPTypeTable_Singleton::instance();
    loaded &= plan->LoadFromFile(
                  ExamplePath("gateway/organization.xml").c_str()) != 0;
    loaded &= ip_objects.LoadFromFile(
                  ExamplePath("gateway/ip_obj_mgr.xml").c_str()) != 0;
    loaded &= time_objects.LoadFromFile(
                  ExamplePath("gateway/time_obj_mgr.xml").c_str()) != 0;
    loaded &= key_types.LoadFromFile(
                  ExamplePath("gateway/keytype_obj_mgr.xml").c_str()) != 0;
    loaded &=
        system_urls.LoadFromFile(ExamplePath("url/sys_url.xml").c_str()) != 0;
    loaded &= user_urls.LoadFromFile(
                  ExamplePath("gateway/user_url.xml").c_str()) != 0;
    CUserDefAppConfig apps;
    loaded &= apps.read(ExamplePath("gateway/user_def_app.xml").c_str());
    for (const UserDefAppItem& item : apps.items) {
      CAppSubtypeReader::AddUserDefApp(item.name.c_str(), item.desc.c_str(),
                                       item.appid, 1);
    }
  }
};

// UTF-8 policy text in GBK, as policy files are written.
inline std::string Gbk(const std::string& utf8) {
  return Orva::UTF8_to_HOME(utf8.c_str());
}

// Writes `body` (UTF-8 filter elements) as a policy file and returns its
// path.
inline std::string WritePolicy(const std::string& body) {
  static std::string dir = quarn_test::MakeTempDir("policy");
  static int counter = 0;
  const std::string path = dir + "/policy" + std::to_string(++counter) + ".xml";
  quarn_test::WriteFile(path, Gbk("<?xml version=\"1.0\" encoding=\"GBK\" ?>\n"
                                  "<connection_policy version=\"1\">\n" +
                                  body + "</connection_policy>\n"));
  return path;
}

// Loads `body` into *policy; returns the messages.
inline std::vector<std::string> LoadPolicy(
    const std::string& body, quarn_tool::ConnectionPolicy* policy) {
  std::vector<std::string> messages;
  policy->Load(WritePolicy(body).c_str(), ExampleConfig::Get().objects(),
               &messages);
  return messages;
}

// Facts of a connection from `client` to `server`:`port` over TCP, both
// ends described by the example plan and range tables; the client is the
// inside end.
inline quarn_tool::ConnectionFacts Facts(const char* client, const char* server,
                                         uint16_t port) {
  quarn_tool::ConnectionFacts facts;
  uint32_t c = 0;
  uint32_t s = 0;
  Orva::string_to_hip(client, &c);
  Orva::string_to_hip(server, &s);
  facts.addr = {c, 40000, s, port};
  facts.transport = 1;
  const CLocalIPTypeTable& plan = *ExampleConfig::Get().plan;
  quarn_tool::DescribeEndpoint(plan, c, 40000, &facts.client);
  quarn_tool::DescribeEndpoint(plan, s, port, &facts.server);
  facts.time_objects = CTimeObjMgrConfig::ms_offduty_time_id;
  return facts;
}

}  // namespace quarn_policy_test

#endif  // QUARN_TESTS_POLICY_EXAMPLECONFIG_H_
