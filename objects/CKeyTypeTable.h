// A table of typed keywords that answers which keyword types occur in a
// byte string: anywhere (TextMatch), at its start (HeadMatch) or as the
// whole of it (FindExact). Each keyword carries a 64-bit type mask; a query
// returns the OR of the masks of every keyword it completed.
//
// A keyword may be made of several pieces in the key syntax of
// Orva::SplitFullKey: "a*b" needs its pieces in that order, "a,b" needs all
// of them in any order, "a|b" needs any one. The table holds at most as
// many one-byte pieces and longer pieces as it was built for; all pieces
// share one byte trie, so a query walks the text once whatever the number
// of keywords, and allocates nothing.
//
// Hosts build a table with Create() and AddBinaryKey(), or load it from an
// XML keyword file (Load_xml) or a comma-separated text file (Load_ini),
// and then query it. A query marks the pieces it sees in the keywords and
// clears every mark before it returns, so queries are independent; but the
// marks live in the table, so one table serves one thread at a time and
// must not be loaded while it is queried.

#ifndef QUARN_OBJECTS_CKEYTYPETABLE_H_
#define QUARN_OBJECTS_CKEYTYPETABLE_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

namespace quarn_match {
class PieceIndex;
}  // namespace quarn_match

class QUARN_EXPORT CKeyTypeTable {
 public:
  // An empty, disabled table: every query answers 0 until Create() or a
  // load with at least one key has built it.
  CKeyTypeTable();
  ~CKeyTypeTable();
  CKeyTypeTable(const CKeyTypeTable&) = delete;
  CKeyTypeTable& operator=(const CKeyTypeTable&) = delete;

  // Releases both piece tables and every keyword, then enables the table
  // and builds empty piece tables: the single-byte one when `single_cap`
  // and `single_buckets` are both non-zero, the multi-byte one when
  // `multi_cap` and `multi_buckets` are. A capacity is a number of pieces.
  // Returns 1, or 0 when a table could not be created.
  int Create(uint64_t single_cap, uint64_t multi_cap, uint64_t single_buckets,
             uint64_t multi_buckets);
  // Releases both piece tables and every keyword. The table stays enabled
  // (queries find nothing); `version` and the name are kept.
  void Destroy();

  // Stores one keyword with type mask `mask`. `key` is split into pieces by
  // Orva::SplitFullKey; each piece goes to the table for its length.
  // Returns 1 when stored, 0 when the key is refused by the splitter, has
  // more than 32 pieces, or a piece finds no table or no free node (the
  // keyword is then not stored at all).
  int AddBinaryKey(uint64_t mask, const void* key, uint64_t length);

  // Loads an XML keyword file (root with a "version" child and "type"
  // children holding "key" children), replacing what the table holds.
  // Returns 0 when the file cannot be opened or parsed (table unchanged),
  // 1 otherwise; a file with no storable key leaves the table unchanged.
  int Load_xml(const char* path);
  // Loads a text file of "key,number" lines; keys whose number is 1 are
  // stored with mask 2. Returns 0 when the file cannot be opened.
  int Load_ini(const char* path);

  // Type mask of every keyword whose pieces occur in `data`.
  uint64_t TextMatch(const void* data, uint64_t length);
  uint64_t TextMatch_binary(const void* data, uint64_t length) {
    return TextMatch(data, length);
  }
  // Type mask of every keyword completed by the pieces that `data` starts
  // with. Data of one byte is looked up among one-byte pieces, longer data
  // among longer pieces.
  uint64_t HeadMatch(const void* data, uint64_t length);
  uint64_t HeadMatch_binary(const void* data, uint64_t length) {
    return HeadMatch(data, length);
  }
  // Type mask of every keyword completed by a piece equal to `data`.
  uint64_t FindExact(const void* data, uint64_t length);
  uint64_t FindExact_binary(const void* data, uint64_t length) {
    return FindExact(data, length);
  }

  // The loaded file's version, 0 when it gave none.
  uint32_t GetVersion() const { return version_; }
  // Copies the configuration name: the base name of the last XML file
  // loaded, without its extension.
  void GetConfigName(std::string& name) const { name = name_; }

  // Number of keywords stored.
  size_t KeyCount() const { return keys_.size(); }

 private:
  // One stored keyword.
  struct Keyword {
    uint64_t type_mask;
    uint32_t matched;  // bit k: piece k seen in the running query
    uint8_t piece_count;
    uint8_t blur;  // the splitter's type: 2 ordered, 3 any one, else all
  };
  // One stored piece, by the number it has in the piece index.
  struct PieceRef {
    uint64_t mask;     // the keyword's type mask when `simple`
    uint32_t keyword;  // index in keys_
    uint8_t piece;     // position in the keyword
    uint8_t simple;    // any hit completes the keyword
  };
  QUARN_HIDDEN int LoadXml(const char* path, bool add, uint64_t* single_count,
                           uint64_t* multi_count);
  QUARN_HIDDEN int LoadIni(const char* path, bool add, uint64_t* single_count,
                           uint64_t* multi_count);
  // Sets up a piece table of `capacity` pieces; false when the capacity or
  // the bucket count is beyond the table's limits or memory runs out.
  QUARN_HIDDEN bool MakeTable(uint64_t capacity, uint64_t buckets,
                              uint64_t* table_cap);
  // Shared second half of both loads: builds tables for the counted pieces.
  QUARN_HIDDEN void Rebuild(uint64_t single_count, uint64_t multi_count);
  // Counts the pieces of `key` by table, as AddBinaryKey would store them.
  QUARN_HIDDEN static void CountPieces(const void* key, uint64_t length,
                                       uint64_t* single_count,
                                       uint64_t* multi_count);

  // Applies one piece hit. Hits at one text position arrive newest piece
  // first, so piece k of an ordered keyword never counts on piece k - 1
  // found at the same position.
  void Apply(uint32_t ref) {
    const PieceRef& r = refs_[ref];
    if (r.simple) {
      result_ |= r.mask;
    } else {
      Hit(r.keyword, r.piece);
    }
  }
  void Hit(uint32_t keyword, uint32_t piece);
  // Applies the hits of the pieces at the start of `data`: one-byte pieces
  // for data of one byte, longer pieces otherwise.
  QUARN_HIDDEN void LookupHead(const void* data, uint64_t length, bool exact);
  QUARN_HIDDEN bool Usable(const void* data, uint64_t length) const;
  // Clears the marks of every keyword touched by the query, and returns
  // and resets the query's result.
  QUARN_HIDDEN uint64_t Finish();

  uint32_t enabled_;
  uint32_t version_;
  std::string name_;
  // Piece tables: capacities in pieces; a table exists when its capacity
  // is non-zero.
  uint64_t single_cap_;
  uint64_t multi_cap_;
  uint64_t single_used_;
  uint64_t multi_used_;
  std::unique_ptr<quarn_match::PieceIndex> index_;  // pieces of both tables
  std::vector<PieceRef> refs_;
  std::vector<Keyword> keys_;
  uint64_t shortest_;   // shortest piece length over all keywords
  uint64_t all_masks_;  // OR of every keyword's type mask
  // Per-query state: keywords with a mark, and the result so far.
  std::vector<uint32_t> touched_;
  uint64_t result_;
};

#endif  // QUARN_OBJECTS_CKEYTYPETABLE_H_
