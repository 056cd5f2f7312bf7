// A slow model of blurstrfind for differential tests: keys keep their
// pieces as strings, and a search tries every piece of every key at every
// position, in the order the index offers them (newest key first, a key's
// later pieces first; longer pieces before one-byte pieces).

#ifndef QUARN_TESTS_FILTER_SEARCH_BLURREFERENCE_H_
#define QUARN_TESTS_FILTER_SEARCH_BLURREFERENCE_H_

#include <stdint.h>

#include <string>
#include <vector>

namespace quarn_test {

class BlurReference {
 public:
  int Add(const std::string& key, int value) {
    for (const Key& k : keys_) {
      if (k.text == key) return -1;
    }
    bool star = key.find('*') != std::string::npos;
    bool comma = key.find(',') != std::string::npos;
    if (star + comma + (key.find('|') != std::string::npos) > 1) return -1;
    Key k{key, {}, star ? 2 : comma ? 1 : 3, value, 0};
    std::string run;
    for (char c : key) {
      bool sep = c == '*' || c == ',' || c == '|';
      if (sep && k.pieces.size() < 10) {
        if (!run.empty()) k.pieces.push_back(run);
        run.clear();
      } else {
        run += sep ? '\0' : c;
      }
    }
    if (!run.empty()) k.pieces.push_back(run);
    keys_.insert(keys_.begin(), k);
    return 0;
  }

  // All-positions search (whole = false) or whole-text search.
  std::vector<int64_t> Find(const std::string& text, bool whole) {
    std::vector<int64_t> out;
    size_t last = whole ? (text.empty() ? 0 : 1) : text.size();
    for (size_t p = 0; p + (whole ? 0 : 1) < last; ++p) {
      for (int one_byte = 0; one_byte < 2; ++one_byte) {
        for (Key& k : keys_) {
          for (size_t i = k.pieces.size(); i-- > 0;) {
            const std::string& piece = k.pieces[i];
            size_t left = text.size() - p;
            if ((piece.size() == 1) != (one_byte == 1) ||
                (whole ? piece.size() != left : piece.size() > left) ||
                text.compare(p, piece.size(), piece) != 0) {
              continue;
            }
            if (Fit(k, static_cast<uint32_t>(i))) out.push_back(k.value);
          }
        }
      }
    }
    for (Key& k : keys_) k.state = 0;
    return out;
  }

 private:
  struct Key {
    std::string text;
    std::vector<std::string> pieces;
    int type;
    int value;
    uint32_t state;
  };

  static bool Fit(Key& k, uint32_t piece) {
    if (k.type == 3) return true;
    if (k.type == 2 && piece > 0 && !(k.state & (1u << (piece - 1)))) {
      return false;
    }
    k.state |= 1u << piece;
    if (k.state != (1u << k.pieces.size()) - 1) return false;
    k.state = 0;
    return true;
  }

  std::vector<Key> keys_;  // newest first
};

}  // namespace quarn_test

#endif  // QUARN_TESTS_FILTER_SEARCH_BLURREFERENCE_H_
