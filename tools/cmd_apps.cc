// quarn apps: the protocol tree as the library loads it.

#include <stdio.h>

#include "appid/CAppSubtypeReader.h"
#include "frame/quarn_common_frame.h"
#include "tools/Command.h"

namespace {

typedef CAppSubtypeReader::tagPROTO_TREE_ITEM Item;

void PrintItem(const Item* item, int level) {
  printf("%*s%u  %s  %s\n", level * 2, "", item->appid, item->name,
         quarn_tool::ToTerminal(item->disp).c_str());
  for (const Item* child : item->children) PrintItem(child, level + 1);
}

int RunApps(const std::vector<std::string>& args) {
  if (quarn_tool::HelpRequested(args, "apps")) return 0;
  if (!args.empty()) {
    fprintf(stderr, "usage: quarn apps\n");
    return 2;
  }
  quarn_common_init(0, 0);
  const Item* root =
      CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_EXTERN);
  const Item* internal =
      CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_INTERN);
  int rc = 0;
  if (root == nullptr && internal == nullptr) {
    fprintf(stderr, "quarn: no protocol tree found (pat/proto_tree.xml)\n");
    rc = 1;
  } else {
    const __ST_DB_VERSION_TMP__& version = CAppSubtypeReader::GetVersion();
    if (!version.current.empty()) {
      printf("# protocol tree %s (%s)\n", version.current.c_str(),
             version.time.c_str());
    }
    if (root != nullptr) PrintItem(root, 0);
    if (internal != nullptr) PrintItem(internal, 0);
  }
  quarn_common_fini();
  return rc;
}

}  // namespace

QUARN_COMMAND(apps, "",
              "each application id of the protocol tree with its name and "
              "display name, indented by level",
              RunApps);
