#include "tools/common/Output.h"

#include <errno.h>
#include <locale.h>
#include <string.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <utility>

#include "tools/Command.h"

namespace quarn_tool {

namespace {

// Enough for every name of a configuration; past it, texts are converted
// each time instead of remembered.
const size_t kMaxCachedTexts = 65536;

bool IsAscii(const std::string& text) {
  for (unsigned char c : text) {
    if (c >= 0x80) return false;
  }
  return true;
}

// The C library's UTF-8 character type, for wcwidth(); null when the
// C library has none.
locale_t Utf8Locale() {
  static const locale_t locale =
      newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  return locale;
}

}  // namespace

OutputSink::OutputSink(int fd) : fd_(fd) {}

OutputSink::~OutputSink() { Flush(); }

void OutputSink::Append(const char* data, size_t size) {
  if (error_ == 0) buffer_.append(data, size);
}

void OutputSink::Append(char c) {
  if (error_ == 0) buffer_ += c;
}

void OutputSink::EndRecord() {
  if (buffer_.size() >= kFlushBytes) Flush();
}

bool OutputSink::Flush() {
  const char* p = buffer_.data();
  size_t left = buffer_.size();
  while (left > 0 && error_ == 0) {
    const ssize_t n = write(fd_, p, left);
    if (n > 0) {
      p += n;
      left -= static_cast<size_t>(n);
    } else if (n < 0 && errno != EINTR) {
      error_ = errno;
    } else if (n == 0) {
      error_ = EIO;  // a descriptor that takes nothing would loop forever
    }
  }
  buffer_.clear();
  return error_ == 0;
}

const std::string& Utf8Cache::Get(const std::string& gbk) {
  if (IsAscii(gbk)) return gbk;
  auto it = cache_.find(gbk);
  if (it != cache_.end()) return it->second;
  if (cache_.size() >= kMaxCachedTexts) {
    scratch_ = ToTerminal(gbk);
    return scratch_;
  }
  return cache_.emplace(gbk, ToTerminal(gbk)).first->second;
}

const std::string& Utf8Cache::Json(const std::string& gbk) {
  auto it = json_.find(gbk);
  if (it != json_.end()) return it->second;
  std::string json;
  AppendJsonString(Get(gbk), &json);
  if (json_.size() >= kMaxCachedTexts) {
    scratch_ = std::move(json);
    return scratch_;
  }
  return json_.emplace(gbk, std::move(json)).first->second;
}

std::string HexText(uint64_t value) {
  char text[19];
  snprintf(text, sizeof(text), "0x%016llX",
           static_cast<unsigned long long>(value));
  return text;
}

void JsonWriter::Separate() {
  if (need_comma_) out_ += ',';
  need_comma_ = true;
}

void JsonWriter::BeginObject() {
  Separate();
  out_ += '{';
  need_comma_ = false;
}

void JsonWriter::EndObject() {
  out_ += '}';
  need_comma_ = true;
}

void JsonWriter::BeginArray() {
  Separate();
  out_ += '[';
  need_comma_ = false;
}

void JsonWriter::EndArray() {
  out_ += ']';
  need_comma_ = true;
}

void JsonWriter::KeyText(const char* key) { AppendKey(key, strlen(key)); }

void JsonWriter::AppendKey(const char* key, size_t length) {
  // One append per key where it fits: three appends of its pieces showed
  // in the time per connection.
  char text[64];
  if (length + 4 > sizeof(text)) {
    Separate();
    out_ += '"';
    out_.append(key, length);
    out_ += "\":";
    need_comma_ = false;
    return;
  }
  size_t n = 0;
  if (need_comma_) text[n++] = ',';
  text[n++] = '"';
  memcpy(text + n, key, length);
  n += length;
  text[n++] = '"';
  text[n++] = ':';
  out_.append(text, n);
  need_comma_ = false;
}

void JsonWriter::Escaped(const std::string& utf8) {
  AppendJsonString(utf8, &out_);
}

void AppendJsonString(const std::string& utf8, std::string* out) {
  std::string& out_ = *out;
  out_ += '"';
  // Runs of plain characters are copied at once.
  size_t plain = 0;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const unsigned char c = utf8[i];
    if (c >= 0x20 && c != '"' && c != '\\') continue;
    out_.append(utf8, plain, i - plain);
    plain = i + 1;
    switch (c) {
      case '"':
        out_ += "\\\"";
        break;
      case '\\':
        out_ += "\\\\";
        break;
      case '\n':
        out_ += "\\n";
        break;
      case '\r':
        out_ += "\\r";
        break;
      case '\t':
        out_ += "\\t";
        break;
      default: {
        static const char kDigits[] = "0123456789abcdef";
        const char escape[] = {
            '\\', 'u', '0', '0', kDigits[c >> 4], kDigits[c & 0xF]};
        out_.append(escape, sizeof(escape));
      }
    }
  }
  out_.append(utf8, plain, std::string::npos);
  out_ += '"';
}

void JsonWriter::Gbk(const std::string& gbk) {
  Separate();
  // ASCII texts (URLs, mostly) are escaped as they come rather than
  // remembered: they are as often new as not.
  if (IsAscii(gbk)) {
    Escaped(gbk);
  } else {
    out_ += cache_->Json(gbk);
  }
}

