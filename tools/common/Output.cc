#include "tools/common/Output.h"

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

}  // namespace

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

void JsonWriter::Key(const char* key) {
  Separate();
  out_ += '"';
  out_ += key;
  out_ += "\":";
  need_comma_ = false;
}

void JsonWriter::Escaped(const std::string& utf8) {
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
  Escaped(cache_->Get(gbk));
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

void JsonWriter::Bool(bool value) {
  Separate();
  out_ += value ? "true" : "false";
}

void JsonWriter::Null() {
  Separate();
  out_ += "null";
}

TableWriter::TableWriter(FILE* out, std::vector<Column> columns)
    : out_(out), columns_(std::move(columns)) {}

int TableWriter::DisplayWidth(const std::string& utf8) {
  int width = 0;
  for (size_t i = 0; i < utf8.size();) {
    unsigned char c = utf8[i];
    if (c < 0x80) {
      ++width;
      ++i;
    } else if (c >= 0xF0) {
      width += 2;
      i += 4;
    } else if (c >= 0xE0) {
      // Three-byte forms hold the CJK blocks, which take two columns.
      width += 2;
      i += 3;
    } else {
      ++width;
      i += 2;
    }
  }
  return width;
}

void TableWriter::WriteHeader() {
  std::vector<std::string> titles;
  std::vector<std::string> rules;
  for (const Column& column : columns_) {
    titles.push_back(column.title);
    rules.push_back(std::string(column.width, '-'));
  }
  WriteRow(titles);
  WriteRow(rules);
}

void TableWriter::WriteRow(const std::vector<std::string>& cells) {
  line_.clear();
  int owed = 0;  // columns the row has run past its grid
  for (size_t i = 0; i < columns_.size(); ++i) {
    const std::string& cell = i < cells.size() ? cells[i] : std::string();
    const bool last = i + 1 == columns_.size();
    line_ += cell;
    int pad = columns_[i].width - DisplayWidth(cell) - owed;
    owed = pad < 0 ? -pad : 0;
    if (last) break;
    line_.append(pad > 0 ? pad : 0, ' ');
    line_ += "  ";
  }
  while (!line_.empty() && line_.back() == ' ') line_.pop_back();
  line_ += '\n';
  fwrite(line_.data(), 1, line_.size(), out_);
}

ResultWriter::ResultWriter(FILE* out, bool table,
                           std::vector<std::string> titles)
    : out_(out), table_(table), titles_(std::move(titles)), json_(&cache_) {}

JsonWriter* ResultWriter::BeginItem() {
  json_.Clear();
  return &json_;
}

void ResultWriter::EndItem() {
  fwrite(json_.str().data(), 1, json_.str().size(), out_);
  fputc('\n', out_);
}

void ResultWriter::Row(std::vector<std::string> cells) {
  rows_.push_back(std::move(cells));
}

void ResultWriter::Caption(const std::string& utf8) {
  caption_ += utf8;
  caption_ += '\n';
}

void ResultWriter::Finish() {
  if (table_) {
    fputs(caption_.c_str(), out_);
    std::vector<TableWriter::Column> columns;
    for (size_t i = 0; i < titles_.size(); ++i) {
      int width = TableWriter::DisplayWidth(titles_[i]);
      for (const std::vector<std::string>& row : rows_) {
        if (i < row.size() && TableWriter::DisplayWidth(row[i]) > width) {
          width = TableWriter::DisplayWidth(row[i]);
        }
      }
      columns.push_back({titles_[i].c_str(), width});
    }
    TableWriter writer(out_, columns);
    writer.WriteHeader();
    for (const std::vector<std::string>& row : rows_) writer.WriteRow(row);
    rows_.clear();
  }
  fflush(out_);
}

}  // namespace quarn_tool
