// Address to area beside libmaxminddb.
//
// The same ranges are loaded into the library's level-1 and level-2 tables
// (binary "ipt" files) and written by ranges_to_mmdb.pl into two MaxMind
// databases: one answering level-1 lookups, one answering level-2 lookups
// (level 1, with the divided area answered from level 2). Two data sets:
//
//   - the example tables (examples/ipt/*.txt, examples/ipt1.dat, ipt2.dat);
//   - a synthetic table of 400,000 ranges with random bounds spread over the
//     address space, 5% of them in the divided area and split in two at
//     level 2; written as a quarn_ipt source and, with the encoder quarn_ipt
//     uses, as "ipt" files.
//
// Probes are 2^20 random addresses. Before timing, every probe must get
// the same area id and the same name (GBK on our side, UTF-8 in the
// database) from both sides; an address in no range is the unknown area on
// our side and "no record" in the database. A timed peer lookup is
// MMDB_lookup_sockaddr plus MMDB_get_value of the area id, what a host
// needs to get the id; our lookup returns the descriptor itself.

#include <arpa/inet.h>
#include <iconv.h>
#include <maxminddb.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "address/InternetRange.h"
#include "bench/peers/peer_common.h"
#include "tools/IptWriter.h"

namespace {

using peer_bench::Fail;

constexpr size_t kSyntheticRanges = 400000;
constexpr size_t kProbes = 1 << 20;

struct DataSet {
  std::string label;    // for the data column
  std::string dat_dir;  // holds ipt1.dat and ipt2.dat
  std::string source1;  // quarn_ipt sources of both levels
  std::string source2;
  size_t ranges1 = 0;
  size_t ranges2 = 0;
};

std::string OutputDir() {
  const std::string dir = std::string(QUARN_PEERS_BINARY_DIR) + "/address_data";
  mkdir(dir.c_str(), 0755);
  return dir;
}

// Writes `bytes` to `path` unless the file already holds them, so that
// the databases written from it are not rebuilt on every run.
void WriteFile(const std::string& path, const std::string& bytes) {
  FILE* old = fopen(path.c_str(), "rb");
  if (old != nullptr) {
    std::string held(bytes.size() + 1, '\0');
    const size_t n = fread(&held[0], 1, held.size(), old);
    fclose(old);
    if (n == bytes.size() && held.compare(0, n, bytes) == 0) return;
  }
  FILE* f = fopen(path.c_str(), "wb");
  if (f == nullptr ||
      fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size() ||
      fclose(f) != 0) {
    Fail("cannot write %s", path.c_str());
  }
}

std::string Dotted(uint32_t ip) {
  char text[16];
  snprintf(text, sizeof(text), "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 255,
           (ip >> 8) & 255, ip & 255);
  return text;
}

// The source form quarn_ipt reads.
std::string IptSource(const std::vector<quarn_tool::IptRecord>& records) {
  std::string text = "version 1\n";
  for (const auto& r : records) {
    char id[24];
    snprintf(id, sizeof(id), "0x%016llX",
             static_cast<unsigned long long>(r.area_id));
    text +=
        Dotted(r.begin) + " " + Dotted(r.end) + " " + id + " " + r.desc + "\n";
  }
  return text;
}

size_t CountRecords(const std::string& source) {
  FILE* f = fopen(source.c_str(), "r");
  if (f == nullptr) Fail("cannot read %s", source.c_str());
  size_t n = 0;
  char line[4096];
  while (fgets(line, sizeof(line), f) != nullptr) {
    n += line[0] >= '0' && line[0] <= '9';
  }
  fclose(f);
  return n;
}

DataSet ExampleData() {
  DataSet d;
  d.dat_dir = QUARN_EXAMPLES_DIR;
  d.source1 = d.dat_dir + "/ipt/ipt1.txt";
  d.source2 = d.dat_dir + "/ipt/ipt2.txt";
  d.ranges1 = CountRecords(d.source1);
  d.ranges2 = CountRecords(d.source2);
  d.label = " ranges (examples)";
  return d;
}

// Disjoint ranges with random bounds and gaps; every 20th on average lies
// in the divided area, and level 2 splits it in two with a gap between.
DataSet SyntheticData() {
  std::mt19937 rng(2026);
  std::vector<quarn_tool::IptRecord> l1, l2;
  const uint64_t step = (uint64_t(1) << 32) / kSyntheticRanges;
  for (size_t i = 0; i < kSyntheticRanges; ++i) {
    const uint64_t slot = i * step;
    const uint32_t begin = uint32_t(slot + rng() % (step / 8));
    const uint32_t end = uint32_t(slot + step - 1 - rng() % (step / 8));
    if (rng() % 20 == 0) {
      l1.push_back({begin, end, kAreaRefinedByLevel2, "divided"});
      const uint32_t mid = begin + (end - begin) / 2;
      const uint64_t city = (i % 16) << 24;
      l2.push_back({begin, mid - 8, kAreaRefinedByLevel2 | (city + (1 << 24)),
                    "city" + std::to_string(i % 16) + "a"});
      l2.push_back({mid, end, kAreaRefinedByLevel2 | (city + (2 << 24)),
                    "city" + std::to_string(i % 16) + "b"});
    } else {
      const uint64_t area = (i % 200) + 1;
      l1.push_back({begin, end,
                    0x0000A00000000000ull + (area << 32) + ((i % 2) << 46),
                    "area" + std::to_string(area)});
    }
  }
  DataSet d;
  d.dat_dir = OutputDir() + "/synthetic";
  mkdir(d.dat_dir.c_str(), 0755);
  d.source1 = d.dat_dir + "/ipt1.txt";
  d.source2 = d.dat_dir + "/ipt2.txt";
  WriteFile(d.source1, IptSource(l1));
  WriteFile(d.source2, IptSource(l2));
  WriteFile(d.dat_dir + "/ipt1.dat", quarn_tool::EncodeIpt(1, l1, 0x21));
  WriteFile(d.dat_dir + "/ipt2.dat", quarn_tool::EncodeIpt(1, l2, 0x21));
  d.ranges1 = l1.size();
  d.ranges2 = l2.size();
  d.label = " ranges";
  return d;
}

// Runs the Perl writer unless `out` is newer than its inputs.
void WriteMmdb(const std::string& out, const std::string& source1,
               const std::string& source2) {
  struct stat s_out, s_in;
  const std::string script =
      std::string(QUARN_PEERS_SOURCE_DIR) + "/ranges_to_mmdb.pl";
  bool fresh = stat(out.c_str(), &s_out) == 0;
  for (const std::string& in : {script, source1, source2}) {
    if (in.empty()) continue;
    if (stat(in.c_str(), &s_in) != 0) Fail("cannot read %s", in.c_str());
    fresh = fresh && s_in.st_mtime < s_out.st_mtime;
  }
  if (fresh) return;
  const std::string command = std::string(QUARN_PERL) + " '" + script + "' '" +
                              out + "' '" + source1 + "' " +
                              (source2.empty() ? "" : "'" + source2 + "'");
  peer_bench::Note("writing %s", out.c_str());
  if (system(command.c_str()) != 0) Fail("failed: %s", command.c_str());
}

class Mmdb {
 public:
  explicit Mmdb(const std::string& path) {
    if (MMDB_open(path.c_str(), MMDB_MODE_MMAP, &db_) != MMDB_SUCCESS) {
      Fail("cannot open %s", path.c_str());
    }
  }
  ~Mmdb() { MMDB_close(&db_); }

