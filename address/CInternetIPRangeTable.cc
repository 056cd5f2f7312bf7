#include "address/CInternetIPRangeTable.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <unordered_map>

#include "base/OrvaFile.h"
#include "base/OrvaPath.h"
#include "base/internal/NoThrow.h"

// Area id -> first descriptor of that id, remembering first-seen order.
class CInternetIPRangeTable::AreaIndex {
 public:
  struct Fold16 {
    size_t operator()(uint64_t id) const {
      return static_cast<size_t>((id ^ (id >> 16) ^ (id >> 32) ^ (id >> 48)) &
                                 0xFFFF);
    }
  };

  explicit AreaIndex(size_t expected) { by_id_.reserve(expected); }

  void Add(const INTERNET_IP_DESC* desc) {
    if (by_id_.emplace(desc->area_id, desc).second) order_.push_back(desc);
  }
  const INTERNET_IP_DESC* Find(uint64_t id) const {
    auto it = by_id_.find(id);
    return it == by_id_.end() ? nullptr : it->second;
  }
  const std::vector<const INTERNET_IP_DESC*>& order() const { return order_; }

 private:
  std::unordered_map<uint64_t, const INTERNET_IP_DESC*, Fold16> by_id_;
  std::vector<const INTERNET_IP_DESC*> order_;
};

// The range bounds in arrays of their own, plus a table that maps the top
// bits of an address to the slice of ranges beginning under that prefix,
// with about one range per slice (at most 2^16 slices, 256 KiB). A lookup
// then reads one slot of that table and a short branch-free search over a
// few neighbouring keys, instead of some twenty scattered probes into the
// range records.
class CInternetIPRangeTable::SearchIndex {
 public:
  explicit SearchIndex(const std::vector<INTERNET_IP_RANGE>& ranges)
      : begins_(ranges.size()), ends_(ranges.size()), ids_(ranges.size()) {
    for (size_t i = 0; i < ranges.size(); ++i) {
      begins_[i] = ranges[i].begin;
      ends_[i] = ranges[i].end;
      ids_[i] = ranges[i].desc.area_id;
    }
    int bits = 1;
    while (bits < 16 && (size_t(1) << bits) < ranges.size()) ++bits;
    shift_ = 32 - bits;
    const uint32_t slices = 1u << bits;
    slice_.resize(slices + 1);
    size_t i = 0;
    for (uint32_t s = 0; s < slices; ++s) {
      while (i < begins_.size() && (begins_[i] >> shift_) < s) ++i;
      slice_[s] = static_cast<uint32_t>(i);
    }
    slice_[slices] = static_cast<uint32_t>(begins_.size());
  }

  // Position of the range holding `ip`, or -1.
  long Find(uint32_t ip) const {
    const uint32_t s = ip >> shift_;
    const uint32_t lo = slice_[s];
    size_t n = slice_[s + 1] - lo;
    // Ranges before this slice all begin below `ip`; the candidate is the
    // last range beginning at or below `ip`.
    long last;
    if (n == 0) {
      last = static_cast<long>(lo) - 1;
    } else {
      const uint32_t* base = begins_.data() + lo;
      while (n > 1) {
        const size_t half = n / 2;
        base = (base[half] <= ip) ? base + half : base;
        n -= half;
      }
      last = static_cast<long>(base - begins_.data()) - (*base > ip ? 1 : 0);
    }
    if (last < 0 || ends_[last] < ip) return -1;
    return last;
  }

  uint64_t area_id(long position) const { return ids_[position]; }

 private:
  std::vector<uint32_t> begins_;
  std::vector<uint32_t> ends_;
  // Area ids again, so that callers deciding by id alone (the level-2
  // lookup) need not touch the much larger range records.
  std::vector<uint64_t> ids_;
  std::vector<uint32_t> slice_;
  int shift_;
};

namespace {

// Smallest possible record of the binary form: four fixed fields and an
// empty description.
constexpr size_t kMinDatRecord = 4 + 4 + 8 + 4;
constexpr size_t kDatHeader = 1 + 4 + 4;

// Reads little-endian integers out of a scrambled buffer, refusing to run
// past its end.
class ScrambledReader {
 public:
  ScrambledReader(const unsigned char* data, size_t size, unsigned char key)
      : p_(data), end_(data + size), key_(key) {}

  size_t remaining() const { return static_cast<size_t>(end_ - p_); }

  bool U32(uint32_t* out) {
    uint64_t v;
    if (!Bytes(4, &v)) return false;
    *out = static_cast<uint32_t>(v);
    return true;
  }
  bool U64(uint64_t* out) { return Bytes(8, out); }
  bool Text(size_t n, std::string* out) {
    if (remaining() < n) return false;
    out->resize(n);
    for (size_t i = 0; i < n; ++i) (*out)[i] = static_cast<char>(p_[i] ^ key_);
    p_ += n;
    return true;
  }

 private:
  bool Bytes(size_t n, uint64_t* out) {
    if (remaining() < n) return false;
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i)
      v |= static_cast<uint64_t>(p_[i] ^ key_) << (8 * i);
    p_ += n;
    *out = v;
    return true;
  }

