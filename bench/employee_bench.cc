// Lookups in the employee stores beside std::unordered_map holding the same
// keys: by running IP and by MAC in a table of 100,000 hosts, and the
// signed-in check TestAuthPassByIP in a table of 100,000 entries. The
// signed-in check is compared with two maps: one holding the same records
// (the store's job: the answer is read from the entry), and one holding
// only the 4-byte answer, a lower bound no store of records reaches. The
// "allocs" counter counts heap allocations per call; the stores make none
// after Create, insertions included (see BM_*Insert).

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <random>
#include <unordered_map>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "employee/CEmployeeInfoMgr.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"

namespace {

std::atomic<long> g_allocations(0);

}  // namespace

// The replaced operators pair malloc with free; GCC cannot see that the
// two replacements belong together when it inlines them.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(size_t size) {
  ++g_allocations;
  void* p = malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
void operator delete(void* p) noexcept { free(p); }
void operator delete(void* p, size_t) noexcept { free(p); }

namespace {

const unsigned kHosts = 100000;
const uint32_t kBaseIp = 0x0A000000;  // 10.0.0.0

void MacOf(uint32_t i, unsigned char* mac) {
  // Spread like real cards: a few vendors, serial numbers in the low bytes.
  uint32_t serial = i * 2654435761u;
  mac[0] = 0x00;
  mac[1] = 0x1A;
  mac[2] = static_cast<unsigned char>(i % 4);
  mac[3] = static_cast<unsigned char>(serial >> 16);
  mac[4] = static_cast<unsigned char>(serial >> 8);
  mac[5] = static_cast<unsigned char>(serial);
}

uint64_t MacValue(const unsigned char* mac) {
  uint64_t v = 0;
  for (int i = 0; i < 6; ++i) v = (v << 8) | mac[i];
  return v;
}

// The hosts in a random order, so neither container is walked in the
// order it was filled.
std::vector<uint32_t> ProbeOrder() {
  std::vector<uint32_t> order(kHosts);
  for (uint32_t i = 0; i < kHosts; ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(42));
  return order;
}

struct EmployeeFixture {
  EmployeeFixture() {
    plan.intranet().ranges().push_back({kBaseIp, kBaseIp + 0xFFFFFF});
    employees.Create(&plan, kHosts, 1);
    for (uint32_t i = 0; i < kHosts; ++i) {
      unsigned char mac[6];
      MacOf(i, mac);
      EMPLOYEE_INFO* r = employees.InsertEmployee(1, kBaseIp + i, mac);
      by_ip[kBaseIp + i] = r;
      by_mac[MacValue(mac)] = r;
      macs.push_back(MacValue(mac));
    }
    order = ProbeOrder();
  }
  CLocalIPTypeTable plan;
  CEmployeeInfoMgr employees;
  std::unordered_map<uint32_t, EMPLOYEE_INFO*> by_ip;
  std::unordered_map<uint64_t, EMPLOYEE_INFO*> by_mac;
  std::vector<uint64_t> macs;
  std::vector<uint32_t> order;
};

EmployeeFixture& Employees() {
  static EmployeeFixture* fixture = new EmployeeFixture;
  return *fixture;
}

struct SignedInFixture {
  SignedInFixture() {
    table.Create(kHosts, 0);
    for (uint32_t i = 0; i < kHosts; ++i) {
      table.SetAuth(kBaseIp + i, 1000 + i % 5000, nullptr, 100 + i, 1);
      auth[kBaseIp + i] = 100 + i;
      entries[kBaseIp + i] = *table.FindEmployeeByRunIP(kBaseIp + i);
    }
    order = ProbeOrder();
  }
  CMyEmployeeDynamicInfoMgr table;
  std::unordered_map<uint32_t, uint32_t> auth;
  std::unordered_map<uint32_t, EMPLOYEE_DYNAMIC_INFO> entries;
  std::vector<uint32_t> order;
};

SignedInFixture& SignedIn() {
  static SignedInFixture* fixture = new SignedInFixture;
  return *fixture;
}

void CountAllocations(benchmark::State& state, long before) {
  state.counters["allocs"] =
      benchmark::Counter(static_cast<double>(g_allocations - before),
                         benchmark::Counter::kAvgIterations);
}

void BM_EmployeeByIp(benchmark::State& state) {
  EmployeeFixture& f = Employees();
  size_t i = 0;
  long before = g_allocations;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        f.employees.FindLastEmployeeByRunIP(kBaseIp + f.order[i]));
    if (++i == kHosts) i = 0;
  }
  CountAllocations(state, before);
}
BENCHMARK(BM_EmployeeByIp);

