#include "tools/common/ConnectionRecord.h"

#include <ctype.h>
#include <string.h>
#include <strings.h>

#include <simdjson.h>

#include "base/OrvaAddr.h"
#include "base/OrvaText.h"

namespace quarn_tool {

namespace {

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

const char* const kFieldNames[] = {"time",      "first_ip",    "first_port",
                                   "second_ip", "second_port", "transport",
                                   "url",       "mac"};
const bool kFieldRequired[] = {true, true, true,  true,
                               true, true, false, false};

const char kByteOrderMark[] = "\xEF\xBB\xBF";

int FieldIndex(std::string_view name) {
  for (int i = 0; i < kFieldCount; ++i) {
    if (name.size() == strlen(kFieldNames[i]) &&
        strncasecmp(name.data(), kFieldNames[i], name.size()) == 0) {
      return i;
    }
  }
  return -1;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && isspace(static_cast<unsigned char>(text.front())))
    text.remove_prefix(1);
  while (!text.empty() && isspace(static_cast<unsigned char>(text.back())))
    text.remove_suffix(1);
  return text;
}

bool IsAscii(const std::string& text) {
  for (unsigned char c : text) {
    if (c >= 0x80) return false;
  }
  return true;
}

bool IsLeap(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

// Day of the week (0 = Sunday) of a proleptic Gregorian date.
int Weekday(int year, int month, int day) {
  static const int kOffsets[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
  if (month < 3) --year;
  return (year + year / 4 - year / 100 + year / 400 + kOffsets[month - 1] +
          day) %
         7;
}

// Exactly `count` digits at text[*pos], then advances past them.
bool Digits(std::string_view text, size_t* pos, int count, int* value) {
  if (*pos + count > text.size()) return false;
  int v = 0;
  for (int i = 0; i < count; ++i) {
    char c = text[*pos + i];
    if (c < '0' || c > '9') return false;
    v = v * 10 + (c - '0');
  }
  *pos += count;
  *value = v;
  return true;
}

// One of the characters of `choices` at text[*pos], then advances past it.
bool Expect(std::string_view text, size_t* pos, const char* choices) {
  if (*pos >= text.size() || text[*pos] == '\0' ||
      strchr(choices, text[*pos]) == nullptr)
    return false;
  ++*pos;
  return true;
}

bool ParsePort(const std::string& text, uint16_t* port) {
  if (text.empty() || text.size() > 5) return false;
  unsigned long value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  if (value > 65535) return false;
  *port = static_cast<uint16_t>(value);
  return true;
}

bool ParseTransport(const std::string& text, int* transport) {
  if (strcasecmp(text.c_str(), "tcp") == 0) {
    *transport = QUARN_TRANSPORT_TCP;
  } else if (strcasecmp(text.c_str(), "udp") == 0) {
    *transport = QUARN_TRANSPORT_UDP;
  } else {
    return false;
  }
  return true;
}

std::string FieldError(int field, const char* what) {
  return std::string("field \"") + kFieldNames[field] + "\": " + what;
}

// The text of a JSON value given for a field: a string as it is, an integer
// in decimal. False for any other type.
bool JsonFieldText(simdjson::dom::element value, std::string* text) {
  std::string_view string;
  int64_t signed_number = 0;
  uint64_t number = 0;
  if (value.get_string().get(string) == simdjson::SUCCESS) {
    text->assign(string.data(), string.size());
  } else if (value.get_int64().get(signed_number) == simdjson::SUCCESS) {
    *text = std::to_string(signed_number);
  } else if (value.get_uint64().get(number) == simdjson::SUCCESS) {
    *text = std::to_string(number);
  } else {
    return false;
  }
  return true;
}

}  // namespace

bool ParseLocalTime(std::string_view text, LocalTime* time) {
  LocalTime t;
  size_t pos = 0;
  if (!Digits(text, &pos, 4, &t.year) || !Expect(text, &pos, "-") ||
      !Digits(text, &pos, 2, &t.month) || !Expect(text, &pos, "-") ||
      !Digits(text, &pos, 2, &t.day) || !Expect(text, &pos, " T") ||
      !Digits(text, &pos, 2, &t.hour) || !Expect(text, &pos, ":") ||
      !Digits(text, &pos, 2, &t.minute)) {
    return false;
  }
  if (pos < text.size() &&
      (!Expect(text, &pos, ":") || !Digits(text, &pos, 2, &t.second))) {
    return false;
  }
  if (pos != text.size() || t.month < 1 || t.month > 12 || t.day < 1 ||
      t.day > DaysInMonth(t.year, t.month) || t.hour > 23 || t.minute > 59 ||
      t.second > 59) {
    return false;
  }
  t.weekday = Weekday(t.year, t.month, t.day);
  *time = t;
  return true;
}

// The JSON parser keeps its buffers from line to line; the line is copied
// into a buffer of its own, long enough for the padding the parser reads
// past the end of the text.
struct RecordReader::Json {
  simdjson::dom::parser parser{kMaxRecordBytes};
  std::vector<char> buffer;
};

RecordReader::RecordReader()
    : values_(kFieldCount), present_(kFieldCount), json_(new Json) {}

RecordReader::~RecordReader() = default;

void RecordReader::ClearValues() {
  for (int field = 0; field < kFieldCount; ++field) {
    values_[field].clear();
    present_[field] = false;
  }
}

RecordReader::Result RecordReader::Feed(std::string_view text, int64_t line,
                                        ConnectionRecord* record,
                                        std::string* error) {
  if (!started_) {
    started_ = true;
    if (text.substr(0, 3) == kByteOrderMark) text.remove_prefix(3);
  }
  if (text.size() > kMaxRecordBytes) {
    *error = "record longer than " + std::to_string(kMaxRecordBytes) + " bytes";
    return kError;
  }
  const std::string_view trimmed = Trim(text);
  if (trimmed.empty()) return kSkip;
  if (format_ == kUnknown) {
    if (trimmed[0] == '{') {
      format_ = kJson;
    } else {
      format_ = kCsv;
      return ParseHeader(trimmed, error) ? kSkip : kError;
    }
  }
  if (format_ == kCsv && column_of_.empty()) {
    *error = "no usable header line";
    return kError;
  }
  ClearValues();
  const bool split =
      format_ == kJson ? SplitJson(trimmed, error) : SplitCsv(trimmed, error);
  if (!split) return kError;
  record->line = line;
  return Build(record, error) ? kRecord : kError;
}

bool RecordReader::ParseHeader(std::string_view text, std::string* error) {
  if (!SplitCsv(text, error)) return false;
  std::vector<int> column_of(kFieldCount, -1);
  for (size_t i = 0; i < cells_.size(); ++i) {
    const int field = FieldIndex(Trim(cells_[i]));
    if (field >= 0) column_of[field] = static_cast<int>(i);
  }
  for (int field = 0; field < kFieldCount; ++field) {
    if (kFieldRequired[field] && column_of[field] < 0) {
      *error = std::string("header: no column \"") + kFieldNames[field] + "\"";
      return false;
    }
  }
  column_of_ = column_of;
  return true;
}

bool RecordReader::SplitCsv(std::string_view text, std::string* error) {
  size_t count = 0;  // cells of this line so far; cells_ only grows
  auto next_cell = [&]() -> std::string& {
    if (count == cells_.size()) cells_.emplace_back();
    std::string& cell = cells_[count++];
    cell.clear();
    return cell;
  };
  std::string* cell = &next_cell();
  bool quoted = false;
  bool was_quoted = false;
  for (size_t i = 0; i <= text.size(); ++i) {
    const char c = i < text.size() ? text[i] : ',';
    if (quoted) {
      if (i == text.size()) {
        *error =
            "column " + std::to_string(count) + ": unterminated quoted field";
        return false;
      }
      if (c != '"') {
        *cell += c;
      } else if (i + 1 < text.size() && text[i + 1] == '"') {
        *cell += '"';
        ++i;
      } else {
        quoted = false;
      }
    } else if (c == '"' && Trim(*cell).empty() && !was_quoted) {
      cell->clear();
      quoted = was_quoted = true;
    } else if (c == ',') {
      if (!was_quoted) cell->assign(std::string(Trim(*cell)));
      if (i < text.size()) cell = &next_cell();
      was_quoted = false;
    } else {
      *cell += c;
    }
  }
  cells_.resize(count);
  if (column_of_.empty()) return true;  // the header itself
  for (int field = 0; field < kFieldCount; ++field) {
    const int column = column_of_[field];
    if (column >= 0 && column < static_cast<int>(cells_.size()) &&
        !cells_[column].empty()) {
      values_[field] = cells_[column];
      present_[field] = true;
    }
  }
  return true;
}

bool RecordReader::SplitJson(std::string_view text, std::string* error) {
  std::vector<char>& buffer = json_->buffer;
  if (buffer.size() < text.size() + simdjson::SIMDJSON_PADDING) {
    buffer.assign(text.size() + simdjson::SIMDJSON_PADDING, '\0');
  }
  memcpy(buffer.data(), text.data(), text.size());
  simdjson::dom::element document;
  const simdjson::error_code failure =
      json_->parser.parse(buffer.data(), text.size(), false).get(document);
  if (failure != simdjson::SUCCESS) {
    *error = std::string("not valid JSON: ") + simdjson::error_message(failure);
    return false;
  }
  simdjson::dom::object object;
  if (document.get_object().get(object) != simdjson::SUCCESS) {
    *error = "not a JSON object";
    return false;
  }
  for (simdjson::dom::key_value_pair member : object) {
    const int field = FieldIndex(member.key);
    if (field < 0) continue;       // not ours, whatever it holds
    if (member.value.is_null()) {  // null: the field is absent
      values_[field].clear();
      present_[field] = false;
    } else if (JsonFieldText(member.value, &values_[field])) {
      present_[field] = true;
    } else {
      *error = FieldError(field, "not a text or an integer");
      return false;
    }
  }
  return true;
}

bool RecordReader::Build(ConnectionRecord* record, std::string* error) const {
  for (int field = 0; field < kFieldCount; ++field) {
    if (kFieldRequired[field] && !present_[field]) {
      *error = FieldError(field, "missing");
      return false;
    }
  }
  auto bad = [&](int field, const char* what) {
    *error = FieldError(field, what) + ": \"" + values_[field] + "\"";
    return false;
  };
  record->time_text = values_[kTime];
  if (!ParseLocalTime(values_[kTime], &record->time))
    return bad(kTime, "not a time YYYY-MM-DD HH:MM[:SS]");
  if (!Orva::string_to_hip(values_[kFirstIp].c_str(), &record->addr.first_ip))
    return bad(kFirstIp, "not an IPv4 address");
  if (!ParsePort(values_[kFirstPort], &record->addr.first_port))
    return bad(kFirstPort, "not a port 0-65535");
  if (!Orva::string_to_hip(values_[kSecondIp].c_str(), &record->addr.second_ip))
    return bad(kSecondIp, "not an IPv4 address");
  if (!ParsePort(values_[kSecondPort], &record->addr.second_port))
    return bad(kSecondPort, "not a port 0-65535");
  if (!ParseTransport(values_[kTransport], &record->transport))
    return bad(kTransport, "not tcp or udp");
  // The library takes text in its own code page.
  if (IsAscii(values_[kUrl])) {
    record->url = values_[kUrl];
  } else {
    record->url = Orva::UTF8_to_HOME(values_[kUrl]);
  }
  record->has_mac = present_[kMac];
  memset(record->mac, 0, sizeof(record->mac));
  if (record->has_mac &&
      !Orva::a_to_mac_addr(values_[kMac].c_str(), record->mac))
    return bad(kMac, "not a MAC address");
  return true;
}

}  // namespace quarn_tool
