// Address-to-area lookup over a level-1 table of 500,000 ranges (5% of them
// in the area that level 2 refines, each split in two there), with random
// addresses. The library's GetIP_INTERNET_Range_Type_Level2 runs beside
// the obvious implementation: std::upper_bound over a vector of the range
// records, once per level. Both must give the same answer for every
// address; the program stops before timing if they do not.

#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "address/InternetRange.h"
#include "benchmark/benchmark.h"
#include "tools/IptWriter.h"

namespace {

constexpr size_t kRanges = 500000;
constexpr size_t kQueries = 1 << 20;

struct Fixture {
  std::vector<INTERNET_IP_RANGE> level1, level2;
  std::vector<uint32_t> queries;
  INTERNET_IP_DESC unknown{kAreaUnknown, "unkonwn"};
  INTERNET_IP_DESC refined_unknown{kAreaRefinedUnknown, "unkonwn"};
};

void WriteFile(const std::string& path, const std::string& bytes) {
  FILE* f = fopen(path.c_str(), "wb");
  if (f == nullptr || fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size())
    abort();
  fclose(f);
}

// Disjoint ranges spread over the whole address space, with gaps.
void MakeTables(std::mt19937* rng, std::vector<quarn_tool::IptRecord>* l1,
                std::vector<quarn_tool::IptRecord>* l2) {
  const uint64_t step = (uint64_t(1) << 32) / kRanges;
  for (size_t i = 0; i < kRanges; ++i) {
    const uint64_t slot = i * step;
    const uint32_t begin = uint32_t(slot + (*rng)() % (step / 8));
    const uint32_t end = uint32_t(slot + step - 1 - (*rng)() % (step / 8));
    const bool refined = (*rng)() % 20 == 0;
    const uint64_t id =
        refined ? kAreaRefinedByLevel2
                : 0x0000A00000000000ull + ((i % 200) << 32) + ((i % 2) << 46);
    l1->push_back({begin, end, id, "area"});
    if (refined) {
      const uint32_t mid = begin + (end - begin) / 2;
      l2->push_back({begin, mid - 8, kAreaRefinedByLevel2 | 0x01000000, "c1"});
      l2->push_back({mid, end, kAreaRefinedByLevel2 | 0x02000000, "c2"});
    }
  }
}

const INTERNET_IP_DESC* UpperBound(const std::vector<INTERNET_IP_RANGE>& v,
                                   uint32_t ip) {
  auto it = std::upper_bound(
      v.begin(), v.end(), ip,
      [](uint32_t x, const INTERNET_IP_RANGE& r) { return x < r.begin; });
  if (it == v.begin()) return nullptr;
  --it;
  return ip <= it->end ? &it->desc : nullptr;
}

const INTERNET_IP_DESC* BaselineLevel2(const Fixture& f, uint32_t ip) {
  const INTERNET_IP_DESC* d = UpperBound(f.level1, ip);
  if (d == nullptr) return &f.unknown;
  if (d->area_id != kAreaRefinedByLevel2) return d;
  const INTERNET_IP_DESC* fine = UpperBound(f.level2, ip);
  return fine == nullptr ? &f.refined_unknown : fine;
}

Fixture* Setup() {
  static Fixture* fixture = nullptr;
  if (fixture != nullptr) return fixture;
  fixture = new Fixture;
  std::mt19937 rng(2026);
  std::vector<quarn_tool::IptRecord> l1, l2;
  MakeTables(&rng, &l1, &l2);

  const std::string dir = "/tmp/quarn_address_range_bench";
  mkdir(dir.c_str(), 0755);
  WriteFile(dir + "/ipt1.dat", quarn_tool::EncodeIpt(1, l1, 0x21));
  WriteFile(dir + "/ipt2.dat", quarn_tool::EncodeIpt(1, l2, 0x21));
  setenv("QUARN_MODULE_DIR", dir.c_str(), 1);
  LoadInternetRangeTypeLevel2();

  for (const auto& r : l1)
    fixture->level1.push_back({r.begin, r.end, {r.area_id, r.desc}});
  for (const auto& r : l2)
    fixture->level2.push_back({r.begin, r.end, {r.area_id, r.desc}});
  for (size_t i = 0; i < kQueries; ++i) fixture->queries.push_back(rng());

  size_t refined = 0;
  for (uint32_t ip : fixture->queries) {
    const INTERNET_IP_DESC* a = GetIP_INTERNET_Range_Type_Level2(ip);
    const INTERNET_IP_DESC* b = BaselineLevel2(*fixture, ip);
    if (a->area_id != b->area_id || a->desc != b->desc) {
      fprintf(stderr, "answers differ for %08x\n", ip);
      abort();
    }
    refined += (a->area_id & 0xFFFFFFFF00000000ull) == kAreaRefinedByLevel2;
  }
  fprintf(stderr,
          "%zu level-1 ranges, %zu level-2 ranges; %zu queries, "
          "identical answers (%zu refined)\n",
          l1.size(), l2.size(), fixture->queries.size(), refined);
  return fixture;
}

void BM_Level2_Library(benchmark::State& state) {
  const Fixture& f = *Setup();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        GetIP_INTERNET_Range_Type_Level2(f.queries[i++ & (kQueries - 1)]));
  }
}
BENCHMARK(BM_Level2_Library);

void BM_Level2_UpperBoundBaseline(benchmark::State& state) {
  const Fixture& f = *Setup();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        BaselineLevel2(f, f.queries[i++ & (kQueries - 1)]));
  }
}
BENCHMARK(BM_Level2_UpperBoundBaseline);

void BM_Level1_Library(benchmark::State& state) {
  const Fixture& f = *Setup();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        GetIP_INTERNET_Range_Type_Level1(f.queries[i++ & (kQueries - 1)]));
  }
}
BENCHMARK(BM_Level1_Library);

void BM_LoadBothTables(benchmark::State& state) {
  Setup();
  for (auto _ : state) LoadInternetRangeTypeLevel2();
}
BENCHMARK(BM_LoadBothTables)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
