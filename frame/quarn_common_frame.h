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

class CFileTypeTable;
class CKeyTypeTable;

// Starts the library. Both arguments are accepted and not used.
void quarn_common_init(int, unsigned int);
// Stops the library.
void quarn_common_fini();

// The answer of the file-type table for `name`, or 0 when no table is
// present (the library never creates one).
int MyGetFileType(const char* name, bool flag);

namespace quarn_frame {

// The init count: calls of quarn_common_init() minus quarn_common_fini().
int InitCount();

// The owned file-type table slot. A table stored here is cleared and
// deleted by the last fini.
CFileTypeTable*& FileTypeTableSlot();

// The three owned keyword match table slots, `index` 0 to 2. A table
// stored here is cleared and deleted by the last fini.
CKeyTypeTable*& KeyTypeTableSlot(int index);
const int kKeyTypeTableSlots = 3;

}  // namespace quarn_frame

#endif  // QUARN_FRAME_QUARN_COMMON_FRAME_H_
