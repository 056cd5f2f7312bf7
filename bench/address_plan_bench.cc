// Per-connection questions to the company address plan: the department of
// an address over a plan of 50 departments, and the data direction of a
// connection.

#include <stdint.h>

#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "address/AddressPredicates.h"
#include "address/CLocalIPTypeTable.h"

namespace {

const int kDepartments = 50;

// Intranet 10.20.0.0/16 with a DMZ; 40 departments of one /24 each and 10
// departments of four single addresses, in the order a plan lists them.
void FillPlan(CLocalIPTypeTable* plan) {
  plan->close();
  plan->intranet().ranges().push_back(IP_RANGE_PAIR(0x0A140000, 0x0A14FFFF));
  plan->dmz().ranges().push_back(IP_RANGE_PAIR(0xCB007100, 0xCB00713F));
  for (int i = 0; i < kDepartments; ++i) {
    COrgStructInfo::tagDEPARTMENT_ITEM dep;
    dep.id = plan->GenNextDepid();
    dep.name = "department";
    const uint32_t net = 0x0A140000 + (static_cast<uint32_t>(i) << 8);
    if (i < 40) {
      dep.type = COrgStructInfo::DEP_TYPE_IPRANGE;
      dep.ranges.push_back(IP_RANGE_PAIR(net, net + 0xFF));
    } else {
      dep.type = COrgStructInfo::DEP_TYPE_IPSET;
      for (uint32_t host = 1; host <= 4; ++host)
        dep.ipset.push_back(net + host);
    }
    plan->intranet().AddDepartment(dep);
  }
  COrgStructInfo::tagDEPARTMENT_ITEM placeholder;
  placeholder.id = COrgStructInfo::ORG_UNCLASSIFIED;
  placeholder.type = COrgStructInfo::DEP_TYPE_IPSET;
  plan->intranet().AddDepartment(placeholder);
}

// Addresses spread over the departments, the rest of the intranet, other
// private networks, the DMZ and the internet.
std::vector<uint32_t> RandomAddresses(size_t count) {
  std::mt19937 rng(42);
  std::vector<uint32_t> out;
  out.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    switch (rng() % 4) {
      case 0:
      case 1:
        out.push_back(0x0A140000 + (rng() % (kDepartments << 8)));
        break;
      case 2:
        out.push_back(0x0A140000 + (rng() & 0xFFFF));
        break;
      default:
        out.push_back(rng());
        break;
    }
  }
  return out;
}

void BM_GetDepartmentIdByIP(benchmark::State& state) {
  CLocalIPTypeTable plan;
  FillPlan(&plan);
  const std::vector<uint32_t> ips = RandomAddresses(4096);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(plan.GetDepartmentIdByIP(ips[i]));
    i = (i + 1) & 4095;
  }
}
BENCHMARK(BM_GetDepartmentIdByIP);

void BM_quarn_GetDataDir(benchmark::State& state) {
  FillPlan(CLocalIPTypeTable_Singleton::instance());
  const std::vector<uint32_t> ips = RandomAddresses(4096 + 1);
  std::vector<tagIPv4_CONNECT_ADDR> conns(4096);
  for (size_t k = 0; k < conns.size(); ++k) {
    conns[k] = tagIPv4_CONNECT_ADDR{ips[k], 40000, ips[k + 1], 443};
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(quarn_GetDataDir(DIR_IO_UNKNOWN, conns[i]));
    i = (i + 1) & 4095;
  }
}
BENCHMARK(BM_quarn_GetDataDir);

}  // namespace

BENCHMARK_MAIN();
