#include "filter/CAuditFilterConfig.h"

#include "base/internal/NoThrow.h"

#include <string.h>

namespace {

const char kRootName[] = "audit_filter_policy";
const char kWhiteList[] = "white_list";
const char kBlackList[] = "black_list";
const char kIp[] = "ip";
const char kStringItem[] = "string";
const char kRangeItem[] = "ip_range";

bool InRanges(const std::vector<IP_RANGE_PAIR>& ranges, uint32_t v) {
  for (const IP_RANGE_PAIR& r : ranges) {
    if (r.first <= v && v <= r.second) return true;
  }
  return false;
}

// Address step with a fixed direction: `a` against the first list, `b`
// against the second. An empty list imposes nothing.
bool DirectedStep(const tagSIMPLE_IP_FILTER& f, uint32_t a, uint32_t b) {
  if (!f.first_ranges.empty()) {
    bool in = InRanges(f.first_ranges, a);
    if (f.first_negate != 0) in = !in;
    if (!in) return false;
  }
  if (f.second_ranges.empty()) return true;
  bool in = InRanges(f.second_ranges, b);
  if (f.second_negate != 0) in = !in;
  return in;
}

// Address step in either direction (dir_mode 0).
bool EitherWayStep(const tagSIMPLE_IP_FILTER& f, uint32_t x, uint32_t y) {
  bool first_empty = f.first_ranges.empty();
  bool second_empty = f.second_ranges.empty();
  // A negate flag counts only when its list has something to negate.
  bool first_negates = f.first_negate != 0 && !first_empty;
  bool second_negates = f.second_negate != 0 && !second_empty;
  if (first_negates && second_negates) {
    bool both_in_first =
        InRanges(f.first_ranges, x) && InRanges(f.first_ranges, y);
    bool both_in_second =
        InRanges(f.second_ranges, x) && InRanges(f.second_ranges, y);
    return !both_in_first && !both_in_second;
  }
  bool forward = (first_empty || InRanges(f.first_ranges, x)) &&
                 (second_empty || InRanges(f.second_ranges, y));
  bool reverse = (first_empty || InRanges(f.first_ranges, y)) &&
                 (second_empty || InRanges(f.second_ranges, x));
  bool paired = forward || reverse;
  // With one negated list, the pair must fit neither pairing as written.
  return (first_negates || second_negates) ? !paired : paired;
}

// The pair match of `f` for the addresses `x` (first) and `y` (second).
int PairMatch(const tagSIMPLE_IP_FILTER& f, uint32_t x, uint32_t y) {
  bool step;
  switch (f.dir_mode) {
    case 1:
      step = DirectedStep(f, x, y);
      break;
    case -1:
      step = DirectedStep(f, y, x);
      break;
    case 0:
      step = EitherWayStep(f, x, y);
      break;
    default:
      step = false;
      break;
  }
  bool match = false;
  if (step) {
    if (f.values.empty()) {
      match = true;
    } else {
      bool has_zero = false;
      for (uint32_t v : f.values) has_zero = has_zero || v == 0;
      match = f.values_negate != 0 ? !has_zero : has_zero;
    }
  }
  if (f.invert != 0) match = !match;
  return match ? 1 : 0;
}

int ListMatch(const tagSIMPLE_IP_FILTER& f, uint32_t first, uint32_t second) {
  return f.IsUnset() ? 0 : PairMatch(f, first, second);
}

}  // namespace

// COneAppAuditFilterConfig

int COneAppAuditFilterConfig::find(const char* text) const {
  if (text == nullptr) return 0;
  for (const std::string& fragment : strings) {
    if (strstr(text, fragment.c_str()) != nullptr) return 1;
  }
  return 0;
}

int COneAppAuditFilterConfig::find(uint32_t a, uint32_t b) const {
  for (const IP_RANGE_PAIR& r : ranges) {
    if (r.first <= a && a <= r.second) return 1;
    if (r.first <= b && b <= r.second) return 1;
  }
  return 0;
}

int COneAppAuditFilterConfig::find(const tagIPv4_CONNECT_ADDR& addr) const {
  return find(addr.first_ip, addr.second_ip);
}

int COneAppAuditFilterConfig::Load(CTinyXmlEx& /*doc*/, TiXmlNode* node) {
  CTinyXmlEx::GetValue_StringVector(node, strings, kStringItem);
  CTinyXmlEx::GetValue_HostOrderIPRangeVector(node, ranges, kRangeItem);
  return 1;
}

int COneAppAuditFilterConfig::Save(CTinyXmlEx& /*doc*/, TiXmlNode* node) const {
  CTinyXmlEx::SetValue_StringVector(node, strings, kStringItem);
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(node, ranges, kRangeItem);
  return 1;
}

void COneAppAuditFilterConfig::Close() {
  strings.clear();
  ranges.clear();
}

// CAuditFilterConfig

