// Address predicates and connection direction.
//
// Stateless questions about IPv4 addresses and connections, answered from
// the process-wide company address plan (CLocalIPTypeTable_Singleton). The
// plan is created with its defaults on first use if no host has loaded it.
// Read-only over the plan: callable from any thread as long as no thread
// reloads the plan at the same time.
//
// When the plan cannot be created at all (out of memory), no address is in
// any company list: every predicate of membership answers 0, every address
// is an outside address, and the direction functions decide accordingly.

#ifndef QUARN_ADDRESS_ADDRESSPREDICATES_H_
#define QUARN_ADDRESS_ADDRESSPREDICATES_H_

#include "quarn_common/base/Export.h"

#include <stdint.h>

// One connection's two endpoints; addresses in host order.
struct tagIPv4_CONNECT_ADDR {
  uint32_t first_ip;
  uint16_t first_port;
  uint32_t second_ip;
  uint16_t second_port;
};

// Data direction of a connection.
enum DIR_IO : int32_t {
  DIR_IO_UNKNOWN = -1,  // not yet decided
  DIR_IO_IN = 0,        // inbound: the second endpoint is the inside end
  DIR_IO_OUT = 1,       // outbound: the first endpoint is the inside end
};

// Which endpoint of a connection is the client.
enum DIR_CS : int32_t {
  DIR_CS_UNKNOWN = -1,      // not yet decided
  DIR_CS_FIRST_SERVER = 0,  // the first endpoint is the server
  DIR_CS_FIRST_CLIENT = 1,  // the first endpoint is the client
};

// Transports understood by quarn_GetUKAppId.
enum { QUARN_TRANSPORT_TCP = 1, QUARN_TRANSPORT_UDP = 2 };

// 1 when `ip` is in the default private networks or the intranet ranges.
QUARN_EXPORT int GetIP_IsPrivateAddr(unsigned int ip);
// 1 when `ip` is in the intranet ranges.
QUARN_EXPORT int GetIP_IsInVPN(unsigned int ip);
// 1 when `ip` is in the DMZ ranges.
QUARN_EXPORT int GetIP_IsInternetDMZ(unsigned int ip);
// 1 with *ip_type = 21 when `ip` is in the intranet ranges, 1 with
// *ip_type = 31 when it is in the DMZ ranges, else 0 with *ip_type left
// alone. `ip_type` may be null.
QUARN_EXPORT int GetIP_IsIPInCompany(unsigned int ip, int* ip_type);
// 0 when `ip` is in the default private networks or the intranet ranges,
// else 1.
QUARN_EXPORT int GetIP_IsOutterAddr(unsigned int ip);
// The negation of GetIP_IsOutterAddr.
QUARN_EXPORT int GetIP_IsInnerAddr(unsigned int ip);

// Splits the connection's addresses into the inside and the outside end.
// A `dir` of DIR_IO_OUT or DIR_IO_IN decides by itself; otherwise the first
// end is the outside one only when it is an outside address and the second
// is not. `out_dir` receives the direction taken.
QUARN_EXPORT void quarn_GetIPDir(DIR_IO dir, const tagIPv4_CONNECT_ADDR& addr,
                                 unsigned int& inside_ip,
                                 unsigned int& outside_ip, int& out_dir);
// The same decision as quarn_GetIPDir, handing out the ports of the ends.
QUARN_EXPORT void quarn_GetPortDir(DIR_IO dir, const tagIPv4_CONNECT_ADDR& addr,
                                   unsigned short& inside_port,
                                   unsigned short& outside_port, int& out_dir);
// The data direction: `dir` itself when already decided, else judged from
// the intranet and DMZ ranges and the outside test.
QUARN_EXPORT DIR_IO quarn_GetDataDir(DIR_IO dir,
                                     const tagIPv4_CONNECT_ADDR& addr);
// Decides which end is the client when `cs` is still DIR_CS_UNKNOWN: a
// broadcast-looking end (last octet 255) is the server, else the first end
// is the client when it is not an outside address.
QUARN_EXPORT void quarn_JudgeCSDir(const tagIPv4_CONNECT_ADDR& addr,
                                   DIR_CS& cs);
// The unknown-application id of a connection with no recognised protocol:
// a service when either port is 1024 or below, data otherwise; the TCP,
// UDP or plain variant by `transport` (1 TCP, 2 UDP, other plain).
QUARN_EXPORT unsigned int quarn_GetUKAppId(const tagIPv4_CONNECT_ADDR& addr,
                                           int transport);

#endif  // QUARN_ADDRESS_ADDRESSPREDICATES_H_
