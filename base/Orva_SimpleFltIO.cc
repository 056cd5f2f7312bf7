#include "base/Orva_SimpleFltIO.h"

namespace {

const char kInvert[] = "invert";
const char kDirMode[] = "dir_mode";
const char kNegate[] = "negate";
const char kFirst[] = "first";
const char kSecond[] = "second";
const char kValues[] = "values";
const char kRangeItem[] = "ip_range";
const char kValueItem[] = "value";

void ReadRangeList(TiXmlNode* parent, const char* name,
                   std::vector<IP_RANGE_PAIR>& ranges, uint32_t& negate) {
  TiXmlNode* list = CTinyXmlEx::FirstChildElement(parent, name);
  if (list == nullptr) return;
  CTinyXmlEx::GetAttr(list, kNegate, negate);
  CTinyXmlEx::GetValue_HostOrderIPRangeVector(list, ranges, kRangeItem);
}

void WriteRangeList(TiXmlNode* parent, const char* name,
                    const std::vector<IP_RANGE_PAIR>& ranges, uint32_t negate) {
  TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(parent, name);
  CTinyXmlEx::SetAttr(list, kNegate, static_cast<unsigned int>(negate));
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(list, ranges, kRangeItem);
}

}  // namespace

bool tagSIMPLE_IP_FILTER::operator==(const tagSIMPLE_IP_FILTER& other) const {
  return invert == other.invert && dir_mode == other.dir_mode &&
         first_ranges == other.first_ranges &&
         first_negate == other.first_negate &&
         second_ranges == other.second_ranges &&
         second_negate == other.second_negate && values == other.values &&
         values_negate == other.values_negate;
}

int Orva_SimpleFltIO::read_ip_flt(CTinyXmlEx& /*doc*/, TiXmlNode* node,
                                  tagSIMPLE_IP_FILTER& filter) {
  filter.Clear();
  if (node == nullptr) return 0;
  CTinyXmlEx::GetAttr(node, kInvert, filter.invert);
  int dir_mode = 0;
  if (CTinyXmlEx::GetAttr(node, kDirMode, dir_mode)) filter.dir_mode = dir_mode;
  ReadRangeList(node, kFirst, filter.first_ranges, filter.first_negate);
  ReadRangeList(node, kSecond, filter.second_ranges, filter.second_negate);
  TiXmlNode* values = CTinyXmlEx::FirstChildElement(node, kValues);
  if (values != nullptr) {
    CTinyXmlEx::GetAttr(values, kNegate, filter.values_negate);
    for (TiXmlNode* item = CTinyXmlEx::FirstChildElement(values, kValueItem);
         item != nullptr;
         item = CTinyXmlEx::NextSiblingElement(item, kValueItem)) {
      unsigned int value = 0;
      if (CTinyXmlEx::GetValue(item, value)) filter.values.push_back(value);
    }
  }
  return 1;
}

int Orva_SimpleFltIO::write_ip_flt(CTinyXmlEx& /*doc*/, TiXmlNode* node,
                                   const tagSIMPLE_IP_FILTER& filter) {
  if (node == nullptr) return 0;
  CTinyXmlEx::SetAttr(node, kInvert, static_cast<unsigned int>(filter.invert));
  CTinyXmlEx::SetAttr(node, kDirMode, static_cast<int>(filter.dir_mode));
  WriteRangeList(node, kFirst, filter.first_ranges, filter.first_negate);
  WriteRangeList(node, kSecond, filter.second_ranges, filter.second_negate);
  TiXmlNode* values = CTinyXmlEx::InsertEndChildElement(node, kValues);
  CTinyXmlEx::SetAttr(values, kNegate,
                      static_cast<unsigned int>(filter.values_negate));
  for (uint32_t value : filter.values) {
    TiXmlNode* item = CTinyXmlEx::InsertEndChildElement(values, kValueItem);
    CTinyXmlEx::SetValue(item, static_cast<unsigned int>(value));
  }
  return 1;
}
