// quarn classify: what the gateway decides for each connection of an input
// file, end to end, from one configuration directory (by default "gateway"
// in the module directory): client end and data direction, the inside
// end's department, the outside end's internet areas, the application, the
// URL categories and white-list verdict, the IP and time objects, and the
// employee and account behind the inside end.
//
// Input is CSV with a header line or JSON Lines, from a file or standard
// input, read one line at a time so memory stays constant. Output is one
// JSON object per connection (or a table row with --format table).

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tools/Command.h"
#include "tools/common/ClassificationOutput.h"
#include "tools/common/CommandLine.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/ConnectionRecord.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/Output.h"

namespace {

const char kOptions[] =
    "  --explain      add the evidence of each decision\n"
    "  FILE           CSV with a header line, or JSON Lines; standard input\n"
    "                 when absent or \"-\"\n";

const char kDetails[] =
    "Fields: time (\"YYYY-MM-DD HH:MM[:SS]\", local time), first_ip,\n"
    "first_port, second_ip, second_port, transport (tcp|udp), and the\n"
    "optional url and mac (of the inside host).\n"
    "\n"
    "One JSON object per connection holds every decision: client, data_dir,\n"
    "inside (with class_id and class), outside (with area1 and area2), app,\n"
    "url, ip_objects, time_objects, employee and account.\n";

struct Options {
  std::string config_dir;
  bool explain = false;
  bool table = false;
  std::string input;  // empty: standard input
};

double Now() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

// Progress on standard error, for a file input on a terminal.
class Progress {
 public:
  Progress(FILE* in, bool enabled) : in_(in), enabled_(enabled) {
    struct stat st;
    if (enabled_ && fstat(fileno(in), &st) == 0) size_ = st.st_size;
  }
  void Tick(int64_t records) {
    if (!enabled_ || (records & 0xFFFF) != 0) return;
    long pos = ftell(in_);
    if (size_ > 0 && pos >= 0) {
      fprintf(stderr, "\r%lld connections (%d%%)",
              static_cast<long long>(records),
              static_cast<int>(pos * 100.0 / size_));
    } else {
      fprintf(stderr, "\r%lld connections", static_cast<long long>(records));
    }
  }
  void Done() {
    if (enabled_) fputs("\r\033[K", stderr);
  }

 private:
  FILE* in_;
  bool enabled_;
  off_t size_ = 0;
};

// -1 to go on, else the exit code.
int ParseArgs(const std::vector<std::string>& args, Options* options) {
  quarn_tool::CommandLine line(quarn_tool::Format::kJson,
                               {{"--explain", false}});
  const int rc = quarn_tool::ParseCommandLine("classify", args, &line);
  if (rc >= 0) return rc;
  if (line.positional().size() > 1) {
    return quarn_tool::UsageError("classify", "more than one input file");
  }
  options->config_dir = line.config_dir();
  options->explain = line.Given("--explain");
  options->table = line.table();
  if (!line.positional().empty() && line.positional()[0] != "-") {
    options->input = line.positional()[0];
  }
  return -1;
}

int RunClassify(const std::vector<std::string>& args) {
  Options options;
  const int rc = ParseArgs(args, &options);
  if (rc >= 0) return rc;

  FILE* in = stdin;
  if (!options.input.empty()) {
    in = fopen(options.input.c_str(), "rb");
    if (in == nullptr) {
      fprintf(stderr, "quarn: cannot open %s: %s\n", options.input.c_str(),
              strerror(errno));
      return 2;
    }
  }
  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(options.config_dir, quarn_tool::kConfigAll,
                                 &config)) {
    if (in != stdin) fclose(in);
    return 2;
  }

  static char out_buffer[1 << 20];
  setvbuf(stdout, out_buffer, _IOFBF, sizeof(out_buffer));
  quarn_tool::ConnectionClassifier classifier(&config);
  quarn_tool::RecordReader reader;
  quarn_tool::Utf8Cache cache;
  quarn_tool::JsonWriter json(&cache);
  quarn_tool::TableWriter table(stdout, quarn_tool::ClassificationColumns());
  if (options.table) table.WriteHeader();
  quarn_tool::ConnectionRecord record;
  quarn_tool::Classification result;
  std::vector<std::string> cells;
  Progress progress(in, in != stdin && isatty(STDERR_FILENO));

  const double start = Now();
  int64_t line_number = 0;
  int64_t classified = 0;
  int64_t bad = 0;
  char* line = nullptr;
  size_t capacity = 0;
  ssize_t length;
  std::string text;
  std::string error;
  bool stop = false;
  while (!stop && (length = getline(&line, &capacity, in)) >= 0) {
    ++line_number;
    while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r'))
      --length;
    text.assign(line, length);
    switch (reader.Feed(text, line_number, &record, &error)) {
      case quarn_tool::RecordReader::kSkip:
        continue;
      case quarn_tool::RecordReader::kError:
        ++bad;
        fprintf(stderr, "quarn: %s:%lld: %s\n",
                options.input.empty() ? "<stdin>" : options.input.c_str(),
                static_cast<long long>(line_number), error.c_str());
        stop = reader.unusable();
        continue;
      case quarn_tool::RecordReader::kRecord:
        break;
    }
    classifier.Classify(record, options.explain, &result);
    if (options.table) {
      quarn_tool::ClassificationCells(record, result, &cache, &cells);
      table.WriteRow(cells);
    } else {
      quarn_tool::WriteClassificationJson(record, result, options.explain,
                                          &json);
      fwrite(json.str().data(), 1, json.str().size(), stdout);
      fputc('\n', stdout);
    }
    ++classified;
    progress.Tick(classified);
  }
  free(line);
  fflush(stdout);
  progress.Done();
  if (in != stdin) fclose(in);

  const double seconds = Now() - start;
  fprintf(stderr,
          "quarn: %lld connections classified, %lld bad records, in %.3f s "
          "(%.0f connections/s)\n",
          static_cast<long long>(classified), static_cast<long long>(bad),
          seconds, seconds > 0 ? classified / seconds : 0.0);
  return classified > 0 ? 0 : 1;
}

}  // namespace

QUARN_COMMAND(classify, "[--explain] [FILE]",
              "every decision the gateway makes for each connection of a CSV "
              "or JSON Lines input: direction, department, internet areas, "
              "application, URL categories, objects, employee and account",
              kOptions, kDetails, RunClassify);
