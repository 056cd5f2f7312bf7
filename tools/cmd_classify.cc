// quarn classify: what the gateway decides for each connection of an input
// file, end to end, from one configuration directory (by default "gateway"
// in the module directory): client end and data direction, the inside
// end's department, the outside end's internet areas, the application, the
// URL categories and white-list verdict, the IP and time objects, the
// employee and account behind the inside end, and finally the verdict: what
// the connection policy, the audit filter policy and the control status
// make of those facts.
//
// Input is CSV with a header line or JSON Lines, from a file or standard
// input, read one line at a time so memory stays constant. Output is one
// JSON object per connection (or a table row with --format table).
// SIGINT and SIGTERM stop it after the connection in hand, with everything
// before written out and the summary printed.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
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
#include "tools/common/LineReader.h"
#include "tools/common/Output.h"
#include "tools/common/PolicyStage.h"
#include "tools/common/StopSignals.h"
#include "tools/common/VerdictOutput.h"

namespace {

using quarn_tool::LineReader;
using quarn_tool::RecordReader;

const char kOptions[] =
    "  --explain      add the evidence of each decision (with --format\n"
    "                 table: indented lines under each row)\n"
    "  --strict       stop at the first bad record\n"
    "  --policy FILE  the connection policy to evaluate (default:\n"
    "                 connection_policy.xml in the configuration directory)\n"
    "  FILE           CSV with a header line, or JSON Lines; standard input\n"
    "                 when absent or \"-\"\n";

const char kDetails[] =
    "Input is UTF-8, one record per line of at most 65536 bytes (a longer\n"
    "one is a bad record); a leading byte-order mark is skipped. Fields:\n"
    "time (\"YYYY-MM-DD HH:MM[:SS]\", local time), first_ip, first_port,\n"
    "second_ip, second_port, transport (tcp|udp), and the optional url and\n"
    "mac (of the inside host). Field names match without regard to case;\n"
    "other CSV columns and other JSON members (of any type) are ignored. A\n"
    "JSON field is a string, an integer, or null for an absent one.\n"
    "\n"
    "One JSON object per connection holds every decision: client, data_dir,\n"
    "inside (with class_id, class and server), outside (with area1 and\n"
    "area2), app, url (null when there is none), ip_objects, time_objects,\n"
    "employee (the most recently active record on the inside address),\n"
    "account, and verdict: the policy's passed filters ({index,name}),\n"
    "save_level, interrupt (the code, or null), ignore, events (filter\n"
    "indexes) and audit ({audited,reason,level,app}; reason: off, black\n"
    "list, not passed to audit, white list, application filter or audit\n"
    "level). With --explain the verdict lists, filter by filter, which\n"
    "condition matched and whether it holds. A policy that cannot be used\n"
    "is named on standard error (file, line, filter); its keys are then\n"
    "null and the exit status is 1.\n"
    "\n"
    "The URL's host is lower-cased before the URL categories and the white\n"
    "list are asked; the white list is asked with the host, then\n"
    "with the host and the path. The table fits its columns to each batch\n"
    "of 1000 rows.\n"
    "\n"
    "Bad records are named on standard error (\"FILE:LINE: field ...\") and\n"
    "skipped; a summary line ends the run.\n";

// Rows of the table written at once, each batch fitted to its own cells.
const size_t kTableBatchRows = 1000;

struct Options {
  std::string config_dir;
  bool explain = false;
  bool strict = false;
  bool table = false;
  std::string policy;  // empty: the configuration directory's
  std::string input;   // empty: standard input
};

double Now() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

// Progress on standard error, for a file input on a terminal.
class Progress {
 public:
  Progress(int fd, bool enabled) : enabled_(enabled) {
    struct stat st;
    if (enabled_ && fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
      size_ = st.st_size;
    }
  }
  void Tick(int64_t records, uint64_t bytes_read) {
    if (!enabled_ || (records & 0xFFFF) != 0) return;
    if (size_ > 0) {
      fprintf(stderr, "\r%lld connections (%d%%)",
              static_cast<long long>(records),
              static_cast<int>(bytes_read * 100.0 / size_));
    } else {
      fprintf(stderr, "\r%lld connections", static_cast<long long>(records));
    }
  }
  void Done() {
    if (enabled_) fputs("\r\033[K", stderr);
  }

