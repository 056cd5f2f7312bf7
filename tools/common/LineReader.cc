#include "tools/common/LineReader.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "tools/common/StopSignals.h"

namespace quarn_tool {

LineReader::LineReader(int fd, size_t max_line, bool watch_stop,
                       size_t read_bytes)
    : fd_(fd),
      max_line_(max_line),
      watch_stop_(watch_stop),
      buffer_(std::max(read_bytes, max_line + 2)) {}

void LineReader::Preload(const char* data, size_t size) {
  size = std::min(size, buffer_.size() - end_);
  memcpy(buffer_.data() + end_, data, size);
  end_ += size;
  bytes_read_ += size;
}

LineReader::Status LineReader::Next(std::string_view* line) {
  for (;;) {
    const char* base = buffer_.data();
    const void* found = memchr(base + begin_, '\n', end_ - begin_);
    if (found != nullptr) {
      const size_t newline = static_cast<const char*>(found) - base;
      size_t length = newline - begin_;
      const size_t start = begin_;
      begin_ = newline + 1;
      ++line_number_;
      if (length > 0 && base[start + length - 1] == '\r') --length;
      if (skipping_ || length > max_line_) {
        skipping_ = false;
        return kTooLong;
      }
      *line = std::string_view(base + start, length);
      return kLine;
    }
    // No line end among the bytes held: past the limit the line is
    // skipped (its number is counted when its end comes).
    if (end_ - begin_ > max_line_ + 1) {
      skipping_ = true;
      begin_ = end_;
    }
    const Status filled = Fill();
    if (filled == kLine) continue;
    // The input ended (or failed) inside a line: the line, if complete.
    if (filled == kEnd && (skipping_ || begin_ < end_)) {
      ++line_number_;
      const size_t start = begin_;
      const size_t length = end_ - begin_;
      begin_ = end_;
      if (skipping_ || length > max_line_) {
        skipping_ = false;
        return kTooLong;
      }
      *line = std::string_view(buffer_.data() + start, length);
      return kLine;
    }
    return filled;
  }
}

LineReader::Status LineReader::Fill() {
  if (final_ != kLine) return final_;
  if (begin_ > 0) {
    memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  for (;;) {
    if (watch_stop_ && !StopSignals::WaitReadable(fd_)) {
      return final_ = kStopped;
    }
    const ssize_t n = read(fd_, buffer_.data() + end_, buffer_.size() - end_);
    if (n > 0) {
      end_ += static_cast<size_t>(n);
      bytes_read_ += static_cast<uint64_t>(n);
      return kLine;
    }
    if (n == 0) return final_ = kEnd;
    if (errno == EINTR) {
      if (watch_stop_ && StopSignals::requested()) return final_ = kStopped;
      continue;
    }
    error_ = errno;
    return final_ = kError;
  }
}

}  // namespace quarn_tool
