#include "frame/quarn_common_frame.h"
#include "frame/internal/FrameSlots.h"

#include "address/InternetRange.h"
#include "appid/CAppSubtypeReader.h"
#include "base/OrvaInit.h"
#include "frame/ACE_Memmap_Log_Msg.h"
#include "frame/CFileTypeTable.h"
#include "frame/GlobalSwitches.h"
#include "objects/CKeyTypeTable.h"

namespace {

int g_init_count = 0;
CFileTypeTable* g_file_type_table = nullptr;
CKeyTypeTable* g_key_type_tables[quarn_frame::kKeyTypeTableSlots] = {};

void ReleaseFileTypeTable() {
  if (g_file_type_table == nullptr) return;
  g_file_type_table->Clear();
  delete g_file_type_table;
  g_file_type_table = nullptr;
}

void ReleaseKeyTypeTables() {
  for (CKeyTypeTable*& table : g_key_type_tables) {
    if (table == nullptr) continue;
    table->Destroy();
    delete table;
    table = nullptr;
  }
}

void ReleaseLogSink() {
  delete g_pACE_Memmap_Log_Msg;
  g_pACE_Memmap_Log_Msg = nullptr;
}

}  // namespace

void quarn_common_init(int, unsigned int) {
  if (++g_init_count != 1) return;
  Orva::init(0);
  LoadInternetRangeTypeLevel2();
  CAppSubtypeReader::ReadAppTypeTree();
}

void quarn_common_fini() {
  if (--g_init_count > 0) return;
  // Release order matters to hosts that watch memory: keep it fixed.
  ReleaseFileTypeTable();
  ReleaseKeyTypeTables();
  UnLoadInternetRangeTypeCombined();
  UnLoadInternetRangeTypeLevel2();
  ReleaseLogSink();
  CAppSubtypeReader::CloseAppTypeTree();
  Orva::fini(0);
}

int MyGetFileType(const char* name, bool flag) {
  return g_file_type_table == nullptr ? 0 : g_file_type_table->Find(name, flag);
}

namespace quarn_frame {

int InitCount() { return g_init_count; }

CFileTypeTable*& FileTypeTableSlot() { return g_file_type_table; }

CKeyTypeTable*& KeyTypeTableSlot(int index) { return g_key_type_tables[index]; }

}  // namespace quarn_frame
