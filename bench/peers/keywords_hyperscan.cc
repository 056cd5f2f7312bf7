// Keyword search side by side with Hyperscan (block mode, literal
// patterns through hs_compile_lit_multi): CKeyTypeTable::TextMatch and
// blurstrfind::FindAllEx against the same keys over the same 1 MiB texts,
// and the time to build each table from the keys.
//
// Key sets: 1,000 random lower-case words, and 1,000, 10,000 and 100,000
// words of /usr/share/dict/words (shuffled). Texts: "rare" has few hits
// (random lower-case words for the random keys, GBK Chinese text with
// spaces and digits for the English words, each with 64 keys planted);
// "frequent" is keys one after another. Keyword i has the type mask
// 1 << (i % 63); one extra keyword of type 63 never occurs, so no text
// finds every type and both sides read every byte.
//
// Before timing, each case checks that both sides agree: the same type
// mask for TextMatch, the same values (as a multiset) for FindAllEx.
// Prints one markdown row per case:
// | hot path | data size | ours | peer | peer's figure | peer time / ours |
//
// Options: --only TEXT runs only the key sets whose label contains TEXT
// (say "10,000" or "random"), --ours-only times our side alone (for a
// profiler), --reps N repeats each timing N times.

#include <hs/hs.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/CDataArray.h"
#include "filter/blurstrfind.h"
#include "objects/CKeyTypeTable.h"

namespace {

const size_t kTextBytes = 1 << 20;
const int kPlanted = 64;
const char kNeverKey[] = "\x01\x02never";
const char kPeer[] = "Hyperscan 5.4";

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

[[noreturn]] void Fail(const std::string& what) {
  fprintf(stderr, "keywords_hyperscan: %s\n", what.c_str());
  exit(1);
}

std::string RandomWord(std::mt19937* rng, size_t min_len, size_t max_len) {
  size_t n = min_len + (*rng)() % (max_len - min_len + 1);
  std::string word;
  for (size_t i = 0; i < n; ++i) word += static_cast<char>('a' + (*rng)() % 26);
  return word;
}

std::vector<std::string> RandomKeys(size_t count, std::mt19937* rng) {
  std::unordered_set<std::string> seen;
  std::vector<std::string> keys;
  while (keys.size() < count) {
    std::string key = RandomWord(rng, 5, 12);
    if (seen.insert(key).second) keys.push_back(key);
  }
  return keys;
}

std::vector<std::string> DictWords(size_t count, std::mt19937* rng) {
  std::ifstream in("/usr/share/dict/words");
  if (!in) Fail("no /usr/share/dict/words (install wamerican)");
  std::unordered_set<std::string> seen;
  std::vector<std::string> words;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && seen.insert(line).second) words.push_back(line);
  }
  if (words.size() < count) Fail("the word list is too short");
  std::shuffle(words.begin(), words.end(), *rng);
  words.resize(count);
  return words;
}

// Random lower-case words of 2 to 9 letters, with keys planted.
std::string LetterText(const std::vector<std::string>& keys,
                       std::mt19937* rng) {
  std::string text;
  while (text.size() < kTextBytes) text += RandomWord(rng, 2, 9) + ' ';
  text.resize(kTextBytes);
  for (int i = 0; i < kPlanted; ++i) {
    const std::string& key = keys[(*rng)() % keys.size()];
    text.replace((*rng)() % (kTextBytes - key.size() - 1), key.size(), key);
  }
  text.back() = ' ';
  return text;
}

// GBK Chinese characters in runs, separated by spaces and digits, with keys
// planted between them.
std::string GbkText(const std::vector<std::string>& keys, std::mt19937* rng) {
  std::string text;
  while (text.size() < kTextBytes) {
    if ((*rng)() % 200 == 0) {
      text += ' ' + keys[(*rng)() % keys.size()] + ' ';
      continue;
    }
    for (int i = 0, n = 2 + (*rng)() % 8; i < n; ++i) {
      text += static_cast<char>(0xB0 + (*rng)() % 0x48);
      text += static_cast<char>(0xA1 + (*rng)() % 0x5E);
    }
    text += (*rng)() % 3 == 0 ? static_cast<char>('0' + (*rng)() % 10) : ' ';
  }
  text.resize(kTextBytes);
  text.back() = ' ';
  return text;
}

