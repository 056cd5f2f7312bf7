// Employee lookups beside absl::flat_hash_map.
//
// 100,000 hosts (running IPs 10.0.0.0 upwards, MACs spread like real
// cards over a few vendor prefixes) are inserted into a CEmployeeInfoMgr
// with its MAC index, and their records are put into two
// absl::flat_hash_maps: IPv4 address -> record and MAC (as a 48-bit
// number) -> record. Probes: every host and 10% more addresses the store
// does not hold, in random order; FindLastEmployeeByRunIP and FindByMAC
// must return the same record (or none) as the maps before timing. The
// MAC side of the map is timed with the conversion of the six bytes to
// its key, since a host holds the MAC as bytes.

#include <absl/base/config.h>
#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "bench/peers/peer_common.h"
#include "employee/CEmployeeInfoMgr.h"

namespace {

using peer_bench::Fail;

constexpr uint32_t kHosts = 100000;
constexpr uint32_t kMisses = kHosts / 10;
constexpr uint32_t kBaseIp = 0x0A000000;  // 10.0.0.0

void MacOf(uint32_t i, unsigned char* mac) {
  const uint32_t serial = i * 2654435761u;
  mac[0] = 0x00;
  mac[1] = 0x1A;
  mac[2] = static_cast<unsigned char>(i % 4);
  mac[3] = static_cast<unsigned char>(serial >> 16);
  mac[4] = static_cast<unsigned char>(serial >> 8);
  mac[5] = static_cast<unsigned char>(serial);
}

uint64_t MacKey(const unsigned char* mac) {
  uint64_t v = 0;
  for (int i = 0; i < 6; ++i) v = (v << 8) | mac[i];
  return v;
}

std::string AbseilVersion() {
#ifdef ABSL_LTS_RELEASE_VERSION
  return "absl::flat_hash_map " + std::to_string(ABSL_LTS_RELEASE_VERSION) +
         "." + std::to_string(ABSL_LTS_RELEASE_PATCH_LEVEL);
#else
  return "absl::flat_hash_map";
#endif
}

struct Hosts {
  CLocalIPTypeTable plan;
  CEmployeeInfoMgr store;
  absl::flat_hash_map<uint32_t, EMPLOYEE_INFO*> by_ip;
  absl::flat_hash_map<uint64_t, EMPLOYEE_INFO*> by_mac;
  std::vector<uint32_t> probes;  // host numbers; kHosts and up are misses

  Hosts() {
    plan.intranet().ranges().push_back({kBaseIp, kBaseIp + 0xFFFFFF});
    if (store.Create(&plan, kHosts, 1) == 0) Fail("cannot create the store");
    for (uint32_t i = 0; i < kHosts; ++i) {
      unsigned char mac[6];
      MacOf(i, mac);
      EMPLOYEE_INFO* r = store.InsertEmployee(1, kBaseIp + i, mac);
      if (r == nullptr) Fail("cannot insert host %u", i);
      by_ip[kBaseIp + i] = r;
      by_mac[MacKey(mac)] = r;
    }
    for (uint32_t i = 0; i < kHosts + kMisses; ++i) probes.push_back(i);
    std::shuffle(probes.begin(), probes.end(), std::mt19937(42));
  }
};

template <typename Map, typename Key>
EMPLOYEE_INFO* Find(const Map& map, Key key) {
  auto it = map.find(key);
  return it == map.end() ? nullptr : it->second;
}

void CompareByIp(Hosts& h) {
  for (uint32_t i : h.probes) {
    if (h.store.FindLastEmployeeByRunIP(kBaseIp + i) !=
        Find(h.by_ip, kBaseIp + i)) {
      Fail("host %u: the store and the map disagree by IP", i);
    }
  }
  auto ours = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t n = begin; n < end; ++n) {
      const uint32_t i = h.probes[n];
      sum += h.store.FindLastEmployeeByRunIP(kBaseIp + i) != nullptr;
    }
    return sum;
  };
  auto peer = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t n = begin; n < end; ++n) {
      sum += Find(h.by_ip, kBaseIp + h.probes[n]) != nullptr;
    }
    return sum;
  };
  const peer_bench::Timing t = peer_bench::Compare(ours, peer, h.probes.size());
  peer_bench::PrintRow("employee: FindLastEmployeeByRunIP",
                       peer_bench::Thousands(kHosts) + " hosts, 10% misses",
                       t.ours_ns, AbseilVersion(), t.peer_ns);
}

void CompareByMac(Hosts& h) {
  // Misses are MACs of host numbers never inserted.
  for (uint32_t i : h.probes) {
    unsigned char mac[6];
    MacOf(i, mac);
    if (h.store.FindByMAC(mac) != Find(h.by_mac, MacKey(mac))) {
      Fail("host %u: the store and the map disagree by MAC", i);
    }
  }
  auto ours = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t n = begin; n < end; ++n) {
      const uint32_t i = h.probes[n];
      unsigned char mac[6];
      MacOf(i, mac);
      sum += h.store.FindByMAC(mac) != nullptr;
    }
    return sum;
  };
  auto peer = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t n = begin; n < end; ++n) {
      const uint32_t i = h.probes[n];
      unsigned char mac[6];
      MacOf(i, mac);
      sum += Find(h.by_mac, MacKey(mac)) != nullptr;
    }
    return sum;
  };
  const peer_bench::Timing t = peer_bench::Compare(ours, peer, h.probes.size());
  peer_bench::PrintRow("employee: FindByMAC",
                       peer_bench::Thousands(kHosts) + " hosts, 10% misses",
                       t.ours_ns, AbseilVersion(), t.peer_ns);
}

}  // namespace

int main() {
  Hosts* hosts = new Hosts;
  CompareByIp(*hosts);
  CompareByMac(*hosts);
  delete hosts;
  return 0;
}
