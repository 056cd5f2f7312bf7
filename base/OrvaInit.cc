#include "base/OrvaInit.h"

#include <ace/Object_Manager.h>

namespace Orva {
namespace {
int g_start_count = 0;
}  // namespace

int init(int /*flags*/) {
  // ACE's object manager must exist before the first process-wide instance
  // registers for release at exit. It is deliberately not shut down by
  // fini(): the instances outlive the library's stop and go at process exit.
  if (++g_start_count == 1) ACE_Object_Manager::instance();
  return 0;
}

int fini(int /*flags*/) {
  if (g_start_count > 0) --g_start_count;
  return 0;
}

bool is_started() { return g_start_count > 0; }

}  // namespace Orva
