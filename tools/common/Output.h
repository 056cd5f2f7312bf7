// The output layer of the `quarn` tool: a JSON object writer, an aligned
// table writer, and ResultWriter, which puts the results of an inspection
// command out in the format the user chose with one of the other two. Text from
// the library is GBK and is converted to UTF-8 here, at the edge, through
// ToTerminal (with a cache, since the same few names recur on every line).

#ifndef QUARN_TOOLS_COMMON_OUTPUT_H_
#define QUARN_TOOLS_COMMON_OUTPUT_H_

#include <stdint.h>
#include <stdio.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace quarn_tool {

// GBK to UTF-8, remembering the conversions of non-ASCII texts. ASCII text
// is returned as it is. The cache is bounded, so memory stays constant on
// inputs with endless distinct texts.
class Utf8Cache {
 public:
  // The UTF-8 form of `gbk`; valid until the next call.
  const std::string& Get(const std::string& gbk);

 private:
  std::unordered_map<std::string, std::string> cache_;
  std::string scratch_;
};

// "0x" and 16 upper-case hex digits: the form of masks and area ids.
std::string HexText(uint64_t value);

// Builds one JSON object (or array) into a string, with no whitespace.
// Keys and values are written in call order; the caller nests Begin/End
// calls properly. Text values passed as GBK are converted to UTF-8.
class JsonWriter {
 public:
  explicit JsonWriter(Utf8Cache* cache) : cache_(cache) {}

  void Clear() {
    out_.clear();
    need_comma_ = false;
  }
  const std::string& str() const { return out_; }

  void BeginObject();
  void EndObject();
  void BeginArray();
  void EndArray();
  // A key inside an object; the next call writes its value.
  void Key(const char* key);

  void Gbk(const std::string& gbk);    // text from the library
  void Utf8(const std::string& utf8);  // text already UTF-8 (or ASCII)
  void Int(int64_t value);
  void Uint(uint64_t value);
  void Hex(uint64_t value);  // as a text "0x%016llX"
  void Bool(bool value);
  void Null();

 private:
  void Separate();
  void AppendDecimal(uint64_t value);
  void Escaped(const std::string& utf8);

  Utf8Cache* cache_;
  std::string out_;
  bool need_comma_ = false;
};

// Writes rows of cells padded to fixed column widths, measured in terminal
// columns (a CJK character takes two). Streams: every row is written as it
// comes, so the widths are decided up front. A cell wider than its column
// pushes the rest of the row right rather than being cut.
class TableWriter {
 public:
  struct Column {
    const char* title;
    int width;
  };
  TableWriter(FILE* out, std::vector<Column> columns);

  // The title row and a rule under it.
  void WriteHeader();
  // One row of UTF-8 cells; missing cells are blank.
  void WriteRow(const std::vector<std::string>& cells);

  // Terminal columns `utf8` takes.
  static int DisplayWidth(const std::string& utf8);

 private:
  FILE* out_;
  std::vector<Column> columns_;
  std::string line_;
};

// The results of an inspection command: with JSON, one object per queried
// item, each on its own line, written as it comes; with a table, one row
// per item under a title row, with columns as wide as their widest cell
// (rows are held until Finish(), since these commands print a handful of
// items, and a fitted table reads better than a fixed one).
class ResultWriter {
 public:
  // `titles` are the table's column titles; unused for JSON.
  ResultWriter(FILE* out, bool table, std::vector<std::string> titles);

  bool table() const { return table_; }
  Utf8Cache* cache() { return &cache_; }

  // The writer for the next JSON object, emptied. Fill it, then call
  // EndItem(). Stays owned by this object.
  JsonWriter* BeginItem();
  void EndItem();

  // One table row of UTF-8 cells.
  void Row(std::vector<std::string> cells);
  // A line (UTF-8) written above the table; nothing with JSON, where each
  // object says everything about its item.
  void Caption(const std::string& utf8);

  // Writes the table (nothing for JSON) and flushes the stream.
  void Finish();

 private:
  FILE* out_;
  bool table_;
  std::vector<std::string> titles_;
  std::string caption_;
  std::vector<std::vector<std::string>> rows_;
  Utf8Cache cache_;
  JsonWriter json_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_OUTPUT_H_
