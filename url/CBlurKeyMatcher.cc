#include "url/CBlurKeyMatcher.h"

#include <string.h>

#include "base/Export.h"
#include "base/OrvaString.h"
#include "url/URLTypes.h"

namespace {

// Trie nodes are numbered with 32 bits; kNone and a margin stay unused.
const uint64_t kMaxNodes = 0xFFFFFF00u;

// Identity of a pattern: its blur type and each fragment with its length,
// so that "ab*cd" and "abc*d" stay two patterns.
std::string Identity(int blur, const std::vector<std::string>& fragments) {
  std::string id(1, static_cast<char>(blur));
  for (const std::string& f : fragments) {
    uint32_t n = static_cast<uint32_t>(f.size());
    id.append(reinterpret_cast<const char*>(&n), sizeof(n));
    id.append(f);
  }
  return id;
}

inline uint64_t EdgeHash(uint64_t key) { return key * 0x9E3779B97F4A7C15ULL; }

}  // namespace

template <class TYPE, class GROUP>
CBlurKeyMatcher<TYPE, GROUP>::CBlurKeyMatcher(uint64_t capacity)
    : capacity_(capacity), min_length_(SIZE_MAX), edge_count_(0) {}

template <class TYPE, class GROUP>
int CBlurKeyMatcher<TYPE, GROUP>::AddKey(const char* key, size_t length,
                                         const TYPE& type) {
  if (key == nullptr || length == 0) return 0;
  std::vector<std::string> fragments;
  int blur = Orva::SplitFullKey(key, length, fragments);
  if (blur == 0 || fragments.empty() ||
      fragments.size() > static_cast<size_t>(kMaxFragments)) {
    return 0;
  }
  std::string identity = Identity(blur, fragments);
  auto found = identities_.find(identity);
  if (found != identities_.end()) {
    TYPE& known = patterns_[found->second].type;
    known.hitype |= type.hitype;
    known.lotype |= type.lotype;
    return 1;
  }
  // Everything that could refuse the pattern is checked before the first
  // fragment goes in, so a refusal never leaves fragments in the index.
  size_t shortest = SIZE_MAX;
  uint64_t bytes = 0;
  for (const std::string& f : fragments) {
    if (f.size() < 2) return 0;
    shortest = f.size() < shortest ? f.size() : shortest;
    bytes += f.size();
  }
  if (entries_.size() + fragments.size() > capacity_) return 0;
  if (nodes_.size() + bytes > kMaxNodes) return 0;

  if (roots_.empty()) roots_.assign(65536, kNone);
  uint32_t index = static_cast<uint32_t>(patterns_.size());
  Pattern pattern;
  pattern.type = type;
  pattern.blur = blur;
  pattern.count = static_cast<uint32_t>(fragments.size());
  pattern.full = (1u << pattern.count) - 1u;
  patterns_.push_back(pattern);
  for (uint32_t k = 0; k < pattern.count; ++k) {
    InsertFragment(fragments[k], index, k);
  }
  identities_.emplace(std::move(identity), index);
  if (shortest < min_length_) min_length_ = shortest;
  // A search may touch every pattern once; room for that now means the
  // search never grows the list.
  if (touched_.capacity() < patterns_.size()) {
    touched_.reserve(patterns_.capacity());
  }
  return 1;
}

template <class TYPE, class GROUP>
void CBlurKeyMatcher<TYPE, GROUP>::InsertFragment(const std::string& fragment,
                                                  uint32_t pattern,
                                                  uint32_t index) {
  const unsigned char* p =
      reinterpret_cast<const unsigned char*>(fragment.data());
  uint32_t bucket = p[0] | (static_cast<uint32_t>(p[1]) << 8);
  uint32_t node = roots_[bucket];
  if (node == kNone) {
    node = static_cast<uint32_t>(nodes_.size());
    nodes_.emplace_back();
    roots_[bucket] = node;
  }
  for (size_t i = 2; i < fragment.size(); ++i) {
    uint32_t next = Child(node, p[i]);
    node = (next != kNone) ? next : AddChild(node, p[i]);
  }
  Entry entry;
  entry.pattern = pattern;
  entry.fragment = index;
  entry.next = nodes_[node].entries;
  nodes_[node].entries = static_cast<uint32_t>(entries_.size());
  entries_.push_back(entry);
}

template <class TYPE, class GROUP>
uint32_t CBlurKeyMatcher<TYPE, GROUP>::Child(uint32_t node,
                                             unsigned char byte) const {
  const Node& n = nodes_[node];
  if (n.fanout == 1) return n.byte == byte ? n.child : kNone;
  if (n.fanout == 0) return kNone;
  return FindEdge((static_cast<uint64_t>(node) << 8 | byte) + 1);
}

template <class TYPE, class GROUP>
uint32_t CBlurKeyMatcher<TYPE, GROUP>::AddChild(uint32_t node,
                                                unsigned char byte) {
  uint32_t child = static_cast<uint32_t>(nodes_.size());
  nodes_.emplace_back();
  Node& n = nodes_[node];
  if (n.fanout == 0) {
    n.fanout = 1;
    n.byte = byte;
    n.child = child;
    return child;
  }
  if (n.fanout == 1) {
    // A second child: both move to the edge table.
    n.fanout = 2;
    PutEdge((static_cast<uint64_t>(node) << 8 | n.byte) + 1, n.child);
  }
  PutEdge((static_cast<uint64_t>(node) << 8 | byte) + 1, child);
  return child;
}

