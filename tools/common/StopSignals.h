// SIGINT and SIGTERM as a request to stop: the command finishes what it is
// doing, writes everything out and says where it stopped, instead of dying
// with half a line written.

#ifndef QUARN_TOOLS_COMMON_STOPSIGNALS_H_
#define QUARN_TOOLS_COMMON_STOPSIGNALS_H_

namespace quarn_tool {

class StopSignals {
 public:
  // Catches SIGINT and SIGTERM from now on (one that was ignored when the
  // process started, as under nohup, stays ignored). The handlers only
  // note the signal; they stay installed until the process ends.
  static void Install();

  // The number of the signal that asked to stop, 0 while none has.
  static int signal();
  static bool requested() { return signal() != 0; }

  // Waits until `fd` has something to read (or its end, or an error) or a
  // stop is requested, without the race between a test of the request and
  // a wait that would miss it. False when a stop was requested.
  static bool WaitReadable(int fd);
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_STOPSIGNALS_H_
