// The log sink a host may hand the library through g_pACE_Memmap_Log_Msg.
// The library never writes to it; it only deletes it at the last
// quarn_common_fini(), through the virtual destructor, so a host passes an
// object of its own class derived from this one.

#ifndef QUARN_FRAME_ACE_MEMMAP_LOG_MSG_H_
#define QUARN_FRAME_ACE_MEMMAP_LOG_MSG_H_

#include "quarn_common/base/Export.h"

class QUARN_EXPORT ACE_Memmap_Log_Msg {
 public:
  ACE_Memmap_Log_Msg() {}
  virtual ~ACE_Memmap_Log_Msg() {}

  ACE_Memmap_Log_Msg(const ACE_Memmap_Log_Msg&) = delete;
  ACE_Memmap_Log_Msg& operator=(const ACE_Memmap_Log_Msg&) = delete;
};

#endif  // QUARN_FRAME_ACE_MEMMAP_LOG_MSG_H_