namespace {

// The application members with their element names, in document order.
struct AppSlot {
  const char* name;
  COneAppAuditFilterConfig CAuditFilterConfig::*member;
};

const AppSlot kApps[] = {
    {"web", &CAuditFilterConfig::web},
    {"mail", &CAuditFilterConfig::mail},
    {"msn", &CAuditFilterConfig::msn},
    {"qq", &CAuditFilterConfig::qq},
    {"ymsg", &CAuditFilterConfig::ymsg},
    {"ftp", &CAuditFilterConfig::ftp},
    {"telnet", &CAuditFilterConfig::telnet},
};

}  // namespace

int CAuditFilterConfig::LoadFromFile(const char* path) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    Close();
    if (path == nullptr || path[0] == '\0') return 0;
    file_name = path;
    CTinyXmlEx doc;
    if (doc.open_for_readonly(path) != 0) return 0;
    return Load(doc);
  });
}

int CAuditFilterConfig::LoadFromMem(const char* text, int length) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    Close();
    if (text == nullptr || length == 0) return 1;
    if (length < 0) return 0;
    CTinyXmlEx doc;
    if (doc.open(text, length) != 0) return 0;
    return Load(doc);
  });
}

int CAuditFilterConfig::Load(CTinyXmlEx& doc) {
  TiXmlNode* root = doc.GetRootNode();
  if (root == nullptr) return 0;
  read_white_list(doc, root);
  read_black_list(doc, root);
  for (const AppSlot& app : kApps) {
    TiXmlNode* node = CTinyXmlEx::FirstChildElement(root, app.name);
    if (node != nullptr) (this->*app.member).Load(doc, node);
  }
  return 1;
}

void CAuditFilterConfig::read_white_list(CTinyXmlEx& doc, TiXmlNode* root) {
  TiXmlNode* list = CTinyXmlEx::FirstChildElement(root, kWhiteList);
  TiXmlNode* ip = CTinyXmlEx::FirstChildElement(list, kIp);
  if (ip != nullptr) Orva_SimpleFltIO::read_ip_flt(doc, ip, white_list);
}

void CAuditFilterConfig::read_black_list(CTinyXmlEx& doc, TiXmlNode* root) {
  TiXmlNode* list = CTinyXmlEx::FirstChildElement(root, kBlackList);
  TiXmlNode* ip = CTinyXmlEx::FirstChildElement(list, kIp);
  if (ip != nullptr) Orva_SimpleFltIO::read_ip_flt(doc, ip, black_list);
}

void CAuditFilterConfig::write_white_list(CTinyXmlEx& doc,
                                          TiXmlNode* root) const {
  TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(root, kWhiteList);
  TiXmlNode* ip = CTinyXmlEx::InsertEndChildElement(list, kIp);
  Orva_SimpleFltIO::write_ip_flt(doc, ip, white_list);
}

void CAuditFilterConfig::write_black_list(CTinyXmlEx& doc,
                                          TiXmlNode* root) const {
  TiXmlNode* list = CTinyXmlEx::InsertEndChildElement(root, kBlackList);
  TiXmlNode* ip = CTinyXmlEx::InsertEndChildElement(list, kIp);
  Orva_SimpleFltIO::write_ip_flt(doc, ip, black_list);
}

int CAuditFilterConfig::SaveToFile(const char* path) {
  return quarn_guard::Guarded<int>(0, [&]() -> int {
    if (path == nullptr || path[0] == '\0') return 0;
    CTinyXmlEx doc;
    if (doc.open_ex(path, CTinyXmlEx::OPEN_CREATE_NEW) != 0) return 0;
    TiXmlNode* root = doc.InsertRootElement(kRootName);
    if (root == nullptr) return 0;
    write_white_list(doc, root);
    write_black_list(doc, root);
    for (const AppSlot& app : kApps) {
      TiXmlNode* node = CTinyXmlEx::InsertEndChildElement(root, app.name);
      (this->*app.member).Save(doc, node);
    }
    doc.savefile();
    doc.close();
    return 1;
  });
}

int CAuditFilterConfig::SaveToFile() {
  if (file_name.empty()) return 0;
  // Copied: SaveToFile(path) must not see the member change under it.
  std::string path = file_name;
  return SaveToFile(path.c_str());
}

void CAuditFilterConfig::Close() {
  white_list.Clear();
  black_list.Clear();
  for (const AppSlot& app : kApps) (this->*app.member).Close();
}

int CAuditFilterConfig::IsWhiteList(uint32_t first, uint32_t second) const {
  return ListMatch(white_list, first, second);
}

int CAuditFilterConfig::IsBlackList(uint32_t first, uint32_t second) const {
  return ListMatch(black_list, first, second);
}

int CAuditFilterConfig::IsWhiteList(const tagIPv4_CONNECT_ADDR& addr) const {
  return IsWhiteList(addr.first_ip, addr.second_ip);
}

int CAuditFilterConfig::IsBlackList(const tagIPv4_CONNECT_ADDR& addr) const {
  return IsBlackList(addr.first_ip, addr.second_ip);
}

bool CAuditFilterConfig::operator==(const CAuditFilterConfig& other) const {
  if (white_list != other.white_list || black_list != other.black_list) {
    return false;
  }
  for (const AppSlot& app : kApps) {
    if (this->*app.member != other.*app.member) return false;
  }
  return true;
}

template class ACE_Singleton<CAuditFilterConfig, ACE_Null_Mutex>;
