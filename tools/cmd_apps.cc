// quarn apps: the protocol tree as a host process sees it: the tree of the
// module directory ("pat/proto_tree.xml") with the administrator's
// applications of the configuration directory ("user_def_app.xml") entered
// under their group, so every name classify can print is listed here.

#include <stdio.h>

#include <string>
#include <vector>

#include "appid/CAppSubtypeReader.h"
#include "tools/Command.h"
#include "tools/common/CommandLine.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

typedef CAppSubtypeReader::tagPROTO_TREE_ITEM Item;

const char kOptions[] = "";

const char kDetails[] =
    "One JSON object per item of the tree, parents before their children:\n"
    "id, name (the display name), short_name (the tree's own name), level\n"
    "(0 for the two roots), parent (id, or null), visible, and source\n"
    "(\"user-defined\" for the administrator's applications, else \"tree\").\n"
    "The table indents the short names by level.\n";

void WriteItem(const Item& item, int level, quarn_tool::ResultWriter* out) {
  const bool user_defined = CAppSubtypeReader::IsUserDefSubApp(item.appid) != 0;
  quarn_tool::Utf8Cache* cache = out->cache();
  if (out->table()) {
    out->Row({std::to_string(item.appid),
              std::string(2 * level, ' ') + cache->Get(item.name),
              cache->Get(item.disp), user_defined ? "user-defined" : ""});
  } else {
    quarn_tool::JsonWriter* json = out->BeginItem();
    json->BeginObject();
    json->Key("id");
    json->Uint(item.appid);
    json->Key("name");
    json->Gbk(item.disp);
    json->Key("short_name");
    json->Gbk(item.name);
    json->Key("level");
    json->Int(level);
    json->Key("parent");
    if (item.parent != nullptr) {
      json->Uint(item.parent->appid);
    } else {
      json->Null();
    }
    json->Key("visible");
    json->Bool(item.visible != 0);
    json->Key("source");
    json->Utf8(user_defined ? "user-defined" : "tree");
    json->EndObject();
    out->EndItem();
  }
  for (const Item* child : item.children) WriteItem(*child, level + 1, out);
}

int RunApps(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable);
  const int rc = quarn_tool::ParseCommandLine("apps", args, &line);
  if (rc >= 0) return rc;
  if (!line.positional().empty()) {
    return quarn_tool::UsageError(
        "apps", "unexpected argument: " + line.positional()[0]);
  }
  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(line.config_dir(), quarn_tool::kConfigApps,
                                 &config)) {
    return quarn_tool::kExitNothingDone;
  }
  const Item* roots[] = {
      CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_EXTERN),
      CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_INTERN)};
  if (roots[0] == nullptr && roots[1] == nullptr) {
    fprintf(stderr, "quarn: no protocol tree found (pat/proto_tree.xml)\n");
    return quarn_tool::kExitNothingDone;
  }
  quarn_tool::ResultWriter out(quarn_tool::StandardOutput(), line.table(),
                               {"id", "short name", "name", "source"});
  const __ST_DB_VERSION_TMP__& version = CAppSubtypeReader::GetVersion();
  if (!version.current.empty()) {
    out.Caption("protocol tree " + version.current + " (" + version.time +
                ")\n");
  }
  for (const Item* root : roots) {
    if (root != nullptr) WriteItem(*root, 0, &out);
  }
  out.Finish();
  return config.problems().empty() ? quarn_tool::kExitOk
                                   : quarn_tool::kExitSomeBad;
}

}  // namespace

QUARN_COMMAND(apps, "",
              "each application of the protocol tree, the administrator's "
              "included, with its id, name and display name, by level",
              kOptions, kDetails, RunApps);