  const unsigned char* p_;
  const unsigned char* end_;
  unsigned char key_;
};

}  // namespace

CInternetIPRangeTable::CInternetIPRangeTable()
    : version_(0), loaded_(0), search_(new SearchIndex(ranges_)) {}

CInternetIPRangeTable::~CInternetIPRangeTable() = default;

CInternetIPRangeTable::CInternetIPRangeTable(const CInternetIPRangeTable& other)
    : version_(other.version_),
      name_(other.name_),
      ranges_(other.ranges_),
      loaded_(other.loaded_),
      search_(new SearchIndex(ranges_)) {
  if (other.area_index_) BuildAreaIndex();
}

CInternetIPRangeTable& CInternetIPRangeTable::operator=(
    const CInternetIPRangeTable& other) {
  if (this == &other) return *this;
  version_ = other.version_;
  name_ = other.name_;
  ranges_ = other.ranges_;
  loaded_ = other.loaded_;
  search_.reset(new SearchIndex(ranges_));
  area_index_.reset();
  if (other.area_index_) BuildAreaIndex();
  return *this;
}

class CInternetIPRangeTable::OutOfOrder {
 public:
  explicit OutOfOrder(std::vector<INTERNET_IP_RANGE>* ranges) {
    for (INTERNET_IP_RANGE& r : *ranges)
      by_begin_.emplace_hint(by_begin_.end(), r.begin, std::move(r));
    ranges->clear();
  }

  void Insert(INTERNET_IP_RANGE&& range) {
    auto next = by_begin_.upper_bound(range.begin);
    if (next != by_begin_.begin() &&
        std::prev(next)->second.end >= range.begin) {
      return;  // overlaps the range before it
    }
    if (next != by_begin_.end() && range.end >= next->second.begin) return;
    by_begin_.emplace_hint(next, range.begin, std::move(range));
  }

  void MoveTo(std::vector<INTERNET_IP_RANGE>* ranges) {
    ranges->reserve(by_begin_.size());
    for (auto& entry : by_begin_) ranges->push_back(std::move(entry.second));
    by_begin_.clear();
  }

 private:
  std::map<uint32_t, INTERNET_IP_RANGE> by_begin_;
};

void CInternetIPRangeTable::Insert(INTERNET_IP_RANGE&& range) {
  // A range written high to low covers nothing a lookup could find and
  // would break the order of the ends, so it is not kept.
  if (range.end < range.begin) return;
  if (!out_of_order_) {
    if (ranges_.empty() || ranges_.back().end < range.begin) {
      ranges_.push_back(std::move(range));
      return;
    }
    out_of_order_.reset(new OutOfOrder(&ranges_));
  }
  // A record overlapping a range kept earlier is dropped: the earlier wins.
  out_of_order_->Insert(std::move(range));
}

void CInternetIPRangeTable::BuildAreaIndex() {
  area_index_.reset(new AreaIndex(ranges_.size()));
  for (const INTERNET_IP_RANGE& r : ranges_) area_index_->Add(&r.desc);
}

void CInternetIPRangeTable::FinishLoad(int build_index) {
  if (out_of_order_) {
    out_of_order_->MoveTo(&ranges_);
    out_of_order_.reset();
  }
  search_.reset(new SearchIndex(ranges_));
  if (build_index) BuildAreaIndex();
  loaded_ = 1;
}

int CInternetIPRangeTable::Load_dat(const char* path, int build_index,
                                    int* cancel) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    loaded_ = 0;
    std::string image;
    if (!Orva::ReadFileToString(path, &image)) return 0;
    return LoadDatRecords(reinterpret_cast<const unsigned char*>(image.data()),
                          image.size(), build_index, cancel);
  });
}

int CInternetIPRangeTable::Load_dat_buffer(const unsigned char* data,
                                           size_t size, int build_index,
                                           int* cancel) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    loaded_ = 0;
    if (data == nullptr && size != 0) return 0;
    return LoadDatRecords(data, size, build_index, cancel);
  });
}

int CInternetIPRangeTable::LoadDatRecords(const unsigned char* data,
                                          size_t size, int build_index,
                                          int* cancel) {
  if (size < kDatHeader) return 0;
  unsigned char key = static_cast<unsigned char>(data[0] + 0x3D);
  if (key == 0) key = 0x5A;
  ScrambledReader in(data + 1, size - 1, key);
  uint32_t version = 0;
  uint32_t count_bits = 0;
  in.U32(&version);
  in.U32(&count_bits);
  const int32_t count = static_cast<int32_t>(count_bits);
  if (version == 0 || count < 1) return 0;

  // The area index points into the ranges, which this load may move.
  area_index_.reset();
  // Trust the count only as far as the file could hold that many records.
  const size_t fit = in.remaining() / kMinDatRecord;
  ranges_.reserve(ranges_.size() + std::min(static_cast<size_t>(count), fit));
  for (int32_t i = 0; i < count; ++i) {
    if (cancel != nullptr && *cancel != 0) break;
    INTERNET_IP_RANGE r;
    uint32_t length = 0;
    if (!in.U32(&r.begin) || !in.U32(&r.end) || !in.U64(&r.desc.area_id) ||
        !in.U32(&length) || !in.Text(length, &r.desc.desc)) {
      break;  // the file ends inside this record
    }
    Insert(std::move(r));
  }
  FinishLoad(build_index);
  return 1;
}

