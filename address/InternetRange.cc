#include "address/InternetRange.h"

#include "base/internal/BuiltinTexts.h"

#include "address/AddressPredicates.h"
#include "address/internal/InternetRange.h"
#include "base/OrvaPath.h"

namespace quarn_internet_range {

CInternetIPRangeTable*& Level1Slot() {
  static CInternetIPRangeTable* table = nullptr;
  return table;
}
CInternetIPRangeTable*& Level2Slot() {
  static CInternetIPRangeTable* table = nullptr;
  return table;
}
CInternetIPRangeTable*& CombinedSlot() {
  static CInternetIPRangeTable* table = nullptr;
  return table;
}

}  // namespace quarn_internet_range

namespace {

using quarn_internet_range::CombinedSlot;
using quarn_internet_range::Level1Slot;
using quarn_internet_range::Level2Slot;

// Built once, never freed, so pointers to them stay good at process exit.
const INTERNET_IP_DESC* FixedDesc(uint64_t id, const char* text) {
  INTERNET_IP_DESC* d = new INTERNET_IP_DESC;
  d->area_id = id;
  d->desc = text;
  return d;
}

const INTERNET_IP_DESC* UnknownDesc() {
  static const INTERNET_IP_DESC* d = FixedDesc(kAreaUnknown, "unkonwn");
  return d;
}
const INTERNET_IP_DESC* RefinedUnknownDesc() {
  static const INTERNET_IP_DESC* d = FixedDesc(kAreaRefinedUnknown, "unkonwn");
  return d;
}
const INTERNET_IP_DESC* IntranetDesc() {
  static const INTERNET_IP_DESC* d =
      FixedDesc(kAreaIntranet, quarn_texts::kAreaIntranetName);
  return d;
}
const INTERNET_IP_DESC* DomesticDesc() {
  static const INTERNET_IP_DESC* d =
      FixedDesc(kAreaDomestic, quarn_texts::kAreaDomesticName);
  return d;
}
const INTERNET_IP_DESC* ForeignDesc() {
  static const INTERNET_IP_DESC* d =
      FixedDesc(kAreaForeign, quarn_texts::kAreaForeignName);
  return d;
}

void Release(CInternetIPRangeTable*& slot) {
  delete slot;
  slot = nullptr;
}

CInternetIPRangeTable* LoadFromModuleDir(const char* name) {
  char path[260];
  if (!Orva::GetModuleFullFileName(path, sizeof(path), name)) return nullptr;
  CInternetIPRangeTable* table = new CInternetIPRangeTable;
  if (!table->Load_dat(path, 1, nullptr)) {
    delete table;
    return nullptr;
  }
  return table;
}

int AreaFirst(const CInternetIPRangeTable* table) {
  return table == nullptr ? -1 : table->GetArea_First();
}

const INTERNET_IP_DESC* AreaNext(const CInternetIPRangeTable* table,
                                 int& position) {
  if (table == nullptr) {
    position = -1;
    return nullptr;
  }
  return table->GetArea_Next(position);
}

}  // namespace

int LoadInternetRangeTypeLevel2() {
  UnLoadInternetRangeTypeLevel2();
  Level1Slot() = LoadFromModuleDir("ipt1.dat");
  Level2Slot() = LoadFromModuleDir("ipt2.dat");
  return 1;
}

void UnLoadInternetRangeTypeLevel2() {
  Release(Level1Slot());
  Release(Level2Slot());
}

void UnLoadInternetRangeTypeCombined() { Release(CombinedSlot()); }

int GetInternetArea_Level1_First() { return AreaFirst(Level1Slot()); }
const INTERNET_IP_DESC* GetInternetArea_Level1_Next(int& position) {
  return AreaNext(Level1Slot(), position);
}
int GetInternetArea_Level2_First() { return AreaFirst(Level2Slot()); }
const INTERNET_IP_DESC* GetInternetArea_Level2_Next(int& position) {
  return AreaNext(Level2Slot(), position);
}

const INTERNET_IP_DESC* GetIP_INTERNET_Range_Type_Level1(unsigned int ip) {
  const CInternetIPRangeTable* table = Level1Slot();
  const INTERNET_IP_DESC* d = table == nullptr ? nullptr : table->Find(ip);
  return d == nullptr ? UnknownDesc() : d;
}

const INTERNET_IP_DESC* GetIP_INTERNET_Range_Type_Level2(unsigned int ip) {
  const CInternetIPRangeTable* level1 = Level1Slot();
  uint64_t id = 0;
  const INTERNET_IP_DESC* d =
      level1 == nullptr ? nullptr : level1->Find(ip, &id);
  if (d == nullptr) return UnknownDesc();
  if (id != kAreaRefinedByLevel2) return d;
  const CInternetIPRangeTable* level2 = Level2Slot();
  const INTERNET_IP_DESC* fine = level2 == nullptr ? nullptr : level2->Find(ip);
  return fine == nullptr ? RefinedUnknownDesc() : fine;
}

const INTERNET_IP_DESC* GetIP_INTERNET_Range_Type(unsigned int ip,
                                                  bool& domestic) {
  if (GetIP_IsPrivateAddr(ip)) return IntranetDesc();
  const CInternetIPRangeTable* table = CombinedSlot();
  const INTERNET_IP_DESC* d = table == nullptr ? nullptr : table->Find(ip);
  if (d == nullptr) {
    domestic = false;
    return UnknownDesc();
  }
  domestic = IsDomesticAreaId(d->area_id);
  return d;
}

const INTERNET_IP_DESC* GetAreaId_Desc_Level2(uint64_t id) {
  for (const CInternetIPRangeTable* table : {Level2Slot(), Level1Slot()}) {
    const INTERNET_IP_DESC* d =
        table == nullptr ? nullptr : table->FindByAreaId(id);
    if (d != nullptr) return d;
  }
  if (id == kAreaForeign) return ForeignDesc();
  if (id == kAreaDomestic) return DomesticDesc();
  return nullptr;
}
