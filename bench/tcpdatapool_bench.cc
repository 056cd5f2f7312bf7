// Merging a 1 MiB TCP stream captured in 1,460-byte segments, added in
// order and in shuffled order, beside a single memcpy of 1 MiB (the most a
// merge that copies each byte once can reach).

#include <string.h>

#include <algorithm>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "settings/tcpdatapool.h"

namespace {

const size_t kStreamBytes = 1 << 20;
const size_t kSegmentBytes = 1460;
const uint32_t kFirstSeq = 0xFFF00000u;  // the stream crosses the wrap

std::vector<char> MakeStream() {
  std::vector<char> stream(kStreamBytes);
  std::mt19937 rng(7);
  for (char& c : stream) c = static_cast<char>(rng());
  return stream;
}

// Segment offsets in adding order.
std::vector<size_t> Offsets(bool shuffled) {
  std::vector<size_t> offsets;
  for (size_t at = 0; at < kStreamBytes; at += kSegmentBytes) {
    offsets.push_back(at);
  }
  if (shuffled) std::shuffle(offsets.begin(), offsets.end(), std::mt19937(9));
  return offsets;
}

void Fill(tcpdatapool& pool, const std::vector<char>& stream,
          const std::vector<size_t>& offsets) {
  for (size_t at : offsets) {
    size_t len = std::min(kSegmentBytes, kStreamBytes - at);
    pool.Add(stream.data() + at, len, len,
             kFirstSeq + static_cast<uint32_t>(at));
  }
}

void BM_Memcpy1MiB(benchmark::State& state) {
  std::vector<char> source = MakeStream();
  std::vector<char> target(kStreamBytes + 1);
  for (auto _ : state) {
    memcpy(target.data(), source.data(), kStreamBytes);
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kStreamBytes);
}
BENCHMARK(BM_Memcpy1MiB);

void BM_MergeInOrder(benchmark::State& state) {
  std::vector<char> stream = MakeStream();
  std::vector<char> target(kStreamBytes + 1);
  tcpdatapool pool;
  Fill(pool, stream, Offsets(false));
  for (auto _ : state) {
    int n = pool.Merge(target.data(), static_cast<int>(target.size()), 0);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  if (memcmp(target.data(), stream.data(), kStreamBytes) != 0) {
    state.SkipWithError("merged stream differs");
  }
  state.SetBytesProcessed(state.iterations() * kStreamBytes);
}
BENCHMARK(BM_MergeInOrder);

// A merge leaves the pool sorted, so every iteration refills it in shuffled
// order with the timer stopped.
void BM_MergeShuffled(benchmark::State& state) {
  std::vector<char> stream = MakeStream();
  std::vector<char> target(kStreamBytes + 1);
  const std::vector<size_t> offsets = Offsets(true);
  tcpdatapool pool;
  for (auto _ : state) {
    state.PauseTiming();
    pool.Close();
    Fill(pool, stream, offsets);
    state.ResumeTiming();
    int n = pool.Merge(target.data(), static_cast<int>(target.size()), 0);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  if (memcmp(target.data(), stream.data(), kStreamBytes) != 0) {
    state.SkipWithError("merged stream differs");
  }
  state.SetBytesProcessed(state.iterations() * kStreamBytes);
}
BENCHMARK(BM_MergeShuffled);

}  // namespace

BENCHMARK_MAIN();
