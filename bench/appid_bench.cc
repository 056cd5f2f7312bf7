// The protocol tree's lookups: by id (once per classified connection) and,
// for comparison, by name (configuration work).

#include <stdlib.h>

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "appid/CAppSubtypeReader.h"
#include "frame/quarn_common_frame.h"

namespace {

std::vector<uint32_t> AllIds() {
  std::vector<uint32_t> ids;
  std::vector<uint32_t> groups;
  CAppSubtypeReader::GetAllExtGrpAppType(groups);
  for (uint32_t group : groups) {
    ids.push_back(group);
    std::vector<uint32_t> subs;
    CAppSubtypeReader::GetSubAppType(group, &subs);
    ids.insert(ids.end(), subs.begin(), subs.end());
  }
  return ids;
}

void BM_FindItemByAppid(benchmark::State& state) {
  std::vector<uint32_t> ids = AllIds();
  ids.push_back(19000123);  // a miss
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        CAppSubtypeReader::FindItemByAppid(ids[i++ % ids.size()]));
  }
}
BENCHMARK(BM_FindItemByAppid);

void BM_FindDispNameByAppid(benchmark::State& state) {
  std::vector<uint32_t> ids = AllIds();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        CAppSubtypeReader::FindDispNameByAppid(ids[i++ % ids.size()]));
  }
}
BENCHMARK(BM_FindDispNameByAppid);

void BM_FindItemByAppName(benchmark::State& state) {
  std::vector<std::string> names;
  for (uint32_t id : AllIds()) {
    names.push_back(CAppSubtypeReader::FindItemByAppid(id)->name);
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(CAppSubtypeReader::FindItemByAppName(
        names[i++ % names.size()].c_str()));
  }
}
BENCHMARK(BM_FindItemByAppName);

}  // namespace

int main(int argc, char** argv) {
  quarn_common_init(0, 0);
  if (CAppSubtypeReader::FindItemByAppid(CAppSubtypeReader::APP_EXTERN) ==
      nullptr) {
    fprintf(stderr, "no protocol tree: set QUARN_MODULE_DIR\n");
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  quarn_common_fini();
  return 0;
}
