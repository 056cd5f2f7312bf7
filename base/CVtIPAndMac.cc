#include "base/CVtIPAndMac.h"

#include <algorithm>

#include "base/OrvaAddr.h"

namespace Orva {

bool IsMACIn(const void* mac, const std::vector<uint64_t>& macs) {
  if (mac == nullptr) return false;
  uint64_t value = mac_to_uint64(static_cast<const unsigned char*>(mac));
  if (value == 0) return false;
  return std::find(macs.begin(), macs.end(), value) != macs.end();
}

}  // namespace Orva

namespace {

const char kRangeItem[] = "iprange";
const char kMacItem[] = "mac";

bool IsItemSeparator(char c) { return c == ',' || c == ';'; }

std::string Trim(const std::string& text) {
  const char* blanks = " \t\r\n";
  size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string::npos) return std::string();
  size_t end = text.find_last_not_of(blanks);
  return text.substr(begin, end - begin + 1);
}

}  // namespace

void CVtIPAndMac::AddIPRange(uint32_t begin, uint32_t end) {
  if (begin > end) std::swap(begin, end);
  ranges_.push_back(IP_RANGE_PAIR(begin, end));
}

void CVtIPAndMac::AddMac(const unsigned char* mac) {
  if (mac != nullptr) macs_.push_back(Orva::mac_to_uint64(mac));
}

void CVtIPAndMac::AddMac(uint64_t mac) {
  macs_.push_back(mac & 0xFFFFFFFFFFFFull);
}

void CVtIPAndMac::clear() {
  ranges_.clear();
  macs_.clear();
}

bool CVtIPAndMac::IsIn(uint32_t ip) const {
  for (const IP_RANGE_PAIR& range : ranges_) {
    if (range.first <= ip && ip <= range.second) return true;
  }
  return false;
}

bool CVtIPAndMac::IsIn(uint32_t ip, const unsigned char* mac) const {
  return IsIn(ip) || IsMacIn(mac);
}

bool CVtIPAndMac::IsMacIn(const unsigned char* mac) const {
  return Orva::IsMACIn(mac, macs_);
}

std::string CVtIPAndMac::GetAddrDesc() const {
  std::string text;
  for (const IP_RANGE_PAIR& range : ranges_) {
    if (!text.empty()) text += ',';
    text += Orva::hip_range_to_string(range);
  }
  for (uint64_t value : macs_) {
    unsigned char mac[6];
    Orva::uint64_to_mac(value, mac);
    if (!text.empty()) text += ',';
    text += Orva::mac_addr_to_a(mac, '-');
  }
  return text;
}

bool CVtIPAndMac::GetFromString(const char* text) {
  clear();
  if (text == nullptr) return true;
  bool all_parsed = true;
  const char* p = text;
  while (true) {
    const char* end = p;
    while (*end != '\0' && !IsItemSeparator(*end)) ++end;
    std::string item = Trim(std::string(p, end));
    if (!item.empty()) {
      IP_RANGE_PAIR range;
      unsigned char mac[6];
      // Dotted text is an address; anything else must be a MAC.
      if (item.find('.') != std::string::npos) {
        if (Orva::string_to_hip_range(item.c_str(), &range)) {
          ranges_.push_back(range);
        } else {
          all_parsed = false;
        }
      } else if (Orva::a_to_mac_addr(item.c_str(), mac)) {
        AddMac(mac);
      } else {
        all_parsed = false;
      }
    }
    if (*end == '\0') break;
    p = end + 1;
  }
  return all_parsed;
}

bool CVtIPAndMac::Read(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  if (node == nullptr) return false;
  clear();
  CTinyXmlEx::GetValue_HostOrderIPRangeVector(node, ranges_, kRangeItem);
  for (TiXmlNode* item = CTinyXmlEx::FirstChildElement(node, kMacItem);
       item != nullptr; item = CTinyXmlEx::NextSiblingElement(item, kMacItem)) {
    unsigned char mac[6];
    if (CTinyXmlEx::GetValue_Macaddr(item, mac)) AddMac(mac);
  }
  return true;
}

bool CVtIPAndMac::Write(CTinyXmlEx& /*doc*/, TiXmlNode* node) const {
  if (node == nullptr) return false;
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(node, ranges_, kRangeItem);
  for (uint64_t value : macs_) {
    unsigned char mac[6];
    Orva::uint64_to_mac(value, mac);
    TiXmlNode* item = CTinyXmlEx::InsertEndChildElement(node, kMacItem);
    CTinyXmlEx::SetValue_Macaddr(item, mac);
  }
  return true;
}
