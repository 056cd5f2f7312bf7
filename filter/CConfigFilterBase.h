// Filter expressions as read from a policy document, and the condition
// tables they fold into.
//
// A filter is written as a set of expressions (an address expression, a
// size expression, a string expression, ...), each positive (the
// condition must hold) or negative (it must not hold). The *_FLT_EXPRESS
// records hold one expression each; CConfigFilterBase fills them from XML
// nodes. The folding functions invert a policy: instead of every filter
// listing its values, every distinct value carries the 64-bit mask of the
// filters that name it (bit i for filter i, i taken modulo 64), so one
// look-up of a value seen in traffic gives every filter it satisfies.
//
// The base readers of range values, strings, keys and time ranges read
// nothing; the gateway's protocol modules derive readers that override
// them. Slot order of the virtual readers is part of the interface that
// those readers rely on: ReadKey, ReadIP, ReadString, ReadSize, ReadInt,
// ReadTimeRange, ReadFileNameType, ReadFilterAttributeColNodes,
// ReadFilterConditionColNodes.

#ifndef QUARN_FILTER_CCONFIGFILTERBASE_H_
#define QUARN_FILTER_CCONFIGFILTERBASE_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

#include <string>
#include <vector>

#include "quarn_common/base/CMatchString.h"
#include "quarn_common/base/CTinyXmlEx.h"
#include "quarn_common/objects/CTimeRange.h"

// The internet area type that the internet address table gives to private
// addresses ("内网", intranet). Written under "IntranetIPType" it names an
// area, not a department.
const uint64_t INTRANET_AREA_IP_TYPE = 0x600000000000ull;

// One address expression. The first four lists name the addresses the
// expression covers, the except lists the addresses it takes out again.
// Lists keep document order; a repeated value is stored again.
struct IPADDR_FLT_EXPRESS {
  IPADDR_FLT_EXPRESS() : positive(true) {}

  bool positive;
  std::vector<IP_RANGE_PAIR> ip_ranges;
  std::vector<uint64_t> internet_types;  // internet area types
  std::vector<uint32_t> intranet_types;  // company address types
  std::vector<uint64_t> device_ids;
  std::vector<IP_RANGE_PAIR> except_ip_ranges;
  std::vector<uint64_t> except_internet_types;
  std::vector<uint32_t> except_intranet_types;
  std::vector<uint64_t> except_device_ids;
};

// One size comparison. Codes 0 to 5 compare with one bound (size1 only),
// codes 6 and above with two (size1 and size2). CMP_SIZE_UNREAD marks an
// entry whose comparison was not read.
struct CMP_SIZE {
  static constexpr int32_t CMP_SIZE_UNREAD = -1;
  static constexpr int32_t FIRST_TWO_BOUND_CMP = 6;

  CMP_SIZE() : cmp(CMP_SIZE_UNREAD), size1(0), size2(0) {}
  CMP_SIZE(int32_t c, uint32_t s1, uint32_t s2)
      : cmp(c), size1(s1), size2(s2) {}

  // True when both name the same comparison: same code and first bound,
  // and for two-bound codes the same second bound.
  bool SameKey(const CMP_SIZE& other) const {
    return cmp == other.cmp && size1 == other.size1 &&
           (cmp < FIRST_TWO_BOUND_CMP || size2 == other.size2);
  }

  int32_t cmp;
  uint32_t size1;
  uint32_t size2;
};

struct SIZE_FLT_EXPRESS {
  SIZE_FLT_EXPRESS() : positive(true) {}

  std::vector<CMP_SIZE> size_ranges;
  bool positive;
};

struct INT_FLT_EXPRESS {
  INT_FLT_EXPRESS() : positive(true) {}

  bool positive;
  std::vector<uint32_t> values;
};

// A string expression. The base reader keeps no strings; derived readers
// fill `strings`.
struct STRING_FLT_EXPRESS {
  STRING_FLT_EXPRESS() : positive(true) {}

  bool positive;
  std::vector<std::string> strings;
};

// A file-name expression: `pattern` is a multi-pattern as CMatchString
// takes it ("*.exe;*.zip"). `type` is carried for derived readers.
struct FILE_NAMETYPE_FLT_EXPRESS {
  FILE_NAMETYPE_FLT_EXPRESS() : type(0) {}

  uint32_t type;
  std::string pattern;
};

// A keyword expression: keyword-type object ids. No reader here fills it.
struct KEY_FLT_EXPRESS {
  KEY_FLT_EXPRESS() : positive(true) {}

  bool positive;
  std::vector<uint64_t> key_types;
};

// Condition tables, in order of first insertion, keys unique.
struct INT_CONDITION_ITEM {
  uint32_t value;
  uint64_t mask;  // filters that name `value`
};
typedef std::vector<INT_CONDITION_ITEM> INT_CONDITION;

