#include "tools/policy/ConnectionPolicy.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "appid/CAppSubtypeReader.h"
#include "base/OrvaAddr.h"
#include "base/OrvaString.h"

namespace quarn_tool {

namespace {

uint64_t KindBit(int kind) { return uint64_t{1} << kind; }

// OR of table[bit] over the set bits of `mask`.
uint64_t FiltersOfBits(const uint64_t* table, uint64_t mask) {
  uint64_t filters = 0;
  while (mask != 0) {
    filters |= table[__builtin_ctzll(mask)];
    mask &= mask - 1;
  }
  return filters;
}

void AddBit(uint64_t* table, uint64_t id, int index) {
  if (id == 0) return;
  table[__builtin_ctzll(id)] |= FilterBit(static_cast<uint64_t>(index));
}

// The size comparison `size` applied to `value`; see
// PolicyExpressionReader::GetValueSizeRange for the codes.
bool Compare(const CMP_SIZE& size, uint32_t value) {
  switch (size.cmp) {
    case 0:
      return value == size.size1;
    case 1:
      return value != size.size1;
    case 2:
      return value < size.size1;
    case 3:
      return value <= size.size1;
    case 4:
      return value > size.size1;
    case 5:
      return value >= size.size1;
    case 6:
      return size.size1 <= value && value <= size.size2;
  }
  return false;
}

template <typename Table, typename Test>
uint64_t FiltersOf(const Table& table, Test test) {
  uint64_t filters = 0;
  for (const auto& entry : table) {
    if (test(entry.key)) filters |= entry.mask;
  }
  return filters;
}

std::string Hex(uint64_t value) {
  char text[24];
  snprintf(text, sizeof(text), "0x%" PRIX64, value);
  return text;
}

std::string RangeText(const IP_RANGE_PAIR& range) {
  if (range.first == range.second) return Orva::hip_to_string(range.first);
  return Orva::hip_to_string(range.first) + "-" +
         Orva::hip_to_string(range.second);
}

template <typename List, typename Text>
void AppendList(const char* label, const List& list, Text text,
                std::string* out) {
  if (list.empty()) return;
  *out += std::string(" ") + label + "=";
  for (size_t i = 0; i < list.size(); ++i) {
    if (i > 0) *out += ",";
    *out += text(list[i]);
  }
}

std::string Number(uint64_t value) { return std::to_string(value); }

std::string SideText(const char* label, const IPADDR_FLT_EXPRESS& side) {
  std::string text;
  AppendList("range", side.ip_ranges, RangeText, &text);
  AppendList("area", side.internet_types, Hex, &text);
  AppendList("class", side.intranet_types, Number, &text);
  AppendList("device", side.device_ids, Number, &text);
  AppendList("except-range", side.except_ip_ranges, RangeText, &text);
  AppendList("except-area", side.except_internet_types, Hex, &text);
  AppendList("except-class", side.except_intranet_types, Number, &text);
  AppendList("except-device", side.except_device_ids, Number, &text);
  if (text.empty()) return text;
  return std::string(" ") + (side.positive ? "" : "not ") + label + "{" +
         text.substr(1) + "}";
}

std::string SizeText(const CMP_SIZE& size) {
  static const char* const kOps[] = {"", "!=", "<", "<=", ">", ">="};
  if (size.cmp >= 0 && size.cmp < 6) return kOps[size.cmp] + Number(size.size1);
  return Number(size.size1) + "-" + Number(size.size2);
}

}  // namespace

ConnectionPolicy::ConnectionPolicy() { Reset(); }

ConnectionPolicy::~ConnectionPolicy() {}

void ConnectionPolicy::Reset() {
  ready_ = false;
  filters_.Destroy();
  condition_ = CProtoFltCondition();
  apps_.clear();
  ports_.clear();
  departments_.clear();
  url_texts_.clear();
  memset(ip_object_filters_, 0, sizeof(ip_object_filters_));
  memset(sys_url_filters_, 0, sizeof(sys_url_filters_));
  memset(user_url_filters_, 0, sizeof(user_url_filters_));
  memset(key_type_filters_, 0, sizeof(key_type_filters_));
  memset(time_filters_, 0, sizeof(time_filters_));
  key_table_.Destroy();
  kinds_ = 0;
  lowered_valid_ = false;
}

bool ConnectionPolicy::Load(const char* path, const PolicyObjects& objects,
                            std::vector<std::string>* messages) {
  Reset();
  objects_ = objects;
  const std::string file = path != nullptr ? path : "";
  PolicyDiagnostics diag(file);
  PolicyFileReader reader(&objects_, &diag);
  if (reader.Load(file.c_str(), filters_) != 0) {
    CTinyXmlEx probe;
    if (probe.open_for_readonly(file.c_str()) != 0) {
      diag.Error(0, "cannot read the policy: " + probe.error());
    } else {
      diag.Error(0, "the policy holds no filter");
    }
  }
  Check(&diag);
  if (diag.error_count() == 0) {
    TransExpressToCondition();
    FoldTimes();
    BuildKeywordTable(&diag);
  }
  if (diag.error_count() == 0) ready_ = result_.SetFilter(this) == 0;
  messages->insert(messages->end(), diag.messages().begin(),
                   diag.messages().end());
  return ready_;
}

void ConnectionPolicy::Check(PolicyDiagnostics* diag) {
  const int count = filter_count();
  if (count > kMaxFilters) {
    diag->SetFilter(kMaxFilters, filters_.at(kMaxFilters)->name);
    diag->Error(filters_.at(kMaxFilters)->line,
                std::to_string(count) +
                    " filters: a policy holds at most 64, this one and "
                    "the later ones cannot be evaluated");
    diag->SetFilter(-1, "");
  }
  for (int i = 0; i < count; ++i) kinds_ |= filters_.at(i)->GetEffectiveMask();
}

void ConnectionPolicy::TransOneExpressToCondition(int index,
                                                  COneFltExpress* express,
                                                  CProtoFltCondition*) {
  const PolicyFilter* filter = static_cast<const PolicyFilter*>(express);
  const uint64_t bit = static_cast<uint64_t>(index);
  IntExpressToCondition(bit, filter->apps, apps_);
  SizeExpressToCondition(bit, filter->server_ports, ports_);
  IntExpressToCondition(bit, filter->departments, departments_);
  for (uint64_t id : filter->ip_objects.ids) {
    AddBit(ip_object_filters_, id, index);
  }
  for (uint32_t b : filter->url_types.system_bits) {
    sys_url_filters_[b] |= FilterBit(bit);
  }
  for (uint32_t b : filter->url_types.user_bits) {
    user_url_filters_[b] |= FilterBit(bit);
  }
  for (uint64_t id : filter->url_keys.key_types) {
    AddBit(key_type_filters_, id, index);
  }
  for (const std::string& text : filter->url_texts.strings) {
    auto it = url_texts_.begin();
    while (it != url_texts_.end() && it->first != text) ++it;
    if (it == url_texts_.end()) {
      url_texts_.emplace_back(text, FilterBit(bit));
    } else {
      it->second |= FilterBit(bit);
    }
  }
}

void ConnectionPolicy::FoldTimes() {
  // The library's time table lists, per filter, its time ranges; a range
  // value is the bit number + 1 of a time object (see PolicyFilter).
  for (const TIME_CONDITION_ITEM& item : condition_.time) {
    for (const CTimeRange& range : item.ranges) {
      if (range.value == 0) continue;
      const uint32_t slot =
          range.value == PolicyFilter::kAllTimeValue ? 64 : range.value - 1;
      time_filters_[slot] |= FilterBit(item.filter_index);
    }
  }
}

void ConnectionPolicy::BuildKeywordTable(PolicyDiagnostics* diag) {
  if ((kinds_ & KindBit(kKindUrlKey)) == 0 || objects_.key_types == nullptr) {
    return;
  }
  // The table's type masks are the keyword type objects' ids, so a hit
  // names the objects directly. Keys are lower-cased as the table's own
  // loader does; the URL is lower-cased the same way before matching.
  uint64_t bytes = 1;
  for (const auto& type : objects_.key_types->objs) {
    for (const std::string& key : type.keys) bytes += key.size() + 1;
  }
  key_table_.Create(bytes, bytes, 256, 65536);
  for (const auto& type : objects_.key_types->objs) {
    for (const std::string& key : type.keys) {
      const std::string lowered = Orva::str_lwr(key);
      if (!key_table_.AddBinaryKey(type.id, lowered.data(), lowered.size())) {
        diag->Warn(0, "keyword \"" + key + "\" of keyword type \"" + type.name +
                          "\" is refused by the keyword table");
      }
    }
  }
}

int ConnectionPolicy::GetColConditionMask(uint64_t* mask) {
  *mask = 0;
  return 0;
}

bool ConnectionPolicy::Evaluate(const ConnectionFacts& facts, Verdict* out) {
  *out = Verdict();
  if (!ready_) return false;
  lowered_valid_ = false;
  result_.Clear();
  // Kinds in ascending order: cheap ones first, the keyword search last.
  uint64_t pending = kinds_;
  while (pending != 0) {
    const int kind = __builtin_ctzll(pending);
    pending &= pending - 1;
    out->fed_kinds |= KindBit(kind);
    if (result_.OnCondition(kind, &facts) == CFilterResult::CMP_COMPLETE) break;
  }
  if (kinds_ == 0) result_.OnCondition(0, &facts);
  out->result = result_.GetCmpResult();
  CFilterActionContent* const* list = nullptr;
  out->passed_count = result_.GetPassedFilters(list);
  for (int i = 0; i < out->passed_count; ++i) {
    out->passed[i] = static_cast<uint8_t>(list[i]->key);
  }
  out->event_count = result_.GetEventFilters(list);
  for (int i = 0; i < out->event_count; ++i) {
    out->events[i] = static_cast<uint8_t>(list[i]->key);
  }
  out->save_level = result_.GetMaxSaveLevel();
  out->interrupt_code = result_.IsNeedtoInterrupt();
  out->ignore = result_.IsNeedtoIgnore();
  return true;
}

void ConnectionPolicy::MatchCondition(uint64_t* matched, int kind,
                                      const void* data, const uint64_t*) {
  const ConnectionFacts& facts = *static_cast<const ConnectionFacts*>(data);
  switch (kind) {
    case kKindClient:
      *matched = MatchSide(condition_.src, facts.client);
      return;
    case kKindServer:
      *matched = MatchSide(condition_.dst, facts.server);
      return;
    case kKindTime:
      *matched = MatchTime(facts.time_objects);
      return;
    case kKindApp:
      *matched = MatchApp(facts.app_id);
      return;
    case kKindServerPort:
      *matched = MatchPort(facts.server.port);
      return;
    case kKindIPObject:
      *matched = FiltersOfBits(ip_object_filters_, facts.ip_objects);
      return;
    case kKindDepartment:
      *matched = MatchDepartment(facts.employee_department);
      return;
    case kKindUrlType:
      *matched = MatchUrlType(facts.url_types);
      return;
    case kKindUrlText:
      *matched = MatchUrlText(facts);
      return;
    case kKindUrlKey:
      *matched = MatchUrlKey(facts);
      return;
  }
  *matched = 0;
}

uint64_t ConnectionPolicy::MatchSide(const CIPAddrFltCondition& side,
                                     const EndpointFacts& end) const {
  auto in_range = [&end](const IP_RANGE_PAIR& r) {
    return r.first <= end.ip && end.ip <= r.second;
  };
  // An area type names the level-1 or the level-2 area of the address.
  auto in_area = [&end](uint64_t area) {
    return area != 0 && (area == end.area1 || area == end.area2);
  };
  // A class or department type names the address's department, its
  // company class, or the server class.
  auto in_class = [&end](uint32_t type) {
    return type == end.department || type == end.company_class ||
           (end.server && type == COrgStructInfo::ORG_SERVER);
  };
  auto is_device = [&end](uint64_t id) {
    return end.device_id != 0 && id == end.device_id;
  };
  const uint64_t covered = FiltersOf(side.ip_ranges, in_range) |
                           FiltersOf(side.internet_types, in_area) |
                           FiltersOf(side.intranet_types, in_class) |
                           FiltersOf(side.device_ids, is_device);
  if (covered == 0) return 0;
  const uint64_t excepted = FiltersOf(side.except_ip_ranges, in_range) |
                            FiltersOf(side.except_internet_types, in_area) |
                            FiltersOf(side.except_intranet_types, in_class) |
                            FiltersOf(side.except_device_ids, is_device);
  return covered & ~excepted;
}

uint64_t ConnectionPolicy::MatchTime(uint64_t time_objects) const {
  return time_filters_[64] | FiltersOfBits(time_filters_, time_objects);
}

uint64_t ConnectionPolicy::MatchApp(uint32_t app_id) const {
  // A group id covers its subtypes: the protocol tree says which group an
  // id belongs to.
  const uint32_t group = CAppSubtypeReader::GetExtGrpAppType(app_id);
  uint64_t filters = 0;
  for (const INT_CONDITION_ITEM& item : apps_) {
    if (item.value == app_id || (group != 0 && item.value == group) ||
        item.value == CAppSubtypeReader::ALL_APP_TYPE) {
      filters |= item.mask;
    }
  }
  return filters;
}

uint64_t ConnectionPolicy::MatchPort(uint16_t port) const {
  uint64_t filters = 0;
  for (const SIZE_CONDITION_ITEM& item : ports_) {
    if (Compare(item.size, port)) filters |= item.mask;
  }
  return filters;
}

uint64_t ConnectionPolicy::MatchDepartment(uint32_t department) const {
  uint64_t filters = 0;
  for (const INT_CONDITION_ITEM& item : departments_) {
    if (item.value == department) filters |= item.mask;
  }
  return filters;
}

uint64_t ConnectionPolicy::MatchUrlType(const URL_GROUP_TYPE& types) const {
  return FiltersOfBits(sys_url_filters_, types.hitype) |
         FiltersOfBits(user_url_filters_, types.lotype);
}

const char* ConnectionPolicy::LoweredUrl(const ConnectionFacts& facts) {
  if (facts.url == nullptr) return nullptr;
  if (!lowered_valid_) {
    size_t n = strlen(facts.url);
    if (n >= kUrlBufferSize) n = kUrlBufferSize - 1;
    memcpy(lowered_url_, facts.url, n);
    lowered_url_[n] = '\0';
    Orva::str_lwr(lowered_url_);
    lowered_length_ = n;
    lowered_valid_ = true;
  }
  return lowered_url_;
}

uint64_t ConnectionPolicy::MatchUrlText(const ConnectionFacts& facts) {
  const char* url = LoweredUrl(facts);
  if (url == nullptr) return 0;
  uint64_t filters = 0;
  for (const auto& entry : url_texts_) {
    if (strstr(url, entry.first.c_str()) != nullptr) filters |= entry.second;
  }
  return filters;
}

uint64_t ConnectionPolicy::MatchUrlKey(const ConnectionFacts& facts) {
  const char* url = LoweredUrl(facts);
  if (url == nullptr) return 0;
  const uint64_t types = key_table_.TextMatch(url, lowered_length_);
  return FiltersOfBits(key_type_filters_, types);
}

void ConnectionPolicy::Explain(const ConnectionFacts& facts,
                               std::vector<ConditionTrace>* out) {
  out->clear();
  lowered_valid_ = false;
  uint64_t matched[kKindCount] = {};
  for (int kind = 0; kind < kKindCount; ++kind) {
    if (kinds_ & KindBit(kind))
      MatchCondition(&matched[kind], kind, &facts, nullptr);
  }
  for (int i = 0; i < filter_count(); ++i) {
    const uint64_t effective = filters_.at(i)->GetEffectiveMask();
    const uint64_t negative = filters_.at(i)->GetNegativeMask();
    for (int kind = 0; kind < kKindCount; ++kind) {
      if ((effective & KindBit(kind)) == 0) continue;
      ConditionTrace trace;
      trace.filter = i;
      trace.kind = kind;
      trace.negative = (negative & KindBit(kind)) != 0;
      trace.matched = (matched[kind] & FilterBit(i)) != 0;
      out->push_back(trace);
    }
  }
}

std::string ConnectionPolicy::TraceText(const ConditionTrace& trace) const {
  const PolicyFilter& f = filter(trace.filter);
  std::string text = "filter " + std::to_string(trace.filter) + " \"" + f.name +
                     "\": " + KindName(trace.kind) +
                     (trace.matched ? " matched" : " did not match");
  if (trace.negative) text += ", required not to";
  return text + (trace.satisfied() ? ": holds" : ": fails");
}

std::vector<std::string> ConnectionPolicy::Describe() const {
  std::vector<std::string> lines;
  for (int i = 0; i < filter_count(); ++i) lines.push_back(DescribeFilter(i));
  return lines;
}

std::string ConnectionPolicy::DescribeFilter(int index) const {
  const PolicyFilter& f = filter(index);
  return std::to_string(index) + " \"" + f.name + "\" (line " +
         std::to_string(f.line) + "): " + ConditionText(index) + " => " +
         ActionText(index);
}

std::string ConnectionPolicy::ConditionText(int index) const {
  const PolicyFilter& f = filter(index);
  std::string text;
  text += SideText("client", f.src);
  text += SideText("server", f.dst);
  if (f.time.value != 0) {
    text += std::string(" ") + (f.time.positive ? "" : "not ") + "time{" +
            Hex(f.TimeObjectId()) + "}";
  }
  auto add = [&text](const char* label, bool positive, const std::string& s) {
    if (s.empty()) return;
    text += std::string(" ") + (positive ? "" : "not ") + label + "{" +
            s.substr(1) + "}";
  };
  std::string s;
  AppendList("id", f.apps.values, Number, &s);
  add("app", f.apps.positive, s);
  s.clear();
  AppendList("port", f.server_ports.size_ranges, SizeText, &s);
  add("server-port", f.server_ports.positive, s);
  s.clear();
  AppendList("id", f.ip_objects.ids, Number, &s);
  add("ip-object", f.ip_objects.positive, s);
  s.clear();
  AppendList("id", f.departments.values, Number, &s);
  add("department", f.departments.positive, s);
  s.clear();
  AppendList("system", f.url_types.system_bits, Number, &s);
  AppendList("user", f.url_types.user_bits, Number, &s);
  add("url-type", f.url_types.positive, s);
  s.clear();
  AppendList(
      "text", f.url_texts.strings, [](const std::string& t) { return t; }, &s);
  add("url-text", f.url_texts.positive, s);
  s.clear();
  AppendList("id", f.url_keys.key_types, Number, &s);
  add("url-key", f.url_keys.positive, s);
  if (text.empty()) return "every connection";
  return text.substr(1);
}

std::string ConnectionPolicy::ActionText(int index) const {
  const CFilterActionContent& a = filter(index).action;
  std::string text = "save " + std::to_string(a.save_level);
  if (a.need_interrupt) text += ", interrupt " + Hex(a.interrupt_code);
  if (a.need_ignore) text += ", ignore";
  if (a.flags[0] != 0) text += ", event";
  if (a.pri_group >= 1 && a.pri_group <= 6) {
    text += ", group " + std::to_string(a.pri_group);
  }
  text += a.continue_mode == CFilterActionContent::MODE_STOP ? ", stop"
                                                             : ", continue";
  return text;
}

}  // namespace quarn_tool
