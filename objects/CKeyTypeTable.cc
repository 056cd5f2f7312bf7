#include "objects/CKeyTypeTable.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <new>

#include "base/CTinyXmlEx.h"
#include "base/NoThrow_internal.h"
#include "base/OrvaFile.h"
#include "base/OrvaPath.h"
#include "base/OrvaString.h"
#include "objects/KeyPieceTable_internal.h"

using quarn_keytable::PieceTable;

namespace {

const uint64_t kLoadSingleBuckets = 256;
const uint64_t kLoadMultiBuckets = 65536;
const size_t kMaxPieces = 32;
// Binary keys are shorter than this many bytes.
const size_t kMaxBinaryKey = 100;
const int kIniLineBytes = 2048;
// Keys of a text keyword file are stored under this type mask.
const uint64_t kIniTypeMask = 2;

uint32_t FullMask(unsigned count) {
  return count >= 32 ? 0xFFFFFFFFu : (uint32_t{1} << count) - 1;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads `text` as hexadecimal byte pairs ("4142" is "AB"); an odd last
// digit is ignored. False when a pair is not two hexadecimal digits.
bool HexToBytes(const std::string& text, std::string* bytes) {
  bytes->clear();
  for (size_t i = 0; i + 1 < text.size(); i += 2) {
    int high = HexDigit(text[i]);
    int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes->push_back(static_cast<char>(high << 4 | low));
  }
  return true;
}

// Lower-cases the ASCII letters of a GBK text. The second byte of a
// double-byte character may fall in the ASCII letter range and is left
// alone, so Chinese keys keep their bytes.
void LowerGbk(std::string* text) {
  for (size_t i = 0; i < text->size(); ++i) {
    unsigned char c = static_cast<unsigned char>((*text)[i]);
    if (c >= 0x81 && c <= 0xFE) {
      ++i;  // lead byte: skip the trail byte
    } else if (c >= 'A' && c <= 'Z') {
      (*text)[i] = static_cast<char>(c - 'A' + 'a');
    }
  }
}

// The base name of `path` without its extension.
std::string ConfigName(const char* path) {
  std::string name = Orva::GetFileNameFromFullName(path);
  size_t dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(dot);
  return name;
}

}  // namespace

CKeyTypeTable::CKeyTypeTable()
    : enabled_(0),
      version_(0),
      shortest_(UINT64_MAX),
      pending_position_(0),
      result_(0) {}

CKeyTypeTable::~CKeyTypeTable() {}

int CKeyTypeTable::Create(uint64_t single_cap, uint64_t multi_cap,
                          uint64_t single_buckets, uint64_t multi_buckets) {
  Destroy();
  enabled_ = 1;
  if (single_cap != 0 && single_buckets != 0) {
    single_ = PieceTable::Create(single_cap, single_buckets, false);
    if (!single_) return 0;
  }
  if (multi_cap == 0 || multi_buckets == 0) return 1;
  multi_ = PieceTable::Create(multi_cap, multi_buckets, true);
  return multi_ ? 1 : 0;
}

void CKeyTypeTable::Destroy() {
  single_.reset();
  multi_.reset();
  keys_.clear();
  keys_.shrink_to_fit();
  touched_.clear();
  pending_.clear();
  shortest_ = UINT64_MAX;
  result_ = 0;
}

int CKeyTypeTable::AddBinaryKey(uint64_t mask, const void* key,
                                uint64_t length) {
  if (key == nullptr || length == 0) return 0;
  std::vector<std::string> pieces;
  int blur = Orva::SplitFullKey(static_cast<const char*>(key),
                                static_cast<size_t>(length), pieces);
  if (blur == Orva::kBlurRefused || pieces.empty() ||
      pieces.size() > kMaxPieces || keys_.size() >= PieceTable::kNil) {
    return 0;
  }
  // Make sure every piece has a node before storing any, so a refused key
  // leaves nothing behind.
  uint64_t singles = 0;
  uint64_t multis = 0;
  uint64_t shortest = UINT64_MAX;
  for (const std::string& piece : pieces) {
    if (piece.size() > 0xFFFFFFFFu) return 0;
    ++(piece.size() == 1 ? singles : multis);
    if (piece.size() < shortest) shortest = piece.size();
  }
  if (singles > 0 && (!single_ || single_->free_nodes() < singles)) return 0;
  if (multis > 0 && (!multi_ || multi_->free_nodes() < multis)) return 0;

  uint32_t index = static_cast<uint32_t>(keys_.size());
  Keyword keyword;
  keyword.type_mask = mask;
  keyword.matched = 0;
  keyword.piece_count = static_cast<uint8_t>(pieces.size());
  keyword.blur = static_cast<uint8_t>(blur);
  for (size_t k = 0; k < pieces.size(); ++k) {
    PieceTable* table = pieces[k].size() == 1 ? single_.get() : multi_.get();
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(pieces[k].data());
    if (!table->Insert(bytes, static_cast<uint32_t>(pieces[k].size()), index,
                       static_cast<uint8_t>(k))) {
      return 0;  // unreachable: room was checked above
    }
  }
  try {
    keys_.push_back(keyword);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  if (shortest < shortest_) shortest_ = shortest;
  return 1;
}

void CKeyTypeTable::CountPieces(const void* key, uint64_t length,
                                uint64_t* single_count, uint64_t* multi_count) {
  std::vector<std::string> pieces;
  if (Orva::SplitFullKey(static_cast<const char*>(key),
                         static_cast<size_t>(length),
                         pieces) == Orva::kBlurRefused) {
    return;
  }
  for (const std::string& piece : pieces) {
    ++*(piece.size() == 1 ? single_count : multi_count);
  }
}

void CKeyTypeTable::Rebuild(uint64_t single_count, uint64_t multi_count) {
  Destroy();
  enabled_ = 1;
  if (single_count > 0) {
    single_ = PieceTable::Create(single_count, kLoadSingleBuckets, false);
    // Without the one-byte table the other is not built either; the
    // adding pass then stores only what finds a table.
    if (!single_) return;
  }
  if (multi_count > 0) {
    multi_ = PieceTable::Create(multi_count, kLoadMultiBuckets, true);
  }
}

int CKeyTypeTable::Load_xml(const char* path) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    uint64_t singles = 0;
    uint64_t multis = 0;
    int result = LoadXml(path, false, &singles, &multis);
    if (result == 0) return 0;
    if (singles == 0 && multis == 0) return 1;
    Rebuild(singles, multis);
    return LoadXml(path, true, &singles, &multis);
  });
}

