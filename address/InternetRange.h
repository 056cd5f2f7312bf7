// The process-wide internet range tables and the area lookups on them.
//
// Two tables are loaded from the module directory: "ipt1.dat" (level 1:
// domestic and foreign areas) and "ipt2.dat" (level 2: a finer division of
// the one level-1 area kAreaRefinedByLevel2). A third, combined slot is read
// by GetIP_INTERNET_Range_Type; nothing in the library fills it.
//
// Lookups never take locks and may run on many threads; loads and unloads
// must not run while they do. Descriptors from a table stay valid until the
// next LoadInternetRangeTypeLevel2 or unload; the fixed descriptors handed
// out when no table answers live for the whole process.

#ifndef QUARN_ADDRESS_INTERNETRANGE_H_
#define QUARN_ADDRESS_INTERNETRANGE_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include "quarn_common/address/CInternetIPRangeTable.h"

// Fixed area ids.
constexpr uint64_t kAreaIntranet = 0x0000600000000000ull;
constexpr uint64_t kAreaDomestic = 0x0000A00000000000ull;
constexpr uint64_t kAreaForeign = 0x0000C00000000000ull;
constexpr uint64_t kAreaUnknown = 0x000FFFFF00000000ull;
// The level-1 area that the level-2 table divides further, and the area
// given for its addresses the level-2 table does not know.
constexpr uint64_t kAreaRefinedByLevel2 = 0x0000A02A00000000ull;
constexpr uint64_t kAreaRefinedUnknown = 0x0000A02AFF000000ull;

// True when `area_id` is a domestic area.
inline bool IsDomesticAreaId(uint64_t area_id) {
  return (area_id & kAreaDomestic) == kAreaDomestic;
}

// Destroys both tables, then loads "ipt1.dat" and "ipt2.dat" from the
// module directory; a file that fails to load leaves its table absent.
// Always returns 1.
QUARN_EXPORT int LoadInternetRangeTypeLevel2();
// Destroys the level-1 and level-2 tables.
QUARN_EXPORT void UnLoadInternetRangeTypeLevel2();
// Destroys the combined table, when present.
QUARN_EXPORT void UnLoadInternetRangeTypeCombined();

// Area iteration over the level-1 / level-2 table, as
// CInternetIPRangeTable::GetArea_First/Next; -1 / null when the table is
// absent.
QUARN_EXPORT int GetInternetArea_Level1_First();
QUARN_EXPORT const INTERNET_IP_DESC* GetInternetArea_Level1_Next(int& position);
QUARN_EXPORT int GetInternetArea_Level2_First();
QUARN_EXPORT const INTERNET_IP_DESC* GetInternetArea_Level2_Next(int& position);

// Level-1 area of `ip` (host order); the unknown area when the table is
// absent or has no range for it. Never null.
QUARN_EXPORT const INTERNET_IP_DESC* GetIP_INTERNET_Range_Type_Level1(
    unsigned int ip);
// As Level1, except that an address of kAreaRefinedByLevel2 is answered by
// the level-2 table, or with kAreaRefinedUnknown when that table is absent
// or has no range for it. Never null.
QUARN_EXPORT const INTERNET_IP_DESC* GetIP_INTERNET_Range_Type_Level2(
    unsigned int ip);
// A company-private address gives the intranet area and leaves `domestic`
// alone. Otherwise the combined table's area with `domestic` set from it,
// or the unknown area with `domestic` false. Never null.
QUARN_EXPORT const INTERNET_IP_DESC* GetIP_INTERNET_Range_Type(unsigned int ip,
                                                               bool& domestic);
// The area with id `id` from the level-2 table, else the level-1 table,
// else the fixed domestic or foreign area for those two ids; else null.
QUARN_EXPORT const INTERNET_IP_DESC* GetAreaId_Desc_Level2(uint64_t id);

#endif  // QUARN_ADDRESS_INTERNETRANGE_H_
