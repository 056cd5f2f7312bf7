#include "tools/policy/PolicyReader.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <tinyxml.h>

#include <algorithm>
#include <utility>

#include "appid/CAppSubtypeReader.h"
#include "base/OrvaString.h"

namespace quarn_tool {

namespace {

// Condition elements of a filter, indexed by the bit they take in the
// "seen" set that catches repeats.
const char* const kConditionNames[] = {
    "SrcIP",    "DstIP",      "Time",    "App",     "ServerPort",
    "IPObject", "Department", "UrlType", "UrlText", "UrlKey"};
const int kConditionCount =
    static_cast<int>(sizeof(kConditionNames) / sizeof(kConditionNames[0]));

const char* const kIPChildren[] = {"IPRange",
                                   "InternetIPType",
                                   "IntranetIPType",
                                   "DeviceIdIPType",
                                   "ExceptIPRange",
                                   "ExceptInternetIPType",
                                   "ExceptIntranetIPType",
                                   "ExceptDeviceIdIPType"};

int RowOf(const TiXmlNode* node) { return node != nullptr ? node->Row() : 0; }

std::string TextOf(TiXmlNode* node) {
  std::string text;
  CTinyXmlEx::GetValue(node, text);
  return text;
}

// Unsigned decimal (or 0x hexadecimal) text with nothing around it.
bool ParseUnsigned(const std::string& text, uint64_t max, uint64_t* out) {
  if (text.empty() || text[0] == '-' || text[0] == '+') return false;
  errno = 0;
  char* end = nullptr;
  const unsigned long long value = strtoull(text.c_str(), &end, 0);
  if (errno != 0 || end == text.c_str() || *end != '\0' || value > max) {
    return false;
  }
  *out = value;
  return true;
}

std::string Trimmed(const std::string& text) {
  const size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return std::string();
  const size_t end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

bool IsOneBit(uint64_t id) { return id != 0 && (id & (id - 1)) == 0; }

bool IsFixedClass(uint32_t id) {
  return id == COrgStructInfo::ORG_INTRANET ||
         id == COrgStructInfo::ORG_UNCLASSIFIED ||
         id == COrgStructInfo::ORG_SERVER || id == COrgStructInfo::ORG_DMZ ||
         id == COrgStructInfo::ORG_ABNORMAL_INTRANET ||
         id == COrgStructInfo::ORG_ABNORMAL_EXTERNAL;
}

// True when category bit `bit` has a name in `names` (system word when
// `system`, else user word).
bool HasCategory(const CSimpleURLTypeConfig& names, bool system, uint32_t bit) {
  const uint64_t mask = uint64_t{1} << bit;
  for (const auto& type : names.url_db().types) {
    if (((system ? type.hitype : type.lotype) & mask) != 0) return true;
  }
  return false;
}

// Reads attribute "Positive" as a flag; a value that does not read is
// reported and leaves the flag as it was.
void ReadPositive(TiXmlNode* node, bool* positive, PolicyDiagnostics* diag) {
  TiXmlElement* element = node->ToElement();
  if (element == nullptr || element->Attribute("Positive") == nullptr) return;
  if (!CTinyXmlEx::GetAttr(node, "Positive", *positive)) {
    diag->Warn(RowOf(node), std::string("bad Positive \"") +
                                element->Attribute("Positive") +
                                "\", kept as positive");
  }
}

}  // namespace

void PolicyDiagnostics::SetFilter(int index, const std::string& name) {
  if (index < 0) {
    filter_.clear();
    return;
  }
  filter_ = "filter " + std::to_string(index) + " \"" + name + "\": ";
}

void PolicyDiagnostics::Warn(int line, const std::string& what) {
  Add(line, "warning", what);
}

void PolicyDiagnostics::Error(int line, const std::string& what) {
  ++errors_;
  Add(line, "error", what);
}

void PolicyDiagnostics::Add(int line, const char* severity,
                            const std::string& what) {
  messages_.push_back(path_ + ":" + std::to_string(line) + ": " + severity +
                      ": " + filter_ + what);
}

// ---- PolicyExpressionReader ---------------------------------------------

uint32_t PolicyExpressionReader::TimeValueOfId(uint64_t id) {
  if (id == CTimeObjMgrConfig::ms_all_time_id)
    return PolicyFilter::kAllTimeValue;
  if (!IsOneBit(id)) return 0;
  return static_cast<uint32_t>(__builtin_ctzll(id)) + 1;
}

bool PolicyExpressionReader::GetValueIPRange(const TiXmlNode* node,
                                             IP_RANGE_PAIR& range) {
  return CTinyXmlEx::GetValue_HostOrderIPRange(const_cast<TiXmlNode*>(node),
                                               range);
}

bool PolicyExpressionReader::GetValueSizeRange(const TiXmlNode* node,
                                               CMP_SIZE& size) {
  const std::string text = Trimmed(TextOf(const_cast<TiXmlNode*>(node)));
  static const struct {
    const char* op;
    int32_t code;
  } kOps[] = {{"!=", 1}, {"<=", 3}, {">=", 5}, {"=", 0}, {"<", 2}, {">", 4}};
  for (const auto& op : kOps) {
    const size_t n = strlen(op.op);
    if (text.compare(0, n, op.op) != 0) continue;
    uint64_t value = 0;
    if (!ParseUnsigned(Trimmed(text.substr(n)), UINT32_MAX, &value)) {
      return false;
    }
    size = CMP_SIZE(op.code, static_cast<uint32_t>(value), 0);
    return true;
  }
  const size_t dash = text.find('-');
  uint64_t low = 0;
  uint64_t high = 0;
  if (dash == std::string::npos) {
    if (!ParseUnsigned(text, UINT32_MAX, &low)) return false;
    size = CMP_SIZE(0, static_cast<uint32_t>(low), 0);
    return true;
  }
  if (!ParseUnsigned(Trimmed(text.substr(0, dash)), UINT32_MAX, &low) ||
      !ParseUnsigned(Trimmed(text.substr(dash + 1)), UINT32_MAX, &high)) {
    return false;
  }
  if (low > high) std::swap(low, high);
  size = CMP_SIZE(CMP_SIZE::FIRST_TWO_BOUND_CMP, static_cast<uint32_t>(low),
                  static_cast<uint32_t>(high));
  return true;
}

void PolicyExpressionReader::WarnUnknownChildren(TiXmlNode* node,
                                                 const char* const* known,
                                                 int n) {
  for (TiXmlElement* child = node->FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    bool found = false;
    for (int i = 0; i < n && !found; ++i)
      found = strcmp(child->Value(), known[i]) == 0;
    if (!found) {
      diag_->Warn(RowOf(child), std::string("unknown element <") +
                                    child->Value() + "> in <" + node->Value() +
                                    ">, skipped");
    }
  }
}

int PolicyExpressionReader::ReadIP(TiXmlNode* node, IPADDR_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  // The library's reader takes the flag and every area, class and device
  // list; its range entries are placeholders and are dropped here.
  IPADDR_FLT_EXPRESS read;
  read.positive = expr.positive;
  CConfigFilterBase::ReadIP(node, read);
  expr.positive = read.positive;
  auto append = [](auto& to, const auto& from) {
    to.insert(to.end(), from.begin(), from.end());
  };
  append(expr.internet_types, read.internet_types);
  append(expr.intranet_types, read.intranet_types);
  append(expr.device_ids, read.device_ids);
  append(expr.except_internet_types, read.except_internet_types);
  append(expr.except_intranet_types, read.except_intranet_types);
  append(expr.except_device_ids, read.except_device_ids);
  WarnUnknownChildren(node, kIPChildren, 8);
  for (TiXmlElement* child = node->FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const std::string name = child->Value();
    const bool except = name == "ExceptIPRange";
    if (name == "IPRange" || except) {
      IP_RANGE_PAIR range;
      if (GetValueIPRange(child, range)) {
        (except ? expr.except_ip_ranges : expr.ip_ranges).push_back(range);
      } else {
        diag_->Warn(RowOf(child), "bad address range \"" + TextOf(child) +
                                      "\" in <" + name + ">, skipped");
      }
    } else if (name.find("IPType") != std::string::npos) {
      uint64_t value = 0;
      if (!CTinyXmlEx::GetValue(child, value)) {
        diag_->Warn(RowOf(child), "bad value \"" + TextOf(child) + "\" in <" +
                                      name + ">, skipped");
      }
    }
  }
  CheckDepartments(node, expr);
  return 0;
}

void PolicyExpressionReader::CheckDepartments(TiXmlNode* node,
                                              const IPADDR_FLT_EXPRESS& expr) {
  if (expr.intranet_types.empty() && expr.except_intranet_types.empty()) {
    return;
  }
  if (objects_->plan == nullptr) {
    diag_->Error(RowOf(node),
                 "company classes and departments cannot be "
                 "tested: no company address plan given");
    return;
  }
  for (const auto* list : {&expr.intranet_types, &expr.except_intranet_types}) {
    for (uint32_t id : *list) {
      if (IsFixedClass(id) || objects_->plan->FindDepartmentById(id)) continue;
      diag_->Error(RowOf(node),
                   "unknown company class or department " + std::to_string(id));
    }
  }
}

int PolicyExpressionReader::ReadString(TiXmlNode* node,
                                       STRING_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  CConfigFilterBase::ReadString(node, expr);
  static const char* const kKnown[] = {"WString"};
  WarnUnknownChildren(node, kKnown, 1);
  for (TiXmlNode* child = FirstChildElement(node, "WString"); child != nullptr;
       child = NextSiblingElement(child, "WString")) {
    const std::string text = TextOf(child);
    if (text.empty()) {
      diag_->Warn(RowOf(child), "empty <WString>, skipped");
      continue;
    }
    expr.strings.push_back(Orva::str_lwr(text));
  }
  return 0;
}

int PolicyExpressionReader::ReadSize(TiXmlNode* node, SIZE_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  ReadPositive(node, &expr.positive, diag_);
  static const char* const kKnown[] = {"SizeRang"};
  WarnUnknownChildren(node, kKnown, 1);
  for (TiXmlNode* child = FirstChildElement(node, "SizeRang"); child != nullptr;
       child = NextSiblingElement(child, "SizeRang")) {
    CMP_SIZE size;
    if (GetValueSizeRange(child, size)) {
      expr.size_ranges.push_back(size);
    } else {
      diag_->Warn(RowOf(child), "bad comparison \"" + TextOf(child) +
                                    "\" in <SizeRang>, skipped");
    }
  }
  return 0;
}

int PolicyExpressionReader::ReadInt(TiXmlNode* node, INT_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  std::vector<uint64_t> values;
  ReadIdList(node, "Value", &expr.positive, &values);
  for (uint64_t value : values) {
    if (value > UINT32_MAX) {
      diag_->Warn(RowOf(node), "value " + std::to_string(value) +
                                   " is wider than 32 bits, skipped");
      continue;
    }
    expr.values.push_back(static_cast<uint32_t>(value));
  }
  return 0;
}

int PolicyExpressionReader::ReadKey(TiXmlNode* node, KEY_FLT_EXPRESS& expr) {
  if (node == nullptr) return -1;
  return ReadIdList(node, "KeyType", &expr.positive, &expr.key_types);
}

int PolicyExpressionReader::ReadIdList(TiXmlNode* node, const char* child_name,
                                       bool* positive,
                                       std::vector<uint64_t>* ids) {
  if (node == nullptr) return -1;
  ReadPositive(node, positive, diag_);
  const char* const known[] = {child_name};
  WarnUnknownChildren(node, known, 1);
  for (TiXmlNode* child = FirstChildElement(node, child_name); child != nullptr;
       child = NextSiblingElement(child, child_name)) {
    uint64_t value = 0;
    if (CTinyXmlEx::GetValue(child, value)) {
      ids->push_back(value);
    } else {
      diag_->Warn(RowOf(child), "bad value \"" + TextOf(child) + "\" in <" +
                                    child_name + ">, skipped");
    }
  }
  return 0;
}

int PolicyExpressionReader::ReadTimeRange(TiXmlNode* node, CTimeRange& range) {
  if (node == nullptr) return -1;
  ReadPositive(node, &range.positive, diag_);
  const std::string text = Trimmed(TextOf(node));
  const CTimeObjMgrConfig* times = objects_->time_objects;
  if (times == nullptr) {
    diag_->Error(RowOf(node), "time cannot be tested: no time objects given");
    return -1;
  }
  uint64_t id = 0;
  if (!CTinyXmlEx::GetValue(node, id)) id = times->find_by_name(text.c_str());
  // Working time, non-working time and all time always exist; other ids
  // must name a stored object.
  const bool exists = id == CTimeObjMgrConfig::ms_all_time_id ||
                      id == CTimeObjMgrConfig::ms_offduty_time_id ||
                      id == CTimeObjMgrConfig::ms_working_time_id ||
                      (IsOneBit(id) && times->find(id) >= 0);
  if (!exists) {
    diag_->Error(RowOf(node), "time object \"" + text + "\" does not exist");
    return -1;
  }
  range.value = TimeValueOfId(id);
  return 0;
}

// ---- PolicyFileReader ---------------------------------------------------

PolicyFileReader::PolicyFileReader(const PolicyObjects* objects,
                                   PolicyDiagnostics* diag)
    : objects_(objects), diag_(diag), reader_(objects, diag) {}

void PolicyFileReader::CollectIds(std::vector<unsigned int>& ids) {
  LoadFlt(std::vector<std::string>(), 0);
  PolicyFilterList* list = static_cast<PolicyFilterList*>(express);
  for (size_t i = 0; i < list->list.size(); ++i) {
    const PolicyFilter* filter = list->at(i);
    if (filter->apps.values.empty() || !filter->apps.positive) {
      ids.push_back(CAppSubtypeReader::ALL_APP_TYPE);
    } else {
      ids.insert(ids.end(), filter->apps.values.begin(),
                 filter->apps.values.end());
    }
  }
}

int PolicyFileReader::LoadFlt(const std::vector<std::string>& names,
                              uint64_t /*flags*/) {
  TiXmlNode* root = xml.GetRootNode();
  if (root == nullptr) return -1;
  int index = static_cast<int>(express->list.size());
  for (TiXmlElement* node = root->FirstChildElement(); node != nullptr;
       node = node->NextSiblingElement()) {
    if (strcmp(node->Value(), "filter") != 0) {
      diag_->SetFilter(-1, "");
      diag_->Warn(RowOf(node), std::string("unknown element <") +
                                   node->Value() + ">, skipped");
      continue;
    }
    const char* name = node->Attribute("name");
    if (!names.empty() &&
        (name == nullptr ||
         std::find(names.begin(), names.end(), name) == names.end())) {
      continue;
    }
    ReadOneFlt(*node, index++);
  }
  diag_->SetFilter(-1, "");
  return 0;
}

int PolicyFileReader::ReadOneFlt(TiXmlNode& node, int index) {
  PolicyFilter* filter =
      static_cast<PolicyFilter*>(express->NewOneFltExpress());
  std::string name;
  if (!CTinyXmlEx::GetAttr(&node, "name", name) || name.empty()) {
    name = "#" + std::to_string(index);
  }
  filter->name = name;
  filter->line = RowOf(&node);
  diag_->SetFilter(index, name);
  ReadOneFltExpress(*filter, node);
  ReadFilterAttribute(filter->action, node);
  // The action names its filter: the module keeps the filter index in the
  // action's key and the display text in its text.
  filter->action.key = static_cast<uint64_t>(index);
  filter->action.text = name;
  express->InsertOneFltExpress(filter);
  return 0;
}

int PolicyFileReader::ReadOneFltExpress(COneFltExpress& express_base,
                                        TiXmlNode& node) {
  PolicyFilter* filter = static_cast<PolicyFilter*>(&express_base);
  uint32_t seen = 0;
  for (TiXmlElement* child = node.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    if (strcmp(child->Value(), "Action") == 0) continue;
    ReadCondition(filter, child, &seen);
  }
  for (const auto* side : {&filter->src, &filter->dst}) {
    const bool covers =
        !side->ip_ranges.empty() || !side->internet_types.empty() ||
        !side->intranet_types.empty() || !side->device_ids.empty();
    const bool excepts = !side->except_ip_ranges.empty() ||
                         !side->except_internet_types.empty() ||
                         !side->except_intranet_types.empty() ||
                         !side->except_device_ids.empty();
    if (excepts && !covers) {
      diag_->Error(filter->line,
                   std::string(side == &filter->src ? "SrcIP" : "DstIP") +
                       " has only Except entries: an address side that "
                       "covers nothing is never tested");
    }
  }
  return 0;
}

void PolicyFileReader::ReadCondition(PolicyFilter* filter, TiXmlNode* child,
                                     uint32_t* seen) {
  int which = -1;
  for (int i = 0; i < kConditionCount; ++i) {
    if (strcmp(child->Value(), kConditionNames[i]) == 0) which = i;
  }
  if (which < 0) {
    diag_->Warn(RowOf(child), std::string("unknown condition <") +
                                  child->Value() + ">, skipped");
    return;
  }
  if (*seen & (1u << which)) {
    diag_->Warn(RowOf(child), std::string("second <") + child->Value() +
                                  ">, skipped: a filter has one of each");
    return;
  }
  *seen |= 1u << which;
  switch (which) {
    case 0:
      reader_.ReadIP(child, filter->src);
      break;
    case 1:
      reader_.ReadIP(child, filter->dst);
      break;
    case 2:
      reader_.ReadTimeRange(child, filter->time);
      break;
    case 3:
      ReadApps(filter, child);
      break;
    case 4:
      reader_.ReadSize(child, filter->server_ports);
      break;
    case 5:
      ReadIPObjects(filter, child);
      break;
    case 6:
      ReadDepartments(filter, child);
      break;
    case 7:
      ReadUrlTypes(filter, child);
      break;
    case 8:
      reader_.ReadString(child, filter->url_texts);
      break;
    case 9:
      ReadUrlKeys(filter, child);
      break;
  }
}

bool PolicyFileReader::Require(const void* manager, int line,
                               const char* what) {
  if (manager != nullptr) return true;
  diag_->Error(line, std::string(what) + " cannot be tested: none given");
  return false;
}

void PolicyFileReader::ReadApps(PolicyFilter* filter, TiXmlNode* child) {
  reader_.ReadInt(child, filter->apps);
  for (uint32_t id : filter->apps.values) {
    if (id == CAppSubtypeReader::ALL_APP_TYPE ||
        CAppSubtypeReader::FindItemByAppid(id) != nullptr) {
      continue;
    }
    diag_->Error(RowOf(child), "unknown application id " + std::to_string(id));
  }
}

void PolicyFileReader::ReadIPObjects(PolicyFilter* filter, TiXmlNode* child) {
  reader_.ReadIdList(child, "Value", &filter->ip_objects.positive,
                     &filter->ip_objects.ids);
  if (filter->ip_objects.ids.empty() ||
      !Require(objects_->ip_objects, RowOf(child), "IP objects")) {
    return;
  }
  for (uint64_t id : filter->ip_objects.ids) {
    if (IsOneBit(id) && objects_->ip_objects->find(id) >= 0) continue;
    diag_->Error(RowOf(child), "unknown IP object id " + std::to_string(id));
  }
}

void PolicyFileReader::ReadDepartments(PolicyFilter* filter, TiXmlNode* child) {
  reader_.ReadInt(child, filter->departments);
  if (filter->departments.values.empty() ||
      !Require(objects_->plan, RowOf(child), "departments")) {
    return;
  }
  for (uint32_t id : filter->departments.values) {
    if (objects_->plan->FindDepartmentById(id) != nullptr) continue;
    diag_->Error(RowOf(child), "unknown department " + std::to_string(id));
  }
}

void PolicyFileReader::ReadUrlTypes(PolicyFilter* filter, TiXmlNode* child) {
  ReadPositive(child, &filter->url_types.positive, diag_);
  static const char* const kKnown[] = {"System", "User"};
  for (TiXmlElement* item = child->FirstChildElement(); item != nullptr;
       item = item->NextSiblingElement()) {
    const bool system = strcmp(item->Value(), kKnown[0]) == 0;
    if (!system && strcmp(item->Value(), kKnown[1]) != 0) {
      diag_->Warn(RowOf(item), std::string("unknown element <") +
                                   item->Value() + "> in <UrlType>, skipped");
      continue;
    }
    uint64_t bit = 0;
    if (!ParseUnsigned(Trimmed(TextOf(item)), 63, &bit)) {
      diag_->Warn(RowOf(item), "bad category bit \"" + TextOf(item) +
                                   "\" (0 to 63), skipped");
      continue;
    }
    const CSimpleURLTypeConfig* names =
        system ? objects_->system_urls : objects_->user_urls;
    if (!Require(names, RowOf(item),
                 system ? "system URL categories" : "user URL categories")) {
      continue;
    }
    if (!HasCategory(*names, system, static_cast<uint32_t>(bit))) {
      diag_->Error(RowOf(item), std::string("unknown ") +
                                    (system ? "system" : "user") +
                                    " URL category bit " + std::to_string(bit));
    }
    (system ? filter->url_types.system_bits : filter->url_types.user_bits)
        .push_back(static_cast<uint32_t>(bit));
  }
}

void PolicyFileReader::ReadUrlKeys(PolicyFilter* filter, TiXmlNode* child) {
  reader_.ReadKey(child, filter->url_keys);
  if (filter->url_keys.key_types.empty() ||
      !Require(objects_->key_types, RowOf(child), "keyword types")) {
    return;
  }
  for (uint64_t id : filter->url_keys.key_types) {
    if (IsOneBit(id) && objects_->key_types->find(id) >= 0) continue;
    diag_->Error(RowOf(child), "unknown keyword type id " + std::to_string(id));
  }
}

int PolicyFileReader::ReadFilterAttribute(CFilterActionContent& action,
                                          TiXmlNode& node) {
  TiXmlElement* element = node.FirstChildElement("Action");
  if (element == nullptr) {
    diag_->Warn(RowOf(&node), "no <Action>: the filter does nothing");
    return -1;
  }
  for (TiXmlAttribute* attr = element->FirstAttribute(); attr != nullptr;
       attr = attr->Next()) {
    ReadAttrCol(action, attr->Name(), *element);
  }
  if (action.need_interrupt && action.interrupt_code == 0) {
    diag_->Warn(RowOf(element),
                "interrupt_code 0 reads as no interrupt; "
                "the default code is used");
    action.interrupt_code = ~uint64_t{0};
  }
  return 0;
}

int PolicyFileReader::ReadAttrCol(CFilterActionContent& action,
                                  const char* name, TiXmlNode& node) {
  const int line = RowOf(&node);
  std::string text;
  CTinyXmlEx::GetAttr(&node, name, text);
  bool ok = false;
  if (strcmp(name, "save_level") == 0) {
    ok = CTinyXmlEx::GetAttr(&node, name, action.save_level);
  } else if (strcmp(name, "interrupt") == 0) {
    ok = CTinyXmlEx::GetAttr(&node, name, action.need_interrupt);
  } else if (strcmp(name, "interrupt_code") == 0) {
    ok = CTinyXmlEx::GetAttr(&node, name, action.interrupt_code);
  } else if (strcmp(name, "ignore") == 0) {
    ok = CTinyXmlEx::GetAttr(&node, name, action.need_ignore);
  } else if (strcmp(name, "event") == 0) {
    bool event = false;
    ok = CTinyXmlEx::GetAttr(&node, name, event);
    if (ok) action.flags[0] = event ? 1 : 0;
  } else if (strcmp(name, "pri_group") == 0) {
    int group = 0;
    ok = text == "none" ||
         (CTinyXmlEx::GetAttr(&node, name, group) && group >= 1 && group <= 6);
    action.pri_group = ok && text != "none" ? group : -1;
  } else if (strcmp(name, "mode") == 0) {
    ok = text == "stop" || text == "continue";
    if (ok) {
      action.continue_mode = text == "stop"
                                 ? CFilterActionContent::MODE_STOP
                                 : CFilterActionContent::MODE_CONTINUE;
    }
  } else {
    diag_->Warn(line, std::string("unknown action attribute \"") + name +
                          "\", skipped");
    return 0;
  }
  if (!ok) {
    diag_->Warn(line,
                std::string("bad ") + name + " \"" + text + "\", default kept");
  }
  return ok ? 1 : 0;
}

}  // namespace quarn_tool
