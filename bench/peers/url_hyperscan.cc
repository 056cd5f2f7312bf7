// URL categories beside Hyperscan (block mode), over the same patterns.
//
// Our side is CURL_Type_Finder_Ex::find_url on a system database file.
// The Hyperscan side compiles the same patterns into two databases that
// reproduce what find_url answers, and ORs the categories of the patterns
// that match:
//
//   URL without a leading "www." (or of 4 bytes or fewer), scanned whole:
//     match-type-0 host H          -> H anywhere
//     match-type-0 suffix ".D"     -> "\.D" anywhere; see "labels" below
//     prefix P (other match types) -> "^P"
//   URL "www." + R, R scanned:
//     match-type-0 "www." + H'     -> H' anywhere in R
//     match-type-0 host H          -> H anywhere in R
//     match-type-0 suffix ".D"     -> "^D" (the label right after "www.")
//                                     and "\.D" anywhere in R
//     prefix "www." + P'           -> "^P'"
//
// Labels: the finder tries the text after each "." from the left and
// stops at the first where some suffix pattern starts; all the suffix
// patterns starting there count, those further right do not. The Hyperscan
// side keeps, of the suffix matches, those at the leftmost dot.
//
// What is compared: single-piece patterns (no "*", "|" or "," inside a
// pattern, which the finder would split into pieces) of two bytes or more
// after the "www." or the leading dot is cut, which is every pattern of
// both data sets below. For those the two sides give the same categories
// on every URL, and the program checks that on every probe before timing.
//
// Data sets: the example system database (examples/url/sys_url.xml), and
// 100,000 synthetic patterns in 64 categories spread over the five kinds,
// written to a database file in the build directory. Probes: 20,000 URLs
// of 40 to 120 bytes, half made from a pattern (so that most match
// something), half from host names no pattern holds, in random order.

#include <ctype.h>
#include <hs/hs.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "bench/peers/peer_common.h"
#include "url/CURLTypeConfig.h"
#include "url/CURL_Type_Finder_Ex.h"

namespace {

using peer_bench::Fail;

constexpr int kSyntheticPatterns = 100000;
constexpr int kProbes = 20000;
constexpr uint64_t kSlotCapacity = 1 << 18;

struct Pattern {
  std::string text;  // as in the database, trimmed
  int match;         // 0: anywhere; else: the URL begins with it
  URL_TYPE type;
};

bool StartsWithWww(const char* text, size_t length) {
  return length >= 4 && memcmp(text, "www.", 4) == 0;
}

// ---- Data ----------------------------------------------------------------

const char* const kSyllables[] = {
    "an",  "bo",  "cai", "da",  "fei", "gao", "hai", "jin", "kai", "lan",
    "mei", "na",  "pan", "qi",  "rui", "shu", "tai", "wan", "xin", "yun",
    "ze",  "zhi", "ou",  "lei", "mo",  "sun", "tea", "vox", "web", "yo"};
const char* const kTlds[] = {".com", ".cn", ".com.cn", ".net", ".org"};

std::string RandomHost(std::mt19937& rng, bool foreign) {
  std::string host = foreign ? "qx" : "";
  const int words = 2 + static_cast<int>(rng() % 3);
  for (int i = 0; i < words; ++i) host += kSyllables[rng() % 30];
  host += std::to_string(rng() % 1000);
  return host + kTlds[rng() % 5];
}

std::vector<Pattern> SyntheticPatterns() {
  std::mt19937 rng(12345);
  std::vector<Pattern> patterns;
  for (int i = 0; i < kSyntheticPatterns; ++i) {
    const std::string host = RandomHost(rng, false);
    const URL_TYPE type(uint64_t{1} << (i % 64), 0);
    switch (i % 5) {
      case 0:
        patterns.push_back({host, 0, type});
        break;
      case 1:
        patterns.push_back({"www." + host, 0, type});
        break;
      case 2:
        patterns.push_back({"." + host, 0, type});
        break;
      case 3:
        patterns.push_back({host + "/app", 1, type});
        break;
      default:
        patterns.push_back({"www." + host + "/m", 1, type});
        break;
    }
  }
  return patterns;
}

// Writes `patterns` as a system URL database.
void WriteDatabase(const std::string& path,
                   const std::vector<Pattern>& patterns) {
  FILE* f = fopen(path.c_str(), "w");
  if (f == nullptr) Fail("cannot write %s", path.c_str());
  fputs("<?xml version=\"1.0\" encoding=\"GBK\"?>\n<sys_url>\n", f);
  fputs("  <url_db url_db_type=\"0\">\n", f);
  for (int bit = 0; bit < 64; ++bit) {
    fprintf(f, "    <url_type name=\"c%d\" hitype=\"%llu\" lotype=\"0\">\n",
            bit, static_cast<unsigned long long>(uint64_t{1} << bit));
    for (const Pattern& p : patterns) {
      if (p.type.hitype == uint64_t{1} << bit) {
        fprintf(f, "      <url url=\"%s\" match=\"%d\"/>\n", p.text.c_str(),
                p.match);
      }
    }
    fputs("    </url_type>\n", f);
  }
  fputs("  </url_db>\n</sys_url>\n", f);
  if (fclose(f) != 0) Fail("cannot write %s", path.c_str());
}

// The patterns of a database file, read through the library's category
// configuration.
std::vector<Pattern> ReadDatabase(const std::string& path) {
  CURLTypeConfig config;
  if (config.LoadFromFile(path.c_str()) == 0) {
    Fail("cannot read %s", path.c_str());
  }
  std::vector<Pattern> patterns;
  for (const auto& list : config.url_db().types) {
    for (const auto& item : list.items) {
      patterns.push_back(
          {item.url, item.match, URL_TYPE(list.hitype, list.lotype)});
    }
  }
  return patterns;
}

std::string PadPath(std::mt19937& rng, std::string url, size_t length) {
  static const char kPath[] = "abcdefghijklmnopqrstuvwxyz0123456789/-_.?=&";
  while (url.size() < length) url += kPath[rng() % (sizeof(kPath) - 1)];
  url.resize(length);
  return url;
}

std::vector<std::string> Probes(const std::vector<Pattern>& patterns) {
  std::mt19937 rng(99);
  std::vector<std::string> urls;
  for (int i = 0; i < kProbes; ++i) {
    const size_t length = 40 + rng() % 81;
    std::string url;
    if (i % 2 == 0) {
      url = patterns[rng() % patterns.size()].text;
      if (url[0] == '.') url = (rng() % 2 ? "img" : "www") + url;
      if (!StartsWithWww(url.data(), url.size()) && rng() % 2) {
        url = "www." + url;
      }
      url += "/";
    } else {
      url = (rng() % 2 ? "www." : "") + RandomHost(rng, true) + "/";
    }
    urls.push_back(PadPath(rng, url, std::max(length, url.size())));
  }
  return urls;
}

// ---- The Hyperscan side --------------------------------------------------

class HyperscanFinder {
 public:
  explicit HyperscanFinder(const std::vector<Pattern>& patterns) {
    std::vector<Entry> plain, www;
    for (const Pattern& p : patterns) Add(p, &plain, &www);
    plain_ = Compile(plain, &plain_entries_);
    www_ = Compile(www, &www_entries_);
    hs_scratch_t* scratch = nullptr;
    if (hs_alloc_scratch(plain_, &scratch) != HS_SUCCESS ||
        hs_alloc_scratch(www_, &scratch) != HS_SUCCESS) {
      Fail("hs_alloc_scratch failed");
    }
    scratch_ = scratch;
  }
  ~HyperscanFinder() {
    hs_free_scratch(scratch_);
    hs_free_database(plain_);
    hs_free_database(www_);
  }