// Keys one after another, each once before any repeats.
std::string FrequentText(const std::vector<std::string>& keys,
                         std::mt19937* rng) {
  std::vector<size_t> order(keys.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::string text;
  while (text.size() < kTextBytes) {
    std::shuffle(order.begin(), order.end(), *rng);
    for (size_t i : order) {
      text += keys[i] + ' ';
      if (text.size() >= kTextBytes) break;
    }
  }
  text.resize(kTextBytes);
  text.back() = ' ';
  return text;
}

uint64_t TypeOf(size_t i) { return uint64_t{1} << (i % 63); }

// The keys, plus the keyword that never occurs as the last one.
std::vector<std::string> WithNever(std::vector<std::string> keys) {
  keys.push_back(kNeverKey);
  return keys;
}

struct Hyperscan {
  hs_database_t* db = nullptr;
  hs_scratch_t* scratch = nullptr;
  double build_seconds = 0;

  Hyperscan(const std::vector<std::string>& keys, unsigned flag) {
    std::vector<const char*> exprs;
    std::vector<unsigned> flags(keys.size(), flag);
    std::vector<unsigned> ids;
    std::vector<size_t> lens;
    for (size_t i = 0; i < keys.size(); ++i) {
      exprs.push_back(keys[i].data());
      ids.push_back(static_cast<unsigned>(i));
      lens.push_back(keys[i].size());
    }
    hs_compile_error_t* error = nullptr;
    Clock::time_point start = Clock::now();
    if (hs_compile_lit_multi(exprs.data(), flags.data(), ids.data(),
                             lens.data(), static_cast<unsigned>(keys.size()),
                             HS_MODE_BLOCK, nullptr, &db,
                             &error) != HS_SUCCESS) {
      Fail(std::string("hs_compile_lit_multi: ") + error->message);
    }
    build_seconds = Seconds(start);
    if (hs_alloc_scratch(db, &scratch) != HS_SUCCESS) Fail("hs_alloc_scratch");
  }
  ~Hyperscan() {
    hs_free_scratch(scratch);
    hs_free_database(db);
  }
  template <typename Context>
  void Scan(const std::string& text, match_event_handler on_match,
            Context* context) const {
    if (hs_scan(db, text.data(), static_cast<unsigned>(text.size()), 0, scratch,
                on_match, context) != HS_SUCCESS) {
      Fail("hs_scan");
    }
  }
};

struct MaskContext {
  const std::vector<uint64_t>* types;
  uint64_t mask;
};

int OnTypeMatch(unsigned id, unsigned long long, unsigned long long, unsigned,
                void* context) {
  MaskContext* c = static_cast<MaskContext*>(context);
  c->mask |= (*c->types)[id];
  return 0;
}

int OnEveryMatch(unsigned id, unsigned long long, unsigned long long, unsigned,
                 void* context) {
  static_cast<std::vector<int64_t>*>(context)->push_back(id);
  return 0;
}

// Shortest time of `reps` calls of each of two functions, taken in turns
// so that a disturbance hits both.
template <typename Ours, typename Theirs>
void TimeBoth(int reps, Ours ours, Theirs theirs, double* our_best,
              double* their_best) {
  *our_best = *their_best = 1e9;
  for (int r = 0; r < reps; ++r) {
    Clock::time_point start = Clock::now();
    ours();
    *our_best = std::min(*our_best, Seconds(start));
    start = Clock::now();
    theirs();
    *their_best = std::min(*their_best, Seconds(start));
  }
}

void Row(const std::string& path, const std::string& size,
         const std::string& ours, const std::string& theirs, double ratio) {
  printf("| %s | %s | %s | %s | %s | %.2f |\n", path.c_str(), size.c_str(),
         ours.c_str(), kPeer, theirs.c_str(), ratio);
  fflush(stdout);
}

std::string Rate(double seconds) {
  char text[32];
  double mbs = kTextBytes / seconds / 1e6;
  snprintf(text, sizeof(text), mbs < 10 ? "%.1f MB/s" : "%.0f MB/s", mbs);
  return text;
}

std::string Millis(double seconds) {
  char text[32];
  snprintf(text, sizeof(text), "%.1f ms", seconds * 1e3);
  return text;
}

int g_reps = 0;  // --reps; 0 for the default
bool g_ours_only = false;

int RepsFor(size_t key_count) {
  if (g_reps > 0) return g_reps;
  return key_count >= 100000 ? 5 : 9;
}

void TextMatchCase(const std::string& label, const std::string& text_label,
                   const std::vector<std::string>& keys,
                   const std::vector<uint64_t>& types, CKeyTypeTable* table,
                   const Hyperscan& hs, const std::string& text) {
  MaskContext context{&types, 0};
  hs.Scan(text, OnTypeMatch, &context);
  const uint64_t ours = table->TextMatch(text.data(), text.size());
  if (ours != context.mask) {
    Fail("TextMatch disagrees with Hyperscan on " + label + ", " + text_label);
  }
  double our_time = 0, their_time = 0;
  volatile uint64_t sink = 0;
  TimeBoth(
      RepsFor(keys.size()),
      [&] { sink = sink + table->TextMatch(text.data(), text.size()); },
      [&] {
        if (g_ours_only) return;
        context.mask = 0;
        hs.Scan(text, OnTypeMatch, &context);
        sink = sink + context.mask;
      },
      &our_time, &their_time);
  Row("keywords: TextMatch, " + label + ", " + text_label, "1 MiB",
      Rate(our_time), Rate(their_time), their_time / our_time);
}

void FindAllCase(const std::string& label, const std::string& text_label,
                 const std::vector<std::string>& keys, blurstrfind* finder,
                 const Hyperscan& hs, const std::string& text) {
  std::vector<int64_t> theirs;
  hs.Scan(text, OnEveryMatch, &theirs);
  CDataArray out(static_cast<int>(theirs.size() + 16));
  int found =
      finder->FindAllEx(text.data(), static_cast<int>(text.size()), out);
  std::vector<int64_t> ours;
  for (int i = 0; i < out.GetSize(); ++i) ours.push_back(int64_t(out[i]));
  std::vector<int64_t> sorted = theirs;
  std::sort(ours.begin(), ours.end());
  std::sort(sorted.begin(), sorted.end());
  if (found != out.GetSize() || ours != sorted) {
    Fail("FindAllEx disagrees with Hyperscan on " + label + ", " + text_label);
  }
  fprintf(stderr, "  %s, %s: %zu matches\n", label.c_str(), text_label.c_str(),
          theirs.size());
  theirs.reserve(theirs.size() + 16);
  double our_time = 0, their_time = 0;
  TimeBoth(
      RepsFor(keys.size()),
      [&] {
        out.RemoveAll();
        finder->FindAllEx(text.data(), static_cast<int>(text.size()), out);
      },
      [&] {
        if (g_ours_only) return;
        theirs.clear();
        hs.Scan(text, OnEveryMatch, &theirs);
      },
      &our_time, &their_time);
  Row("keywords: FindAllEx, " + label + ", " + text_label, "1 MiB",
      Rate(our_time), Rate(their_time), their_time / our_time);
}

// Measures one key set; when `run` is false only draws its texts.
void RunSet(const std::string& label, const std::vector<std::string>& plain,
            bool english, bool run, std::mt19937* rng) {
  if (!run) {
    if (english) {
      GbkText(plain, rng);
    } else {
      LetterText(plain, rng);
    }
    FrequentText(plain, rng);
    return;
  }
  const std::vector<std::string> keys = WithNever(plain);
  std::vector<uint64_t> types(keys.size());
  for (size_t i = 0; i < keys.size(); ++i) types[i] = TypeOf(i);
  types.back() = uint64_t{1} << 63;

  Clock::time_point start = Clock::now();
  CKeyTypeTable table;
  if (table.Create(keys.size(), keys.size(), 256, 65536) != 1) Fail("Create");
  for (size_t i = 0; i < keys.size(); ++i) {
    if (table.AddBinaryKey(types[i], keys[i].data(), keys[i].size()) != 1) {
      Fail("AddBinaryKey " + keys[i]);
    }
  }
  const double table_build = Seconds(start);
  start = Clock::now();
  blurstrfind finder;
  for (size_t i = 0; i < keys.size(); ++i) {
    if (finder.AddKey(keys[i].data(), static_cast<int>(keys[i].size()),
                      static_cast<int>(i)) != 0) {
      Fail("AddKey " + keys[i]);
    }
  }
  const double finder_build = Seconds(start);
  const Hyperscan once(keys, HS_FLAG_SINGLEMATCH);
  const Hyperscan every(keys, 0);

  const std::string rare =
      english ? GbkText(plain, rng) : LetterText(plain, rng);
  const std::string frequent = FrequentText(plain, rng);
  TextMatchCase(label, "rare text", keys, types, &table, once, rare);
  TextMatchCase(label, "frequent text", keys, types, &table, once, frequent);
  FindAllCase(label, "rare text", keys, &finder, every, rare);
  FindAllCase(label, "frequent text", keys, &finder, every, frequent);

  if (plain.size() >= 100000 || plain.size() == 10000) {
    const std::string size =
        (plain.size() >= 100000 ? "100,000" : "10,000") + std::string(" keys");
    Row("keywords: build CKeyTypeTable, " + label, size, Millis(table_build),
        Millis(once.build_seconds), once.build_seconds / table_build);
    Row("keywords: build blurstrfind, " + label, size, Millis(finder_build),
        Millis(every.build_seconds), every.build_seconds / finder_build);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string only;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--only" && i + 1 < argc) {
      only = argv[++i];
    } else if (arg == "--reps" && i + 1 < argc) {
      g_reps = atoi(argv[++i]);
    } else if (arg == "--ours-only") {
      g_ours_only = true;
    } else {
      printf("usage: %s [--only TEXT] [--reps N] [--ours-only]\n", argv[0]);
      return arg == "--help" ? 0 : 2;
    }
  }
  // Every set is drawn even when skipped, so that a set's keys and texts
  // do not depend on the options.
  std::mt19937 rng(20261123);
  const char* labels[] = {"1,000 random words", "1,000 English words",
                          "10,000 English words", "100,000 English words"};
  for (int i = 0; i < 4; ++i) {
    const std::vector<std::string> keys = i == 0 ? RandomKeys(1000, &rng)
                                                 : DictWords(i == 1   ? 1000
                                                             : i == 2 ? 10000
                                                                      : 100000,
                                                             &rng);
    const bool run =
        only.empty() || std::string(labels[i]).find(only) != std::string::npos;
    RunSet(labels[i], keys, i != 0, run, &rng);
  }
  return 0;
}
