#include "address/CMiniDnsTable.h"

#include <arpa/inet.h>
#include <string.h>

#include <algorithm>

#include "base/CCommonDNSDecode.h"

struct CMiniDnsTable::WatchItem {
  std::vector<std::string> patterns;
  int64_t value = 0;

  bool Matches(const char* name) const {
    for (const std::string& p : patterns) {
      if (strstr(name, p.c_str()) != nullptr) return true;
    }
    return false;
  }
};

// Fixed pool of entries chained into buckets by address; allocated once.
class CMiniDnsTable::AddressTable {
 public:
  AddressTable() : bucket_(kBuckets, kNone), entry_(kCapacity) {
    for (int i = 0; i < kCapacity; ++i) entry_[i].next = i + 1;
    entry_[kCapacity - 1].next = kNone;
    free_ = 0;
  }

  void Touch(void* item, uint32_t ip, const CTimeStamp32& now) {
    int* link = Lookup(item, ip);
    if (*link != kNone) {
      entry_[*link].stamp = now;
      return;
    }
    if (free_ == kNone) return;  // full: ignored
    const int e = free_;
    free_ = entry_[e].next;
    entry_[e] = Entry{ip, now, item, bucket_[Bucket(ip)]};
    bucket_[Bucket(ip)] = e;
    ++size_;
  }

  bool Has(void* item, uint32_t ip) const {
    for (int e = bucket_[Bucket(ip)]; e != kNone; e = entry_[e].next) {
      if (entry_[e].ip == ip && entry_[e].item == item) return true;
    }
    return false;
  }

  // Removes every entry for which drop(entry) holds.
  template <typename Pred>
  void RemoveIf(Pred drop) {
    for (int b = 0; b < kBuckets; ++b) {
      int* link = &bucket_[b];
      while (*link != kNone) {
        const int e = *link;
        if (drop(entry_[e])) {
          *link = entry_[e].next;
          entry_[e].next = free_;
          entry_[e].item = nullptr;
          free_ = e;
          --size_;
        } else {
          link = &entry_[e].next;
        }
      }
    }
  }

  int size() const { return size_; }

  struct Entry {
    uint32_t ip;
    CTimeStamp32 stamp;
    void* item;
    int next;
  };

 private:
  static constexpr int kNone = -1;

  static int Bucket(uint32_t ip) {
    return static_cast<int>((ip * 2654435761u) >> 20) & (kBuckets - 1);
  }

  // The link that points at the entry (ip, item), or at kNone at the end
  // of its chain.
  int* Lookup(void* item, uint32_t ip) {
    int* link = &bucket_[Bucket(ip)];
    while (*link != kNone &&
           !(entry_[*link].ip == ip && entry_[*link].item == item)) {
      link = &entry_[*link].next;
    }
    return link;
  }

  std::vector<int> bucket_;
  std::vector<Entry> entry_;
  int free_;
  int size_ = 0;
};

CMiniDnsTable::CMiniDnsTable() = default;

CMiniDnsTable::~CMiniDnsTable() { Destory(); }

void CMiniDnsTable::Create() { table_.reset(new AddressTable); }

void CMiniDnsTable::Destory() {
  items_.clear();
  table_.reset();
}

void* CMiniDnsTable::AddItem(const std::vector<std::string>& patterns,
                             int64_t value) {
  items_.emplace_back(new WatchItem);
  items_.back()->patterns = patterns;
  items_.back()->value = value;
  return items_.back().get();
}

int CMiniDnsTable::DelItem(void* item) {
  auto it = std::find_if(
      items_.begin(), items_.end(),
      [item](const std::unique_ptr<WatchItem>& w) { return w.get() == item; });
  if (it == items_.end()) return 0;
  if (table_) {
    table_->RemoveIf(
        [item](const AddressTable::Entry& e) { return e.item == item; });
  }
  items_.erase(it);
  return 0;
}

int CMiniDnsTable::DecodeDnsData(const char* payload, int length,
                                 unsigned short src_port,
                                 unsigned short /*dst_port*/,
                                 const CTimeStamp32& now) {
  CCommonDNSDecode::DNS_HEADER header;
  const int kind = CCommonDNSDecode::DNSDecode_Header(payload, length, header);
  if (kind < 0 || header.qdcount >= 256 || header.ancount >= 256) return 1;
  if (kind == 0) return static_cast<int>(0xFFFFFFFF);
  if (kind != 1) return 0;
  if (src_port != 53) return static_cast<int>(0xFFFFFFFF);

  std::vector<CCommonDNSDecode::DNS_RSP_ADDR> answers;
  if (!CCommonDNSDecode::DSNDecode_Rsp(payload, length, answers)) return 0;
  for (const CCommonDNSDecode::DNS_RSP_ADDR& a : answers) {
    put_into_table(a.name.c_str(), a.ip, now);
  }
  return 0;
}

int CMiniDnsTable::put_into_table(const char* name, unsigned int ip,
                                  const CTimeStamp32& now) {
  if (name == nullptr) return 0;
  for (const std::unique_ptr<WatchItem>& item : items_) {
    if (item->Matches(name)) QueryOrAddItem(item.get(), ntohl(ip), name, now);
  }
  return 0;
}

void CMiniDnsTable::QueryOrAddItem(void* item, unsigned int ip,
                                   const char* /*name*/,
                                   const CTimeStamp32& now) {
  if (table_) table_->Touch(item, ip, now);
}

int CMiniDnsTable::QueryItem(void* item, unsigned int ip,
                             int64_t& value) const {
  if (!QueryItem(item, ip)) return 0;
  value = static_cast<const WatchItem*>(item)->value;
  return 1;
}

int CMiniDnsTable::QueryItem(void* item, unsigned int ip) const {
  if (item == nullptr || !table_) return 0;
  return table_->Has(item, ip) ? 1 : 0;
}

void CMiniDnsTable::CheckTimeOut(const CTimeStamp32& now) {
  if (!table_) return;
  table_->RemoveIf([&now](const AddressTable::Entry& e) {
    return now.SecondsSince(e.stamp) > kEntryLifetimeSeconds;
  });
}

int CMiniDnsTable::size() const { return table_ ? table_->size() : 0; }

template class ACE_Singleton<CMiniDnsTable, ACE_Null_Mutex>;