  size_t pattern_count() const {
    return plain_entries_.size() + www_entries_.size();
  }

  // The categories of `url`, as find_url gives them.
  URL_GROUP_TYPE Find(const char* url, size_t length) {
    Scan scan;
    hs_error_t rc;
    if (length >= 5 && StartsWithWww(url, length)) {
      scan.entries = &www_entries_;
      rc = hs_scan(www_, url + 4, static_cast<unsigned>(length - 4), 0,
                   scratch_, OnMatch, &scan);
    } else {
      scan.entries = &plain_entries_;
      rc = hs_scan(plain_, url, static_cast<unsigned>(length), 0, scratch_,
                   OnMatch, &scan);
    }
    if (rc != HS_SUCCESS) Fail("hs_scan failed: %d", rc);
    scan.set.Union(scan.suffix_set);
    return scan.set;
  }

 private:
  // One compiled expression: its regex, and what a match of it means.
  struct Entry {
    std::string regex;
    URL_TYPE type;
    bool suffix;       // a suffix pattern: counts only at the leftmost label
    int label_offset;  // match end minus this = the dot before the label
  };

  struct Scan {
    const std::vector<Entry>* entries;
    URL_GROUP_TYPE set;
    URL_GROUP_TYPE suffix_set;
    long long label = 1LL << 40;  // the leftmost label with a suffix match
  };

  static int OnMatch(unsigned id, unsigned long long, unsigned long long to,
                     unsigned, void* context) {
    Scan* scan = static_cast<Scan*>(context);
    const Entry& e = (*scan->entries)[id];
    if (!e.suffix) {
      scan->set.Union(e.type);
      return 0;
    }
    const long long label = static_cast<long long>(to) - e.label_offset;
    if (label < scan->label) {
      scan->label = label;
      scan->suffix_set = URL_GROUP_TYPE(e.type.hitype, e.type.lotype);
    } else if (label == scan->label) {
      scan->suffix_set.Union(e.type);
    }
    return 0;
  }

  // Every byte but letters and digits as \xHH.
  static std::string Escape(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
      if (isalnum(c)) {
        out += static_cast<char>(c);
      } else {
        char hex[5];
        snprintf(hex, sizeof(hex), "\\x%02x", c);
        out += hex;
      }
    }
    return out;
  }

