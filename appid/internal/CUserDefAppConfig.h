// What the two versions of the "user_def_app" document share: element
// names, the range lists below each entry, range tests, and the server
// address-and-port condition.

#ifndef QUARN_APPID_INTERNAL_CUSERDEFAPPCONFIG_H_
#define QUARN_APPID_INTERNAL_CUSERDEFAPPCONFIG_H_

#include <string>
#include <vector>

#include "address/AddressPredicates.h"
#include "base/CTinyXmlEx.h"

namespace quarn_userdef {

extern const char kRootElement[];  // "user_def_app"
extern const char kItemElement[];  // "one_app"

// 1 when some range of `list` holds `value`, or `list` is empty.
template <typename Range, typename Value>
int InList(const std::vector<Range>& list, Value value) {
  if (list.empty()) return 1;
  for (const Range& range : list) {
    if (range.first <= value && value <= range.second) return 1;
  }
  return 0;
}

// Appends the "ip_range" entries of the child "ip" and the "port_range"
// entries of the child "port" of `node`, when those children are there.
void ReadRanges(TiXmlNode* node, std::vector<IP_RANGE_PAIR>* ips,
                std::vector<UINT16_RANGE_PAIR>* ports);
// Adds the children "ip" and "port" with their entries to `node`. False
// when `node` is null or a child cannot be created.
bool WriteRanges(TiXmlNode* node, const std::vector<IP_RANGE_PAIR>& ips,
                 const std::vector<UINT16_RANGE_PAIR>& ports);

// The server's address in `ips` and its port in `ports`, with the
// direction rules of UserDefAppItem.
int ServerIPAndServerPort(const std::vector<IP_RANGE_PAIR>& ips,
                          const std::vector<UINT16_RANGE_PAIR>& ports,
                          const tagIPv4_CONNECT_ADDR& addr, DIR_CS& dir);

// The file name of `path` without directory and without everything from
// its last ".".
std::string BaseNameWithoutExtension(const char* path);

}  // namespace quarn_userdef

#endif  // QUARN_APPID_INTERNAL_CUSERDEFAPPCONFIG_H_
