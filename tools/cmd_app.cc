// quarn app: the application each connection belongs to. The administrator's
// applications ("user_def_app.xml" in the configuration directory) are
// asked first; failing those, the connection gets the unknown-application
// id of its ports and transport. Display names come from the protocol
// tree, into which the administrator's applications are entered first, as
// a host process does.

#include <stdlib.h>

#include <string>
#include <vector>

#include "address/AddressPredicates.h"
#include "appid/CAppSubtypeReader.h"
#include "appid/CUserDefAppConfig.h"
#include "base/OrvaAddr.h"
#include "tools/Command.h"
#include "tools/common/ClassificationOutput.h"
#include "tools/common/CommandLine.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

const char kOptions[] =
    "  --judge N      the judge value the host passes with the connection\n"
    "                 (default 0)\n"
    "  FIRST SECOND   the two ends, \"address:port\"\n"
    "  TRANSPORT      tcp (default) or udp; more connections may follow\n";

const char kDetails[] =
    "One JSON object per connection: first, second, transport, client\n"
    "(dir, as classify's, and decided_by), and app (id, name and source as\n"
    "in classify; item, the administrator's application that matched, or\n"
    "null; group, {\"id\",\"name\"} of the group above it, or null).\n";

struct Query {
  int judge = 0;
  int transport = QUARN_TRANSPORT_TCP;
  tagIPv4_CONNECT_ADDR addr = {};
};

// "a.b.c.d:port".
bool ParseEndpoint(const std::string& text, uint32_t* ip, uint16_t* port) {
  std::string::size_type colon = text.rfind(':');
  if (colon == std::string::npos) return false;
  if (!Orva::string_to_hip(text.substr(0, colon).c_str(), ip)) return false;
  const char* digits = text.c_str() + colon + 1;
  char* end = nullptr;
  unsigned long value = strtoul(digits, &end, 10);
  if (*digits == '\0' || *end != '\0' || value > 65535) return false;
  *port = static_cast<uint16_t>(value);
  return true;
}

// The empty text when the command line makes queries, else what is wrong.
// Each connection is two ends and an optional transport.
std::string ParseQueries(const quarn_tool::CommandLine& line,
                         std::vector<Query>* queries) {
  const std::string judge_text = line.Value("--judge", "0");
  char* end = nullptr;
  const int judge = static_cast<int>(strtol(judge_text.c_str(), &end, 10));
  if (judge_text.empty() || *end != '\0') {
    return "--judge needs a number: " + judge_text;
  }
  const std::vector<std::string>& rest = line.positional();
  for (size_t i = 0; i < rest.size();) {
    Query query;
    query.judge = judge;
    for (int end = 0; end < 2; ++end, ++i) {
      if (i == rest.size()) return "no second end after " + rest[i - 1];
      if (!ParseEndpoint(
              rest[i], end == 0 ? &query.addr.first_ip : &query.addr.second_ip,
              end == 0 ? &query.addr.first_port : &query.addr.second_port)) {
        return "not an address:port: " + rest[i];
      }
    }
    if (i < rest.size() && (rest[i] == "tcp" || rest[i] == "udp")) {
      query.transport =
          rest[i] == "udp" ? QUARN_TRANSPORT_UDP : QUARN_TRANSPORT_TCP;
      ++i;
    }
    queries->push_back(query);
  }
  if (queries->empty()) return "no connection given";
  return std::string();
}

struct Answer {
  DIR_CS dir = DIR_CS_UNKNOWN;
  bool by_app = false;  // the client end was decided by `item`
  const UserDefAppItem* item = nullptr;
  uint32_t appid = 0;
  uint32_t group = 0;
};

Answer Ask(const quarn_tool::GatewayConfig& config, const Query& query) {
  Answer a;
  a.item = config.apps().find(query.addr, query.transport, query.judge, a.dir);
  a.by_app = a.dir != DIR_CS_UNKNOWN;
  if (!a.by_app) quarn_JudgeCSDir(query.addr, a.dir);
  a.appid = a.item != nullptr ? a.item->appid
                              : quarn_GetUKAppId(query.addr, query.transport);
  a.group = CAppSubtypeReader::GetExtGrpAppType(a.appid);
  return a;
}