  // The record of `ip`; found_entry false when there is none.
  MMDB_lookup_result_s Lookup(uint32_t ip) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    int error = 0;
    MMDB_lookup_result_s result = MMDB_lookup_sockaddr(
        &db_, reinterpret_cast<const sockaddr*>(&address), &error);
    if (error != MMDB_SUCCESS) Fail("lookup error %d", error);
    return result;
  }

  // The area id of `ip`, the unknown area when no record holds it.
  uint64_t AreaId(uint32_t ip) {
    MMDB_lookup_result_s result = Lookup(ip);
    if (!result.found_entry) return kAreaUnknown;
    MMDB_entry_data_s data;
    if (MMDB_get_value(&result.entry, &data, "id", nullptr) != MMDB_SUCCESS ||
        !data.has_data) {
      Fail("record without an id");
    }
    return data.uint64;
  }

  // The name of `ip`'s record, or "unkonwn" when there is none.
  std::string Name(uint32_t ip) {
    MMDB_lookup_result_s result = Lookup(ip);
    if (!result.found_entry) return "unkonwn";
    MMDB_entry_data_s data;
    if (MMDB_get_value(&result.entry, &data, "name", nullptr) != MMDB_SUCCESS ||
        !data.has_data) {
      Fail("record without a name");
    }
    return std::string(data.utf8_string, data.data_size);
  }