namespace {

// Header values found by substring search anywhere in the line.
bool ParseHeader(const char* line, uint32_t* version, int32_t* count) {
  const char* v = strstr(line, "VERSION=");
  const char* c = strstr(line, "COUNT=");
  if (c == nullptr || strstr(line, "DATE=") == nullptr) return false;
  unsigned int vv = 0;
  int cc = 0;
  sscanf(v + 8, "%u", &vv);
  sscanf(c + 6, "%d", &cc);
  *version = vv;
  *count = cc;
  return true;
}

std::string BaseNameWithoutExtension(const char* path) {
  std::string name = Orva::GetFileNameFromFullName(path);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(dot);
  return name;
}

}  // namespace

int CInternetIPRangeTable::Load_ini(const char* path, int build_index,
                                    int* cancel) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    loaded_ = 0;
    if (path == nullptr || *path == '\0') return 0;
    FILE* f = Orva::OpenRegularFile(path);
    if (f == nullptr) return 0;
    name_ = BaseNameWithoutExtension(path);
    area_index_.reset();

    struct stat st;
    const size_t file_size =
        fstat(fileno(f), &st) == 0 ? static_cast<size_t>(st.st_size) : 0;
    uint32_t version = 0;
    int32_t count = 0;
    char line[4096];
    char desc[4096];
    while ((cancel == nullptr || *cancel == 0) &&
           fgets(line, sizeof(line), f) != nullptr) {
      size_t length = strlen(line);
      while (length > 0 &&
             (line[length - 1] == '\n' || line[length - 1] == '\r'))
        line[--length] = '\0';
      if (length < 21 || length > 1024) continue;
      if (version == 0 || count == 0) {
        if (strstr(line, "VERSION=") == nullptr) continue;
        if (!ParseHeader(line, &version, &count)) break;
        version_ = version;
        if (version != 0 && count > 0) {
          ranges_.reserve(ranges_.size() +
                          std::min(static_cast<size_t>(count), file_size / 21));
        }
        continue;
      }
      unsigned int begin = 0, end = 0;
      uint64_t id = 0;
      if (sscanf(line, "%u;%u;%" SCNu64 ";%4095s", &begin, &end, &id, desc) !=
          4) {
        continue;
      }
      INTERNET_IP_RANGE r;
      r.begin = begin;
      r.end = end;
      r.desc.area_id = id;
      r.desc.desc = desc;
      Insert(std::move(r));
    }
    fclose(f);
    FinishLoad(build_index);
    return count != 0 ? 1 : 0;
  });
}

const INTERNET_IP_DESC* CInternetIPRangeTable::Find(unsigned long ip) const {
  if (ip > 0xFFFFFFFFul) return nullptr;
  const long i = search_->Find(static_cast<uint32_t>(ip));
  return i < 0 ? nullptr : &ranges_[static_cast<size_t>(i)].desc;
}

const INTERNET_IP_DESC* CInternetIPRangeTable::Find(unsigned long ip,
                                                    uint64_t* area_id) const {
  const long i = ip > 0xFFFFFFFFul ? -1 : search_->Find(uint32_t(ip));
  if (i < 0) {
    *area_id = 0;
    return nullptr;
  }
  *area_id = search_->area_id(i);
  return &ranges_[static_cast<size_t>(i)].desc;
}

uint64_t CInternetIPRangeTable::GetAreaId(unsigned long ip) const {
  uint64_t id = 0;
  Find(ip, &id);
  return id;
}

const char* CInternetIPRangeTable::GetAreaDesc(unsigned long ip) const {
  const INTERNET_IP_DESC* d = Find(ip);
  return d == nullptr ? nullptr : d->desc.c_str();
}

const INTERNET_IP_DESC* CInternetIPRangeTable::FindByAreaId(uint64_t id) const {
  return area_index_ ? area_index_->Find(id) : nullptr;
}

const char* CInternetIPRangeTable::GetAreaDescByAreaId(uint64_t id) const {
  const INTERNET_IP_DESC* d = FindByAreaId(id);
  return d == nullptr ? nullptr : d->desc.c_str();
}

int CInternetIPRangeTable::GetArea_First() const {
  return (area_index_ && !area_index_->order().empty()) ? 0 : -1;
}

const INTERNET_IP_DESC* CInternetIPRangeTable::GetArea_Next(
    int& position) const {
  if (!area_index_ || position < 0 ||
      static_cast<size_t>(position) >= area_index_->order().size()) {
    position = -1;
    return nullptr;
  }
  const INTERNET_IP_DESC* d = area_index_->order()[position];
  ++position;
  if (static_cast<size_t>(position) >= area_index_->order().size())
    position = -1;
  return d;
}
