#include "base/CCommonDNSDecode.h"

#include <arpa/nameser.h>
#include <string.h>

namespace {

constexpr int kHeaderSize = 12;

uint16_t Get16(const unsigned char* p) {
  return static_cast<uint16_t>((p[0] << 8) | p[1]);
}

}  // namespace

int CCommonDNSDecode::DNSDecode_Header(const char* payload, int length,
                                       DNS_HEADER& header) {
  if (payload == nullptr || length < kHeaderSize) return -1;
  const unsigned char* p = reinterpret_cast<const unsigned char*>(payload);
  header.id = Get16(p);
  header.flags = Get16(p + 2);
  header.qdcount = Get16(p + 4);
  header.ancount = Get16(p + 6);
  header.nscount = Get16(p + 8);
  header.arcount = Get16(p + 10);
  return (header.flags & 0x8000) ? 1 : 0;
}

// The resolver library's parser checks every name, pointer and length
// against the end of the message, and refuses pointer loops, so nothing
// here does pointer arithmetic on the payload itself.
int CCommonDNSDecode::DSNDecode_Rsp(const char* payload, int length,
                                    std::vector<DNS_RSP_ADDR>& answers) {
  answers.clear();
  if (payload == nullptr || length < kHeaderSize) return 0;
  ns_msg msg;
  if (ns_initparse(reinterpret_cast<const unsigned char*>(payload), length,
                   &msg) < 0) {
    return 0;
  }
  std::string question;
  ns_rr rr;
  if (ns_msg_count(msg, ns_s_qd) > 0) {
    if (ns_parserr(&msg, ns_s_qd, 0, &rr) < 0) return 0;
    question = ns_rr_name(rr);
  }
  const int count = ns_msg_count(msg, ns_s_an);
  for (int i = 0; i < count; ++i) {
    if (ns_parserr(&msg, ns_s_an, i, &rr) < 0) {
      answers.clear();
      return 0;
    }
    if (ns_rr_type(rr) != ns_t_a || ns_rr_class(rr) != ns_c_in ||
        ns_rr_rdlen(rr) != 4) {
      continue;
    }
    DNS_RSP_ADDR a;
    memcpy(&a.ip, ns_rr_rdata(rr), 4);
    a.name = ns_rr_name(rr);
    const bool aliased =
        !question.empty() && strcasecmp(question.c_str(), a.name.c_str()) != 0;
    answers.push_back(a);
    if (aliased) {
      a.name = question;
      answers.push_back(std::move(a));
    }
  }
  return 1;
}
