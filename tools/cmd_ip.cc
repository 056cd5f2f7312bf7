// quarn ip: what the library makes of IPv4 addresses: the company class or
// department from the company address plan ("organization.xml" in the
// configuration directory), the private and inside/outside predicates, and
// the level-1 and level-2 internet areas from the range tables of the
// module directory.

#include <string>
#include <vector>

#include "address/AddressPredicates.h"
#include "address/CLocalIPTypeTable.h"
#include "address/InternetRange.h"
#include "base/OrvaAddr.h"
#include "tools/Command.h"
#include "tools/common/ClassificationOutput.h"
#include "tools/common/CommandLine.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

using quarn_tool::NamedId;

const char kOptions[] =
    "  ADDRESS        an IPv4 address; several may follow\n";

const char kDetails[] =
    "One JSON object per address: ip, class_id and class (company class or\n"
    "department), company (\"intranet\", \"dmz\" or null), the predicates\n"
    "private, inside, outside and server, and the internet areas area1 and\n"
    "area2 ({\"id\",\"name\"}).\n";

struct AddressFacts {
  uint32_t ip = 0;
  uint32_t class_id = 0;
  std::string class_name;
  const char* company = nullptr;  // "intranet", "dmz" or null
  bool is_private = false;
  bool inside = false;
  bool outside = false;
  bool server = false;
  NamedId area1;
  NamedId area2;
};

AddressFacts Look(const CLocalIPTypeTable& plan, uint32_t ip) {
  AddressFacts f;
  f.ip = ip;
  f.class_id = static_cast<uint32_t>(plan.GetDepartmentIdByIP(ip));
  f.class_name = quarn_tool::ClassName(plan, f.class_id);
  int type = 0;
  if (GetIP_IsIPInCompany(ip, &type)) {
    f.company = static_cast<unsigned int>(type) == COrgStructInfo::ORG_DMZ
                    ? "dmz"
                    : "intranet";
  }
  f.is_private = GetIP_IsPrivateAddr(ip);
  f.inside = GetIP_IsInnerAddr(ip);
  f.outside = GetIP_IsOutterAddr(ip);
  f.server = plan.IsServerIP(ip);
  const INTERNET_IP_DESC* level1 = GetIP_INTERNET_Range_Type_Level1(ip);
  const INTERNET_IP_DESC* level2 = GetIP_INTERNET_Range_Type_Level2(ip);
  f.area1.id = level1->area_id;
  f.area1.name = level1->desc;
  f.area2.id = level2->area_id;
  f.area2.name = level2->desc;
  return f;
}

void WriteJson(const AddressFacts& f, quarn_tool::JsonWriter* json) {
  json->BeginObject();
  json->Key("ip");
  json->Utf8(quarn_tool::IpText(f.ip));
  json->Key("class_id");
  json->Uint(f.class_id);
  json->Key("class");
  json->Gbk(f.class_name);
  json->Key("company");
  if (f.company != nullptr) {
    json->Utf8(f.company);
  } else {
    json->Null();
  }
  const std::pair<const char*, bool> predicates[] = {{"private", f.is_private},
                                                     {"inside", f.inside},
                                                     {"outside", f.outside},
                                                     {"server", f.server}};
  for (const auto& predicate : predicates) {
    json->KeyText(predicate.first);
    json->Bool(predicate.second);
  }
  json->Key("area1");
  quarn_tool::WriteArea(f.area1, json);
  json->Key("area2");
  quarn_tool::WriteArea(f.area2, json);
  json->EndObject();
}

const char* YesNo(bool value) { return value ? "yes" : "no"; }

std::vector<std::string> Cells(const AddressFacts& f,
                               quarn_tool::Utf8Cache* cache) {
  return {quarn_tool::IpText(f.ip),
          std::to_string(f.class_id) + " " + cache->Get(f.class_name),
          f.company != nullptr ? f.company : "-",
          YesNo(f.is_private),
          YesNo(f.inside),
          YesNo(f.outside),
          YesNo(f.server),
          cache->Get(f.area1.name),
          cache->Get(f.area2.name)};
}

int RunIp(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable);
  const int rc = quarn_tool::ParseCommandLine("ip", args, &line);
  if (rc >= 0) return rc;
  if (line.positional().empty()) {
    return quarn_tool::UsageError("ip", "no address given");
  }
  std::vector<uint32_t> addresses;
  for (const std::string& arg : line.positional()) {
    uint32_t ip = 0;
    if (!Orva::string_to_hip(arg.c_str(), &ip)) {
      return quarn_tool::UsageError("ip", "not an IPv4 address: " + arg);
    }
    addresses.push_back(ip);
  }

  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(
          line.config_dir(), quarn_tool::kConfigPlan | quarn_tool::kConfigAreas,
          &config)) {
    return quarn_tool::kExitNothingDone;
  }
  quarn_tool::ResultWriter out(
      quarn_tool::StandardOutput(), line.table(),
      {"address", "class", "company", "private", "inside", "outside", "server",
       "area 1", "area 2"});
  for (uint32_t ip : addresses) {
    const AddressFacts facts = Look(*config.plan(), ip);
    if (out.table()) {
      out.Row(Cells(facts, out.cache()));
    } else {
      WriteJson(facts, out.BeginItem());
      out.EndItem();
    }
  }
  out.Finish();
  return config.problems().empty() ? quarn_tool::kExitOk
                                   : quarn_tool::kExitSomeBad;
}

}  // namespace

QUARN_COMMAND(ip, "ADDRESS [...]",
              "the company class or department of each address, its private "
              "and inside/outside predicates, and its level-1 and level-2 "
              "internet areas",
              kOptions, kDetails, RunIp);