 private:
  MMDB_s db_;
};

std::string GbkToUtf8(const std::string& gbk) {
  iconv_t cd = iconv_open("UTF-8", "GBK");
  if (cd == reinterpret_cast<iconv_t>(-1)) Fail("no GBK converter");
  std::string out(gbk.size() * 3 + 4, '\0');
  char* in = const_cast<char*>(gbk.data());
  size_t in_left = gbk.size();
  char* to = &out[0];
  size_t to_left = out.size();
  if (iconv(cd, &in, &in_left, &to, &to_left) == static_cast<size_t>(-1)) {
    Fail("bad GBK text");
  }
  iconv_close(cd);
  out.resize(out.size() - to_left);
  return out;
}

typedef const INTERNET_IP_DESC* (*Lookup)(unsigned int);

// Stops the program unless both sides agree on every probe.
void Check(Lookup ours, Mmdb* peer, const std::vector<uint32_t>& probes,
           const char* what) {
  std::unordered_map<const INTERNET_IP_DESC*, std::string> names;
  for (uint32_t ip : probes) {
    const INTERNET_IP_DESC* desc = ours(ip);
    const uint64_t id = peer->AreaId(ip);
    if (desc->area_id != id) {
      Fail("%s: %s is area %016llx here, %016llx in the database", what,
           Dotted(ip).c_str(), static_cast<unsigned long long>(desc->area_id),
           static_cast<unsigned long long>(id));
    }
    auto it = names.find(desc);
    if (it == names.end()) {
      it = names.emplace(desc, GbkToUtf8(desc->desc)).first;
    }
    if (it->second != peer->Name(ip)) {
      Fail("%s: %s is named \"%s\" here, \"%s\" in the database", what,
           Dotted(ip).c_str(), it->second.c_str(), peer->Name(ip).c_str());
    }
  }
}

void Measure(const std::string& hot_path, const std::string& data, Lookup ours,
             Mmdb* peer, const std::vector<uint32_t>& probes) {
  Check(ours, peer, probes, hot_path.c_str());
  auto ours_pass = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t i = begin; i < end; ++i) sum += ours(probes[i])->area_id;
    return sum;
  };
  auto peer_pass = [&](size_t begin, size_t end) {
    uint64_t sum = 0;
    for (size_t i = begin; i < end; ++i) sum += peer->AreaId(probes[i]);
    return sum;
  };
  const peer_bench::Timing t =
      peer_bench::Compare(ours_pass, peer_pass, probes.size());
  peer_bench::PrintRow(hot_path, data, t.ours_ns,
                       std::string("libmaxminddb ") + MMDB_lib_version(),
                       t.peer_ns);
}

void Run(const DataSet& d, const std::vector<uint32_t>& probes) {
  const std::string base =
      OutputDir() + "/" +
      (d.dat_dir == QUARN_EXAMPLES_DIR ? "example" : "synthetic");
  WriteMmdb(base + "_level1.mmdb", d.source1, "");
  WriteMmdb(base + "_level2.mmdb", d.source1, d.source2);
  setenv("QUARN_MODULE_DIR", d.dat_dir.c_str(), 1);
  LoadInternetRangeTypeLevel2();
  Mmdb level1(base + "_level1.mmdb");
  Mmdb level2(base + "_level2.mmdb");
  Measure("address to area: level-1 lookup",
          peer_bench::Thousands(d.ranges1) + d.label,
          GetIP_INTERNET_Range_Type_Level1, &level1, probes);
  Measure("address to area: level-2 lookup",
          peer_bench::Thousands(d.ranges1) + " + " +
              peer_bench::Thousands(d.ranges2) + d.label,
          GetIP_INTERNET_Range_Type_Level2, &level2, probes);
  UnLoadInternetRangeTypeLevel2();
}

}  // namespace

int main() {
  std::mt19937 rng(17);
  std::vector<uint32_t> probes(kProbes);
  for (uint32_t& ip : probes) ip = rng();
  Run(ExampleData(), probes);
  Run(SyntheticData(), probes);
  return 0;
}
