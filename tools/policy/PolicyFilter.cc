#include "tools/policy/PolicyFilter.h"

namespace quarn_tool {

namespace {

uint64_t KindBit(int kind) { return uint64_t{1} << kind; }

}  // namespace

const char* KindName(int kind) {
  static const char* const kNames[kKindCount] = {
      "client address", "server address",  "time",       "application",
      "server port",    "IP object",       "department", "URL category",
      "URL text",       "URL keyword type"};
  return kind >= 0 && kind < kKindCount ? kNames[kind] : "unknown kind";
}

PolicyFilter::PolicyFilter() {
  // The library's action starts with every word set; a filter of this
  // module starts doing nothing until its file says otherwise.
  action.flags[0] = 0;
  action.save_level = 0;
  action.continue_mode = CFilterActionContent::MODE_CONTINUE;
  action.pri_group = -1;
}

bool PolicyFilter::IsEmpty() const { return GetEffectiveMask() == 0; }

uint64_t PolicyFilter::GetEffectiveMask() const {
  uint64_t mask = COneFltExpress::GetEffectiveMask();
  if (!apps.values.empty()) mask |= KindBit(kKindApp);
  if (!server_ports.size_ranges.empty()) mask |= KindBit(kKindServerPort);
  if (!ip_objects.ids.empty()) mask |= KindBit(kKindIPObject);
  if (!departments.values.empty()) mask |= KindBit(kKindDepartment);
  if (!url_types.system_bits.empty() || !url_types.user_bits.empty()) {
    mask |= KindBit(kKindUrlType);
  }
  if (!url_texts.strings.empty()) mask |= KindBit(kKindUrlText);
  if (!url_keys.key_types.empty()) mask |= KindBit(kKindUrlKey);
  return mask;
}

uint64_t PolicyFilter::GetNegativeMask() const {
  uint64_t mask = COneFltExpress::GetNegativeMask();
  if (!apps.positive) mask |= KindBit(kKindApp);
  if (!server_ports.positive) mask |= KindBit(kKindServerPort);
  if (!ip_objects.positive) mask |= KindBit(kKindIPObject);
  if (!departments.positive) mask |= KindBit(kKindDepartment);
  if (!url_types.positive) mask |= KindBit(kKindUrlType);
  if (!url_texts.positive) mask |= KindBit(kKindUrlText);
  if (!url_keys.positive) mask |= KindBit(kKindUrlKey);
  return mask;
}

uint64_t PolicyFilter::TimeObjectId() const {
  if (time.value == 0) return 0;
  if (time.value == kAllTimeValue) return ~uint64_t{0};
  return uint64_t{1} << (time.value - 1);
}

}  // namespace quarn_tool
