// A host that includes one header by its installed path rather than the
// umbrella header, and checks that it reaches the library's process-wide
// instance, not a copy of its own.
#include <quarn_common/objects/CIPObjMgr.h>
#include <stdio.h>

int main() {
  CIPObjMgr* wrapped = CIPObjMgr_Singleton::instance();
  CIPObjMgr* direct = ACE_Singleton<CIPObjMgr, ACE_Null_Mutex>::instance();
  if (wrapped == nullptr || wrapped != direct) {
    fprintf(stderr, "two process-wide instances of CIPObjMgr\n");
    return 1;
  }
  return 0;
}