 private:
  bool enabled_;
  off_t size_ = 0;
};

// -1 to go on, else the exit status.
int ParseArgs(const std::vector<std::string>& args, Options* options) {
  quarn_tool::CommandLine line(
      quarn_tool::Format::kJson,
      {{"--explain", false}, {"--strict", false}, {"--policy", true}});
  const int rc = quarn_tool::ParseCommandLine("classify", args, &line);
  if (rc >= 0) return rc;
  if (line.positional().size() > 1) {
    return quarn_tool::UsageError("classify", "more than one input file");
  }
  options->config_dir = line.config_dir();
  options->explain = line.Given("--explain");
  options->strict = line.Given("--strict");
  options->table = line.table();
  options->policy = line.Value("--policy", "");
  if (!line.positional().empty() && line.positional()[0] != "-") {
    options->input = line.positional()[0];
  }
  return -1;
}

// Opens the input: a descriptor to read, or -1 after saying why not.
int OpenInput(const std::string& path) {
  if (path.empty()) return STDIN_FILENO;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat st;
  int error = fd < 0 ? errno : 0;
  if (fd >= 0 && fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) error = EISDIR;
  if (error == 0) return fd;
  if (fd >= 0) close(fd);
  fprintf(stderr, "quarn: %s: %s\n", path.c_str(), strerror(error));
  return -1;
}

// Counts of one run.
struct Tally {
  int64_t classified = 0;
  int64_t bad = 0;
  bool read_failed = false;
  bool unusable = false;  // a CSV header without the fields
  bool strict_stop = false;
};

// Classifies every record from `lines` into `out`, naming bad records on
// standard error as "<name>:<line>: <why>".
class Run {
 public:
  Run(const Options& options, quarn_tool::GatewayConfig* config,
      quarn_tool::PolicyStage* stage, quarn_tool::OutputSink* out)
      : options_(options),
        name_(options.input.empty() ? "<stdin>" : options.input),
        classifier_(config),
        stage_(stage),
        out_(out),
        json_(&cache_),
        table_(out, quarn_tool::ClassificationTitles(), kTableBatchRows) {}

  void All(LineReader* lines, Progress* progress) {
    std::string_view text;
    for (;;) {
      const LineReader::Status status = lines->Next(&text);
      if (status == LineReader::kLine) {
        One(text, lines->line_number());
      } else if (status == LineReader::kTooLong) {
        Bad(lines->line_number(),
            "record longer than " +
                std::to_string(quarn_tool::kMaxRecordBytes) + " bytes");
      } else {
        if (status == LineReader::kError) {
          fprintf(stderr, "quarn: %s: read failed after line %lld: %s\n",
                  name_.c_str(), static_cast<long long>(lines->line_number()),
                  strerror(lines->error()));
          tally_.read_failed = true;
        }
        break;
      }
      if (tally_.unusable || tally_.strict_stop || out_->failed() ||
          quarn_tool::StopSignals::requested()) {
        break;
      }
      progress->Tick(tally_.classified, lines->bytes_read());
    }
    table_.Flush();
  }

  const Tally& tally() const { return tally_; }

 private:
  void One(std::string_view text, int64_t line) {
    switch (reader_.Feed(text, line, &record_, &error_)) {
      case RecordReader::kSkip:
        return;
      case RecordReader::kError:
        tally_.unusable = reader_.unusable();
        Bad(line, error_);
        return;
      case RecordReader::kRecord:
        break;
    }
    classifier_.Classify(record_, options_.explain, &result_);
    stage_->Decide(result_.facts, options_.explain, &verdict_);
    if (options_.table) {
      quarn_tool::ClassificationCells(record_, result_, &verdict_, &cache_,
                                      &cells_);
      if (options_.explain) {
        quarn_tool::ClassificationNotes(result_, &verdict_, &cache_, &notes_);
      }
      table_.AddRow(cells_, notes_);
    } else {
      quarn_tool::WriteClassificationJson(record_, result_, &verdict_,
                                          &verdicts_, options_.explain, &json_);
      out_->Append(json_.str());
      out_->Append('\n');
      out_->EndRecord();
    }
    ++tally_.classified;
  }

  void Bad(int64_t line, const std::string& why) {
    ++tally_.bad;
    fprintf(stderr, "quarn: %s:%lld: %s\n", name_.c_str(),
            static_cast<long long>(line), why.c_str());
    if (options_.strict) tally_.strict_stop = true;
  }

