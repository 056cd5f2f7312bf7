// blurstrfind::FindAllEx over 1 MiB of text with 1,000 and 10,000 keys,
// next to the plain approach: memmem for every key over the whole text.
// Both report MB/s of text searched and the number of matches found.

#include <string.h>

#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/CDataArray.h"
#include "filter/blurstrfind.h"

namespace {

const size_t kTextBytes = 1 << 20;
const int kPlanted = 64;

std::string RandomWord(std::mt19937* rng, size_t min_len, size_t max_len) {
  size_t n = min_len + (*rng)() % (max_len - min_len + 1);
  std::string word;
  for (size_t i = 0; i < n; ++i) word += static_cast<char>('a' + (*rng)() % 26);
  return word;
}

struct Corpus {
  std::string text;
  std::vector<std::string> keys;
};

// Lower-case words of 2 to 9 letters separated by blanks, and `count`
// distinct keys of 5 to 12 letters, a few of which are planted in the text.
const Corpus& GetCorpus(int count) {
  static Corpus corpora[2];
  Corpus& corpus = corpora[count > 1000 ? 1 : 0];
  if (!corpus.keys.empty()) return corpus;
  std::mt19937 rng(20261123);
  while (corpus.text.size() < kTextBytes) {
    corpus.text += RandomWord(&rng, 2, 9) + ' ';
  }
  corpus.text.resize(kTextBytes);
  blurstrfind unique;
  while (static_cast<int>(corpus.keys.size()) < count) {
    std::string key = RandomWord(&rng, 5, 12);
    if (unique.AddKey(key.data(), static_cast<int>(key.size()), 0) == 0) {
      corpus.keys.push_back(key);
    }
  }
  for (int i = 0; i < kPlanted; ++i) {
    const std::string& key = corpus.keys[rng() % corpus.keys.size()];
    size_t at = rng() % (kTextBytes - key.size());
    corpus.text.replace(at, key.size(), key);
  }
  return corpus;
}

void BM_FindAllEx(benchmark::State& state) {
  const Corpus& corpus = GetCorpus(static_cast<int>(state.range(0)));
  blurstrfind finder;
  for (size_t i = 0; i < corpus.keys.size(); ++i) {
    const std::string& key = corpus.keys[i];
    finder.AddKey(key.data(), static_cast<int>(key.size()),
                  static_cast<int>(i));
  }
  CDataArray out(4096);
  int found = 0;
  for (auto _ : state) {
    out.RemoveAll();
    found = finder.FindAllEx(corpus.text.data(),
                             static_cast<int>(corpus.text.size()), out);
    benchmark::DoNotOptimize(found);
  }
  state.counters["matches"] = found;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(corpus.text.size()));
}

void BM_MemmemPerKey(benchmark::State& state) {
  const Corpus& corpus = GetCorpus(static_cast<int>(state.range(0)));
  const char* text = corpus.text.data();
  const size_t length = corpus.text.size();
  int found = 0;
  for (auto _ : state) {
    found = 0;
    for (const std::string& key : corpus.keys) {
      const char* at = text;
      const char* end = text + length;
      while (at < end) {
        const void* hit = memmem(at, end - at, key.data(), key.size());
        if (hit == nullptr) break;
        ++found;
        at = static_cast<const char*>(hit) + 1;
      }
    }
    benchmark::DoNotOptimize(found);
  }
  state.counters["matches"] = found;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(length));
}

BENCHMARK(BM_FindAllEx)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemmemPerKey)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
