// quarn url: the URL categories a URL falls into, in the system and user
// databases, and whether its host is on the white list.
//
// The system database is "url/sys_url.dat" in the module directory (or
// "url/sys_url.xml" when there is no enciphered one); the user database
// "user_url.xml" and the white list "white_url.xml" are read from the
// configuration directory, by default "gateway" in the module directory.

#include <stdio.h>

#include <string>
#include <vector>

#include "base/OrvaPath.h"
#include "tools/Command.h"
#include "tools/common/GatewayConfig.h"
#include "url/CURL_Type_Finder_Ex.h"
#include "url/CWhiteURLConfig.h"

namespace {

// The URL as the gateway sees it: without "http://" or "https://".
std::string StripScheme(const std::string& url) {
  for (const char* scheme : {"http://", "https://"}) {
    std::string s = scheme;
    if (url.compare(0, s.size(), s) == 0) return url.substr(s.size());
  }
  return url;
}

// Prints each category of `names` that `word` holds.
void PrintCategories(const char* label, uint64_t word, bool system,
                     const CSimpleURLTypeConfig& names) {
  printf("  %-7s 0x%016llx", label, static_cast<unsigned long long>(word));
  for (int bit = 0; bit < 64; ++bit) {
    uint64_t mask = uint64_t{1} << bit;
    if ((word & mask) == 0) continue;
    std::string name;
    for (const auto& list : names.url_db().types) {
      if ((system ? list.hitype : list.lotype) & mask) {
        name = list.name;
        break;
      }
    }
    printf(" [%d %s]", bit, quarn_tool::ToTerminal(name).c_str());
  }
  printf("\n");
}

int RunURL(const std::vector<std::string>& args) {
  if (quarn_tool::HelpRequested(args, "url")) return 0;
  std::string config_dir = quarn_tool::DefaultConfigDir();
  std::vector<std::string> urls;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--config" && i + 1 < args.size()) {
      config_dir = args[++i];
    } else {
      urls.push_back(StripScheme(args[i]));
    }
  }
  if (urls.empty()) {
    fprintf(stderr, "usage: quarn url [--config DIR] <url> [...]\n");
    return 2;
  }
  quarn_tool::GatewayConfig config;
  if (!config.Load(config_dir, quarn_tool::kConfigUrls)) {
    fprintf(stderr, "quarn: %s\n", config.problems()[0].c_str());
    return 1;
  }
  for (const std::string& problem : config.problems()) {
    fprintf(stderr, "quarn: %s\n", problem.c_str());
  }
  CURL_Type_Finder_Ex& finder = config.urls();
  const CWhiteURLConfig& white = config.white_urls();
  printf("system database: %zu categories\n",
         finder.system_names().url_db().types.size());
  printf("user database:   %zu categories\n",
         finder.user_names().url_db().types.size());

  for (const std::string& url : urls) {
    URL_GROUP_TYPE set;
    finder.find_url(url.data(), static_cast<int>(url.size()), set);
    std::string host = url.substr(0, url.find('/'));
    printf("%s\n", url.c_str());
    PrintCategories("system:", set.hitype, true, finder.system_names());
    PrintCategories("user:", set.lotype, false, finder.user_names());
    printf("  %-7s %s\n",
           "name:", quarn_tool::ToTerminal(finder.GetURLTypeName(set)).c_str());
    printf("  %-7s %s\n", "white:",
           white.IsWhiteHost(host.data(), host.size()) ? "yes" : "no");
  }
  return 0;
}

}  // namespace

QUARN_COMMAND(url, "[--config DIR] <url> [...]",
              "URL categories of URLs and whether their hosts are white-listed",
              RunURL);
