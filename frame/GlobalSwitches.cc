#include "frame/GlobalSwitches.h"

#include "frame/ACE_Memmap_Log_Msg.h"

int32_t g_nAuditSavelevel = 2;
int32_t g_nHttpAuditType = 1;
uint32_t g_live_log_level = 0xFFFFFFFFu;
int32_t g_save_html_only_have_title = 1;
bool g_bDisnableActionStat = false;
bool g_bDisnableAllWarninglevel = false;
bool g_bDisnableAllInterrupt = false;
bool g_bAuditWebLogon = false;
char* g_str_cur_step = nullptr;
ACE_Memmap_Log_Msg* g_pACE_Memmap_Log_Msg = nullptr;
