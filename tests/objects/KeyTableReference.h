// A slow model of CKeyTypeTable's queries for differential tests: keywords
// keep their pieces as strings, and a query tries every piece of every
// keyword at every position. The hits found at one position are applied
// one-byte pieces first (the one-byte table is asked before the other),
// then within each table highest piece first, so an ordered piece counts
// on a predecessor found at the same position only when that predecessor
// is one byte long; a keyword's marks last for one query.

#ifndef QUARN_TESTS_OBJECTS_KEYTABLEREFERENCE_H_
#define QUARN_TESTS_OBJECTS_KEYTABLEREFERENCE_H_

#include <stdint.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/OrvaString.h"

namespace quarn_test {

class KeyTableReference {
 public:
  // Mirrors AddBinaryKey for a table with room for every piece.
  int Add(uint64_t mask, const std::string& key) {
    Keyword k;
    k.blur = Orva::SplitFullKey(key.data(), key.size(), k.pieces);
    if (k.blur == Orva::kBlurRefused || k.pieces.size() > 32) return 0;
    k.mask = mask;
    keys_.push_back(k);
    for (const std::string& piece : k.pieces) {
      if (piece.size() < shortest_) shortest_ = piece.size();
    }
    return 1;
  }

  uint64_t TextMatch(const std::string& text) { return Query(text, 0); }
  uint64_t HeadMatch(const std::string& text) { return Query(text, 1); }
  uint64_t FindExact(const std::string& text) { return Query(text, 2); }

 private:
  struct Keyword {
    std::vector<std::string> pieces;
    int blur = 0;
    uint64_t mask = 0;
    uint32_t matched = 0;
  };

  // mode 0: every position, prefix; 1: position 0, prefix; 2: position 0,
  // the whole text. Heads and exact look-ups take one-byte pieces for one
  // byte of text and longer pieces otherwise.
  uint64_t Query(const std::string& text, int mode) {
    uint64_t result = 0;
    if (keys_.empty() || text.size() < shortest_) return 0;
    for (size_t p = 0; p < text.size(); ++p) {
      size_t left = text.size() - p;
      if (left < shortest_ || (mode != 0 && p > 0)) break;
      std::vector<std::pair<size_t, size_t>> hits;  // (piece, keyword)
      for (size_t k = 0; k < keys_.size(); ++k) {
        for (size_t i = 0; i < keys_[k].pieces.size(); ++i) {
          const std::string& piece = keys_[k].pieces[i];
          if (mode != 0 && (piece.size() == 1) != (text.size() == 1)) continue;
          if (mode == 2 ? piece.size() != left : piece.size() > left) continue;
          if (text.compare(p, piece.size(), piece) != 0) continue;
          hits.emplace_back(i, k);
        }
      }
      std::stable_sort(
          hits.begin(), hits.end(),
          [this](const std::pair<size_t, size_t>& a,
                 const std::pair<size_t, size_t>& b) {
            bool a_one = keys_[a.second].pieces[a.first].size() == 1;
            bool b_one = keys_[b.second].pieces[b.first].size() == 1;
            if (a_one != b_one) return a_one;
            return a.first > b.first;
          });
      for (const auto& hit : hits) result |= Hit(&keys_[hit.second], hit.first);
    }
    for (Keyword& k : keys_) k.matched = 0;
    return result;
  }

  static bool Complete(const Keyword& k) {
    uint32_t full = k.pieces.size() >= 32
                        ? 0xFFFFFFFFu
                        : (uint32_t{1} << k.pieces.size()) - 1;
    return k.blur == Orva::kBlurAnyPiece ? k.matched != 0 : k.matched == full;
  }

  static uint64_t Hit(Keyword* k, size_t piece) {
    if (Complete(*k)) return 0;
    if (k->blur == Orva::kBlurOrdered && piece > 0 &&
        (k->matched >> (piece - 1) & 1) == 0) {
      return 0;
    }
    k->matched |= uint32_t{1} << piece;
    return Complete(*k) ? k->mask : 0;
  }

  std::vector<Keyword> keys_;
  size_t shortest_ = SIZE_MAX;
};

}  // namespace quarn_test

#endif  // QUARN_TESTS_OBJECTS_KEYTABLEREFERENCE_H_
