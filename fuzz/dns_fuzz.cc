// Feeds arbitrary bytes to the DNS decoder and to the mini DNS table as a
// response from port 53.

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "address/CMiniDnsTable.h"
#include "base/CCommonDNSDecode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* payload = reinterpret_cast<const char*>(data);
  const int length = static_cast<int>(size);
  CCommonDNSDecode::DNS_HEADER header;
  CCommonDNSDecode::DNSDecode_Header(payload, length, header);
  std::vector<CCommonDNSDecode::DNS_RSP_ADDR> answers;
  CCommonDNSDecode::DSNDecode_Rsp(payload, length, answers);

  static CMiniDnsTable* table = [] {
    CMiniDnsTable* t = new CMiniDnsTable;
    t->Create();
    t->AddItem({"a", "com"}, 1);
    t->AddItem({"."}, 2);
    return t;
  }();
  table->DecodeDnsData(payload, length, 53, 1024, CTimeStamp32(size, 0));
  table->CheckTimeOut(CTimeStamp32(size + 100000, 0));
  return 0;
}
