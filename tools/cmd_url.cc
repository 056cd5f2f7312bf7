// quarn url: the URL categories a URL falls into, in the system and user
// databases, and whether its host is on the white list.
//
// The system database is "url/sys_url.dat" in the module directory (or
// "url/sys_url.xml" when there is no enciphered one); the user database
// "user_url.xml" and the white list "white_url.xml" are read from the
// configuration directory.

#include <stdio.h>

#include <string>
#include <vector>

#include "base/OrvaText.h"
#include "tools/Command.h"
#include "tools/common/ClassificationOutput.h"
#include "tools/common/CommandLine.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

const char kOptions[] =
    "  URL            a URL, with or without \"http://\" or \"https://\";\n"
    "                 several may follow\n";

const char kDetails[] =
    "One JSON object per URL, as in classify's \"url\": url (without its\n"
    "scheme), system and user (the categories, [{\"bit\",\"name\"}]),\n"
    "type_name, and white (whether the URL is on the white list). The host\n"
    "is lower-cased before the categories and the white list are asked;\n"
    "the white list is asked with the host, then with the host and the\n"
    "path, so that an entry naming a path can match.\n";

int RunUrl(const std::vector<std::string>& args) {
  quarn_tool::CommandLine line(quarn_tool::Format::kTable);
  const int rc = quarn_tool::ParseCommandLine("url", args, &line);
  if (rc >= 0) return rc;
  if (line.positional().empty()) {
    return quarn_tool::UsageError("url", "no URL given");
  }

  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(line.config_dir(), quarn_tool::kConfigUrls,
                                 &config)) {
    return quarn_tool::kExitNothingDone;
  }
  quarn_tool::ResultWriter out(
      quarn_tool::StandardOutput(), line.table(),
      {"url", "system categories", "user categories", "type name", "white"});
  int status = config.problems().empty() ? quarn_tool::kExitOk
                                         : quarn_tool::kExitSomeBad;
  for (const std::string& url : line.positional()) {
    quarn_tool::Classification c;
    // The same text as classify's input: UTF-8, converted at the edge.
    quarn_tool::LookUpUrl(&config, Orva::UTF8_to_HOME(url), &c);
    if (!c.has_url) {
      fprintf(stderr, "quarn url: not a URL (nothing after the scheme): %s\n",
              url.c_str());
      status = quarn_tool::kExitSomeBad;
      continue;
    }
    if (out.table()) {
      quarn_tool::Utf8Cache* cache = out.cache();
      out.Row({cache->Get(c.url),
               quarn_tool::JoinNames(c.sys_categories, cache),
               quarn_tool::JoinNames(c.user_categories, cache),
               cache->Get(c.url_type_name), c.white ? "yes" : "no"});
    } else {
      quarn_tool::JsonWriter* json = out.BeginItem();
      json->BeginObject();
      quarn_tool::WriteUrlFields(c, false, json);
      json->EndObject();
      out.EndItem();
    }
  }
  out.Finish();
  return status;
}

}  // namespace

QUARN_COMMAND(url, "URL [...]",
              "the URL categories of URLs and whether their hosts are "
              "white-listed",
              kOptions, kDetails, RunUrl);
