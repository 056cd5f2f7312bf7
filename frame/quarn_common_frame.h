// Start and stop of the library, and the tables the library owns for the
// whole process between them.
//
// A host calls quarn_common_init() before anything else and
// quarn_common_fini() once per init, last. The pair is counted with a plain
// integer: call both from one thread. The first init loads the internet
// range tables ("ipt1.dat", "ipt2.dat") and the protocol tree
// ("pat/proto_tree.xml") from the module directory; the last fini releases
// them. Process-wide configuration instances (the *_Singleton wrappers) are
// not touched by either: they live until process exit or their close().

#ifndef QUARN_FRAME_QUARN_COMMON_FRAME_H_
#define QUARN_FRAME_QUARN_COMMON_FRAME_H_

#include "quarn_common/base/Export.h"

// Starts the library. Both arguments are accepted and not used.
QUARN_EXPORT void quarn_common_init(int, unsigned int);
// Stops the library.
QUARN_EXPORT void quarn_common_fini();

// The answer of the file-type table for `name`, or 0 when no table is
// present (the library never creates one).
QUARN_EXPORT int MyGetFileType(const char* name, bool flag);

#endif  // QUARN_FRAME_QUARN_COMMON_FRAME_H_
