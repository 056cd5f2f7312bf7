// The name last given to each IPv4 address by a DNS answer, for at most a
// fixed number of addresses: when full, the oldest answer is forgotten.
// All memory is taken at construction.

#ifndef QUARN_TOOLS_CAPTURE_ADDRESSNAMES_INTERNAL_H_
#define QUARN_TOOLS_CAPTURE_ADDRESSNAMES_INTERNAL_H_

#include <stdint.h>

#include <string_view>
#include <vector>

namespace quarn_tool {

class AddressNames {
 public:
  // Longest name kept; a longer one is not remembered.
  static constexpr size_t kMaxName = 255;

  // Room for `capacity` addresses (at least 1).
  explicit AddressNames(uint32_t capacity);

  // Remembers `name` for `ip` (host order), replacing its earlier name.
  void Put(uint32_t ip, std::string_view name);
  // The name of `ip`, valid until the next Put; empty when none.
  std::string_view Get(uint32_t ip) const;

  uint32_t size() const { return size_; }

 private:
  struct Entry {
    uint32_t ip;
    int32_t next;  // the next entry of its bucket, -1 at the end
    uint16_t len;
    bool used;
    char name[kMaxName];
  };

  uint32_t Bucket(uint32_t ip) const;
  int32_t Find(uint32_t ip) const;
  void Unlink(int32_t index);

  uint32_t capacity_;             // entries_ grows up to this many
  std::vector<Entry> entries_;    // a ring, oldest at next_
  std::vector<int32_t> buckets_;  // first entry of each chain, -1 none
  uint32_t next_ = 0;
  uint32_t size_ = 0;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_CAPTURE_ADDRESSNAMES_INTERNAL_H_
