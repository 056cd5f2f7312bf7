#include "tools/common/ConnectionRecord.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "base/OrvaAddr.h"

namespace quarn_tool {

namespace {

const char* const kFieldNames[] = {"time",      "first_ip",    "first_port",
                                   "second_ip", "second_port", "transport",
                                   "url",       "mac"};
const bool kFieldRequired[] = {true, true, true,  true,
                               true, true, false, false};

int FieldIndex(const std::string& name) {
  for (int i = 0; i < 8; ++i) {
    if (name == kFieldNames[i]) return i;
  }
  return -1;
}

std::string Trim(const std::string& text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && isspace(static_cast<unsigned char>(text[begin])))
    ++begin;
  while (end > begin && isspace(static_cast<unsigned char>(text[end - 1])))
    --end;
  return text.substr(begin, end - begin);
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
bool Digits(const std::string& text, size_t* pos, int count, int* value) {
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

bool Expect(const std::string& text, size_t* pos, const char* choices) {
  if (*pos >= text.size() || strchr(choices, text[*pos]) == nullptr)
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

}  // namespace

bool ParseLocalTime(const std::string& text, LocalTime* time) {
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

RecordReader::Result RecordReader::Feed(const std::string& text, int64_t line,
                                        ConnectionRecord* record,
                                        std::string* error) {
  std::string trimmed = Trim(text);
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
  values_.assign(kFieldCount, std::string());
  present_.assign(kFieldCount, false);
  bool split =
      format_ == kJson ? SplitJson(trimmed, error) : SplitCsv(trimmed, error);
  if (!split) return kError;
  *record = ConnectionRecord();
  record->line = line;
  return Build(record, error) ? kRecord : kError;
}

bool RecordReader::ParseHeader(const std::string& text, std::string* error) {
  if (!SplitCsv(text, error)) return false;
  std::vector<int> column_of(kFieldCount, -1);
  for (size_t i = 0; i < cells_.size(); ++i) {
    int field = FieldIndex(Trim(cells_[i]));
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

bool RecordReader::SplitCsv(const std::string& text, std::string* error) {
  cells_.clear();
  std::string cell;
  bool quoted = false;
  bool was_quoted = false;
  for (size_t i = 0; i <= text.size(); ++i) {
    const char c = i < text.size() ? text[i] : ',';
    if (quoted) {
      if (i == text.size()) {
        *error = "column " + std::to_string(cells_.size() + 1) +
                 ": unterminated quoted field";
        return false;
      }
      if (c != '"') {
        cell += c;
      } else if (i + 1 < text.size() && text[i + 1] == '"') {
        cell += '"';
        ++i;
      } else {
        quoted = false;
      }
    } else if (c == '"' && Trim(cell).empty() && !was_quoted) {
      cell.clear();
      quoted = was_quoted = true;
    } else if (c == ',') {
      cells_.push_back(was_quoted ? cell : Trim(cell));
      cell.clear();
      was_quoted = false;
    } else {
      cell += c;
    }
  }
  if (column_of_.empty()) return true;  // the header itself
  for (int field = 0; field < kFieldCount; ++field) {
    int column = column_of_[field];
    if (column >= 0 && column < static_cast<int>(cells_.size()) &&
        !cells_[column].empty()) {
      values_[field] = cells_[column];
      present_[field] = true;
    }
  }
  return true;
}

// A flat object of string, number and null values: what one line of JSON
// Lines input holds. Unknown keys are ignored.
bool RecordReader::SplitJson(const std::string& text, std::string* error) {
  size_t pos = 1;
  auto skip_space = [&]() {
    while (pos < text.size() && isspace(static_cast<unsigned char>(text[pos])))
      ++pos;
  };
  auto read_string = [&](std::string* out) {
    out->clear();
    ++pos;  // the opening quote
    while (pos < text.size() && text[pos] != '"') {
      char c = text[pos++];
      if (c == '\\' && pos < text.size()) {
        char e = text[pos++];
        switch (e) {
          case 'n':
            c = '\n';
            break;
          case 't':
            c = '\t';
            break;
          case 'r':
            c = '\r';
            break;
          case 'b':
            c = '\b';
            break;
          case 'f':
            c = '\f';
            break;
          case 'u':
            return false;  // no field needs it
          default:
            c = e;
        }
      }
      *out += c;
    }
    if (pos >= text.size()) return false;
    ++pos;
    return true;
  };
  std::string key;
  std::string value;
  skip_space();
  if (pos < text.size() && text[pos] == '}') {
    ++pos;
  } else {
    for (;;) {
      skip_space();
      if (pos >= text.size() || text[pos] != '"' || !read_string(&key)) {
        *error = "not a JSON object of fields (bad key)";
        return false;
      }
      skip_space();
      if (pos >= text.size() || text[pos] != ':') {
        *error = "field \"" + key + "\": no ':' after the key";
        return false;
      }
      ++pos;
      skip_space();
      bool is_null = false;
      if (pos < text.size() && text[pos] == '"') {
        if (!read_string(&value)) {
          *error = "field \"" + key + "\": bad string";
          return false;
        }
      } else {
        size_t begin = pos;
        while (pos < text.size() && text[pos] != ',' && text[pos] != '}' &&
               !isspace(static_cast<unsigned char>(text[pos])))
          ++pos;
        value = text.substr(begin, pos - begin);
        is_null = value == "null";
        if (value.empty() || value[0] == '{' || value[0] == '[') {
          *error = "field \"" + key + "\": not a text or a number";
          return false;
        }
      }
      int field = FieldIndex(key);
      if (field >= 0 && !is_null) {
        values_[field] = value;
        present_[field] = true;
      }
      skip_space();
      if (pos < text.size() && text[pos] == ',') {
        ++pos;
        continue;
      }
      if (pos < text.size() && text[pos] == '}') {
        ++pos;
        break;
      }
      *error = "field \"" + key + "\": expected ',' or '}' after the value";
      return false;
    }
  }
  skip_space();
  if (pos != text.size()) {
    *error = "text after the end of the object";
    return false;
  }
  return true;
}

bool RecordReader::Build(ConnectionRecord* record, std::string* error) const {
  for (int field = 0; field < kFieldCount; ++field) {
    if (kFieldRequired[field] && !present_[field]) {
      *error = std::string("field \"") + kFieldNames[field] + "\": missing";
      return false;
    }
  }
  auto bad = [&](int field, const char* what) {
    *error = std::string("field \"") + kFieldNames[field] + "\": " + what +
             ": \"" + values_[field] + "\"";
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
  record->url = values_[kUrl];
  if (present_[kMac]) {
    if (!Orva::a_to_mac_addr(values_[kMac].c_str(), record->mac))
      return bad(kMac, "not a MAC address");
    record->has_mac = true;
  }
  return true;
}

}  // namespace quarn_tool
