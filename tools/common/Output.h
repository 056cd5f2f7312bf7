// The output layer of the `quarn` tool: a buffered sink that sees every
// write error, a JSON object writer, a table writer that fits its columns
// to the cells, and ResultWriter, which puts the results of an inspection
// command out in the format the user chose with one of the other two. Text
// from the library is GBK and is converted to UTF-8 here, at the edge,
// through ToTerminal (with a cache, since the same few names recur on
// every line).

#ifndef QUARN_TOOLS_COMMON_OUTPUT_H_
#define QUARN_TOOLS_COMMON_OUTPUT_H_

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quarn_tool {

// A buffered writer to a file descriptor that notices every failed write.
// Output is handed to the descriptor in whole records: EndRecord() writes
// the buffer once it has grown past a threshold, so a reader of the output
// never sees the end of a write fall inside a record. Writes interrupted
// by a signal are resumed. After the first failure the sink drops what it
// is given (memory stays flat) and keeps the error number. Not thread-safe.
class OutputSink {
 public:
  // Bytes held before EndRecord() writes them out.
  static const size_t kFlushBytes = size_t{1} << 20;

  // Writes to `fd`, which stays owned by the caller.
  explicit OutputSink(int fd);
  // Writes out what is still buffered (a failure is then lost).
  ~OutputSink();
  OutputSink(const OutputSink&) = delete;
  OutputSink& operator=(const OutputSink&) = delete;

  void Append(const char* data, size_t size);
  void Append(std::string_view text) { Append(text.data(), text.size()); }
  void Append(char c);
  // Ends a record: writes the buffer out when it holds kFlushBytes or more.
  void EndRecord();
  // Writes out everything buffered. False once any write has failed.
  bool Flush();

  bool failed() const { return error_ != 0; }
  // The errno of the first failed write, 0 while none has failed.
  int error() const { return error_; }

 private:
  int fd_;
  std::string buffer_;
  int error_ = 0;
};

// GBK to UTF-8, remembering the conversions of non-ASCII texts. ASCII text
// is returned as it is. The cache is bounded, so memory stays constant on
// inputs with endless distinct texts.
class Utf8Cache {
 public:
  // The UTF-8 form of `gbk`; valid until the next call.
  const std::string& Get(const std::string& gbk);
  // The UTF-8 form of `gbk` as a JSON string (quoted, escaped), remembered
  // like the UTF-8 form; valid until the next call.
  const std::string& Json(const std::string& gbk);

 private:
  std::unordered_map<std::string, std::string> cache_;
  std::unordered_map<std::string, std::string> json_;
  std::string scratch_;
};

// Appends `utf8` to *out as a JSON string: quoted, with '"', '\\' and the
// control characters escaped.
void AppendJsonString(std::string_view utf8, std::string* out);

// "0x" and 16 upper-case hex digits: the form of masks and area ids.
std::string HexText(uint64_t value);

// Builds one JSON object (or array) into a string, with no whitespace.
// Keys and values are written in call order; the caller nests Begin/End
// calls properly. Text values passed as GBK are converted to UTF-8.
class JsonWriter {
 public:
  explicit JsonWriter(Utf8Cache* cache) : cache_(cache) {}

  void Clear() {
    size_ = 0;
    need_comma_ = false;
  }
  // What was written since the last Clear(); valid until the next call.
  std::string_view str() const {
    return std::string_view(buffer_.data(), size_);
  }
  // The cache the GBK texts are converted through.
  Utf8Cache* cache() const { return cache_; }

  void BeginObject();
  void EndObject();
  void BeginArray();
  void EndArray();
  // A key inside an object; the next call writes its value. Keys are plain
  // ASCII, written as they are. A literal's length is known when compiled:
  // keys are written many times per line.
  template <size_t N>
  void Key(const char (&key)[N]) {
    // Inline, so that the copy of the key has a length known when
    // compiled.
    char* p = Room(N + 3);
    char* const start = p;
    if (need_comma_) *p++ = ',';
    *p++ = '"';
    memcpy(p, key, N - 1);
    p += N - 1;
    *p++ = '"';
    *p++ = ':';
    size_ += static_cast<size_t>(p - start);
    need_comma_ = false;
  }
  void KeyText(const char* key);

  void Gbk(const std::string& gbk);  // text from the library
  void Utf8(std::string_view utf8);  // text already UTF-8 (or ASCII)
  void Int(int64_t value);
  void Uint(uint64_t value);
  void Hex(uint64_t value);  // as a text "0x%016llX"
  void Bool(bool value);
  void Null();
  // A value already in JSON form (as made by another JsonWriter), copied
  // as it is.
  void Raw(std::string_view json);

 private:
  // The text lives in the first size_ bytes of buffer_, which only grows:
  // a line takes some sixty small appends, and std::string's appends are
  // calls into the C++ library that each check for room, which showed as
  // the largest cost of writing a connection. Here a write makes room once
  // and copies inline.
  char* Room(size_t n) {
    if (n > buffer_.size() - size_) Grow(n);
    return &buffer_[size_];
  }
  void Put(const char* p, size_t n) {
    memcpy(Room(n), p, n);
    size_ += n;
  }
  void Put(char c) {
    *Room(1) = c;
    ++size_;
  }
  void Grow(size_t n);
  void Separate() {
    if (need_comma_) Put(',');
    need_comma_ = true;
  }
  void AppendKey(const char* key, size_t length);
  void AppendDecimal(uint64_t value);
  void Escaped(std::string_view utf8);

  Utf8Cache* cache_;
  std::string buffer_;
  size_t size_ = 0;
  bool need_comma_ = false;
};

// An aligned table of UTF-8 cells. Rows are held in batches; each batch is
// written under a title row and a rule, every column as wide as its widest
// cell in that batch (in terminal columns: a CJK character takes two). A
// later batch repeats the titles after a blank line. A row may carry notes:
// lines written under it, indented, that do not count in the widths.
class TableWriter {
 public:
  // Writes to `out`, which must outlive this object. `batch_rows` is the
  // number of rows held before a batch is written; 0 holds every row until
  // Flush().
  TableWriter(OutputSink* out, std::vector<std::string> titles,
              size_t batch_rows = 0);

  // Adds one row; cells missing at its end are blank.
  void AddRow(std::vector<std::string> cells,
              std::vector<std::string> notes = {});
  // Writes the rows held as one batch (nothing when none is held).
  void Flush();

  // Terminal columns `utf8` takes: what wcwidth() gives for each character
  // in a UTF-8 locale (two for East Asian wide characters, none for
  // combining marks), one for a control character or a malformed byte.
  static int DisplayWidth(const std::string& utf8);

 private:
  struct Row {
    std::vector<std::string> cells;
    std::vector<std::string> notes;
  };
  void WriteLine(const std::vector<std::string>& cells,
                 const std::vector<int>& widths);

  OutputSink* out_;
  std::vector<std::string> titles_;
  size_t batch_rows_;
  std::vector<Row> rows_;
  bool written_ = false;  // a batch went out already
  std::string line_;
};

// The results of an inspection command: with JSON, one object per queried
// item, each on its own line, written as it comes; with a table, one row
// per item under a title row, with columns as wide as their widest cell
// (rows are held until Finish(), since these commands print a handful of
// items, and a fitted table reads better than a fixed one).
class ResultWriter {
 public:
  // Writes to `out`, which must outlive this object. `titles` are the
  // table's column titles; unused for JSON.
  ResultWriter(OutputSink* out, bool table, std::vector<std::string> titles);

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

  // Writes the table (nothing for JSON) and flushes the sink.
  void Finish();

 private:
  OutputSink* out_;
  bool table_;
  std::string caption_;
  TableWriter rows_;
  Utf8Cache cache_;
  JsonWriter json_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_OUTPUT_H_
