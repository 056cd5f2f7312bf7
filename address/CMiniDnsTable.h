// Learns, from the DNS responses that pass the gateway, which IPv4
// addresses belong to domains a host process watches, so that a later
// connection to such an address can be tied back to the watch.
//
// A host registers watch items (domain patterns and a 64-bit value of its
// own), calls Create(), feeds DNS payloads to DecodeDnsData and asks
// QueryItem whether an address belongs to an item. The table takes no
// locks: one thread feeds and queries, or the host serializes access.

#ifndef QUARN_ADDRESS_CMINIDNSTABLE_H_
#define QUARN_ADDRESS_CMINIDNSTABLE_H_

#include "quarn_common/base/Export.h"

#include <ace/Null_Mutex.h>
#include <ace/Singleton.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "quarn_common/base/CTimeStamp32.h"

class QUARN_EXPORT CMiniDnsTable {
 public:
  // Most (address, item) entries the table holds; more are ignored.
  static constexpr int kCapacity = 1024;
  static constexpr int kBuckets = 4096;
  // Entries not refreshed for longer than this are dropped by CheckTimeOut.
  static constexpr int32_t kEntryLifetimeSeconds = 86400;

  CMiniDnsTable();
  ~CMiniDnsTable();
  CMiniDnsTable(const CMiniDnsTable&) = delete;
  CMiniDnsTable& operator=(const CMiniDnsTable&) = delete;

  // Builds the empty address table; nothing is learnt before this.
  void Create();
  // Frees every watch item (their handles become invalid) and the address
  // table.
  void Destory();

  // Registers a watch item; a name that contains any of `patterns` (byte
  // comparison, case-sensitive) feeds it. Returns its handle, owned by the
  // table and valid until DelItem or Destory.
  void* AddItem(const std::vector<std::string>& patterns, int64_t value);
  // Removes the item and every address learnt for it. Returns 0.
  int DelItem(void* item);

  // Learns from one DNS payload seen from `src_port` to `dst_port`.
  // Returns 1 when the payload has no complete header or announces 256 or
  // more questions or answers; 0xFFFFFFFF when it is a query or does not
  // come from port 53; otherwise 0, also when the answers turn out to be
  // malformed (then nothing is learnt).
  int DecodeDnsData(const char* payload, int length, unsigned short src_port,
                    unsigned short dst_port, const CTimeStamp32& now);
  // Learns that `name` resolves to `ip` (network byte order) for every item
  // the name matches. Returns 0.
  int put_into_table(const char* name, unsigned int ip,
                     const CTimeStamp32& now);
  // Adds the entry (ip, item), ip in host order, or refreshes its time
  // stamp. Nothing is added when the table is full or not created.
  void QueryOrAddItem(void* item, unsigned int ip, const char* name,
                      const CTimeStamp32& now);
  // 1 when `ip` (host order) was learnt for `item`, with `value` set to
  // the item's value; else 0. A null item gives 0.
  int QueryItem(void* item, unsigned int ip, int64_t& value) const;
  int QueryItem(void* item, unsigned int ip) const;

  // Drops entries last refreshed more than kEntryLifetimeSeconds before
  // `now`.
  void CheckTimeOut(const CTimeStamp32& now);

  // Number of (address, item) entries held.
  int size() const;

 private:
  struct WatchItem;
  class AddressTable;

  std::vector<std::unique_ptr<WatchItem>> items_;
  std::unique_ptr<AddressTable> table_;
};

// The instantiation that holds the process-wide instance is made once,
// in the library, and exported: the library and its hosts share it.
extern template class QUARN_EXPORT ACE_Singleton<CMiniDnsTable, ACE_Null_Mutex>;

class QUARN_EXPORT CMiniDnsTable_Singleton
    : public ACE_Singleton<CMiniDnsTable, ACE_Null_Mutex> {
 public:
  static CMiniDnsTable* instance() {
    return ACE_Singleton<CMiniDnsTable, ACE_Null_Mutex>::instance();
  }
};

#endif  // QUARN_ADDRESS_CMINIDNSTABLE_H_
