// Feeds arbitrary bytes to the protocol tree reader as "pat/proto_tree.xml"
// in the module directory, then checks the lookups against the tree they
// hand out: an item found by id is the item of that id, its group is its
// parent, and names and display names of the first two levels are found.
// Reading the same file again must give the same tree, an application
// added to the user-defined group must come and go, and closing the tree
// must release every item (the leak check sees any that stays).

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <strings.h>

#include <string>
#include <vector>

#include "appid/CAppSubtypeReader.h"
#include "fuzz/FuzzFiles.h"

namespace {

using quarn_fuzz::Require;
typedef CAppSubtypeReader R;
typedef R::tagPROTO_TREE_ITEM Item;

const size_t kMaxItems = 4096;

// One item as a walk sees it.
struct Seen {
  uint32_t appid;
  std::string name;
  std::string disp;
  uint32_t parent;
  size_t children;
  bool operator==(const Seen& o) const {
    return appid == o.appid && name == o.name && disp == o.disp &&
           parent == o.parent && children == o.children;
  }
};

// The items below the root, depth first, and the lookups checked on each.
// `searchable`: the name searches run over this root (a later element
// with the root's id, refused as a repeat, leaves them without one).
void Walk(const Item* item, int depth, bool searchable,
          std::vector<Seen>* seen) {
  if (item == nullptr || seen->size() >= kMaxItems) return;
  seen->push_back({item->appid, item->name, item->disp,
                   item->parent ? item->parent->appid : 0,
                   item->children.size()});
  const Item* by_id = R::FindItemByAppid(item->appid);
  // Past the index's capacity an item is in the tree but not found by id.
  if (by_id != nullptr) {
    Require(by_id == item, "an id names one item");
    Require(std::string(R::FindDispNameByAppid(item->appid)) == item->disp,
            "display name by id");
    const uint32_t group =
        item->parent == nullptr || item->parent->appid == R::APP_EXTERN
            ? 0
            : item->parent->appid;
    Require(R::GetExtGrpAppType(item->appid) == group, "group of an item");
    std::vector<uint32_t> subs;
    const uint64_t count = R::GetSubAppType(item->appid, &subs);
    if (item->appid % 10000 == 0) {
      Require(count == item->children.size() && subs.size() == count,
              "subtypes of a group");
      for (size_t i = 0; i < subs.size(); ++i) {
        Require(subs[i] == item->children[i]->appid, "subtypes in order");
      }
    } else {
      Require(count == 0, "a subtype has no subtypes");
    }
  }
  if (searchable && depth >= 1 && depth <= 2) {
    const Item* by_name = R::FindItemByAppName(item->name);
    Require(by_name != nullptr && strcasecmp(by_name->name, item->name) == 0,
            "an item of the first two levels is found by name");
    const Item* by_disp = R::FindItemByAppDesc(item->disp);
    Require(by_disp != nullptr && strcasecmp(by_disp->disp, item->disp) == 0,
            "an item of the first two levels is found by display name");
  }
  for (const Item* child : item->children) {
    Require(child->parent == item, "a child knows its parent");
    Walk(child, depth + 1, searchable, seen);
  }
}

std::vector<Seen> WalkTree() {
  std::vector<Seen> seen;
  const Item* root = R::FindItemByAppid(R::APP_EXTERN);
  const bool searchable =
      root != nullptr && !root->children.empty() &&
      R::FindItemByAppName(root->children[0]->name) != nullptr;
  Walk(root, 0, searchable, &seen);
  std::vector<uint32_t> groups;
  R::GetAllExtGrpAppType(groups);
  Require(groups.size() == (root ? root->children.size() : 0),
          "the groups are the root's children");
  R::ShowAppName(groups, 1);
  return seen;
}

// Files an application under the user-defined group and removes it again.
void AddAndRemoveUserApp() {
  const uint32_t id = R::APP_EX_USERD + 4321;
  if (R::AddUserDefApp("fuzz_user_app", "fuzz user app", id, 1) != 1) return;
  const Item* item = R::FindItemByAppid(id);
  if (item != nullptr) {
    Require(item->parent != nullptr && item->parent->appid == R::APP_EX_USERD,
            "a user application sits in its group");
  }
  Require(R::GetExtGrpAppType(id) == R::APP_EX_USERD,
          "a user application's group");
  R::DeleteAllUserDefApp();
  Require(R::FindItemByAppid(id) == nullptr, "a removed application is gone");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("QUARN_MODULE_DIR", quarn_fuzz::ScratchDir().c_str(), 1);
  quarn_fuzz::MakeDir(quarn_fuzz::ScratchPath("pat"));
  atexit(CAppSubtypeReader::CloseAppTypeTree);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = quarn_fuzz::ScratchPath("pat/proto_tree.xml");
  quarn_fuzz::WriteWholeFile(path, data, size);
  const int read = R::ReadAppTypeTree();
  const std::vector<Seen> first = WalkTree();
  AddAndRemoveUserApp();
  __ST_DB_VERSION_TMP__ version;
  R::ReadVersionInfo(path.c_str(), version);

  Require(R::ReadAppTypeTree() == read, "reading again reads the same");
  Require(WalkTree() == first, "reading again gives the same tree");
  R::CloseAppTypeTree();
  Require(R::FindItemByAppid(R::APP_EXTERN) == nullptr,
          "a closed tree finds nothing");
  return 0;
}
