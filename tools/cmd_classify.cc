// quarn classify: what the gateway decides for each connection of an input
// file, end to end, from one configuration directory (by default "gateway"
// in the module directory): client end and data direction, the inside
// end's department, the outside end's internet areas, the application, the
// URL categories and white-list verdict, the IP and time objects, the
// employee and account behind the inside end, and finally the verdict: what
// the connection policy, the audit filter policy and the control status
// make of those facts.
//
// Input is CSV with a header line or JSON Lines, read one line at a time
// so memory stays constant, or a packet capture (pcap or pcapng, told by
// its first bytes) whose flows are classified as they end; from a file or
// standard input. Output is one JSON object per connection or flow (or a
// table row with --format table).
// SIGINT and SIGTERM stop it after the connection in hand, with everything
// before written out and the summary printed.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <stdint.h>

#include <string>
#include <vector>

#include "address/CMiniDnsTable.h"
#include "tools/CaptureRun.h"
#include "tools/Command.h"
#include "tools/capture/CaptureReader.h"
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
    "  --idle-timeout SECONDS\n"
    "                 captures: a flow with no packet for this long (in\n"
    "                 capture time) ends (default 300)\n"
    "  --max-flows N  captures: most flows held at once; a new flow then\n"
    "                 ends the one idle longest (default 65536)\n"
    "  FILE           CSV with a header line, JSON Lines, or a pcap or\n"
    "                 pcapng capture; standard input when absent or \"-\"\n";

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
    "skipped; a summary line ends the run.\n"
    "\n"
    "A capture (Ethernet with VLAN tags, Linux cooked v1/v2 or raw IPv4\n"
    "links) is read packet by packet. IPv4 TCP and UDP packets make flows\n"
    "(both directions of a 5-tuple; the first packet's sender, or the SYN's,\n"
    "is the first end); each flow, when it closes, idles out, is evicted or\n"
    "the capture ends, is classified like a record: its first packet's time\n"
    "(local time) is the connection time, \"line\" is the flow's number, the\n"
    "inside end's MAC comes from the link header, and the URL is the first\n"
    "HTTP request's Host and path, else the host named by a TLS ClientHello\n"
    "or an earlier DNS answer. Its object adds \"flow\": packets and bytes\n"
    "[first, second], first and last time, tcp_flags (FSRPAUEC), end\n"
    "(closed, idle, evicted, capture end), name_source (http, sni, dns or\n"
    "none), host and inside_mac; --explain adds name_evidence. Other packets\n"
    "(IPv6, ARP, ICMP, fragments, other links) are counted in the summary;\n"
    "truncated packets, bad headers and a file that breaks off are named\n"
    "(\"FILE: packet N: ...\") and counted, and make the exit status 1.\n";

// Rows of the table written at once, each batch fitted to its own cells.
const size_t kTableBatchRows = 1000;