const char* DecidedBy(const Answer& a) {
  return a.by_app ? "user-defined application" : "company address plan";
}

void WriteJson(const Query& query, const Answer& a,
               quarn_tool::JsonWriter* json) {
  json->BeginObject();
  json->Key("first");
  json->Utf8(quarn_tool::Endpoint(query.addr.first_ip, query.addr.first_port));
  json->Key("second");
  json->Utf8(
      quarn_tool::Endpoint(query.addr.second_ip, query.addr.second_port));
  json->Key("transport");
  json->Utf8(query.transport == QUARN_TRANSPORT_UDP ? "udp" : "tcp");
  json->Key("client");
  json->BeginObject();
  json->Key("dir");
  json->Utf8(quarn_tool::CsDirName(a.dir));
  json->Key("decided_by");
  json->Utf8(DecidedBy(a));
  json->EndObject();
  json->Key("app");
  json->BeginObject();
  json->Key("id");
  json->Uint(a.appid);
  json->Key("name");
  json->Gbk(CAppSubtypeReader::FindDispNameByAppid(a.appid));
  json->Key("source");
  json->Utf8(a.item != nullptr ? "user-defined" : "unknown");
  json->Key("item");
  if (a.item != nullptr) {
    json->Gbk(a.item->name);
  } else {
    json->Null();
  }
  json->Key("group");
  if (a.group != 0) {
    json->BeginObject();
    json->Key("id");
    json->Uint(a.group);
    json->Key("name");
    json->Gbk(CAppSubtypeReader::FindDispNameByAppid(a.group));
    json->EndObject();
  } else {
    json->Null();
  }
  json->EndObject();
  json->EndObject();
}

std::vector<std::string> Cells(const Query& query, const Answer& a,
                               quarn_tool::Utf8Cache* cache) {
  const tagIPv4_CONNECT_ADDR& addr = query.addr;
  return {
      quarn_tool::Endpoint(addr.first_ip, addr.first_port),
      quarn_tool::Endpoint(addr.second_ip, addr.second_port),
      query.transport == QUARN_TRANSPORT_UDP ? "udp" : "tcp",
      std::string(a.dir == DIR_CS_FIRST_SERVER ? "second" : "first") + " (" +
          DecidedBy(a) + ")",
      std::to_string(a.appid) + " " +
          cache->Get(CAppSubtypeReader::FindDispNameByAppid(a.appid)),
      a.item != nullptr ? "user-defined " + cache->Get(a.item->name)
                        : "unknown",
      a.group == 0
          ? "-"
          : std::to_string(a.group) + " " +
                cache->Get(CAppSubtypeReader::FindDispNameByAppid(a.group))};
}

int RunApp(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable, {{"--judge", true}});
  const int rc = quarn_tool::ParseCommandLine("app", args, &line);
  if (rc >= 0) return rc;
  std::vector<Query> queries;
  const std::string why = ParseQueries(line, &queries);
  if (!why.empty()) return quarn_tool::UsageError("app", why);

  quarn_tool::LibrarySession session;
  // The company plan judges an undecided client end by address; the
  // administrator's applications are entered into the protocol tree.
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(line.config_dir(), quarn_tool::kConfigApps,
                                 &config)) {
    return quarn_tool::kExitNothingDone;
  }
  quarn_tool::ResultWriter out(quarn_tool::StandardOutput(), line.table(),
                               {"first", "second", "transport", "client",
                                "application", "source", "group"});
  for (const Query& query : queries) {
    const Answer answer = Ask(config, query);
    if (out.table()) {
      out.Row(Cells(query, answer, out.cache()));
    } else {
      WriteJson(query, answer, out.BeginItem());
      out.EndItem();
    }
  }
  out.Finish();
  return config.problems().empty() ? quarn_tool::kExitOk
                                   : quarn_tool::kExitSomeBad;
}

}  // namespace

QUARN_COMMAND(app, "[--judge N] FIRST SECOND [TRANSPORT] [...]",
              "the application a connection belongs to: a user-defined "
              "application, or else the unknown-application id",
              kOptions, kDetails, RunApp);