int CKeyTypeTable::Load_ini(const char* path) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    uint64_t singles = 0;
    uint64_t multis = 0;
    int result = LoadIni(path, false, &singles, &multis);
    if (result == 0) return 0;
    if (singles == 0 && multis == 0) return 1;
    Rebuild(singles, multis);
    return LoadIni(path, true, &singles, &multis);
  });
}

int CKeyTypeTable::LoadXml(const char* path, bool add, uint64_t* single_count,
                           uint64_t* multi_count) {
  if (path == nullptr || *path == '\0') return 0;
  CTinyXmlEx doc;
  if (doc.open_for_readonly(path) != 0) return 0;
  name_ = ConfigName(path);
  TiXmlNode* root = doc.GetRootNode();
  unsigned int version = 0;
  if (!CTinyXmlEx::GetValue(CTinyXmlEx::FirstChildElement(root, "version"),
                            version)) {
    version = 0;
  }
  version_ = version;

  for (TiXmlNode* type = CTinyXmlEx::FirstChildElement(root, "type");
       type != nullptr; type = CTinyXmlEx::NextSiblingElement(type, "type")) {
    uint64_t id = 0;
    if (!CTinyXmlEx::GetAttr(type, "id", id) || id == 0) continue;
    const uint64_t mask = uint64_t{1} << (id & 63);
    for (TiXmlNode* node = CTinyXmlEx::FirstChildElement(type, "key");
         node != nullptr; node = CTinyXmlEx::NextSiblingElement(node, "key")) {
      std::string format;
      CTinyXmlEx::GetAttr(node, "format", format);
      std::string text;
      if (!CTinyXmlEx::GetValue(node, text) || text.empty()) continue;
      std::string key;
      if (format == "b") {
        if (text.size() / 2 >= kMaxBinaryKey) continue;
        if (!HexToBytes(text, &key)) continue;
      } else {
        key = text;
        LowerGbk(&key);
      }
      if (key.empty()) continue;
      if (add) AddBinaryKey(mask, key.data(), key.size());
      CountPieces(key.data(), key.size(), single_count, multi_count);
    }
  }
  return 1;
}

