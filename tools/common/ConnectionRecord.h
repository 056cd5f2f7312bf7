// One connection as the `quarn classify` command reads it, and the readers
// that turn CSV (with a header line) or JSON Lines into such records.

#ifndef QUARN_TOOLS_COMMON_CONNECTIONRECORD_H_
#define QUARN_TOOLS_COMMON_CONNECTIONRECORD_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "address/AddressPredicates.h"

namespace quarn_tool {

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
  std::string url;  // empty when the connection carries none
  bool has_mac = false;
  unsigned char mac[6] = {0, 0, 0, 0, 0, 0};
};

// "YYYY-MM-DD HH:MM" with optional ":SS" (a "T" may stand for the space),
// a real calendar date. The weekday is computed.
bool ParseLocalTime(const std::string& text, LocalTime* time);

// Reads records from lines of text. The format is fixed by the first
// non-blank line: "{" starts JSON Lines, anything else is the CSV header.
// Fields: "time", "first_ip", "first_port", "second_ip", "second_port",
// "transport" ("tcp" or "udp"), and the optional "url" and "mac". In CSV,
// columns are found by header name, in any order; a field may be quoted
// with double quotes ("" inside for one quote).
class RecordReader {
 public:
  enum Result { kRecord, kSkip, kError };

  // Takes one line (without its line end) numbered `line`. kRecord fills
  // *record; kSkip is a blank line or the CSV header; kError sets *error
  // to a message naming the field that is wrong.
  Result Feed(const std::string& text, int64_t line, ConnectionRecord* record,
              std::string* error);

  bool is_json() const { return format_ == kJson; }
  // True once a CSV header without the required columns was read: no
  // later line can be read either.
  bool unusable() const { return format_ == kCsv && column_of_.empty(); }

 private:
  enum Format { kUnknown, kCsv, kJson };
  enum Field {
    kTime,
    kFirstIp,
    kFirstPort,
    kSecondIp,
    kSecondPort,
    kTransport,
    kUrl,
    kMac,
    kFieldCount
  };

  bool ParseHeader(const std::string& text, std::string* error);
  bool SplitCsv(const std::string& text, std::string* error);
  bool SplitJson(const std::string& text, std::string* error);
  bool Build(ConnectionRecord* record, std::string* error) const;

  Format format_ = kUnknown;
  std::vector<int> column_of_;       // field -> CSV column, -1 when absent
  std::vector<std::string> cells_;   // CSV cells of the current line
  std::vector<std::string> values_;  // field values of the current line
  std::vector<bool> present_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_CONNECTIONRECORD_H_
