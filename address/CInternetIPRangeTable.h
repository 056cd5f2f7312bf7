// A table of internet address ranges, each carrying the area (id and
// description) of every address in it. One table holds one range file: the
// binary "ipt" form read at library start or the text form.

#ifndef QUARN_ADDRESS_CINTERNETIPRANGETABLE_H_
#define QUARN_ADDRESS_CINTERNETIPRANGETABLE_H_

#include "quarn_common/base/Export.h"

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

// An internet area: what every address lookup hands out.
struct INTERNET_IP_DESC {
  uint64_t area_id = 0;
  std::string desc;  // GBK text
};

// One range of the table: every address in [begin, end] lies in `desc`.
struct INTERNET_IP_RANGE {
  uint32_t begin = 0;
  uint32_t end = 0;
  INTERNET_IP_DESC desc;
};

// Holds ranges ascending by begin and never overlapping. Loads merge into
// what the table already holds; a record that overlaps a kept range is
// dropped, so the earlier record wins.
//
// Lookups are read-only and may run on many threads at once, but not
// during a load. Returned pointers point into the table and stay valid
// until the next load, assignment or destruction.
class QUARN_EXPORT CInternetIPRangeTable {
 public:
  CInternetIPRangeTable();
  ~CInternetIPRangeTable();
  // A copy owns its own area index (rebuilt when the source had one).
  CInternetIPRangeTable(const CInternetIPRangeTable& other);
  CInternetIPRangeTable& operator=(const CInternetIPRangeTable& other);

  // Loads a binary range file. Returns 1 on success, 0 when the file cannot
  // be read or its header is bad (zero version, count below 1). A file
  // shorter than its header says yields the records before the cut and
  // still succeeds. When `build_index` is non-zero the area index is built.
  // The load stops early, and succeeds, once `cancel` is set and non-zero.
  int Load_dat(const char* path, int build_index, int* cancel);
  // The same from a file image in memory. Never reads outside
  // [data, data + size) whatever the bytes say.
  int Load_dat_buffer(const unsigned char* data, size_t size, int build_index,
                      int* cancel);
  // Loads a text range file ("VERSION=" header line, then "begin;end;id;desc"
  // lines). Sets the version and the name (file name without directory and
  // extension). Returns non-zero when the header gave a non-zero count.
  int Load_ini(const char* path, int build_index, int* cancel);

  // 1 once a load ran to its end, else 0.
  int IsLoadOK() const { return loaded_; }

  // Area of the range holding `ip` (host order), or null.
  const INTERNET_IP_DESC* Find(unsigned long ip) const;
  // The same, also storing its area id (0 when none) in `*area_id` without
  // reading the descriptor.
  const INTERNET_IP_DESC* Find(unsigned long ip, uint64_t* area_id) const;
  // Its area id, or 0.
  uint64_t GetAreaId(unsigned long ip) const;
  // Its description, or null.
  const char* GetAreaDesc(unsigned long ip) const;

  // Descriptor of the lowest range of area `id`; null without an area index
  // or when no range has that id.
  const INTERNET_IP_DESC* FindByAreaId(uint64_t id) const;
  const char* GetAreaDescByAreaId(uint64_t id) const;

  // Walks the distinct areas in order of their lowest range:
  //   for (int pos = t.GetArea_First(); pos != -1;) use(t.GetArea_Next(pos));
  // First gives -1 when there is no area index or it is empty; Next returns
  // the area at `pos` and moves `pos` on (to -1 after the last).
  int GetArea_First() const;
  const INTERNET_IP_DESC* GetArea_Next(int& position) const;

  uint32_t version() const { return version_; }
  const std::string& name() const { return name_; }
  const std::vector<INTERNET_IP_RANGE>& ranges() const { return ranges_; }

 private:
  class AreaIndex;
  class SearchIndex;
  class OutOfOrder;

  // Keeps the ranges sorted and disjoint; see the class comment. Records
  // in ascending order are appended; once one arrives out of order the
  // rest of the load goes through an ordered tree, so a file in any order
  // loads in n log n.
  QUARN_HIDDEN void Insert(INTERNET_IP_RANGE&& range);
  QUARN_HIDDEN void BuildAreaIndex();
  QUARN_HIDDEN void FinishLoad(int build_index);
  QUARN_HIDDEN int LoadDatRecords(const unsigned char* data, size_t size,
                                  int build_index, int* cancel);

  uint32_t version_;
  std::string name_;
  std::vector<INTERNET_IP_RANGE> ranges_;
  int loaded_;
  std::unique_ptr<AreaIndex> area_index_;
  // Compact copy of the range bounds used by Find; rebuilt after each load.
  std::unique_ptr<SearchIndex> search_;
  // During a load that met a record out of order: every range, by begin.
  std::unique_ptr<OutOfOrder> out_of_order_;
};

#endif  // QUARN_ADDRESS_CINTERNETIPRANGETABLE_H_
