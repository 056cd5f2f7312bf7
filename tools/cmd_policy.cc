// quarn policy: the filters of a connection policy file as the policy
// module understood them, with the messages of its reader, from the
// configuration directory's "connection_policy.xml" or another file.

#include <stdio.h>

#include <string>
#include <vector>

#include "tools/Command.h"
#include "tools/common/CommandLine.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"
#include "tools/common/PolicyStage.h"

namespace {

using quarn_tool::ConnectionPolicy;

const char kOptions[] =
    "  --policy FILE  the policy file (default: connection_policy.xml in the\n"
    "                 configuration directory)\n";

const char kDetails[] =
    "One JSON object per filter, in filter order: index, name, line (of its\n"
    "element in the file), conditions (the tested kinds as read, e.g.\n"
    "\"ip-object{id=4} time{0x2} not server{class=21,31}\", or \"every\n"
    "connection\"), kinds (the names of the tested kinds), and action\n"
    "({save_level, interrupt: the code or null, ignore, event, group: 1 to\n"
    "6 or null, mode: stop or continue}). The reader's warnings (an entry\n"
    "skipped) and errors (the policy cannot be used) are named on standard\n"
    "error with file, line and filter; the filters read are listed all the\n"
    "same, and the exit status is 1. A file with no filter read is 2.\n";

void WriteFilterJson(const ConnectionPolicy& policy, int i,
                     quarn_tool::JsonWriter* json) {
  const quarn_tool::PolicyFilter& f = policy.filter(i);
  const CFilterActionContent& a = f.action;
  json->BeginObject();
  json->Key("index");
  json->Int(i);
  json->Key("name");
  json->Gbk(f.name);
  json->Key("line");
  json->Int(f.line);
  json->Key("conditions");
  json->Gbk(policy.ConditionText(i));
  json->Key("kinds");
  json->BeginArray();
  const uint64_t kinds = f.GetEffectiveMask();
  for (int kind = 0; kind < quarn_tool::kKindCount; ++kind) {
    if (kinds & (uint64_t{1} << kind)) json->Utf8(quarn_tool::KindName(kind));
  }
  json->EndArray();
  json->Key("action");
  json->BeginObject();
  json->Key("save_level");
  json->Uint(a.save_level);
  json->Key("interrupt");
  a.need_interrupt ? json->Hex(a.interrupt_code) : json->Null();
  json->Key("ignore");
  json->Bool(a.need_ignore != 0);
  json->Key("event");
  json->Bool(a.flags[0] != 0);
  json->Key("group");
  (a.pri_group >= 1 && a.pri_group <= 6) ? json->Int(a.pri_group)
                                         : json->Null();
  json->Key("mode");
  json->Utf8(a.continue_mode == CFilterActionContent::MODE_STOP ? "stop"
                                                                : "continue");
  json->EndObject();
  json->EndObject();
}

int RunPolicy(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable,
                               {{"--policy", true}});
  const int rc = quarn_tool::ParseCommandLine("policy", args, &line);
  if (rc >= 0) return rc;
  if (!line.positional().empty()) {
    return quarn_tool::UsageError(
        "policy", "unexpected argument: " + line.positional()[0]);
  }
  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  // What a policy names objects from; the employee stores and the range
  // tables are not needed to read one.
  const int parts = quarn_tool::kConfigPlan | quarn_tool::kConfigApps |
                    quarn_tool::kConfigObjects | quarn_tool::kConfigUrls |
                    quarn_tool::kConfigPolicy;
  if (!quarn_tool::LoadAndReport(line.config_dir(), parts, &config)) {
    return quarn_tool::kExitNothingDone;
  }
  quarn_tool::PolicyStage stage(&config);
  std::vector<std::string> messages;
  const bool ready = stage.Load(line.Value("--policy", ""), parts, &messages);
  for (const std::string& message : messages) {
    fprintf(stderr, "quarn: %s\n", quarn_tool::ToTerminal(message).c_str());
  }
  const ConnectionPolicy& policy = stage.policy();
  if (policy.filter_count() == 0) return quarn_tool::kExitNothingDone;

  quarn_tool::ResultWriter out(
      quarn_tool::StandardOutput(), line.table(),
      {"filter", "name", "line", "conditions", "action"});
  out.Caption(stage.path() + ": " + std::to_string(policy.filter_count()) +
              " filters" + (ready ? "" : ", not usable") + "\n");
  for (int i = 0; i < policy.filter_count(); ++i) {
    if (out.table()) {
      quarn_tool::Utf8Cache* cache = out.cache();
      out.Row({std::to_string(i), cache->Get(policy.filter(i).name),
               std::to_string(policy.filter(i).line),
               cache->Get(policy.ConditionText(i)), policy.ActionText(i)});
    } else {
      WriteFilterJson(policy, i, out.BeginItem());
      out.EndItem();
    }
  }
  out.Finish();
  const bool clean = ready && messages.empty() && config.problems().empty();
  return clean ? quarn_tool::kExitOk : quarn_tool::kExitSomeBad;
}

}  // namespace

QUARN_COMMAND(policy, "[--policy FILE]",
              "the filters of the connection policy as the tool read them: "
              "conditions by kind and action, with the reader's warnings",
              kOptions, kDetails, RunPolicy);
