// Arbitrary bytes as the input of `quarn classify`: read in lines by the
// tool's line reader (with a small line limit and small reads, so that
// long lines, partial reads and the last line without a line end all come
// up often) and handed to its record reader, which decides CSV or JSON
// Lines from the first line. Checks what the readers promise: no line
// longer than the limit or holding a line end, line numbers one apart, and
// a record only with its fields filled.

#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "tools/common/ConnectionRecord.h"
#include "tools/common/LineReader.h"

namespace {

void Check(bool ok) {
  if (!ok) __builtin_trap();
}

// A memory file holding `size` bytes at `data`, positioned at its start.
int MemoryFile(const uint8_t* data, size_t size) {
  static const int fd = memfd_create("quarn_record_fuzz", MFD_CLOEXEC);
  if (fd < 0 || ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0) {
    return -1;
  }
  size_t written = 0;
  while (written < size) {
    const ssize_t n = write(fd, data + written, size - written);
    if (n <= 0) return -1;
    written += static_cast<size_t>(n);
  }
  return lseek(fd, 0, SEEK_SET) == 0 ? fd : -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // The first byte sets the line limit: small ones test the skipping of
  // long lines, 0 the tool's own limit.
  const size_t max_line = data[0] == 0 ? quarn_tool::kMaxRecordBytes : data[0];
  const int fd = MemoryFile(data + 1, size - 1);
  if (fd < 0) return 0;
  quarn_tool::LineReader lines(fd, max_line, false, 97);
  quarn_tool::RecordReader reader;
  quarn_tool::ConnectionRecord record;
  std::string error;
  std::string_view line;
  int64_t last = 0;
  for (;;) {
    const quarn_tool::LineReader::Status status = lines.Next(&line);
    if (status != quarn_tool::LineReader::kLine &&
        status != quarn_tool::LineReader::kTooLong) {
      Check(status == quarn_tool::LineReader::kEnd);
      break;
    }
    Check(lines.line_number() == last + 1);
    last = lines.line_number();
    if (status == quarn_tool::LineReader::kTooLong) continue;
    Check(line.size() <= max_line);
    Check(line.find('\n') == std::string_view::npos);
    error.clear();
    switch (reader.Feed(line, last, &record, &error)) {
      case quarn_tool::RecordReader::kRecord:
        Check(record.line == last && !record.time_text.empty());
        Check(record.time.month >= 1 && record.time.month <= 12);
        break;
      case quarn_tool::RecordReader::kError:
        Check(!error.empty());
        break;
      case quarn_tool::RecordReader::kSkip:
        break;
    }
  }
  Check(lines.bytes_read() == size - 1);
  return 0;
}
