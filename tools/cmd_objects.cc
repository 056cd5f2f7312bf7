// quarn objects: the IP objects and time objects that hold for a host at an
// instant, from "ip_obj_mgr.xml" and "time_obj_mgr.xml" in the
// configuration directory.

#include <stdint.h>
#include <stdio.h>
#include <time.h>

#include <string>
#include <vector>

#include "base/OrvaAddr.h"
#include "objects/CIPObjMgr.h"
#include "objects/CTimeObjMgrConfig.h"
#include "tools/Command.h"
#include "tools/common/ClassificationOutput.h"
#include "tools/common/CommandLine.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/ConnectionRecord.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

using quarn_tool::NamedId;

const char kOptions[] =
    "  ADDRESS        the host's IPv4 address\n"
    "  MAC            its MAC address, for objects that list MACs\n"
    "  TIME           \"YYYY-MM-DD HH:MM[:SS]\", local time (default: now)\n";

const char kDetails[] =
    "One JSON object for the host: ip, mac (or null), time, and ip_objects\n"
    "and time_objects as in classify ({\"mask\",\"objects\":[{\"id\","
    "\"name\"}]}).\n";

struct Query {
  uint32_t ip = 0;
  bool has_mac = false;
  unsigned char mac[6] = {0, 0, 0, 0, 0, 0};
  std::string time_text;
  quarn_tool::LocalTime time;
};

std::string Now(quarn_tool::LocalTime* time) {
  const time_t now = ::time(nullptr);
  struct tm tm;
  localtime_r(&now, &tm);
  char text[32];
  strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &tm);
  quarn_tool::ParseLocalTime(text, time);
  return text;
}

// The empty text when `args` make a query, else what is wrong.
std::string ParseQuery(const std::vector<std::string>& args, Query* query) {
  if (args.empty() || args.size() > 3) return "expected ADDRESS [MAC] [TIME]";
  if (!Orva::string_to_hip(args[0].c_str(), &query->ip)) {
    return "not an IPv4 address: " + args[0];
  }
  for (size_t i = 1; i < args.size(); ++i) {
    if (!query->has_mac && Orva::a_to_mac_addr(args[i].c_str(), query->mac)) {
      query->has_mac = true;
    } else if (query->time_text.empty() &&
               quarn_tool::ParseLocalTime(args[i], &query->time)) {
      query->time_text = args[i];
    } else {
      return "neither a MAC address nor a time: " + args[i];
    }
  }
  if (query->time_text.empty()) query->time_text = Now(&query->time);
  return std::string();
}

int RunObjects(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable);
  const int rc = quarn_tool::ParseCommandLine("objects", args, &line);
  if (rc >= 0) return rc;
  Query query;
  const std::string why = ParseQuery(line.positional(), &query);
  if (!why.empty()) return quarn_tool::UsageError("objects", why);

  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(line.config_dir(), quarn_tool::kConfigObjects,
                                 &config)) {
    return quarn_tool::kExitNothingDone;
  }
  // The same questions classify asks for the inside end of a connection.
  uint64_t ip_mask = 0;
  config.ip_objects().find(ip_mask, query.has_mac ? query.mac : nullptr,
                           query.ip, 0);
  std::vector<NamedId> ip_objects;
  quarn_tool::IPObjectList(config.ip_objects(), ip_mask, &ip_objects);
  const quarn_tool::LocalTime& t = query.time;
  const uint64_t time_mask = config.time_objects().get_time_type(
      t.month - 1, t.day, t.hour, t.minute, t.weekday);
  std::vector<NamedId> time_objects;
  quarn_tool::TimeObjectList(config.time_objects(), time_mask, &time_objects);

  quarn_tool::ResultWriter out(quarn_tool::StandardOutput(), line.table(),
                               {"objects", "mask", "names"});
  const std::string mac =
      query.has_mac ? Orva::mac_addr_to_a(query.mac) : std::string();
  if (out.table()) {
    out.Caption("host " + quarn_tool::IpText(query.ip) +
                (query.has_mac ? " (" + mac + ")" : std::string()) + " at " +
                query.time_text + "\n");
    out.Row({"ip", quarn_tool::HexText(ip_mask),
             quarn_tool::JoinNames(ip_objects, out.cache())});
    out.Row({"time", quarn_tool::HexText(time_mask),
             quarn_tool::JoinNames(time_objects, out.cache())});
  } else {
    quarn_tool::JsonWriter* json = out.BeginItem();
    json->BeginObject();
    json->Key("ip");
    json->Utf8(quarn_tool::IpText(query.ip));
    json->Key("mac");
    if (query.has_mac) {
      json->Utf8(mac);
    } else {
      json->Null();
    }
    json->Key("time");
    json->Utf8(query.time_text);
    quarn_tool::WriteObjectSet("ip_objects", ip_mask, ip_objects, false, "",
                               json);
    quarn_tool::WriteObjectSet("time_objects", time_mask, time_objects, false,
                               "", json);
    json->EndObject();
    out.EndItem();
  }
  out.Finish();
  return config.problems().empty() ? quarn_tool::kExitOk
                                   : quarn_tool::kExitSomeBad;
}

}  // namespace

QUARN_COMMAND(objects, "ADDRESS [MAC] [TIME]",
              "the IP objects and time objects that hold for a host at an "
              "instant (now by default), with their ids and names",
              kOptions, kDetails, RunObjects);
