// App-id lookups beside absl::flat_hash_map.
//
// Our side is CAppSubtypeReader::FindItemByAppid on the protocol tree the
// library loads at start (the example tree), first as shipped and then
// filled up with administrator-defined applications to the 1,000 items the
// id index holds. The peer is an
// absl::flat_hash_map from every id of the tree to its item, filled from
// the tree. Probes: every id of the tree and as many ids it does not hold,
// in random order; both sides must return the same item (or none) for
// each before timing.

#include <absl/base/config.h>
#include <absl/container/flat_hash_map.h>
#include <stdio.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "appid/CAppSubtypeReader.h"
#include "bench/peers/peer_common.h"
#include "frame/quarn_common_frame.h"

namespace {

using peer_bench::Fail;
typedef CAppSubtypeReader::tagPROTO_TREE_ITEM Item;

constexpr size_t kIndexCapacity = 1000;

// Every item under `item`, `item` included.
void Collect(const Item* item, std::vector<const Item*>* items) {
  items->push_back(item);
  for (const Item* child : item->children) Collect(child, items);
}

// The items of both trees, external and internal applications.
std::vector<const Item*> AllItems() {
  std::vector<const Item*> items;
  for (uint32_t id :
       {CAppSubtypeReader::APP_EXTERN, CAppSubtypeReader::APP_INTERN}) {
    const Item* root = CAppSubtypeReader::FindItemByAppid(id);
    if (root == nullptr) Fail("no protocol tree in the module directory");
    Collect(root, &items);
  }
  return items;
}

std::string AbseilVersion() {
#ifdef ABSL_LTS_RELEASE_VERSION
  return "absl::flat_hash_map " + std::to_string(ABSL_LTS_RELEASE_VERSION) +
         "." + std::to_string(ABSL_LTS_RELEASE_PATCH_LEVEL);
#else
  return "absl::flat_hash_map";
#endif
}

void Run(const std::string& data) {
  const std::vector<const Item*> items = AllItems();
  absl::flat_hash_map<uint32_t, const Item*> map;
  for (const Item* item : items) map[item->appid] = item;

  // Misses: ids of the same shape (group and subtype numbers) that the
  // tree does not hold.
  std::mt19937 rng(5);
  std::vector<uint32_t> probes;
  for (const Item* item : items) probes.push_back(item->appid);
  while (probes.size() < 2 * items.size()) {
    const uint32_t id = (1000 + rng() % 1000) * 10000 + rng() % 10000;
    if (!map.contains(id)) probes.push_back(id);
  }
  std::shuffle(probes.begin(), probes.end(), rng);
  // At least 2^16 probes, so that a pass is long enough to time.
  while (probes.size() < (1u << 16)) {
    probes.insert(
        probes.end(), probes.begin(),
        probes.begin() + std::min(probes.size(), (1u << 16) - probes.size()));
  }

  for (uint32_t id : probes) {
    auto it = map.find(id);
    const Item* theirs = it == map.end() ? nullptr : it->second;
    if (CAppSubtypeReader::FindItemByAppid(id) != theirs) {
      Fail("app id %u: the tree and the map disagree", id);
    }
  }

  auto ours = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t i = begin; i < end; ++i) {
      sum += CAppSubtypeReader::FindItemByAppid(probes[i]) != nullptr;
    }
    return sum;
  };
  auto peer = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t i = begin; i < end; ++i) {
      auto it = map.find(probes[i]);
      sum += (it == map.end() ? nullptr : it->second) != nullptr;
    }
    return sum;
  };
  const peer_bench::Timing t = peer_bench::Compare(ours, peer, probes.size());
  peer_bench::PrintRow("app id: FindItemByAppid",
                       peer_bench::Thousands(items.size()) + " ids" + data,
                       t.ours_ns, AbseilVersion(), t.peer_ns);
}

}  // namespace

int main() {
  quarn_common_init(0, 0);
  Run(" (example tree), half misses");
  const size_t user_apps = kIndexCapacity - AllItems().size();
  for (uint32_t i = 1; i <= user_apps; ++i) {
    const std::string name = "user_app_" + std::to_string(i);
    if (CAppSubtypeReader::AddUserDefApp(name.c_str(), name.c_str(),
                                         19000000 + i, 1) == 0) {
      Fail("cannot add application %u", 19000000 + i);
    }
  }
  Run(" (example tree + user apps), half misses");
  quarn_common_fini();
  return 0;
}
