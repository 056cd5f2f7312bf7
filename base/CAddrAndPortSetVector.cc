#include "base/CAddrAndPortSetVector.h"

#include <algorithm>

namespace {

const char kSetElement[] = "addr_port_set";
const char kPassAttribute[] = "pass";
const char kRangeItem[] = "iprange";
const char kPortItem[] = "portrange";
const char kValueItem[] = "value";

bool InIPRanges(const std::vector<IP_RANGE_PAIR>& ranges, uint32_t ip) {
  if (ranges.empty()) return true;
  for (const IP_RANGE_PAIR& range : ranges) {
    if (range.first <= ip && ip <= range.second) return true;
  }
  return false;
}

bool InPortRanges(const std::vector<UINT16_RANGE_PAIR>& ranges, uint16_t port) {
  if (ranges.empty()) return true;
  for (const UINT16_RANGE_PAIR& range : ranges) {
    if (range.first <= port && port <= range.second) return true;
  }
  return false;
}

}  // namespace

bool CAddrAndPortSet::Matches(uint32_t ip, uint16_t port,
                              uint32_t value) const {
  if (!InIPRanges(ip_ranges, ip) || !InPortRanges(port_ranges, port)) {
    return false;
  }
  return values.empty() ||
         std::find(values.begin(), values.end(), value) != values.end();
}

bool CAddrAndPortSet::operator==(const CAddrAndPortSet& other) const {
  return pass == other.pass && ip_ranges == other.ip_ranges &&
         port_ranges == other.port_ranges && values == other.values;
}

int CAddrAndPortSetVector::is_passed(uint32_t ip, uint16_t port,
                                     uint32_t value) const {
  for (const CAddrAndPortSet& set : sets_) {
    if (set.Matches(ip, port, value)) return set.pass != 0 ? 1 : 0;
  }
  return -1;
}

bool CAddrAndPortSetVector::Load(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  if (node == nullptr) return false;
  sets_.clear();
  for (TiXmlNode* element = CTinyXmlEx::FirstChildElement(node, kSetElement);
       element != nullptr;
       element = CTinyXmlEx::NextSiblingElement(element, kSetElement)) {
    CAddrAndPortSet set;
    int pass = 1;
    CTinyXmlEx::GetAttr(element, kPassAttribute, pass);
    set.pass = pass != 0 ? 1 : 0;
    CTinyXmlEx::GetValue_HostOrderIPRangeVector(element, set.ip_ranges,
                                                kRangeItem);
    CTinyXmlEx::GetValue_Uint16RangeVector(element, set.port_ranges, kPortItem);
    for (TiXmlNode* item = CTinyXmlEx::FirstChildElement(element, kValueItem);
         item != nullptr;
         item = CTinyXmlEx::NextSiblingElement(item, kValueItem)) {
      unsigned int value;
      if (CTinyXmlEx::GetValue(item, value)) set.values.push_back(value);
    }
    sets_.push_back(set);
  }
  return true;
}

bool CAddrAndPortSetVector::Save(CTinyXmlEx& /*doc*/, TiXmlNode* node) const {
  if (node == nullptr) return false;
  for (const CAddrAndPortSet& set : sets_) {
    TiXmlNode* element = CTinyXmlEx::InsertEndChildElement(node, kSetElement);
    if (element == nullptr) return false;
    CTinyXmlEx::SetAttr(element, kPassAttribute, set.pass);
    CTinyXmlEx::SetValue_HostOrderIPRangeVector(element, set.ip_ranges,
                                                kRangeItem);
    CTinyXmlEx::SetValue_Uint16RangeVector(element, set.port_ranges, kPortItem);
    for (uint32_t value : set.values) {
      TiXmlNode* item = CTinyXmlEx::InsertEndChildElement(element, kValueItem);
      CTinyXmlEx::SetValue(item, static_cast<unsigned int>(value));
    }
  }
  return true;
}