  const Options& options_;
  const std::string name_;
  quarn_tool::ConnectionClassifier classifier_;
  quarn_tool::PolicyStage* stage_;
  quarn_tool::OutputSink* out_;
  RecordReader reader_;
  quarn_tool::Utf8Cache cache_;
  quarn_tool::JsonWriter json_;
  quarn_tool::TableWriter table_;
  quarn_tool::ConnectionRecord record_;
  quarn_tool::Classification result_;
  quarn_tool::ConnectionVerdict verdict_;
  quarn_tool::VerdictJsonWriter verdicts_;
  std::vector<std::string> cells_;
  std::vector<std::string> notes_;
  std::string error_;
  Tally tally_;
};

// The exit status of a finished run; see kExitStatusHelp.
int Status(const Tally& tally, bool config_problems, int output_status) {
  if (quarn_tool::StopSignals::requested()) {
    return 128 + quarn_tool::StopSignals::signal();
  }
  if (output_status != quarn_tool::kExitOk) return output_status;
  if (tally.unusable) return quarn_tool::kExitNothingDone;
  if (tally.read_failed && tally.classified == 0 && tally.bad == 0) {
    return quarn_tool::kExitNothingDone;
  }
  if (tally.bad > 0 || tally.read_failed || config_problems) {
    return quarn_tool::kExitSomeBad;
  }
  return quarn_tool::kExitOk;
}

// Loads the connection policy into *stage and names each of the module's
// messages on standard error. False when there was any: a skipped entry or
// a policy that cannot be used (the verdicts then carry the audit decision
// alone).
bool LoadPolicy(const std::string& path, quarn_tool::PolicyStage* stage) {
  std::vector<std::string> messages;
  const bool ready = stage->Load(path, quarn_tool::kConfigAll, &messages);
  for (const std::string& message : messages) {
    fprintf(stderr, "quarn: %s\n", quarn_tool::ToTerminal(message).c_str());
  }
  if (!ready) {
    fprintf(stderr,
            "quarn: warning: %s: the policy cannot be used; verdicts carry "
            "the audit decision alone\n",
            stage->path().c_str());
  }
  return ready && messages.empty();
}

int RunClassify(const std::vector<std::string>& args) {
  Options options;
  const int rc = ParseArgs(args, &options);
  if (rc >= 0) return rc;

  const int in = OpenInput(options.input);
  if (in < 0) return quarn_tool::kExitNothingDone;
  quarn_tool::LibrarySession session;
  quarn_tool::GatewayConfig config;
  if (!quarn_tool::LoadAndReport(options.config_dir, quarn_tool::kConfigAll,
                                 &config)) {
    if (in != STDIN_FILENO) close(in);
    return quarn_tool::kExitNothingDone;
  }

  quarn_tool::PolicyStage stage(&config);
  const bool policy_problems = !LoadPolicy(options.policy, &stage);

  quarn_tool::StopSignals::Install();
  LineReader lines(in, quarn_tool::kMaxRecordBytes, true);
  Progress progress(in, options.input.size() > 0 && isatty(STDERR_FILENO));
  Run run(options, &config, &stage, quarn_tool::StandardOutput());
  const double start = Now();
  run.All(&lines, &progress);
  progress.Done();
  if (in != STDIN_FILENO) close(in);
  const int output_status = quarn_tool::FinishOutput(quarn_tool::kExitOk);
  const double seconds = Now() - start;

  const Tally& tally = run.tally();
  const char* how = "";
  if (quarn_tool::StopSignals::requested()) {
    how = " (stopped by a signal)";
  } else if (output_status != quarn_tool::kExitOk) {
    how = " (stopped: output failed)";
  } else if (tally.strict_stop) {
    how = " (stopped at the first bad record: --strict)";
  } else if (tally.unusable) {
    how = " (stopped: no usable header line)";
  }
  if (tally.classified == 0 && tally.bad == 0 && !tally.read_failed &&
      !quarn_tool::StopSignals::requested()) {
    fprintf(stderr, "quarn: %s: no connection records in the input\n",
            options.input.empty() ? "<stdin>" : options.input.c_str());
  }
  fprintf(stderr,
          "quarn: %lld connections classified, %lld bad records, in %.3f s "
          "(%.0f connections/s)%s\n",
          static_cast<long long>(tally.classified),
          static_cast<long long>(tally.bad), seconds,
          seconds > 0 ? tally.classified / seconds : 0.0, how);
  return Status(tally, !config.problems().empty() || policy_problems,
                output_status);
}

}  // namespace

QUARN_COMMAND(classify, "[--explain] [--strict] [--policy FILE] [FILE]",
              "every decision the gateway makes for each connection of a CSV "
              "or JSON Lines input: direction, department, internet areas, "
              "application, URL categories, objects, employee and account, "
              "and the verdict of the connection policy and the audit",
              kOptions, kDetails, RunClassify);