struct Options {
  std::string config_dir;
  bool explain = false;
  bool strict = false;
  bool table = false;
  std::string policy;  // empty: the configuration directory's
  uint32_t idle_timeout = quarn_tool::CaptureOptions().idle_timeout_seconds;
  uint32_t max_flows = quarn_tool::CaptureOptions().max_flows;
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

// A whole number from 1 up for the option `name`, when given; false after
// naming a bad one.
bool ParseCount(const quarn_tool::CommandLine& line, const char* name,
                uint32_t* value) {
  if (!line.Given(name)) return true;
  const std::string text = line.Value(name, "");
  char* end = nullptr;
  errno = 0;
  const unsigned long long n = strtoull(text.c_str(), &end, 10);
  if (text.empty() || text[0] < '0' || text[0] > '9' || *end != '\0' ||
      errno != 0 || n == 0 || n > UINT32_MAX) {
    quarn_tool::UsageError("classify", std::string(name) +
                                           ": a whole number from 1 to " +
                                           std::to_string(UINT32_MAX));
    return false;
  }
  *value = static_cast<uint32_t>(n);
  return true;
}

// -1 to go on, else the exit status.
int ParseArgs(const std::vector<std::string>& args, Options* options) {
  quarn_tool::CommandLine line(quarn_tool::Format::kJson,
                               {{"--explain", false},
                                {"--strict", false},
                                {"--policy", true},
                                {"--idle-timeout", true},
                                {"--max-flows", true}});
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
  if (!ParseCount(line, "--idle-timeout", &options->idle_timeout) ||
      !ParseCount(line, "--max-flows", &options->max_flows)) {
    return quarn_tool::kExitNothingDone;
  }
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

// Reads up to kCaptureMagicBytes from `fd` into `magic` (fewer at the end
// of the input or on a stop request). False, with errno kept, when a read
// fails.
bool Peek(int fd, unsigned char* magic, size_t* got) {
  *got = 0;
  while (*got < quarn_tool::kCaptureMagicBytes) {
    if (!quarn_tool::StopSignals::WaitReadable(fd)) return true;
    const ssize_t n =
        read(fd, magic + *got, quarn_tool::kCaptureMagicBytes - *got);
    if (n > 0) {
      *got += static_cast<size_t>(n);
    } else if (n == 0) {
      return true;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

// The summary of a capture on standard error, and the exit status.
int CaptureStatus(const quarn_tool::CaptureRun& run, bool read,
                  bool config_problems, int output_status, double seconds) {
  const quarn_tool::CaptureCounts& n = run.counts();
  const bool stopped = quarn_tool::StopSignals::requested();
  const char* how = stopped ? " (stopped by a signal)"
                    : output_status != quarn_tool::kExitOk
                        ? " (stopped: output failed)"
                        : "";
  auto u = [](uint64_t v) { return static_cast<unsigned long long>(v); };
  fprintf(stderr,
          "quarn: %llu flows classified from %llu packets: %llu IPv4 TCP, "
          "%llu IPv4 UDP, %llu IPv6, %llu ARP, %llu ICMP, %llu fragments, "
          "%llu other, %llu truncated, %llu bad header%s; names: %llu http, "
          "%llu sni, %llu dns; in %.3f s (%.0f packets/s)%s\n",
          u(run.classified()), u(n.packets), u(n.ipv4_tcp), u(n.ipv4_udp),
          u(n.ipv6), u(n.arp), u(n.icmp), u(n.fragments),
          u(n.other_ipv4 + n.other_link), u(n.truncated), u(n.bad_header),
          n.read_errors > 0 ? "; the file broke off" : "", u(n.names_http),
          u(n.names_sni), u(n.names_dns), seconds,
          seconds > 0 ? n.packets / seconds : 0.0, how);
  if (stopped) return 128 + quarn_tool::StopSignals::signal();
  if (output_status != quarn_tool::kExitOk) return output_status;
  if (!read) return quarn_tool::kExitNothingDone;
  if (n.truncated > 0 || n.bad_header > 0 || n.read_errors > 0 ||
      config_problems) {
    return quarn_tool::kExitSomeBad;
  }
  return quarn_tool::kExitOk;
}

// Classifies the flows of the capture on `in` (whose first bytes, already
// read, are `magic`). Names DNS answers into the process-wide DNS table,
// as a gateway process does. Returns the exit status.
int ClassifyCapture(const Options& options, int in, const unsigned char* magic,
                    size_t got, quarn_tool::GatewayConfig* config,
                    quarn_tool::PolicyStage* stage, bool config_problems) {
  const std::string name = options.input.empty() ? "<stdin>" : options.input;
  FILE* stream = quarn_tool::OpenPrefixedStream(in, magic, got);
  if (stream == nullptr) {
    fprintf(stderr, "quarn: %s: %s\n", name.c_str(), strerror(errno));
    if (in != STDIN_FILENO) close(in);
    return quarn_tool::kExitNothingDone;
  }
  // libpcap reads each record with two small reads: one large buffer saves
  // most of the calls. It outlives the stream, which the reader closes.
  std::vector<char> buffer(size_t{1} << 20);
  setvbuf(stream, buffer.data(), _IOFBF, buffer.size());
  quarn_tool::CaptureOptions capture;
  capture.idle_timeout_seconds = options.idle_timeout;
  capture.max_flows = options.max_flows;
  capture.stop_requested = &quarn_tool::StopSignals::requested;
  CMiniDnsTable* dns = CMiniDnsTable_Singleton::instance();
  dns->Create();
  capture.dns_table = dns;
  quarn_tool::ConnectionClassifier classifier(config);
  quarn_tool::CaptureRun run(&classifier, stage, quarn_tool::StandardOutput(),
                             options.explain, options.table, kTableBatchRows);
  std::string error;
  const double start = Now();
  const bool read = run.Read(stream, name, capture, &error);
  if (!read) {
    fclose(stream);
    fprintf(stderr, "quarn: %s: not a readable capture: %s\n", name.c_str(),
            error.c_str());
  }
  dns->Destory();
  const int output_status = quarn_tool::FinishOutput(quarn_tool::kExitOk);
  return CaptureStatus(run, read, config_problems, output_status,
                       Now() - start);
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
  unsigned char magic[quarn_tool::kCaptureMagicBytes];
  size_t got = 0;
  if (!Peek(in, magic, &got)) {
    fprintf(stderr, "quarn: %s: read failed after line 0: %s\n",
            options.input.empty() ? "<stdin>" : options.input.c_str(),
            strerror(errno));
    if (in != STDIN_FILENO) close(in);
    return quarn_tool::kExitNothingDone;
  }
  if (quarn_tool::IsCaptureMagic(magic, got)) {
    return ClassifyCapture(options, in, magic, got, &config, &stage,
                           !config.problems().empty() || policy_problems);
  }
  LineReader lines(in, quarn_tool::kMaxRecordBytes, true);
  lines.Preload(reinterpret_cast<const char*>(magic), got);
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

QUARN_COMMAND(classify,
              "[--explain] [--strict] [--policy FILE] [--idle-timeout "
              "SECONDS] [--max-flows N] [FILE]",
              "every decision the gateway makes for each connection of a CSV "
              "or JSON Lines input, or each flow of a pcap or pcapng capture: "
              "direction, department, internet areas, application, URL "
              "categories, objects, employee and account, and the verdict of "
              "the connection policy and the audit",
              kOptions, kDetails, RunClassify);
