// URL classification speed: CURL_Type_Finder against the linear scan of
// CURLTypeConfig::FindURL over the same patterns.
//
// Patterns are spread evenly over the five kinds (host, "www." host,
// domain suffix, prefix, "www." prefix) and 64 system categories. Half of
// the URLs match some pattern, half match none; URLs are 40 to 120 bytes.
// Items per second = URLs classified per second.
//
//   url_bench --benchmark_filter=Finder    (fast)
//   url_bench                             (the scans take a few seconds)

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "url/CURLTypeConfig.h"
#include "url/CURL_Type_Finder.h"
#include "url/URLTypes.h"

namespace {

typedef CURL_Type_Finder<URL_TYPE, URL_GROUP_TYPE> Finder;
typedef CURLTypeConfig::tagOne_URL_Type_List TypeList;

const char* const kSyllables[] = {
    "an",  "bo",  "cai", "da",  "fei", "gao", "hai", "jin", "kai", "lan",
    "mei", "na",  "pan", "qi",  "rui", "shu", "tai", "wan", "xin", "yun",
    "ze",  "zhi", "ou",  "lei", "mo",  "sun", "tea", "vox", "web", "yo"};
const char* const kTlds[] = {".com", ".cn", ".com.cn", ".net", ".org"};

std::string RandomHost(std::mt19937& rng, bool foreign) {
  std::string host;
  int words = 2 + static_cast<int>(rng() % 3);
  for (int i = 0; i < words; ++i) host += kSyllables[rng() % 30];
  host += std::to_string(rng() % 1000);
  // Hosts that must match nothing get a label no pattern has.
  if (foreign) host = "qx" + host;
  return host + kTlds[rng() % 5];
}

std::string PadPath(std::mt19937& rng, std::string url, size_t length) {
  static const char kPath[] = "abcdefghijklmnopqrstuvwxyz0123456789/-_.?=&";
  while (url.size() < length) url += kPath[rng() % (sizeof(kPath) - 1)];
  url.resize(length);
  return url;
}

struct Workload {
  std::vector<TypeList> lists;  // one per category, for the scan
  Finder finder;
  std::vector<std::string> urls;
};

// Builds `patterns` patterns and 1000 URLs of `url_length` bytes (0: mixed
// lengths from 40 to 120).
Workload* MakeWorkload(int patterns, int url_length) {
  Workload* w = new Workload;
  std::mt19937 rng(12345);
  w->lists.resize(64);
  for (int bit = 0; bit < 64; ++bit) w->lists[bit].hitype = uint64_t{1} << bit;
  Finder::Sizes sizes;
  for (auto& slot : sizes.slot) slot = static_cast<uint64_t>(patterns);
  w->finder.Build(sizes);
  std::vector<std::string> texts;
  for (int i = 0; i < patterns; ++i) {
    std::string host = RandomHost(rng, false);
    CURLTypeConfig::tagOne_URL_Item item;
    switch (i % 5) {
      case 0:
        item = {host, 0};
        break;
      case 1:
        item = {"www." + host, 0};
        break;
      case 2:
        item = {"." + host, 0};
        break;
      case 3:
        item = {host + "/app", 1};
        break;
      default:
        item = {"www." + host + "/m", 1};
        break;
    }
    int bit = i % 64;
    w->lists[bit].items.push_back(item);
    w->finder.AddURL(item.url, URL_TYPE(uint64_t{1} << bit, 0), item.match);
    texts.push_back(item.url);
  }
  for (int i = 0; i < 1000; ++i) {
    size_t length = url_length ? url_length : 40 + rng() % 81;
    std::string url;
    if (i % 2 == 0) {
      const std::string& text = texts[rng() % texts.size()];
      url = (text[0] == '.') ? "img" + text + "/" : text + "/";
    } else {
      url = (rng() % 2 ? "www." : "") + RandomHost(rng, true) + "/";
    }
    w->urls.push_back(PadPath(rng, url, length));
  }
  return w;
}

// Workloads are built once per (patterns, URL length) and kept.
Workload& GetWorkload(int patterns, int url_length) {
  static std::map<std::pair<int, int>, std::unique_ptr<Workload>> cache;
  std::unique_ptr<Workload>& w = cache[std::make_pair(patterns, url_length)];
  if (!w) w.reset(MakeWorkload(patterns, url_length));
  return *w;
}

void BM_Finder(benchmark::State& state) {
  Workload& w = GetWorkload(static_cast<int>(state.range(0)),
                            static_cast<int>(state.range(1)));
  size_t i = 0;
  uint64_t hits = 0;
  for (auto _ : state) {
    const std::string& url = w.urls[i++ % w.urls.size()];
    URL_GROUP_TYPE set;
    hits += w.finder.FindURL(url.data(), static_cast<int>(url.size()), set);
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["hit_ratio"] = double(hits) / double(state.iterations());
}

void BM_LinearScan(benchmark::State& state) {
  Workload& w = GetWorkload(static_cast<int>(state.range(0)), 0);
  size_t i = 0;
  uint64_t hits = 0;
  for (auto _ : state) {
    const std::string& url = w.urls[i++ % w.urls.size()];
    URL_GROUP_TYPE set;
    for (const TypeList& list : w.lists) {
      if (CURLTypeConfig::FindURL(url.data(), url.size(), list.items)) {
        set.Union(URL_TYPE(list.hitype, list.lotype));
      }
    }
    hits += set.IsNotZero();
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["hit_ratio"] = double(hits) / double(state.iterations());
}

}  // namespace

// Mixed URL lengths at 100,000 patterns: the figure to compare.
BENCHMARK(BM_LinearScan)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Finder)->Args({100000, 0})->Unit(benchmark::kNanosecond);
// Cost against pattern count (fixed 80-byte URLs) and against URL length.
BENCHMARK(BM_Finder)
    ->Args({1000, 80})
    ->Args({10000, 80})
    ->Args({100000, 80})
    ->Args({100000, 40})
    ->Args({100000, 120})
    ->Args({100000, 400});

BENCHMARK_MAIN();
