// Encoder of the binary "ipt" range file, shared by the writer tool, the
// tests and the benchmarks (the library itself only reads these files).
//
// Layout: a key byte b, then every later byte XOR K with
// K = (b + 0x3D) mod 256, or 0x5A when that is 0. After the key byte:
// version (u32), count (i32), then per record begin (u32), end (u32),
// area id (u64), description length (u32) and the description bytes; all
// integers little-endian.

#ifndef QUARN_TOOLS_IPTWRITER_H_
#define QUARN_TOOLS_IPTWRITER_H_

#include <stdint.h>

#include <string>
#include <vector>

namespace quarn_tool {

struct IptRecord {
  uint32_t begin;
  uint32_t end;
  uint64_t area_id;
  std::string desc;  // GBK
};

inline unsigned char IptKey(unsigned char key_byte) {
  const unsigned char k = static_cast<unsigned char>(key_byte + 0x3D);
  return k == 0 ? 0x5A : k;
}

// Appends `value` as `width` little-endian bytes, each XOR `key`.
inline void PutScrambled(std::string* out, uint64_t value, int width,
                         unsigned char key) {
  for (int i = 0; i < width; ++i) {
    out->push_back(static_cast<char>(((value >> (8 * i)) & 0xFF) ^ key));
  }
}

// The whole file image. `count` is written as given, so callers may make a
// header that disagrees with the records that follow.
inline std::string EncodeIpt(uint32_t version, int32_t count,
                             const std::vector<IptRecord>& records,
                             unsigned char key_byte) {
  const unsigned char key = IptKey(key_byte);
  std::string out(1, static_cast<char>(key_byte));
  PutScrambled(&out, version, 4, key);
  PutScrambled(&out, static_cast<uint32_t>(count), 4, key);
  for (const IptRecord& r : records) {
    PutScrambled(&out, r.begin, 4, key);
    PutScrambled(&out, r.end, 4, key);
    PutScrambled(&out, r.area_id, 8, key);
    PutScrambled(&out, r.desc.size(), 4, key);
    for (char c : r.desc) out.push_back(static_cast<char>(c ^ key));
  }
  return out;
}

inline std::string EncodeIpt(uint32_t version,
                             const std::vector<IptRecord>& records,
                             unsigned char key_byte) {
  return EncodeIpt(version, static_cast<int32_t>(records.size()), records,
                   key_byte);
}

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_IPTWRITER_H_
