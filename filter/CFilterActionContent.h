// What a filter does when it passes: the save level, whether to interrupt
// the connection (and with which code), whether to ignore it, whether it
// raises an event, its priority group and whether evaluation stops at it.
// Fields the library does not interpret (key, aux_word, text, subtypes,
// flags[1..3]) are stored and copied for the gateway's modules.

#ifndef QUARN_FILTER_CFILTERACTIONCONTENT_H_
#define QUARN_FILTER_CFILTERACTIONCONTENT_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <set>
#include <string>

class QUARN_EXPORT CFilterActionContent {
 public:
  // Values of continue_mode.
  static constexpr uint32_t MODE_STOP = 1;  // evaluation stops at this filter
  static constexpr uint32_t MODE_CONTINUE = 2;  // later filters still count

  CFilterActionContent();

  // 1 when key, all four flags words, interrupt_code, save_level and
  // pri_group still hold their all-ones start values, else 0. The other
  // fields do not count.
  int IsEmpty() const;

  uint64_t key;
  // flags[0] non-zero: the filter raises an event when it passes.
  uint32_t flags[4];
  uint64_t interrupt_code;  // handed out when need_interrupt is set
  uint32_t aux_word;
  uint32_t save_level;
  bool need_interrupt;
  bool need_ignore;
  int32_t pri_group;  // 1 to 6: priority group; anything else: none
  std::string text;
  std::set<uint32_t> subtypes;
  uint32_t continue_mode;  // MODE_STOP or MODE_CONTINUE
};

#endif  // QUARN_FILTER_CFILTERACTIONCONTENT_H_
