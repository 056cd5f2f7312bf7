// Lines of text from a file descriptor, for readers of records: each line
// is at most a fixed number of bytes, so memory stays flat whatever the
// input holds, and every read error is reported rather than taken for the
// end of the input.

#ifndef QUARN_TOOLS_COMMON_LINEREADER_H_
#define QUARN_TOOLS_COMMON_LINEREADER_H_

#include <stddef.h>
#include <stdint.h>

#include <string_view>
#include <vector>

namespace quarn_tool {

class LineReader {
 public:
  enum Status {
    kLine,     // a line is in *line
    kTooLong,  // a line longer than the limit was skipped whole
    kEnd,      // the end of the input
    kError,    // a read failed: error() says why
    kStopped,  // SIGINT or SIGTERM asked to stop (see StopSignals)
  };

  // Reads `fd`, which stays owned by the caller, in lines of at most
  // `max_line` bytes (line end not counted). With `watch_stop`, a wait
  // for input gives way to a stop requested through StopSignals. Reads
  // ask for up to `read_bytes` bytes at once (more when a line needs it).
  LineReader(int fd, size_t max_line, bool watch_stop = false,
             size_t read_bytes = size_t{1} << 20);

  // Hands out `size` bytes already taken from the descriptor (e.g. to
  // tell the input's format) before what is read from it. At most the
  // reader's buffer size; call before the first Next().
  void Preload(const char* data, size_t size);

  // The next line, without its line end ("\n" or "\r\n"), into *line,
  // which stays valid until the next call. The last line needs no line
  // end. After kEnd, kError or kStopped the reader gives the same again.
  Status Next(std::string_view* line);

  // The number of the line last handed out or skipped, from 1.
  int64_t line_number() const { return line_number_; }
  // The errno of the failed read, after kError.
  int error() const { return error_; }
  // Bytes read from the descriptor so far.
  uint64_t bytes_read() const { return bytes_read_; }

 private:
  // Reads more after the bytes held; kLine when something came.
  Status Fill();

  int fd_;
  size_t max_line_;
  bool watch_stop_;
  std::vector<char> buffer_;
  size_t begin_ = 0;  // the unread bytes are [begin_, end_)
  size_t end_ = 0;
  bool skipping_ = false;  // inside a line that is too long
  Status final_ = kLine;   // kEnd, kError or kStopped once reached
  int64_t line_number_ = 0;
  int error_ = 0;
  uint64_t bytes_read_ = 0;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_LINEREADER_H_
