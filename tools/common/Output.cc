#include "tools/common/Output.h"

#include <emmintrin.h>
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

namespace {

// For each byte, what a JSON string needs in its place: 0 for the byte
// itself, else the letter after the backslash ('u' for \u00XX).
struct EscapeTable {
  char letter[256];
  constexpr EscapeTable() : letter() {
    for (int c = 0; c < 0x20; ++c) letter[c] = 'u';
    const unsigned char quote = '"', backslash = '\\';
    letter[quote] = '"';
    letter[backslash] = '\\';
    letter[static_cast<unsigned char>('\n')] = 'n';
    letter[static_cast<unsigned char>('\r')] = 'r';
    letter[static_cast<unsigned char>('\t')] = 't';
  }
};
constexpr EscapeTable kEscape;

// Writes `utf8` quoted and escaped through `put(data, size)`.
// The index of the first byte from `from` on that a JSON string needs
// escaped, or text.size(). Sixteen bytes are tested at once (SSE2 is part
// of x86-64): most texts need no escape at all.
size_t NextToEscape(std::string_view text, size_t from) {
  size_t i = from;
  const __m128i quote = _mm_set1_epi8('"');
  const __m128i backslash = _mm_set1_epi8('\\');
  const __m128i control_max = _mm_set1_epi8(0x1F);
  for (; i + 16 <= text.size(); i += 16) {
    const __m128i v =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + i));
    // v <= 0x1F, unsigned, where min(v, 0x1F) == v.
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(v, control_max), v);
    const __m128i hits = _mm_or_si128(
        control,
        _mm_or_si128(_mm_cmpeq_epi8(v, quote), _mm_cmpeq_epi8(v, backslash)));
    const int mask = _mm_movemask_epi8(hits);
    if (mask != 0) return i + static_cast<size_t>(__builtin_ctz(mask));
  }
  for (; i < text.size(); ++i) {
    if (kEscape.letter[static_cast<unsigned char>(text[i])] != 0) return i;
  }
  return text.size();
}

template <typename Put>
void WriteJsonString(std::string_view utf8, Put put) {
  put("\"", 1);
  // Runs of plain characters are copied at once.
  size_t plain = 0;
  for (size_t i = NextToEscape(utf8, 0); i < utf8.size();
       i = NextToEscape(utf8, i + 1)) {
    const char letter = kEscape.letter[static_cast<unsigned char>(utf8[i])];
    put(utf8.data() + plain, i - plain);
    plain = i + 1;
    if (letter != 'u') {
      const char escape[] = {'\\', letter};
      put(escape, sizeof(escape));
    } else {
      static const char kDigits[] = "0123456789abcdef";
      const unsigned char c = static_cast<unsigned char>(utf8[i]);
      const char escape[] = {
          '\\', 'u', '0', '0', kDigits[c >> 4], kDigits[c & 0xF]};
      put(escape, sizeof(escape));
    }
  }
  put(utf8.data() + plain, utf8.size() - plain);
  put("\"", 1);
}

}  // namespace

void AppendJsonString(std::string_view utf8, std::string* out) {
  WriteJsonString(utf8, [out](const char* p, size_t n) { out->append(p, n); });
}

void JsonWriter::Grow(size_t n) {
  buffer_.resize(std::max(buffer_.size() * 2, size_ + n + 256));
}

void JsonWriter::BeginObject() {
  Separate();
  Put('{');
  need_comma_ = false;
}

void JsonWriter::EndObject() {
  Put('}');
  need_comma_ = true;
}

void JsonWriter::BeginArray() {
  Separate();
  Put('[');
  need_comma_ = false;
}

void JsonWriter::EndArray() {
  Put(']');
  need_comma_ = true;
}

void JsonWriter::KeyText(const char* key) { AppendKey(key, strlen(key)); }

void JsonWriter::AppendKey(const char* key, size_t length) {
  char* p = Room(length + 4);
  char* const start = p;
  if (need_comma_) *p++ = ',';
  *p++ = '"';
  memcpy(p, key, length);
  p += length;
  *p++ = '"';
  *p++ = ':';
  size_ += static_cast<size_t>(p - start);
  need_comma_ = false;
}

void JsonWriter::Escaped(std::string_view utf8) {
  WriteJsonString(utf8, [this](const char* p, size_t n) { Put(p, n); });
}

void JsonWriter::Gbk(const std::string& gbk) {
  Separate();
  // ASCII texts (URLs, mostly) are escaped as they come rather than
  // remembered: they are as often new as not.
  if (IsAscii(gbk)) {
    Escaped(gbk);
  } else {
    const std::string& json = cache_->Json(gbk);
    Put(json.data(), json.size());
  }
}

void JsonWriter::Utf8(std::string_view utf8) {
  Separate();
  Escaped(utf8);
}

// Numbers are formatted by hand: printf's machinery showed as the largest
// cost of writing a connection.
void JsonWriter::Int(int64_t value) {
  Separate();
  if (value < 0) {
    Put('-');
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
  Put(p, static_cast<size_t>(end - p));
}

void JsonWriter::Hex(uint64_t value) {
  Separate();
  static const char kDigits[] = "0123456789ABCDEF";
  char buffer[20] = {'"', '0', 'x'};
  for (int i = 0; i < 16; ++i) {
    buffer[3 + i] = kDigits[(value >> (60 - 4 * i)) & 0xF];
  }
  buffer[19] = '"';
  Put(buffer, sizeof(buffer));
}

void JsonWriter::Raw(std::string_view json) {
  Separate();
  Put(json.data(), json.size());
}

void JsonWriter::Bool(bool value) {
  Separate();
  if (value) {
    Put("true", 4);
  } else {
    Put("false", 5);
  }
}

void JsonWriter::Null() {
  Separate();
  Put("null", 4);
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
