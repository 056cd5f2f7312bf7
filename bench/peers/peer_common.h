// Shared pieces of the peer benchmarks: timing, number formatting and the
// table row every peer program prints.
//
// Each program runs our library and a peer library over the same data,
// stops with a message when their answers differ, and then prints one
// markdown row per measured case:
//
//   | hot path | data | ours | peer and version | peer's | ratio |
//
// where ratio = peer time / our time, so a ratio above 1 means that the
// library is faster. Each side is timed with the steady clock in samples
// of about a millisecond (thousands of operations for the lookups), the
// two sides taking turns; its time is its fastest sample, the one least
// disturbed by other work on a shared machine. The run script pins the
// program to one core.

#ifndef QUARN_BENCH_PEERS_PEER_COMMON_H_
#define QUARN_BENCH_PEERS_PEER_COMMON_H_

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <string>

namespace peer_bench {

// Prints a message built like printf to standard error and aborts. Used
// when the two sides disagree, or when the data cannot be prepared.
[[noreturn]] inline void Fail(const char* format, ...) {
  va_list args;
  va_start(args, format);
  fputs("peer benchmark: ", stderr);
  vfprintf(stderr, format, args);
  fputc('\n', stderr);
  va_end(args);
  abort();
}

// Prints a progress note to standard error (never into the table).
inline void Note(const char* format, ...) {
  va_list args;
  va_start(args, format);
  vfprintf(stderr, format, args);
  fputc('\n', stderr);
  va_end(args);
}

// `n` with "," between groups of three digits: 400000 -> "400,000".
inline std::string Thousands(uint64_t n) {
  std::string digits = std::to_string(n);
  std::string out;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

// A duration in nanoseconds, in the unit that keeps it readable, with
// three significant digits at most: "35 ns", "4.2 ns", "812 µs", "1.31 ms".
inline std::string FormatTime(double ns) {
  const char* unit = "ns";
  double value = ns;
  if (value >= 1e6) {
    value /= 1e6;
    unit = "ms";
  } else if (value >= 1e3) {
    value /= 1e3;
    unit = "µs";
  }
  char text[32];
  if (value >= 100) {
    snprintf(text, sizeof(text), "%.0f %s", value, unit);
  } else if (value >= 10) {
    snprintf(text, sizeof(text), "%.1f %s", value, unit);
  } else {
    snprintf(text, sizeof(text), "%.2f %s", value, unit);
  }
  return text;
}

// Prints one table row to standard output.
inline void PrintRow(const std::string& hot_path, const std::string& data,
                     double ours_ns, const std::string& peer, double peer_ns) {
  printf("| %s | %s | %s | %s | %s | %.2f |\n", hot_path.c_str(), data.c_str(),
         FormatTime(ours_ns).c_str(), peer.c_str(), FormatTime(peer_ns).c_str(),
         peer_ns / ours_ns);
  fflush(stdout);
}

// Keeps results alive so that the compiler cannot drop the work that
// produced them.
inline void Keep(uint64_t value) {
  static volatile uint64_t sink;
  sink = sink + value;
}

// Nanoseconds per operation of `run(begin, end)`, a callable that performs
// the operations numbered [begin, end) (probes begin to end - 1, say) and
// returns a checksum.
template <typename Run>
double NsPerOp(Run& run, size_t begin, size_t end) {
  const auto start = std::chrono::steady_clock::now();
  Keep(run(begin, end));
  const auto stop = std::chrono::steady_clock::now();
  const double ns =
      std::chrono::duration<double, std::nano>(stop - start).count();
  return ns / static_cast<double>(end - begin);
}

// Times `run` in samples of about one millisecond, taking consecutive
// windows of the `ops` operations (and wrapping), for about `seconds`;
// returns the fastest sample's time per operation. Other programs on a
// shared core take it for milliseconds at a time, so long samples almost
// never run undisturbed while some short ones do.
template <typename Run>
double FastestNsPerOp(Run& run, size_t ops, double seconds, size_t* next) {
  // The window: as many operations as a first short sample says fit in a
  // millisecond. That sample repeats the same operations every turn, with
  // warm caches, so it does not count.
  const double one = NsPerOp(run, 0, std::min<size_t>(ops, 1024));
  const size_t window = static_cast<size_t>(
      std::min(std::max(1e6 / std::max(one, 0.01), 1.0), double(ops)));
  double best = 1e300;
  const auto stop =
      std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  do {
    if (*next + window > ops) *next = 0;
    best = std::min(best, NsPerOp(run, *next, *next + window));
    *next += window;
  } while (std::chrono::steady_clock::now() < stop);
  return best;
}

// Time per operation of ours and of the peer's: the fastest sample of
// each, in `rounds` turns (ours, peer, ours, peer, ...) so that a lasting
// disturbance of the machine hits both alike. `ours` and `peer` are
// callables as for NsPerOp over the same `ops` operations.
struct Timing {
  double ours_ns;
  double peer_ns;
};
template <typename Ours, typename Peer>
Timing Compare(Ours ours, Peer peer, size_t ops, int rounds = 8,
               double seconds_per_turn = 0.08) {
  Timing t{1e300, 1e300};
  size_t ours_next = 0, peer_next = 0;
  for (int i = 0; i < rounds; ++i) {
    t.ours_ns = std::min(
        t.ours_ns, FastestNsPerOp(ours, ops, seconds_per_turn, &ours_next));
    t.peer_ns = std::min(
        t.peer_ns, FastestNsPerOp(peer, ops, seconds_per_turn, &peer_next));
  }
  return t;
}

}  // namespace peer_bench

#endif  // QUARN_BENCH_PEERS_PEER_COMMON_H_