void BM_UnorderedMapByIp(benchmark::State& state) {
  EmployeeFixture& f = Employees();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(f.by_ip.find(kBaseIp + f.order[i]));
    if (++i == kHosts) i = 0;
  }
}
BENCHMARK(BM_UnorderedMapByIp);

void BM_EmployeeByMac(benchmark::State& state) {
  EmployeeFixture& f = Employees();
  size_t i = 0;
  long before = g_allocations;
  for (auto _ : state) {
    unsigned char mac[6];
    MacOf(f.order[i], mac);
    benchmark::DoNotOptimize(f.employees.FindByMAC(mac));
    if (++i == kHosts) i = 0;
  }
  CountAllocations(state, before);
}
BENCHMARK(BM_EmployeeByMac);

void BM_UnorderedMapByMac(benchmark::State& state) {
  EmployeeFixture& f = Employees();
  size_t i = 0;
  for (auto _ : state) {
    unsigned char mac[6];
    MacOf(f.order[i], mac);
    benchmark::DoNotOptimize(f.by_mac.find(MacValue(mac)));
    if (++i == kHosts) i = 0;
  }
}
BENCHMARK(BM_UnorderedMapByMac);

void BM_TestAuthPassByIP(benchmark::State& state) {
  SignedInFixture& f = SignedIn();
  size_t i = 0;
  long before = g_allocations;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        f.table.TestAuthPassByIP(kBaseIp + f.order[i], nullptr));
    if (++i == kHosts) i = 0;
  }
  CountAllocations(state, before);
}
BENCHMARK(BM_TestAuthPassByIP);

void BM_UnorderedMapAuthByIp(benchmark::State& state) {
  SignedInFixture& f = SignedIn();
  size_t i = 0;
  for (auto _ : state) {
    auto it = f.auth.find(kBaseIp + f.order[i]);
    benchmark::DoNotOptimize(it == f.auth.end() ? 0u : it->second);
    if (++i == kHosts) i = 0;
  }
}
BENCHMARK(BM_UnorderedMapAuthByIp);

void BM_UnorderedMapEntryAuthByIp(benchmark::State& state) {
  SignedInFixture& f = SignedIn();
  size_t i = 0;
  for (auto _ : state) {
    auto it = f.entries.find(kBaseIp + f.order[i]);
    benchmark::DoNotOptimize(it == f.entries.end() ? 0u : it->second.auth_time);
    if (++i == kHosts) i = 0;
  }
}
BENCHMARK(BM_UnorderedMapEntryAuthByIp);

// Filling a created table: the pool takes slots, nothing is allocated.
void BM_EmployeeInsert(benchmark::State& state) {
  CLocalIPTypeTable plan;
  plan.intranet().ranges().push_back({kBaseIp, kBaseIp + 0xFFFFFF});
  CEmployeeInfoMgr employees;
  employees.Create(&plan, kHosts, 1);
  uint32_t i = 0;
  long allocations = 0;
  for (auto _ : state) {
    if (i == kHosts) {
      state.PauseTiming();
      employees.Clear();
      i = 0;
      state.ResumeTiming();
    }
    unsigned char mac[6];
    MacOf(i, mac);
    long before = g_allocations;
    benchmark::DoNotOptimize(employees.InsertEmployee(1, kBaseIp + i, mac));
    allocations += g_allocations - before;
    ++i;
  }
  state.counters["allocs"] = benchmark::Counter(
      static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_EmployeeInsert);

void BM_UnorderedMapInsert(benchmark::State& state) {
  std::unordered_map<uint32_t, EMPLOYEE_INFO> map;
  map.reserve(kHosts);
  uint32_t i = 0;
  for (auto _ : state) {
    if (i == kHosts) {
      state.PauseTiming();
      map.clear();
      i = 0;
      state.ResumeTiming();
    }
    benchmark::DoNotOptimize(map.emplace(kBaseIp + i, EMPLOYEE_INFO()));
    ++i;
  }
}
BENCHMARK(BM_UnorderedMapInsert);

}  // namespace

BENCHMARK_MAIN();