void JsonWriter::Utf8(const std::string& utf8) {
  Separate();
  Escaped(utf8);
}

// Numbers are formatted by hand: printf's machinery showed as the largest
// cost of writing a connection.
void JsonWriter::Int(int64_t value) {
  Separate();
  if (value < 0) {
    out_ += '-';
    AppendDecimal(0 - static_cast<uint64_t>(value));
  } else {
    AppendDecimal(static_cast<uint64_t>(value));
  }
}

void JsonWriter::Uint(uint64_t value) {
  Separate();
  AppendDecimal(value);
}

void JsonWriter::AppendDecimal(uint64_t value) {
  char buffer[20];
  char* end = buffer + sizeof(buffer);
  char* p = end;
  do {
    *--p = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  out_.append(p, end - p);
}

void JsonWriter::Hex(uint64_t value) {
  Separate();
  static const char kDigits[] = "0123456789ABCDEF";
  char buffer[20] = {'"', '0', 'x'};
  for (int i = 0; i < 16; ++i) {
    buffer[3 + i] = kDigits[(value >> (60 - 4 * i)) & 0xF];
  }
  buffer[19] = '"';
  out_.append(buffer, sizeof(buffer));
}

void JsonWriter::Raw(const std::string& json) {
  Separate();
  out_ += json;
}

void JsonWriter::Bool(bool value) {
  Separate();
  out_ += value ? "true" : "false";
}

void JsonWriter::Null() {
  Separate();
  out_ += "null";
}

TableWriter::TableWriter(OutputSink* out, std::vector<std::string> titles,
                         size_t batch_rows)
    : out_(out), titles_(std::move(titles)), batch_rows_(batch_rows) {}

int TableWriter::DisplayWidth(const std::string& utf8) {
  const locale_t utf8_locale = Utf8Locale();
  const locale_t old = utf8_locale != static_cast<locale_t>(0)
                           ? uselocale(utf8_locale)
                           : static_cast<locale_t>(0);
  int width = 0;
  mbstate_t state = mbstate_t();
  for (size_t i = 0; i < utf8.size();) {
    if (static_cast<unsigned char>(utf8[i]) < 0x80) {
      ++width;
      ++i;
      continue;
    }
    wchar_t wc = 0;
    const size_t n = mbrtowc(&wc, utf8.data() + i, utf8.size() - i, &state);
    if (n == 0 || n > utf8.size() - i) {  // malformed, cut short, or no locale
      state = mbstate_t();
      ++width;
      ++i;
      continue;
    }
    const int w = wcwidth(wc);
    width += w < 0 ? 1 : w;
    i += n;
  }
  if (old != static_cast<locale_t>(0)) uselocale(old);
  return width;
}

void TableWriter::AddRow(std::vector<std::string> cells,
                         std::vector<std::string> notes) {
  rows_.push_back({std::move(cells), std::move(notes)});
  if (batch_rows_ != 0 && rows_.size() >= batch_rows_) Flush();
}

void TableWriter::WriteLine(const std::vector<std::string>& cells,
                            const std::vector<int>& widths) {
  line_.clear();
  for (size_t i = 0; i < widths.size(); ++i) {
    const std::string& cell = i < cells.size() ? cells[i] : std::string();
    line_ += cell;
    if (i + 1 == widths.size()) break;
    line_.append(widths[i] - DisplayWidth(cell) + 2, ' ');
  }
  while (!line_.empty() && line_.back() == ' ') line_.pop_back();
  line_ += '\n';
  out_->Append(line_);
}

void TableWriter::Flush() {
  if (rows_.empty()) return;
  std::vector<int> widths;
  std::vector<std::string> rules;
  for (size_t i = 0; i < titles_.size(); ++i) {
    int width = DisplayWidth(titles_[i]);
    for (const Row& row : rows_) {
      if (i < row.cells.size()) {
        width = std::max(width, DisplayWidth(row.cells[i]));
      }
    }
    widths.push_back(width);
    rules.push_back(std::string(width, '-'));
  }
  if (written_) out_->Append('\n');
  WriteLine(titles_, widths);
  WriteLine(rules, widths);
  for (const Row& row : rows_) {
    WriteLine(row.cells, widths);
    for (const std::string& note : row.notes) {
      out_->Append("    ");
      out_->Append(note);
      out_->Append('\n');
    }
    out_->EndRecord();
  }
  rows_.clear();
  written_ = true;
}

ResultWriter::ResultWriter(OutputSink* out, bool table,
                           std::vector<std::string> titles)
    : out_(out), table_(table), rows_(out, std::move(titles)), json_(&cache_) {}

JsonWriter* ResultWriter::BeginItem() {
  json_.Clear();
  return &json_;
}

void ResultWriter::EndItem() {
  out_->Append(json_.str());
  out_->Append('\n');
  out_->EndRecord();
}

void ResultWriter::Row(std::vector<std::string> cells) {
  rows_.AddRow(std::move(cells));
}

void ResultWriter::Caption(const std::string& utf8) {
  caption_ += utf8;
  caption_ += '\n';
}

void ResultWriter::Finish() {
  if (table_) {
    out_->Append(caption_);
    caption_.clear();
    rows_.Flush();
  }
  out_->Flush();
}

}  // namespace quarn_tool
