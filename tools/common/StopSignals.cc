#include "tools/common/StopSignals.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <string.h>

namespace quarn_tool {

namespace {

volatile sig_atomic_t g_stop_signal = 0;
bool g_installed = false;

void Note(int number) { g_stop_signal = number; }

void Catch(int number) {
  struct sigaction old;
  if (sigaction(number, nullptr, &old) != 0 || old.sa_handler == SIG_IGN) {
    return;
  }
  struct sigaction action;
  memset(&action, 0, sizeof(action));
  action.sa_handler = Note;
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a read waiting for input returns, and the reader looks
  // at the request.
  action.sa_flags = 0;
  sigaction(number, &action, nullptr);
}

}  // namespace

void StopSignals::Install() {
  if (g_installed) return;
  g_installed = true;
  Catch(SIGINT);
  Catch(SIGTERM);
}

int StopSignals::signal() { return g_stop_signal; }

bool StopSignals::WaitReadable(int fd) {
  if (!g_installed) return true;
  // With both signals blocked the request is tested; ppoll() then unblocks
  // them while it waits, so one arriving in between wakes it at once.
  sigset_t stops;
  sigset_t old;
  sigemptyset(&stops);
  sigaddset(&stops, SIGINT);
  sigaddset(&stops, SIGTERM);
  sigprocmask(SIG_BLOCK, &stops, &old);
  struct pollfd poll_fd = {fd, POLLIN, 0};
  while (g_stop_signal == 0) {
    const int ready = ppoll(&poll_fd, 1, nullptr, &old);
    if (ready > 0 || (ready < 0 && errno != EINTR)) break;
  }
  sigprocmask(SIG_SETMASK, &old, nullptr);
  return g_stop_signal == 0;
}

}  // namespace quarn_tool
