// Policy object queries: the keyword match table over a 64 KiB text next
// to a plain per-keyword memmem scan, IP object matching, and the time
// object mask of an instant.

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "objects/CIPObjMgr.h"
#include "objects/CKeyTypeTable.h"
#include "objects/CTimeObjMgrConfig.h"

namespace {

const size_t kTextBytes = 64 * 1024;
// Keywords planted in the text; all others are absent from it.
const int kPlanted = 8;

std::string RandomWord(std::mt19937* rng, size_t min_len, size_t max_len) {
  size_t n = min_len + (*rng)() % (max_len - min_len + 1);
  std::string word;
  for (size_t i = 0; i < n; ++i) word += static_cast<char>('a' + (*rng)() % 26);
  return word;
}

// Lower-case words of 2 to 9 letters separated by blanks, like text that
// a host has lower-cased before matching.
std::string MakeText(std::mt19937* rng) {
  std::string text;
  while (text.size() < kTextBytes) text += RandomWord(rng, 2, 9) + ' ';
  text.resize(kTextBytes);
  return text;
}

struct Corpus {
  std::string text;
  std::vector<std::string> keys;
};

// `count` keywords of 6 to 14 letters; a few of them are copied into the
// text, the rest are (almost surely) absent.
Corpus MakeCorpus(int count) {
  std::mt19937 rng(20240306);
  Corpus corpus;
  corpus.text = MakeText(&rng);
  for (int i = 0; i < count; ++i)
    corpus.keys.push_back(RandomWord(&rng, 6, 14));
  for (int i = 0; i < kPlanted; ++i) {
    const std::string& key = corpus.keys[i * (count / kPlanted)];
    size_t at = rng() % (kTextBytes - key.size());
    corpus.text.replace(at, key.size(), key);
  }
  return corpus;
}

void BM_KeyTypeTable_TextMatch(benchmark::State& state) {
  Corpus corpus = MakeCorpus(static_cast<int>(state.range(0)));
  CKeyTypeTable table;
  table.Create(0, corpus.keys.size(), 0, 65536);
  for (size_t i = 0; i < corpus.keys.size(); ++i) {
    table.AddBinaryKey(uint64_t{1} << (i % 64), corpus.keys[i].data(),
                       corpus.keys[i].size());
  }
  uint64_t mask = 0;
  for (auto _ : state) {
    mask = table.TextMatch(corpus.text.data(), corpus.text.size());
    benchmark::DoNotOptimize(mask);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(kTextBytes));
  state.counters["mask_bits"] = __builtin_popcountll(mask);
}
BENCHMARK(BM_KeyTypeTable_TextMatch)->Arg(1000)->Arg(10000);

// The obvious baseline: memmem of every keyword over the whole text.
void BM_Memmem_PerKeyword(benchmark::State& state) {
  Corpus corpus = MakeCorpus(static_cast<int>(state.range(0)));
  uint64_t mask = 0;
  for (auto _ : state) {
    mask = 0;
    for (size_t i = 0; i < corpus.keys.size(); ++i) {
      if (memmem(corpus.text.data(), corpus.text.size(), corpus.keys[i].data(),
                 corpus.keys[i].size()) != nullptr) {
        mask |= uint64_t{1} << (i % 64);
      }
    }
    benchmark::DoNotOptimize(mask);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(kTextBytes));
  state.counters["mask_bits"] = __builtin_popcountll(mask);
}
BENCHMARK(BM_Memmem_PerKeyword)->Arg(1000)->Arg(10000);

// 60 user objects of 20 ranges each, spread over 10.0.0.0/8.
CIPObjMgr MakeIPObjects() {
  CIPObjMgr mgr;
  std::mt19937 rng(7);
  for (int i = 0; i < 60; ++i) {
    CIPObjMgr::tagONE_IP_MGR_OBJ obj;
    obj.id = mgr.GetNewId();
    if (obj.id == 0) obj.id = uint64_t{1} << 63;  // ids run out at 56
    obj.name = "obj" + std::to_string(i);
    for (int r = 0; r < 20; ++r) {
      uint32_t begin = 0x0A000000u + (rng() & 0x00FFFF00u);
      obj.ip_ranges.push_back(IP_RANGE_PAIR(begin, begin + 63));
    }
    mgr.AddObj(obj);
  }
  return mgr;
}

void BM_IPObjMgr_Find(benchmark::State& state) {
  CIPObjMgr mgr = MakeIPObjects();
  std::mt19937 rng(11);
  std::vector<uint32_t> hosts(1024);
  for (uint32_t& ip : hosts) ip = 0x0A000000u + (rng() & 0x00FFFFFFu);
  const unsigned char mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
  size_t i = 0;
  for (auto _ : state) {
    uint64_t mask = 0;
    mgr.find(mask, mac, hosts[i++ & 1023], 0);
    benchmark::DoNotOptimize(mask);
  }
}
BENCHMARK(BM_IPObjMgr_Find);

void BM_TimeObj_GetTimeType(benchmark::State& state) {
  setenv("TZ", "CST-8", 1);
  tzset();
  CTimeObjMgrConfig mgr;
  const char xml[] = "<time_obj_mgr version=\"0\"/>";
  mgr.LoadFromMem(xml, sizeof(xml) - 1);
  for (uint64_t id = 16; id <= 128; id <<= 1) {
    CTimeObjMgrConfig::tagONE_TIME_OBJ obj;
    obj.id = id;
    CTimeObjMgrConfig::tagOne_TimeSeg_Item item;
    item.seg = Orva_Time_Seg(static_cast<int>(id % 24), 0, 23, 0);
    obj.segs.push_back(item);
    mgr.objs.push_back(obj);
  }
  mgr.holidays.push_back(Orva_Date_Seg(10, 1, 10, 7));
  mgr.working_dates[1].push_back(Orva_Date_Seg(9, 28, 9, 28));
  int t = 1709690400;  // a Wednesday
  for (auto _ : state) {
    benchmark::DoNotOptimize(mgr.get_time_type(t));
    t += 997;
  }
}
BENCHMARK(BM_TimeObj_GetTimeType);

}  // namespace

BENCHMARK_MAIN();
