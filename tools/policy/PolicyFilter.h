// One filter of the connection policy and the list that holds them.
//
// A filter tests up to ten condition kinds of a connection. Kinds 0 to 2
// are the library's (client address, server address, time); the others
// are this module's, numbered so that the cheap ones come first and the
// keyword search in the URL, the one costly test, comes last: the
// evaluator feeds kinds in ascending order and stops as soon as the
// outcome is settled.

#ifndef QUARN_TOOLS_POLICY_POLICYFILTER_H_
#define QUARN_TOOLS_POLICY_POLICYFILTER_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "filter/CConfigFilterBase.h"
#include "filter/CFilterActionContent.h"
#include "filter/COneFltExpress.h"
#include "filter/CProtoFltExpress.h"

namespace quarn_tool {

// Condition kinds of the connection policy.
enum PolicyKind {
  kKindClient = COneFltExpress::KIND_SRC_ADDR,  // 0: client end address
  kKindServer = COneFltExpress::KIND_DST_ADDR,  // 1: server end address
  kKindTime = COneFltExpress::KIND_TIME,        // 2: time object
  kKindApp = 3,                                 // application id
  kKindServerPort = 4,                          // server port comparisons
  kKindIPObject = 5,                            // IP objects of the inside end
  kKindDepartment = 6,                          // the employee's department
  kKindUrlType = 7,                             // system / user URL category
  kKindUrlText = 8,                             // text fragment of the URL
  kKindUrlKey = 9,                              // keyword type in the URL
  kKindCount = 10,
};

// English name of a kind ("client address", ...); "kind N" beyond.
const char* KindName(int kind);

// A list of one-bit object ids (IP objects) with a positive flag.
struct IdListExpress {
  bool positive = true;
  std::vector<uint64_t> ids;
};

// URL categories: bit numbers (0 to 63) of the system word (hitype) and of
// the user word (lotype), one positive flag for both.
struct UrlTypeExpress {
  bool positive = true;
  std::vector<uint32_t> system_bits;
  std::vector<uint32_t> user_bits;
};

// One connection filter: the library's address sides and time range plus
// this module's expressions and the filter's action. `time.value` names a
// time object: bit number + 1 of its one-bit id (1 to 64), or
// kAllTimeValue for the all-time object; 0 means no time condition.
class PolicyFilter : public COneFltExpress {
 public:
  static constexpr uint32_t kAllTimeValue = 65;

  // No conditions; the action does nothing (save level 0, no event,
  // continue, no priority group).
  PolicyFilter();
  ~PolicyFilter() override {}

  // The action; owned by this filter.
  CFilterActionContent* GetActionContent() override { return &action; }
  // True when no kind is tested (except-only address sides do not count).
  bool IsEmpty() const override;
  // The library's kinds plus bit k for each of this module's kinds k that
  // has an entry.
  uint64_t GetEffectiveMask() const override;
  // The library's negative kinds plus those of this module's expressions.
  uint64_t GetNegativeMask() const override;

  // The one-bit time object id named by `time`; 0 for none, all ones for
  // the all-time object.
  uint64_t TimeObjectId() const;

  INT_FLT_EXPRESS apps;           // application ids (groups cover subtypes)
  SIZE_FLT_EXPRESS server_ports;  // comparisons of the server port
  IdListExpress ip_objects;       // IP object ids
  INT_FLT_EXPRESS departments;    // employee department ids
  UrlTypeExpress url_types;       // URL categories
  STRING_FLT_EXPRESS url_texts;   // fragments, ASCII lower-cased
  KEY_FLT_EXPRESS url_keys;       // keyword type object ids

  CFilterActionContent action;
  std::string name;  // as written in the file (GBK)
  int line = 0;      // line of the filter element
};

// The policy's filter list. Owns the filters it creates: Destroy() (or
// the destructor) releases them.
class PolicyFilterList : public CProtoFltExpress {
 public:
  PolicyFilterList() {}
  ~PolicyFilterList() override { Destroy(); }
  PolicyFilterList(const PolicyFilterList&) = delete;
  PolicyFilterList& operator=(const PolicyFilterList&) = delete;

  // A new, empty PolicyFilter; the caller inserts or destroys it.
  COneFltExpress* NewOneFltExpress() override { return new PolicyFilter; }
  void DestroyOneFltExpress(COneFltExpress* express) override {
    delete express;
  }

  // Filter `i` (0 <= i < list.size()).
  PolicyFilter* at(size_t i) const {
    return static_cast<PolicyFilter*>(list[i]);
  }
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_POLICY_POLICYFILTER_H_
