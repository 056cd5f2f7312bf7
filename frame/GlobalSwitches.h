// Process-wide switches a host sets; the library only reads them. Their
// defaults equal the matching control status settings ("audit_level",
// "http_audit_type", "save_html_only_have_title").

#ifndef QUARN_FRAME_GLOBALSWITCHES_H_
#define QUARN_FRAME_GLOBALSWITCHES_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

class ACE_Memmap_Log_Msg;

// Audit save level; when 0 a filter result's maximum save level is 0.
// Default 2.
extern QUARN_EXPORT int32_t g_nAuditSavelevel;
// Default 1. Not read by the library.
extern QUARN_EXPORT int32_t g_nHttpAuditType;
// Default 0xFFFFFFFF. Not read by the library.
extern QUARN_EXPORT uint32_t g_live_log_level;
// Default 1. Not read by the library.
extern QUARN_EXPORT int32_t g_save_html_only_have_title;
// Default false. Not read by the library.
extern QUARN_EXPORT bool g_bDisnableActionStat;
// When true, a filter result reports no event filters. Default false.
extern QUARN_EXPORT bool g_bDisnableAllWarninglevel;
// When true, a filter result never asks to interrupt. Default false.
extern QUARN_EXPORT bool g_bDisnableAllInterrupt;
// Default false. Not read by the library.
extern QUARN_EXPORT bool g_bAuditWebLogon;
// Default null. Not read by the library.
extern QUARN_EXPORT char* g_str_cur_step;
// A log sink the host may set; the last quarn_common_fini() deletes it and
// sets this back to null. Default null.
extern QUARN_EXPORT ACE_Memmap_Log_Msg* g_pACE_Memmap_Log_Msg;

#endif  // QUARN_FRAME_GLOBALSWITCHES_H_
