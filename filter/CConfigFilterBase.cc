#include "filter/CConfigFilterBase.h"

#include <stdlib.h>

namespace {

// Calls `read` for every child element of `node` named `name`, in
// document order.
template <typename Fn>
void ForEachChild(TiXmlNode* node, const char* name, Fn read) {
  for (TiXmlNode* child = CTinyXmlEx::FirstChildElement(node, name);
       child != nullptr; child = CTinyXmlEx::NextSiblingElement(child, name)) {
    read(child);
  }
}

template <typename Value>
void AppendEachValue(TiXmlNode* node, const char* name,
                     std::vector<Value>& out) {
  ForEachChild(node, name, [&out](TiXmlNode* child) {
    Value value = 0;
    if (CTinyXmlEx::GetValue(child, value)) out.push_back(value);
  });
}

}  // namespace

int CConfigFilterBase::ReadKey(TiXmlNode*, KEY_FLT_EXPRESS&) { return -1; }

int CConfigFilterBase::ReadTimeRange(TiXmlNode*, CTimeRange&) { return -1; }

int CConfigFilterBase::ReadIP(TiXmlNode* node, IPADDR_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  GetAttr(node, "Positive", expr.positive);

  auto ranges_into = [this](std::vector<IP_RANGE_PAIR>& out) {
    return [this, &out](TiXmlNode* child) {
      IP_RANGE_PAIR range(0, 0);
      GetValueIPRange(child, range);
      out.push_back(range);
    };
  };
  ForEachChild(node, "IPRange", ranges_into(expr.ip_ranges));
  AppendEachValue(node, "InternetIPType", expr.internet_types);
  // The intranet area type is an area of the internet table, not a
  // department, so it joins the area types.
  ForEachChild(node, "IntranetIPType", [&expr](TiXmlNode* child) {
    uint64_t value = 0;
    if (!CTinyXmlEx::GetValue(child, value)) return;
    if (value == INTRANET_AREA_IP_TYPE) {
      expr.internet_types.push_back(value);
    } else {
      expr.intranet_types.push_back(static_cast<uint32_t>(value));
    }
  });
  AppendEachValue(node, "DeviceIdIPType", expr.device_ids);
  ForEachChild(node, "ExceptIPRange", ranges_into(expr.except_ip_ranges));
  AppendEachValue(node, "ExceptInternetIPType", expr.except_internet_types);
  // A company address type is 32 bits; wider text keeps its low 32 bits,
  // as "IntranetIPType" does, rather than dropping the entry.
  ForEachChild(node, "ExceptIntranetIPType", [&expr](TiXmlNode* child) {
    uint64_t value = 0;
    if (CTinyXmlEx::GetValue(child, value)) {
      expr.except_intranet_types.push_back(static_cast<uint32_t>(value));
    }
  });
  AppendEachValue(node, "ExceptDeviceIdIPType", expr.except_device_ids);
  return 0;
}

int CConfigFilterBase::ReadString(TiXmlNode* node, STRING_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  std::string positive;
  if (GetAttr(node, "Positive", positive)) {
    expr.positive = atoi(positive.c_str()) != 0;
  }
  ForEachChild(node, "WString", [](TiXmlNode* child) {
    std::string text;
    CTinyXmlEx::GetValue(child, text);
  });
  return 0;
}

int CConfigFilterBase::ReadSize(TiXmlNode* node, SIZE_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  GetAttr(node, "Positive", expr.positive);
  ForEachChild(node, "SizeRang", [this, &expr](TiXmlNode* child) {
    CMP_SIZE size;
    GetValueSizeRange(child, size);
    expr.size_ranges.push_back(size);
  });
  return 0;
}

int CConfigFilterBase::ReadInt(TiXmlNode* node, INT_FLT_EXPRESS&) {
  return node == nullptr ? -1 : 0;
}

int CConfigFilterBase::ReadFileNameType(TiXmlNode*,
                                        FILE_NAMETYPE_FLT_EXPRESS&) {
  return 0;
}

int CConfigFilterBase::ReadFilterAttributeColNodes(const TiXmlNode&,
                                                   std::vector<TiXmlNode*>&) {
  return 0;
}

int CConfigFilterBase::ReadFilterConditionColNodes(const TiXmlNode&,
                                                   std::vector<TiXmlNode*>&) {
  return 0;
}

bool CConfigFilterBase::GetValueInternetIPType(const TiXmlNode* node,
                                               uint64_t& value) {
  return GetValue(const_cast<TiXmlNode*>(node), value);
}

bool CConfigFilterBase::GetValueIntranetIPType(const TiXmlNode* node,
                                               uint32_t& value) {
  unsigned int read = 0;
  if (!GetValue(const_cast<TiXmlNode*>(node), read)) return false;
  value = read;
  return true;
}

bool CConfigFilterBase::GetValueSizeRange(const TiXmlNode*, CMP_SIZE&) {
  return true;
}

bool CConfigFilterBase::GetValueIPRange(const TiXmlNode*, IP_RANGE_PAIR&) {
  return true;
}

namespace {

template <typename Item, typename Key, typename Same>
void FoldKey(std::vector<Item>& cond, uint64_t filter_index, const Key& key,
             Same same) {
  const uint64_t bit = FilterBit(filter_index);
  for (Item& item : cond) {
    if (same(item, key)) {
      item.mask |= bit;
      return;
    }
  }
  cond.push_back(Item{key, bit});
}

}  // namespace

extern "C" void IntExpressToCondition(uint64_t filter_index,
                                      const INT_FLT_EXPRESS& expr,
                                      INT_CONDITION& cond) {
  for (uint32_t value : expr.values) {
    FoldKey(cond, filter_index, value,
            [](const INT_CONDITION_ITEM& item, uint32_t key) {
              return item.value == key;
            });
  }
}

extern "C" void SizeExpressToCondition(uint64_t filter_index,
                                       const SIZE_FLT_EXPRESS& expr,
                                       SIZE_CONDITION& cond) {
  for (const CMP_SIZE& size : expr.size_ranges) {
    FoldKey(cond, filter_index, size,
            [](const SIZE_CONDITION_ITEM& item, const CMP_SIZE& key) {
              return item.size.SameKey(key);
            });
  }
}

extern "C" void TimeExpressToCondition(uint64_t filter_index,
                                       const CTimeRange& range,
                                       TIME_CONDITION& cond) {
  for (TIME_CONDITION_ITEM& item : cond) {
    if (item.filter_index == filter_index) {
      item.ranges.push_back(range);
      return;
    }
  }
  cond.push_back(TIME_CONDITION_ITEM{filter_index, {range}});
}

extern "C" void FileNameExpressToCondition(
    uint64_t filter_index, const FILE_NAMETYPE_FLT_EXPRESS& expr,
    FILENAME_CONDITION& cond) {
  if (expr.pattern.empty()) return;
  CMatchString matcher;
  matcher.set_multi_match_string(expr.pattern.c_str());
  FoldKey(cond, filter_index, matcher,
          [](const FILENAME_CONDITION_ITEM& item, const CMatchString& key) {
            return item.matcher == key;
          });
}
