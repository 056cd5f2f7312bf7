// One whole filter evaluation: Clear, then the source address, destination
// address and time of a connection fed to a 64-filter policy. The policy's
// matcher answers from precomputed masks, so the figure is the evaluator's
// own cost. Allocations during the timed loop are counted and reported.

#include <stdlib.h>

#include <new>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "filter/CFilterResult.h"
#include "filter/IFilter.h"

static long g_allocations = 0;

void* operator new(size_t size) {
  ++g_allocations;
  void* p = malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  ++g_allocations;
  return malloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
// Out of line, so the compiler does not pair an inlined free() with the
// operator new above and warn about a mismatch that is not there.
__attribute__((noinline)) static void ReleaseBlock(void* p) { free(p); }
void operator delete(void* p) noexcept { ReleaseBlock(p); }
void operator delete(void* p, size_t) noexcept { ReleaseBlock(p); }
void operator delete[](void* p) noexcept { ReleaseBlock(p); }
void operator delete[](void* p, size_t) noexcept { ReleaseBlock(p); }

namespace {

const int kFilters = 64;
const int kKinds = 3;  // source address, destination address, time

// The matched filters of each kind for one connection.
struct Facts {
  uint64_t matched[kKinds];
};

class BenchPolicy : public IFilter {
 public:
  // `grouped`: spread the filters over the six priority groups.
  explicit BenchPolicy(bool grouped) : actions_(kFilters) {
    std::mt19937 rng(64);
    for (int i = 0; i < kFilters; ++i) {
      uint64_t kinds = 1 + rng() % 7;  // one to three of the kinds
      effective_[i] = kinds;
      negative_[i] =
          (rng() % 4 == 0) ? (kinds & (uint64_t(1) << (rng() % 3))) : 0;
      actions_[i].save_level = rng() % 5;
      actions_[i].flags[0] = rng() % 2;
      actions_[i].pri_group = grouped ? 1 + i % 6 : -1;
    }
    // Filter 0 tests every kind, so no feed but the last can settle it.
    effective_[0] = 7;
    negative_[0] = 0;
  }

  int GetFilterNum() override { return kFilters; }
  int GetEffectiveMask(uint64_t* masks) override {
    for (int i = 0; i < kFilters; ++i) masks[i] = effective_[i];
    return 0;
  }
  int GetNegativeMask(uint64_t* masks) override {
    for (int i = 0; i < kFilters; ++i) masks[i] = negative_[i];
    return 0;
  }
  int GetColConditionMask(uint64_t* mask) override {
    *mask = 0;
    return 0;
  }
  int GetActionAttrib(CFilterActionContent** actions) override {
    for (int i = 0; i < kFilters; ++i) actions[i] = &actions_[i];
    return 0;
  }
  void MatchCondition(uint64_t* matched, int kind, const void* data,
                      const uint64_t*) override {
    *matched = static_cast<const Facts*>(data)->matched[kind];
  }

 private:
  uint64_t effective_[kFilters];
  uint64_t negative_[kFilters];
  std::vector<CFilterActionContent> actions_;
};

void Evaluate(benchmark::State& state, bool grouped) {
  BenchPolicy policy(grouped);
  CFilterResult result;
  if (result.SetFilter(&policy) != 0) {
    state.SkipWithError("SetFilter failed");
    return;
  }
  // A few connections with different matches, cycled.
  std::mt19937_64 rng(7);
  std::vector<Facts> connections(16);
  for (Facts& facts : connections) {
    for (uint64_t& m : facts.matched) m = rng() | 1;  // filter 0 matches
  }
  size_t next = 0;
  uint64_t passed = 0;
  const long before = g_allocations;
  for (auto _ : state) {
    const Facts& facts = connections[next++ % connections.size()];
    result.Clear();
    for (int kind = 0; kind < kKinds; ++kind) result.OnCondition(kind, &facts);
    passed += result.GetMaxSaveLevel();
    benchmark::DoNotOptimize(passed);
  }
  state.counters["allocs_per_eval"] =
      benchmark::Counter(static_cast<double>(g_allocations - before),
                         benchmark::Counter::kAvgIterations);
}

void BM_FilterResult_64Filters(benchmark::State& state) {
  Evaluate(state, false);
}
void BM_FilterResult_64Filters_SixGroups(benchmark::State& state) {
  Evaluate(state, true);
}

BENCHMARK(BM_FilterResult_64Filters);
BENCHMARK(BM_FilterResult_64Filters_SixGroups);

}  // namespace

BENCHMARK_MAIN();
