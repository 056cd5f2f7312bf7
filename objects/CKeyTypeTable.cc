#include "objects/CKeyTypeTable.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <new>

#include "base/CTinyXmlEx.h"
#include "base/OrvaFile.h"
#include "base/OrvaPath.h"
#include "base/OrvaString.h"
#include "base/internal/NoThrow.h"
#include "objects/internal/PieceIndex.h"

using quarn_match::PieceIndex;

namespace {

const uint64_t kLoadSingleBuckets = 256;
const uint64_t kLoadMultiBuckets = 65536;
const size_t kMaxPieces = 32;
// Limits of one piece table, in pieces and buckets, and of the keyword
// count (piece numbers are 32-bit).
const uint64_t kMaxTablePieces = 0xFFFFFFFEu;
const uint64_t kMaxBuckets = uint64_t{1} << 24;
const uint64_t kMaxKeywords = 0xFFFFFFF0u;
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
      single_cap_(0),
      multi_cap_(0),
      single_used_(0),
      multi_used_(0),
      shortest_(UINT64_MAX),
      all_masks_(0),
      result_(0) {}

CKeyTypeTable::~CKeyTypeTable() {}

bool CKeyTypeTable::MakeTable(uint64_t capacity, uint64_t buckets,
                              uint64_t* table_cap) {
  if (capacity > kMaxTablePieces || buckets > kMaxBuckets) return false;
  if (!index_) {
    index_.reset(new (std::nothrow) PieceIndex);
    if (!index_) return false;
  }
  *table_cap = capacity;
  return true;
}

int CKeyTypeTable::Create(uint64_t single_cap, uint64_t multi_cap,
                          uint64_t single_buckets, uint64_t multi_buckets) {
  Destroy();
  enabled_ = 1;
  if (single_cap != 0 && single_buckets != 0) {
    if (!MakeTable(single_cap, single_buckets, &single_cap_)) return 0;
  }
  if (multi_cap == 0 || multi_buckets == 0) return 1;
  return MakeTable(multi_cap, multi_buckets, &multi_cap_) ? 1 : 0;
}

void CKeyTypeTable::Destroy() {
  index_.reset();
  single_cap_ = multi_cap_ = single_used_ = multi_used_ = 0;
  std::vector<PieceRef>().swap(refs_);
  std::vector<Keyword>().swap(keys_);
  std::vector<uint32_t>().swap(touched_);
  shortest_ = UINT64_MAX;
  all_masks_ = 0;
  result_ = 0;
}

int CKeyTypeTable::AddBinaryKey(uint64_t mask, const void* key,
                                uint64_t length) {
  if (key == nullptr || length == 0 || !index_) return 0;
  std::vector<std::string> pieces;
  int blur = Orva::SplitFullKey(static_cast<const char*>(key),
                                static_cast<size_t>(length), pieces);
  if (blur == Orva::kBlurRefused || pieces.empty() ||
      pieces.size() > kMaxPieces || keys_.size() >= kMaxKeywords) {
    return 0;
  }
  // Make sure every piece has room before storing any, so a refused key
  // leaves nothing behind.
  uint64_t singles = 0;
  uint64_t multis = 0;
  uint64_t bytes = 0;
  uint64_t shortest = UINT64_MAX;
  for (const std::string& piece : pieces) {
    if (piece.size() > 0xFFFFFFFFu) return 0;
    ++(piece.size() == 1 ? singles : multis);
    bytes += piece.size();
    if (piece.size() < shortest) shortest = piece.size();
  }
  if (singles > single_cap_ - single_used_ ||
      multis > multi_cap_ - multi_used_) {
    return 0;
  }
  if (!index_->Reserve(pieces.size(), bytes)) return 0;
  const uint32_t index = static_cast<uint32_t>(keys_.size());
  const bool simple = pieces.size() == 1 || blur == Orva::kBlurAnyPiece;
  try {
    if (refs_.capacity() - refs_.size() < pieces.size()) {
      refs_.reserve(2 * refs_.capacity() + pieces.size());
    }
    keys_.push_back(Keyword{mask, 0, static_cast<uint8_t>(pieces.size()),
                            static_cast<uint8_t>(blur)});
    if (!simple && touched_.capacity() < keys_.size()) {
      touched_.reserve(2 * keys_.size());
    }
  } catch (const std::bad_alloc&) {
    if (keys_.size() > index) keys_.pop_back();
    return 0;
  }
  for (size_t k = 0; k < pieces.size(); ++k) {
    const uint32_t ref = static_cast<uint32_t>(refs_.size());
    refs_.push_back(PieceRef{simple ? mask : 0, index, static_cast<uint8_t>(k),
                             static_cast<uint8_t>(simple)});
    // A simple piece is summarised by its mask; the others are marked,
    // as they need the keyword's state and their order.
    index_->Add(reinterpret_cast<const uint8_t*>(pieces[k].data()),
                static_cast<uint32_t>(pieces[k].size()), ref, simple ? mask : 0,
                !simple);
  }
  single_used_ += singles;
  multi_used_ += multis;
  all_masks_ |= mask;
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
    // Without the one-byte table the other is not built either; the
    // adding pass then stores only what finds a table.
    if (!MakeTable(single_count, kLoadSingleBuckets, &single_cap_)) return;
  }
  if (multi_count > 0) MakeTable(multi_count, kLoadMultiBuckets, &multi_cap_);
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
  return enabled_ != 0 && data != nullptr && length >= shortest_ && index_;
}

