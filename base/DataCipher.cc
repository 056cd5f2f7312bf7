#include <stdint.h>
#include <string.h>

#include "base/internal/DataCipher.h"

namespace quarn_cipher {
namespace {

const char kMagic[4] = {'Q', 'C', 'R', 'Y'};
const uint8_t kVersion = 1;
const size_t kHeaderSize = 16;

void PutLE32(std::string* out, uint32_t value) {
  for (int i = 0; i < 4; ++i) {
    out->push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  }
}

uint32_t GetLE32(const char* p) {
  const unsigned char* u = reinterpret_cast<const unsigned char*>(p);
  return static_cast<uint32_t>(u[0]) | (static_cast<uint32_t>(u[1]) << 8) |
         (static_cast<uint32_t>(u[2]) << 16) |
         (static_cast<uint32_t>(u[3]) << 24);
}

// FNV-1a over the plain bytes.
uint32_t Checksum(const std::string& plain) {
  uint32_t hash = 2166136261u;
  for (unsigned char c : plain) {
    hash ^= c;
    hash *= 16777619u;
  }
  return hash;
}

// XORs `bytes` in place with a xorshift32 key stream seeded from the
// length, so equal prefixes of different files encipher differently.
void ApplyKeyStream(std::string* bytes) {
  uint32_t state = 0x5175A21Du ^ static_cast<uint32_t>(bytes->size());
  if (state == 0) state = 0x5175A21Du;
  for (size_t i = 0; i < bytes->size(); ++i) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    (*bytes)[i] = static_cast<char>((*bytes)[i] ^ (state & 0xFF));
  }
}

}  // namespace

std::string Encipher(const std::string& plain) {
  std::string out(kMagic, sizeof(kMagic));
  out.push_back(static_cast<char>(kVersion));
  out.append(3, '\0');
  PutLE32(&out, static_cast<uint32_t>(plain.size()));
  PutLE32(&out, Checksum(plain));
  std::string body = plain;
  ApplyKeyStream(&body);
  return out + body;
}

bool Decipher(const std::string& cipher, std::string* plain) {
  if (cipher.size() < kHeaderSize) return false;
  if (memcmp(cipher.data(), kMagic, sizeof(kMagic)) != 0) return false;
  if (static_cast<uint8_t>(cipher[4]) != kVersion) return false;
  uint32_t length = GetLE32(cipher.data() + 8);
  if (length != cipher.size() - kHeaderSize) return false;
  std::string body = cipher.substr(kHeaderSize);
  ApplyKeyStream(&body);
  if (Checksum(body) != GetLE32(cipher.data() + 12)) return false;
  plain->swap(body);
  return true;
}

}  // namespace quarn_cipher