  // Files one pattern the way the finder sorts it into its slots.
  static void Add(const Pattern& p, std::vector<Entry>* plain,
                  std::vector<Entry>* www) {
    const std::string& t = p.text;
    const bool has_www = StartsWithWww(t.data(), t.size());
    if (t.find_first_of("*|,") != std::string::npos) {
      Fail("pattern \"%s\" has several pieces: not compared", t.c_str());
    }
    const std::string cut =
        has_www ? t.substr(4) : (p.match == 0 && t[0] == '.' ? t.substr(1) : t);
    if (cut.size() < 2) return;  // the finder refuses one-byte pieces
    if (p.match != 0) {
      if (has_www) {
        www->push_back({"^" + Escape(cut), p.type, false, 0});
      } else {
        plain->push_back({"^" + Escape(cut), p.type, false, 0});
      }
    } else if (has_www) {
      www->push_back({Escape(cut), p.type, false, 0});
    } else if (t[0] == '.') {
      const int dot_and_label = static_cast<int>(cut.size()) + 1;
      plain->push_back({Escape("." + cut), p.type, true, dot_and_label});
      www->push_back({"^" + Escape(cut), p.type, true, dot_and_label});
      www->push_back({Escape("." + cut), p.type, true, dot_and_label});
    } else {
      plain->push_back({Escape(cut), p.type, false, 0});
      www->push_back({Escape(cut), p.type, false, 0});
    }
  }

  static hs_database_t* Compile(const std::vector<Entry>& entries,
                                std::vector<Entry>* kept) {
    std::vector<const char*> expressions;
    std::vector<unsigned> flags, ids;
    for (size_t i = 0; i < entries.size(); ++i) {
      expressions.push_back(entries[i].regex.c_str());
      flags.push_back(HS_FLAG_SINGLEMATCH);
      ids.push_back(static_cast<unsigned>(i));
    }
    hs_database_t* db = nullptr;
    hs_compile_error_t* error = nullptr;
    if (hs_compile_multi(expressions.data(), flags.data(), ids.data(),
                         static_cast<unsigned>(entries.size()), HS_MODE_BLOCK,
                         nullptr, &db, &error) != HS_SUCCESS) {
      Fail("hs_compile_multi: %s", error ? error->message : "?");
    }
    *kept = entries;
    return db;
  }

  hs_database_t* plain_ = nullptr;
  hs_database_t* www_ = nullptr;
  hs_scratch_t* scratch_ = nullptr;
  std::vector<Entry> plain_entries_, www_entries_;
};

// ---- The comparison ------------------------------------------------------

std::string HyperscanVersion() {
  std::string v = hs_version();
  return "Hyperscan " + v.substr(0, v.find(' '));
}

void Run(const std::string& path, const std::string& data) {
  CURL_Type_Finder_Ex ours;
  ours.init(kSlotCapacity, kSlotCapacity, kSlotCapacity, kSlotCapacity,
            kSlotCapacity, 0, 0, 0, 0, 0, 0, 0);
  ours.LoadURLDB(path.c_str(), nullptr, 0);
  const std::vector<Pattern> patterns = ReadDatabase(path);
  HyperscanFinder peer(patterns);
  const std::vector<std::string> urls = Probes(patterns);

  size_t hits = 0;
  for (const std::string& url : urls) {
    URL_GROUP_TYPE a;
    ours.find_url(url.data(), static_cast<int>(url.size()), a);
    const URL_GROUP_TYPE b = peer.Find(url.data(), url.size());
    if (a != b) {
      Fail(
          "%s: categories of %s differ: %016llx:%016llx here, "
          "%016llx:%016llx from Hyperscan",
          data.c_str(), url.c_str(), (unsigned long long)a.hitype,
          (unsigned long long)a.lotype, (unsigned long long)b.hitype,
          (unsigned long long)b.lotype);
    }
    hits += a.IsNotZero();
  }
  peer_bench::Note("%zu patterns%s: %zu expressions; %zu of %zu URLs match",
                   patterns.size(), data.c_str(), peer.pattern_count(), hits,
                   urls.size());

  auto ours_pass = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t i = begin; i < end; ++i) {
      const std::string& url = urls[i];
      URL_GROUP_TYPE set;
      ours.find_url(url.data(), static_cast<int>(url.size()), set);
      sum += set.hitype ^ set.lotype;
    }
    return sum;
  };
  auto peer_pass = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t i = begin; i < end; ++i) {
      const std::string& url = urls[i];
      const URL_GROUP_TYPE set = peer.Find(url.data(), url.size());
      sum += set.hitype ^ set.lotype;
    }
    return sum;
  };
  const peer_bench::Timing t =
      peer_bench::Compare(ours_pass, peer_pass, urls.size());
  peer_bench::PrintRow(
      "URL categories: find_url",
      peer_bench::Thousands(patterns.size()) + " patterns" + data, t.ours_ns,
      HyperscanVersion(), t.peer_ns);
}

}  // namespace

int main() {
  Run(std::string(QUARN_EXAMPLES_DIR) + "/url/sys_url.xml",
      " (example database)");
  const std::string synthetic =
      std::string(QUARN_PEERS_BINARY_DIR) + "/url_synthetic.xml";
  WriteDatabase(synthetic, SyntheticPatterns());
  Run(synthetic, "");
  return 0;
}