void CKeyTypeTable::Hit(uint32_t index, uint32_t piece) {
  Keyword& keyword = keys_[index];
  const uint32_t full = FullMask(keyword.piece_count);
  if (keyword.matched == full) return;  // already counted in this query
  if (keyword.blur == Orva::kBlurOrdered && piece > 0 &&
      (keyword.matched >> (piece - 1) & 1) == 0) {
    return;  // an ordered piece counts only after its predecessor
  }
  if (keyword.matched == 0) touched_.push_back(index);
  keyword.matched |= uint32_t{1} << piece;
  if (keyword.matched == full) result_ |= keyword.type_mask;
}

uint64_t CKeyTypeTable::Finish() {
  for (uint32_t index : touched_) keys_[index].matched = 0;
  touched_.clear();
  uint64_t result = result_;
  result_ = 0;
  return result;
}

uint64_t CKeyTypeTable::TextMatch(const void* data, uint64_t length) {
  if (!Usable(data, length)) return 0;
  // Once every type is found nothing can change the answer; before that,
  // positions whose pieces can add no type are left out.
  auto apply = [this](uint32_t ref) {
    Apply(ref);
    return result_ != all_masks_;
  };
  index_->Scan(
      static_cast<const uint8_t*>(data), length, length - shortest_ + 1,
      [this, &apply](uint64_t, PieceIndex::Run* runs, size_t count) {
        // Simple pieces only add their masks, in any order.
        uint64_t masks = 0;
        uint32_t marked = 0;
        for (size_t i = 0; i < count; ++i) {
          const PieceIndex::Summary& summary = index_->SummaryOf(runs[i]);
          masks |= summary.tags;
          marked |= summary.marked;
        }
        if (marked == 0) {
          result_ |= masks;
          return result_ != all_masks_;
        }
        // The one-byte pieces (the shortest run) are asked before
        // the longer ones.
        if (runs[0].length == 1) {
          if (!index_->ForEachRef(runs, 1, apply)) return false;
          ++runs;
          --count;
        }
        return count == 0 || index_->ForEachRef(runs, count, apply);
      },
      &result_);
  return Finish();
}

void CKeyTypeTable::LookupHead(const void* data, uint64_t length, bool exact) {
  index_->Lookup(static_cast<const uint8_t*>(data), length, exact,
                 [this, length](PieceIndex::Run* runs, size_t count) {
                   // One byte of data asks the one-byte pieces, longer
                   // data only the longer pieces.
                   if (length > 1 && runs[0].length == 1) {
                     ++runs;
                     --count;
                   }
                   index_->ForEachRef(runs, count, [this](uint32_t ref) {
                     Apply(ref);
                     return true;
                   });
                 });
}

uint64_t CKeyTypeTable::HeadMatch(const void* data, uint64_t length) {
  if (!Usable(data, length)) return 0;
  LookupHead(data, length, false);
  return Finish();
}

uint64_t CKeyTypeTable::FindExact(const void* data, uint64_t length) {
  if (!Usable(data, length)) return 0;
  LookupHead(data, length, true);
  return Finish();
}