template <class TYPE, class GROUP>
uint32_t CBlurKeyMatcher<TYPE, GROUP>::FindEdge(uint64_t key) const {
  size_t mask = edges_.size() - 1;
  int shift = 64 - __builtin_ctzll(edges_.size());
  for (size_t i = EdgeHash(key) >> shift;; i = (i + 1) & mask) {
    const Edge& e = edges_[i];
    if (e.key == key) return e.child;
    if (e.key == 0) return kNone;
  }
}

template <class TYPE, class GROUP>
void CBlurKeyMatcher<TYPE, GROUP>::PutEdge(uint64_t key, uint32_t child) {
  if ((edge_count_ + 1) * 2 > edges_.size()) GrowEdges();
  size_t mask = edges_.size() - 1;
  int shift = 64 - __builtin_ctzll(edges_.size());
  size_t i = EdgeHash(key) >> shift;
  while (edges_[i].key != 0) i = (i + 1) & mask;
  edges_[i].key = key;
  edges_[i].child = child;
  ++edge_count_;
}

template <class TYPE, class GROUP>
void CBlurKeyMatcher<TYPE, GROUP>::GrowEdges() {
  // The new table is complete before it replaces the old one, so running out
  // of memory here leaves the index as it was.
  std::vector<Edge> grown(edges_.empty() ? 1024 : edges_.size() * 2);
  grown.swap(edges_);
  edge_count_ = 0;
  for (const Edge& e : grown) {
    if (e.key != 0) PutEdge(e.key, e.child);
  }
}

template <class TYPE, class GROUP>
int CBlurKeyMatcher<TYPE, GROUP>::Visit(const Entry& entry, GROUP& result) {
  Pattern& p = patterns_[entry.pattern];
  if (p.count == 1) {
    result.Union(p.type);
    return 1;
  }
  if (p.seen == p.full) return 0;  // completed earlier in this search
  // In an ordered pattern a fragment counts only after the one before it.
  if (p.blur == Orva::kBlurOrdered && entry.fragment > 0 &&
      (p.seen & (1u << (entry.fragment - 1))) == 0) {
    return 0;
  }
  if (p.seen == 0) touched_.push_back(entry.pattern);
  if (p.blur == Orva::kBlurAnyPiece) {
    p.seen = p.full;
  } else {
    p.seen |= 1u << entry.fragment;
    if (p.seen != p.full) return 0;
  }
  result.Union(p.type);
  return 1;
}

template <class TYPE, class GROUP>
int CBlurKeyMatcher<TYPE, GROUP>::MatchAt(const unsigned char* text,
                                          size_t rest, GROUP& result) {
  if (rest < 2) return 0;
  uint32_t node = roots_[text[0] | (static_cast<uint32_t>(text[1]) << 8)];
  int hit = 0;
  size_t depth = 2;
  while (node != kNone) {
    for (uint32_t e = nodes_[node].entries; e != kNone; e = entries_[e].next) {
      hit |= Visit(entries_[e], result);
    }
    if (depth == rest) break;
    node = Child(node, text[depth++]);
  }
  return hit;
}

template <class TYPE, class GROUP>
void CBlurKeyMatcher<TYPE, GROUP>::ResetTouched() {
  for (uint32_t index : touched_) patterns_[index].seen = 0;
  touched_.clear();
}

template <class TYPE, class GROUP>
int CBlurKeyMatcher<TYPE, GROUP>::PrefixSearch(const char* text, size_t length,
                                               GROUP& result) {
  if (text == nullptr || length < min_length_) return 0;
  int hit =
      MatchAt(reinterpret_cast<const unsigned char*>(text), length, result);
  ResetTouched();
  return hit;
}

template <class TYPE, class GROUP>
int CBlurKeyMatcher<TYPE, GROUP>::ContainsSearch(const char* text,
                                                 size_t length, GROUP& result) {
  if (text == nullptr || length < min_length_) return 0;
  const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
  int hit = 0;
  for (size_t pos = 0; length - pos >= min_length_; ++pos) {
    hit |= MatchAt(p + pos, length - pos, result);
  }
  ResetTouched();
  return hit;
}

template <class TYPE, class GROUP>
int CBlurKeyMatcher<TYPE, GROUP>::LabelSearch(const char* text, size_t length,
                                              GROUP& result) {
  if (text == nullptr || length < min_length_) return 0;
  for (size_t i = 0; i + 1 < length; ++i) {
    if (text[i] != '.') continue;
    size_t rest = length - i - 1;
    if (rest >= min_length_ && PrefixSearch(text + i + 1, rest, result)) {
      return 1;
    }
  }
  return 0;
}

// The one instantiation, for the URL categories, is exported: the URL
// finder hands hosts its finders, and benchmarks use them alone.
template class QUARN_EXPORT CBlurKeyMatcher<URL_TYPE, URL_GROUP_TYPE>;