int CKeyTypeTable::LoadIni(const char* path, bool add, uint64_t* single_count,
                           uint64_t* multi_count) {
  if (path == nullptr || *path == '\0') return 0;
  FILE* file = Orva::OpenRegularFile(path);
  if (file == nullptr) return 0;
  char line[kIniLineBytes];
  while (fgets(line, sizeof(line), file) != nullptr) {
    const char* comma = strchr(line, ',');
    if (comma == nullptr) continue;
    int number = 0;
    if (sscanf(comma + 1, "%d", &number) != 1) continue;
    size_t length = static_cast<size_t>(comma - line);
    if (add && number == 1) AddBinaryKey(kIniTypeMask, line, length);
    if (length > 0) CountPieces(line, length, single_count, multi_count);
  }
  fclose(file);
  return 1;
}

bool CKeyTypeTable::Usable(const void* data, uint64_t length) const {
  return enabled_ != 0 && data != nullptr && length >= shortest_;
}

void CKeyTypeTable::Hit(uint32_t index, uint32_t piece) {
  Keyword& keyword = keys_[index];
  const uint32_t full = FullMask(keyword.piece_count);
  auto complete = [&keyword, full]() {
    return keyword.blur == Orva::kBlurAnyPiece ? keyword.matched != 0
                                               : keyword.matched == full;
  };
  if (complete()) return;  // already counted in this query
  if (keyword.blur == Orva::kBlurOrdered && piece > 0 &&
      (keyword.matched >> (piece - 1) & 1) == 0) {
    return;  // an ordered piece counts only after its predecessor
  }
  if (keyword.matched == 0) touched_.push_back(index);
  keyword.matched |= uint32_t{1} << piece;
  if (complete()) result_ |= keyword.type_mask;
}

void CKeyTypeTable::Collect(uint32_t keyword, uint8_t piece,
                            uint64_t position) {
  if (!pending_.empty() && position != pending_position_) ApplyPending();
  pending_position_ = position;
  pending_.emplace_back(piece, keyword);
}

void CKeyTypeTable::ApplyPending() {
  if (pending_.size() > 1) {
    std::sort(pending_.begin(), pending_.end(),
              [](const std::pair<uint8_t, uint32_t>& a,
                 const std::pair<uint8_t, uint32_t>& b) {
                return a.first > b.first;
              });
  }
  for (const auto& hit : pending_) Hit(hit.second, hit.first);
  pending_.clear();
}

void CKeyTypeTable::LookupHead(const PieceTable* table, const uint8_t* data,
                               uint64_t length, bool exact) {
  if (table == nullptr) return;
  table->ForEachHit(
      data, length, exact,
      [this](uint32_t keyword, uint8_t piece) { Collect(keyword, piece, 0); });
}

uint64_t CKeyTypeTable::Finish() {
  ApplyPending();
  for (uint32_t index : touched_) keys_[index].matched = 0;
  touched_.clear();
  uint64_t result = result_;
  result_ = 0;
  return result;
}

uint64_t CKeyTypeTable::TextMatch(const void* data, uint64_t length) {
  if (!Usable(data, length)) return 0;
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  const PieceTable* single =
      single_ && single_->size() > 0 ? single_.get() : nullptr;
  const PieceTable* multi =
      multi_ && multi_->size() > 0 ? multi_.get() : nullptr;
  auto collect = [this](uint32_t keyword, uint8_t piece, uint64_t position) {
    Collect(keyword, piece, position);
  };
  if (single == nullptr) {
    if (multi != nullptr) multi->Scan(bytes, length, shortest_, collect);
    return Finish();
  }
  for (uint64_t pos = 0; length - pos >= shortest_; ++pos) {
    auto at_pos = [this, pos](uint32_t keyword, uint8_t piece) {
      Collect(keyword, piece, pos);
    };
    single->ForEachHit(bytes + pos, length - pos, false, at_pos);
    if (multi != nullptr) {
      multi->ForEachHit(bytes + pos, length - pos, false, at_pos);
    }
  }
  return Finish();
}

uint64_t CKeyTypeTable::HeadMatch(const void* data, uint64_t length) {
  if (!Usable(data, length)) return 0;
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  LookupHead(length == 1 ? single_.get() : multi_.get(), bytes, length, false);
  return Finish();
}

uint64_t CKeyTypeTable::FindExact(const void* data, uint64_t length) {
  if (!Usable(data, length)) return 0;
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  LookupHead(length == 1 ? single_.get() : multi_.get(), bytes, length, true);
  return Finish();
}
