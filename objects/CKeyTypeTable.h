// A table of typed keywords that answers which keyword types occur in a
// byte string: anywhere (TextMatch), at its start (HeadMatch) or as the
// whole of it (FindExact). Each keyword carries a 64-bit type mask; a query
// returns the OR of the masks of every keyword it completed.
//
// A keyword may be made of several pieces in the key syntax of
// Orva::SplitFullKey: "a*b" needs its pieces in that order, "a,b" needs all
// of them in any order, "a|b" needs any one. Pieces of one byte live in a
// 256-bucket table keyed by that byte; longer pieces live in a table keyed
// by their first two bytes. Both tables are fixed-capacity node pools sized
// when the table is built.
//
// Hosts build a table with Create() and AddBinaryKey(), or load it from an
// XML keyword file (Load_xml) or a comma-separated text file (Load_ini),
// and then query it. A query marks the pieces it sees in the keywords and
// clears every mark before it returns, so queries are independent; but the
// marks live in the table, so one table serves one thread at a time and
// must not be loaded while it is queried.

#ifndef QUARN_OBJECTS_CKEYTYPETABLE_H_
#define QUARN_OBJECTS_CKEYTYPETABLE_H_

#include <stdint.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quarn_keytable {
class PieceTable;
}  // namespace quarn_keytable

class CKeyTypeTable {
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
  int LoadXml(const char* path, bool add, uint64_t* single_count,
              uint64_t* multi_count);
  int LoadIni(const char* path, bool add, uint64_t* single_count,
              uint64_t* multi_count);
  // Shared second half of both loads: builds tables for the counted pieces.
  void Rebuild(uint64_t single_count, uint64_t multi_count);
  // Counts the pieces of `key` by table, as AddBinaryKey would store them.
  static void CountPieces(const void* key, uint64_t length,
                          uint64_t* single_count, uint64_t* multi_count);

  // Hits are gathered per text position and applied together, highest
  // piece first, so that piece k of an ordered keyword never counts on
  // piece k - 1 found at the same position.
  void Collect(uint32_t keyword, uint8_t piece, uint64_t position);
  void ApplyPending();
  void Hit(uint32_t keyword, uint32_t piece);
  // Looks up the pieces at the start of `data` in `table`.
  void LookupHead(const quarn_keytable::PieceTable* table, const uint8_t* data,
                  uint64_t length, bool exact);
  bool Usable(const void* data, uint64_t length) const;
  // Applies the pending hits, clears the marks of every keyword touched by
  // the query, and returns and resets the query's result.
  uint64_t Finish();

  uint32_t enabled_;
  uint32_t version_;
  std::string name_;
  std::unique_ptr<quarn_keytable::PieceTable> single_;
  std::unique_ptr<quarn_keytable::PieceTable> multi_;
  std::vector<Keyword> keys_;
  uint64_t shortest_;  // shortest piece length over all keywords
  // Per-query state: keywords with a mark, hits at the current position
  // (piece, keyword), and the result so far.
  std::vector<uint32_t> touched_;
  std::vector<std::pair<uint8_t, uint32_t>> pending_;
  uint64_t pending_position_;
  uint64_t result_;
};

#endif  // QUARN_OBJECTS_CKEYTYPETABLE_H_