struct SIZE_CONDITION_ITEM {
  CMP_SIZE size;  // key equality is CMP_SIZE::SameKey
  uint64_t mask;
};
typedef std::vector<SIZE_CONDITION_ITEM> SIZE_CONDITION;

// Per filter, its time ranges (a filter index, not a mask).
struct TIME_CONDITION_ITEM {
  uint64_t filter_index;
  std::vector<CTimeRange> ranges;
};
typedef std::vector<TIME_CONDITION_ITEM> TIME_CONDITION;

struct FILENAME_CONDITION_ITEM {
  CMatchString matcher;  // key equality is CMatchString's
  uint64_t mask;
};
typedef std::vector<FILENAME_CONDITION_ITEM> FILENAME_CONDITION;

// The bit of filter `filter_index` in a filter mask.
inline uint64_t FilterBit(uint64_t filter_index) {
  return uint64_t(1) << (filter_index % 64);
}

// Reads expression records from the nodes of a policy document. The
// readers return 0 when given a node and -1 for a null node (or, for the
// placeholders, "not supported"). They never clear the record: flags are
// overwritten only when the document gives them, lists are appended to.
class QUARN_EXPORT CConfigFilterBase : public CTinyXmlEx {
 public:
  CConfigFilterBase() {}
  virtual ~CConfigFilterBase() {}

  // Not supported here (-1).
  virtual int ReadKey(TiXmlNode* node, KEY_FLT_EXPRESS& expr);
  // Address expression: attribute "Positive", children "IPRange",
  // "InternetIPType", "IntranetIPType", "DeviceIdIPType" and their
  // "Except..." twins. An "IntranetIPType" holding INTRANET_AREA_IP_TYPE
  // goes to internet_types. Unreadable children are skipped.
  virtual int ReadIP(TiXmlNode* node, IPADDR_FLT_EXPRESS& expr);
  // Attribute "Positive" (non-zero leading integer = positive); the
  // "WString" children are visited and nothing is kept.
  virtual int ReadString(TiXmlNode* node, STRING_FLT_EXPRESS& expr);
  // Attribute "Positive"; one unread CMP_SIZE per "SizeRang" child.
  virtual int ReadSize(TiXmlNode* node, SIZE_FLT_EXPRESS& expr);
  // Reads nothing: 0 for a node, -1 for none.
  virtual int ReadInt(TiXmlNode* node, INT_FLT_EXPRESS& expr);
  // Not supported here (-1).
  virtual int ReadTimeRange(TiXmlNode* node, CTimeRange& range);
  // Read nothing; 0.
  virtual int ReadFileNameType(TiXmlNode* node,
                               FILE_NAMETYPE_FLT_EXPRESS& expr);
  virtual int ReadFilterAttributeColNodes(const TiXmlNode& node,
                                          std::vector<TiXmlNode*>& nodes);
  virtual int ReadFilterConditionColNodes(const TiXmlNode& node,
                                          std::vector<TiXmlNode*>& nodes);

  // Element text as a 64-bit area type / 32-bit company address type;
  // true when read, `value` untouched otherwise.
  bool GetValueInternetIPType(const TiXmlNode* node, uint64_t& value);
  bool GetValueIntranetIPType(const TiXmlNode* node, uint32_t& value);
  // Range values are read by derived readers: these report true and leave
  // the output as it was.
  bool GetValueSizeRange(const TiXmlNode* node, CMP_SIZE& size);
  bool GetValueIPRange(const TiXmlNode* node, IP_RANGE_PAIR& range);
};

// Folding functions, exported with C linkage under these names. Each adds
// filter `filter_index` (bit filter_index mod 64) to the entries of the
// expression's keys, appending the keys not yet present.
extern "C" {
// Keys: the values.
QUARN_EXPORT void IntExpressToCondition(uint64_t filter_index,
                                        const INT_FLT_EXPRESS& expr,
                                        INT_CONDITION& cond);
// Keys: the comparisons, by CMP_SIZE::SameKey.
QUARN_EXPORT void SizeExpressToCondition(uint64_t filter_index,
                                         const SIZE_FLT_EXPRESS& expr,
                                         SIZE_CONDITION& cond);
// Appends `range` to the list of filter `filter_index` (the index itself,
// not taken modulo 64), creating the entry when missing.
QUARN_EXPORT void TimeExpressToCondition(uint64_t filter_index,
                                         const CTimeRange& range,
                                         TIME_CONDITION& cond);
// Key: the matcher built from expr.pattern; an empty pattern adds nothing.
QUARN_EXPORT void FileNameExpressToCondition(
    uint64_t filter_index, const FILE_NAMETYPE_FLT_EXPRESS& expr,
    FILENAME_CONDITION& cond);
}

#endif  // QUARN_FILTER_CCONFIGFILTERBASE_H_
