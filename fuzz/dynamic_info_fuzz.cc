// Feeds arbitrary bytes to the loader of the signed-in state files, as the
// main file "auth_center.dat", the new file "auth_center_new.dat", or both.
//
// Input: a flags byte (bit 0: write the main file, bit 1: write the new
// file, bit 2: MAC index on), the length of the main file's bytes (16 bits,
// little-endian), the main file's bytes, and the new file's bytes (the
// rest).
//
// Whatever loads, every entry must be found through the table's lookups,
// and the table must save and load back to the same entries in the same
// order (entries in the state that is never saved left out).

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include "employee/CMyEmployeeDynamicInfoMgr.h"
#include "fuzz/FuzzFiles.h"

namespace {

using quarn_fuzz::Require;

// Room for more entries than most inputs hold, and few enough that full
// tables happen too.
const unsigned int kCapacity = 64;

// A table per MAC mode, for loading and for reloading. Creating one
// allocates every bucket of its indexes, which costs more than a load, so
// they are made once.
CMyEmployeeDynamicInfoMgr& Table(int mac_finder, int which) {
  static CMyEmployeeDynamicInfoMgr* tables = [] {
    CMyEmployeeDynamicInfoMgr* t = new CMyEmployeeDynamicInfoMgr[4];
    for (int i = 0; i < 4; ++i) {
      Require(t[i].Create(kCapacity, i & 1) != 0, "state table created");
    }
    return t;
  }();
  return tables[which * 2 + (mac_finder ? 1 : 0)];
}

// The fields the file carries, in walk order, leaving out what is not
// saved. A non-zero refresh time becomes the load time, so only whether it
// is set counts.
struct Saved {
  uint64_t did;
  uint32_t ip;
  uint32_t auth_time;
  int32_t state;
  bool refreshed;
  unsigned char mac[6];
  bool operator==(const Saved& o) const {
    return did == o.did && ip == o.ip && auth_time == o.auth_time &&
           state == o.state && refreshed == o.refreshed &&
           memcmp(mac, o.mac, 6) == 0;
  }
};

// Walks the table, checks that each entry is found by its keys, and
// returns what a save keeps of the entries.
std::vector<Saved> Walk(CMyEmployeeDynamicInfoMgr& table) {
  std::vector<Saved> saved;
  unsigned int count = 0;
  for (int c = table.GetHeadBlock(); c != -1;) {
    const int slot = c;
    EMPLOYEE_DYNAMIC_INFO* e = table.GetNextBlockFromHead(c);
    Require(e != nullptr, "a walk yields an entry per step");
    Require(++count <= table.GetUsedCount(), "a walk ends");
    Require(table.GetDataByIndex(slot) == e && table.GetIndexByData(e) == slot,
            "slots and entries map both ways");
    Require(table.CheckDidAndIP(e->did, e->ip) == 1,
            "an entry's account runs on its address");
    Require(table.GetLiveCountByDid(e->did) >= 1, "an entry counts");
    Require(table.FindEmployeeByRunIP(e->ip) != nullptr,
            "an entry is found by its address");
    int found = 0;
    for (int d = table.FindFirstEmployeeByDid(e->did); d != -1;) {
      found += table.FindNextEmployeeByDid(e->did, d) == e ? 1 : 0;
      Require(found <= 1, "an entry is listed once under its account");
    }
    Require(found == 1, "an entry is listed under its account");
    table.GetFirstEmployeeByDid(e->did);
    table.GetLastEmployeeByDid(e->did);
    table.TestAuthPassByIP(e->ip, nullptr);
    if (e->state == CMyEmployeeDynamicInfoMgr::kUnsavedState) continue;
    Saved s = {e->did, e->ip, e->auth_time, e->state, e->refresh_time != 0, {}};
    memcpy(s.mac, e->mac, 6);
    saved.push_back(s);
  }
  Require(count == table.GetUsedCount(), "a walk visits every entry");
  return saved;
}

void Place(const std::string& path, bool present, const uint8_t* data,
           size_t size) {
  if (present) {
    quarn_fuzz::WriteWholeFile(path, data, size);
  } else {
    unlink(path.c_str());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  const uint8_t flags = data[0];
  size_t main_size = data[1] | static_cast<size_t>(data[2]) << 8;
  data += 3;
  size -= 3;
  if (main_size > size) main_size = size;

  const std::string dir = quarn_fuzz::ScratchPath("state");
  const std::string again = quarn_fuzz::ScratchPath("saved");
  quarn_fuzz::MakeDir(dir);
  quarn_fuzz::MakeDir(again);
  Place(dir + "/" + CMyEmployeeDynamicInfoMgr::kMainFileName, flags & 1, data,
        main_size);
  Place(dir + "/" + CMyEmployeeDynamicInfoMgr::kNewFileName, flags & 2,
        data + main_size, size - main_size);

  const int mac_finder = (flags >> 2) & 1;
  CMyEmployeeDynamicInfoMgr& table = Table(mac_finder, 0);
  const int loaded = table.Load_bin(dir.c_str());
  if ((flags & 3) == 0) {
    Require(loaded == 0 && table.GetUsedCount() == 0, "no file, no entries");
  }
  const std::vector<Saved> before = Walk(table);

  Require(table.Save_bin(again.c_str()) == 1, "the table saves");
  CMyEmployeeDynamicInfoMgr& reloaded = Table(mac_finder, 1);
  Require(reloaded.Load_bin(again.c_str()) == 1, "the saved table loads");
  const std::vector<Saved> after = Walk(reloaded);
  Require(before == after, "save and load give back the same entries");
  return 0;
}
