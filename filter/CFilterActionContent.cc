#include "filter/CFilterActionContent.h"

CFilterActionContent::CFilterActionContent()
    : key(~uint64_t(0)),
      interrupt_code(~uint64_t(0)),
      aux_word(~uint32_t(0)),
      save_level(~uint32_t(0)),
      need_interrupt(false),
      need_ignore(false),
      pri_group(-1),
      continue_mode(MODE_CONTINUE) {
  for (uint32_t& word : flags) word = ~uint32_t(0);
}

int CFilterActionContent::IsEmpty() const {
  for (uint32_t word : flags) {
    if (word != ~uint32_t(0)) return 0;
  }
  return key == ~uint64_t(0) && interrupt_code == ~uint64_t(0) &&
                 save_level == ~uint32_t(0) && pri_group == -1
             ? 1
             : 0;
}
