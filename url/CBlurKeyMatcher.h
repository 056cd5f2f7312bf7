// The pattern matcher behind one slot of the URL type finder.
//
// A pattern is split by Orva::SplitFullKey into fragments and carries a
// category mask. Blur type 3 needs any one fragment, type 2 needs every
// fragment in order, the other types every fragment in any order. A
// fragment hits at a position of the searched text when it is a prefix of
// the text from there.
//
// Fragments are indexed by their first two bytes (65536 buckets, the two
// bytes read as a little-endian number); below each bucket the remaining
// bytes form a trie whose nodes hold the fragments ending there, newest
// first. Finding every fragment that starts at a position therefore costs
// one step per byte of the longest match, whatever the number of patterns.
// The fragment capacity is fixed at construction.
//
// A search records the fragments it has seen in each pattern's 32-bit mask
// and clears the masks of the patterns it touched when it ends, so no
// progress carries over to the next search. Once the matcher has been
// filled, searches allocate nothing.
//
// Not thread-safe: a search changes the seen-fragments masks. Copies are
// deep and independent.

#ifndef QUARN_URL_CBLURKEYMATCHER_H_
#define QUARN_URL_CBLURKEYMATCHER_H_

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <unordered_map>
#include <vector>

template <class TYPE, class GROUP>
class CBlurKeyMatcher {
 public:
  // Most fragments a pattern may have: one bit each of a 32-bit mask, with
  // "all seen" written as 2^n - 1.
  static constexpr int kMaxFragments = 31;

  // `capacity` is the most fragment entries the index will hold.
  explicit CBlurKeyMatcher(uint64_t capacity);

  // Adds the `length` bytes at `key` as a pattern of category `type`. When
  // an equal pattern (same blur type, same fragments) exists, `type` is
  // ORed into its category instead. Returns 1 when added or merged, 0 when
  // refused: the splitter refuses the key, it has more than kMaxFragments
  // fragments, a fragment is shorter than two bytes, or the index has no
  // room for all its fragments. A refused pattern leaves nothing behind and
  // never matches.
  int AddKey(const char* key, size_t length, const TYPE& type);

  // Matching at position 0 only. ORs the categories of every pattern
  // completed into `result`; 1 when some pattern was completed.
  int PrefixSearch(const char* text, size_t length, GROUP& result);
  // Matching at every position, progress of multi-fragment patterns kept
  // across positions until the search ends.
  int ContainsSearch(const char* text, size_t length, GROUP& result);
  // For each "." from left to right, a prefix search of the text after it;
  // stops at the first label that hits, or at a "." that ends the text.
  int LabelSearch(const char* text, size_t length, GROUP& result);

  uint64_t capacity() const { return capacity_; }
  uint64_t fragment_count() const { return entries_.size(); }
  size_t pattern_count() const { return patterns_.size(); }
  // Length of the shortest fragment of all patterns; SIZE_MAX while empty.
  size_t min_fragment_length() const { return min_length_; }

 private:
  static constexpr uint32_t kNone = 0xFFFFFFFFu;

  struct Node {
    uint32_t entries = kNone;  // first fragment entry ending here
    uint32_t child = kNone;    // the only child, when fanout is 1
    uint8_t byte = 0;          // its byte
    uint8_t fanout = 0;        // 0 leaf, 1 one child, 2 children in edges_
  };
  struct Edge {
    uint64_t key = 0;  // (node << 8 | byte) + 1; 0 marks a free cell
    uint32_t child = kNone;
  };
  struct Entry {
    uint32_t pattern;
    uint32_t next;
    uint32_t fragment;
  };
  struct Pattern {
    TYPE type;
    uint32_t seen = 0;  // fragments seen in the current search
    uint32_t full = 0;  // the mask when every fragment is seen
    int blur = 0;
    uint32_t count = 0;
  };

  int MatchAt(const unsigned char* text, size_t rest, GROUP& result);
  int Visit(const Entry& entry, GROUP& result);
  void ResetTouched();

  uint32_t Child(uint32_t node, unsigned char byte) const;
  uint32_t AddChild(uint32_t node, unsigned char byte);
  uint32_t FindEdge(uint64_t key) const;
  void PutEdge(uint64_t key, uint32_t child);
  void GrowEdges();
  void InsertFragment(const std::string& fragment, uint32_t pattern,
                      uint32_t index);

  uint64_t capacity_;
  size_t min_length_;
  std::vector<uint32_t> roots_;  // bucket -> trie node, kNone when empty
  std::vector<Node> nodes_;
  std::vector<Edge> edges_;  // open addressing, power-of-two size
  size_t edge_count_;
  std::vector<Entry> entries_;
  std::vector<Pattern> patterns_;  // in order of creation
  // Pattern identity (blur type and fragments) -> index in patterns_.
  std::unordered_map<std::string, uint32_t> identities_;
  std::vector<uint32_t> touched_;  // patterns with progress in this search
};

#endif  // QUARN_URL_CBLURKEYMATCHER_H_
