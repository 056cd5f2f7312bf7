// One connection as the `quarn classify` command reads it, and the reader
// that turns CSV (with a header line) or JSON Lines into such records.

#ifndef QUARN_TOOLS_COMMON_CONNECTIONRECORD_H_
#define QUARN_TOOLS_COMMON_CONNECTIONRECORD_H_

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "address/AddressPredicates.h"

namespace quarn_tool {

// The longest record (one line, without its line end) that is read: a
// longer one is a bad record. Keeps memory flat on any input.
constexpr size_t kMaxRecordBytes = 65536;

// Wall-clock time of a connection, as written: no time zone is applied.
struct LocalTime {
  int year = 1970;
  int month = 1;  // 1 to 12
  int day = 1;    // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 4;  // 0 = Sunday
};

struct ConnectionRecord {
  int64_t line = 0;  // line number in the input, from 1
  std::string time_text;
  LocalTime time;
  tagIPv4_CONNECT_ADDR addr = {0, 0, 0, 0};
  int transport = QUARN_TRANSPORT_TCP;
  std::string url;  // GBK, as the library takes text; empty when none
  bool has_mac = false;
  unsigned char mac[6] = {0, 0, 0, 0, 0, 0};
  // When has_mac is not set: the MAC address of each end (first, second)
  // as a link header showed it, for connections read from packets. The
  // classifier takes the one of the end it finds inside.
  bool has_end_mac[2] = {false, false};
  unsigned char end_mac[2][6] = {{0}, {0}};
};

// "YYYY-MM-DD HH:MM" with optional ":SS" (a "T" may stand for the space),
// a real calendar date. The weekday is computed.
bool ParseLocalTime(std::string_view text, LocalTime* time);

// Reads records from lines of UTF-8 text. A byte-order mark before the
// first line is skipped. The format is fixed by the first non-blank line:
// "{" starts JSON Lines, anything else is the CSV header.
//
// Fields: "time", "first_ip", "first_port", "second_ip", "second_port",
// "transport" ("tcp" or "udp", any case), and the optional "url" and "mac";
// names match without regard to case. In CSV, columns are found by header
// name, in any order, and other columns are ignored; a field may be quoted
// with double quotes ("" inside for one quote). In JSON Lines each line is
// one object; a field is a string, an integer or null (null: absent), and
// members with other names are ignored whatever their type.
class RecordReader {
 public:
  enum Result { kRecord, kSkip, kError };

  RecordReader();
  ~RecordReader();
  RecordReader(const RecordReader&) = delete;
  RecordReader& operator=(const RecordReader&) = delete;

  // Takes one line (without its line end) numbered `line`. kRecord fills
  // *record; kSkip is a blank line or the CSV header; kError sets *error
  // to a message naming the field that is wrong. A line longer than
  // kMaxRecordBytes is an error.
  Result Feed(std::string_view text, int64_t line, ConnectionRecord* record,
              std::string* error);

  bool is_json() const { return format_ == kJson; }
  // True once a CSV header without the required columns was read: no
  // later line can be read either.
  bool unusable() const { return format_ == kCsv && column_of_.empty(); }

 private:
  enum Format { kUnknown, kCsv, kJson };
  struct Json;  // the JSON parser and its buffer

  bool ParseHeader(std::string_view text, std::string* error);
  bool SplitCsv(std::string_view text, std::string* error);
  bool SplitJson(std::string_view text, std::string* error);
  bool Build(ConnectionRecord* record, std::string* error) const;
  void ClearValues();

  Format format_ = kUnknown;
  bool started_ = false;             // a line was fed
  std::vector<int> column_of_;       // field -> CSV column, -1 when absent
  std::vector<std::string> cells_;   // CSV cells of the current line
  std::vector<std::string> values_;  // field values of the current line
  std::vector<bool> present_;
  std::unique_ptr<Json> json_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_CONNECTIONRECORD_H_
