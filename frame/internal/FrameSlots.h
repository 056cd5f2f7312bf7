// The library's own view of the state the frame keeps between init and
// fini: the init count and the owned table slots. Not for hosts (nothing
// of the library fills the slots; the tests do).

#ifndef QUARN_FRAME_INTERNAL_FRAMESLOTS_H_
#define QUARN_FRAME_INTERNAL_FRAMESLOTS_H_

class CFileTypeTable;
class CKeyTypeTable;

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

#endif  // QUARN_FRAME_INTERNAL_FRAMESLOTS_H_
