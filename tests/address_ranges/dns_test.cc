// The DNS decoder on real and broken responses, and the mini DNS table that
// learns watched names from them.

#include <arpa/inet.h>

#include <set>
#include <string>
#include <vector>

#include "address/CMiniDnsTable.h"
#include "base/CCommonDNSDecode.h"
#include "gtest/gtest.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Response to "www.baidu.com A": a CNAME to www.a.shifen.com, whose name
// reuses "com" of the question through a pointer, then two A records owned
// by the CNAME target through a pointer into the CNAME's data.
const Bytes kBaidu = {
    0x1a, 0x2b, 0x81, 0x80, 0x00, 0x01, 0x00, 0x03, 0x00, 0x00, 0x00, 0x00,
    // question at 12: www.baidu.com IN A
    0x03, 'w', 'w', 'w', 0x05, 'b', 'a', 'i', 'd', 'u', 0x03, 'c', 'o', 'm',
    0x00, 0x00, 0x01, 0x00, 0x01,
    // answer at 31: CNAME, data at 43 = www.a.shifen + pointer to "com"
    0xc0, 0x0c, 0x00, 0x05, 0x00, 0x01, 0x00, 0x00, 0x02, 0x58, 0x00, 0x0f,
    0x03, 'w', 'w', 'w', 0x01, 'a', 0x06, 's', 'h', 'i', 'f', 'e', 'n', 0xc0,
    0x16,
    // two A records named by a pointer to 43
    0xc0, 0x2b, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x3c, 0x00, 0x04, 180,
    101, 50, 188, 0xc0, 0x2b, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x3c,
    0x00, 0x04, 180, 101, 50, 242};

// "example.com A" with one answer, plus an AAAA answer that is ignored.
const Bytes kExample = {
    0x00, 0x01, 0x81, 0x80, 0x00, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00,
    0x00, 0x07, 'e',  'x',  'a',  'm',  'p',  'l',  'e',  0x03, 'c',
    'o',  'm',  0x00, 0x00, 0x01, 0x00, 0x01, 0xc0, 0x0c, 0x00, 0x01,
    0x00, 0x01, 0x00, 0x00, 0x0e, 0x10, 0x00, 0x04, 93,   184,  216,
    34,   0xc0, 0x0c, 0x00, 0x1c, 0x00, 0x01, 0x00, 0x00, 0x0e, 0x10,
    0x00, 0x10, 0x26, 0x06, 0x28, 0x00, 0x02, 0x20, 0,    1,    0x2,
    0x48, 0x18, 0x93, 0x25, 0xc8, 0x19, 0x46};

uint32_t Ip(int a, int b, int c, int d) {
  return uint32_t(a) << 24 | uint32_t(b) << 16 | uint32_t(c) << 8 | d;
}

// Decodes from a heap copy of exactly `size` bytes, so the sanitizers
// catch any read past the end.
int Decode(const Bytes& bytes, size_t size,
           std::vector<CCommonDNSDecode::DNS_RSP_ADDR>* out) {
  std::vector<char> copy(bytes.begin(), bytes.begin() + size);
  return CCommonDNSDecode::DSNDecode_Rsp(copy.data(), int(size), *out);
}

std::set<std::pair<uint32_t, std::string>> Pairs(
    const std::vector<CCommonDNSDecode::DNS_RSP_ADDR>& answers) {
  std::set<std::pair<uint32_t, std::string>> out;
  for (const auto& a : answers) out.insert({ntohl(a.ip), a.name});
  return out;
}

TEST(DnsDecode, RealResponses) {
  CCommonDNSDecode::DNS_HEADER h;
  const char* p = reinterpret_cast<const char*>(kBaidu.data());
  EXPECT_EQ(CCommonDNSDecode::DNSDecode_Header(p, int(kBaidu.size()), h), 1);
  EXPECT_EQ(h.id, 0x1a2b);
  EXPECT_EQ(h.qdcount, 1);
  EXPECT_EQ(h.ancount, 3);

  std::vector<CCommonDNSDecode::DNS_RSP_ADDR> answers;
  ASSERT_EQ(Decode(kBaidu, kBaidu.size(), &answers), 1);
  const std::set<std::pair<uint32_t, std::string>> want = {
      {Ip(180, 101, 50, 188), "www.a.shifen.com"},
      {Ip(180, 101, 50, 188), "www.baidu.com"},
      {Ip(180, 101, 50, 242), "www.a.shifen.com"},
      {Ip(180, 101, 50, 242), "www.baidu.com"}};
  EXPECT_EQ(Pairs(answers), want);

  ASSERT_EQ(Decode(kExample, kExample.size(), &answers), 1);
  ASSERT_EQ(answers.size(), 1u);  // the AAAA record gives nothing
  EXPECT_EQ(ntohl(answers[0].ip), Ip(93, 184, 216, 34));
  EXPECT_EQ(answers[0].name, "example.com");

  Bytes query(kExample.begin(), kExample.begin() + 29);
  query[2] = 0x01;  // QR clear: a query
  query[3] = 0x00;
  query[7] = 0x00;
  EXPECT_EQ(CCommonDNSDecode::DNSDecode_Header(
                reinterpret_cast<const char*>(query.data()), 29, h),
            0);
  EXPECT_EQ(CCommonDNSDecode::DNSDecode_Header(p, 11, h), -1);
  EXPECT_EQ(CCommonDNSDecode::DNSDecode_Header(nullptr, 100, h), -1);
}

TEST(DnsDecode, BrokenMessagesAreRefusedWithoutOverreading) {
  std::vector<CCommonDNSDecode::DNS_RSP_ADDR> answers;
  // Every truncation of a valid response is refused.
  for (size_t cut = 0; cut < kBaidu.size(); ++cut) {
    EXPECT_EQ(Decode(kBaidu, cut, &answers), 0) << "cut " << cut;
    EXPECT_TRUE(answers.empty());
  }

  Bytes loop = kBaidu;
  loop[55] = 0xc0;  // first A record named by a pointer to itself
  loop[56] = 55;
  EXPECT_EQ(Decode(loop, loop.size(), &answers), 0);

  Bytes rdlen = kBaidu;
  rdlen[kBaidu.size() - 5] = 0x40;  // last record's data runs past the end
  EXPECT_EQ(Decode(rdlen, rdlen.size(), &answers), 0);

  Bytes far = kBaidu;
  far[56] = 0xff;  // name pointer past the end
  EXPECT_EQ(Decode(far, far.size(), &answers), 0);
}

class MiniDnsTableTest : public ::testing::Test {
 protected:
  void SetUp() override { table_.Create(); }

  int Feed(const Bytes& b, unsigned short src_port, uint32_t second) {
    return table_.DecodeDnsData(reinterpret_cast<const char*>(b.data()),
                                int(b.size()), src_port, 40000,
                                CTimeStamp32(second, 0));
  }

  CMiniDnsTable table_;
};

TEST_F(MiniDnsTableTest, LearnsWatchedNamesFromResponses) {
  void* baidu = table_.AddItem({"baidu"}, 7);          // question name only
  void* cdn = table_.AddItem({"nope", "shifen"}, -8);  // second pattern
  void* start = table_.AddItem({"www."}, 1);
  void* end = table_.AddItem({".com"}, 2);
  void* other = table_.AddItem({"qq.com", "BAIDU"}, 3);  // case matters
  const uint32_t a = Ip(180, 101, 50, 188), b = Ip(180, 101, 50, 242);

  EXPECT_EQ(Feed(kBaidu, 53, 1000), 0);
  int64_t value = 0;
  EXPECT_EQ(table_.QueryItem(baidu, a, value), 1);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(table_.QueryItem(cdn, b, value), 1);
  EXPECT_EQ(value, -8);
  for (void* item : {baidu, cdn, start, end}) {
    EXPECT_EQ(table_.QueryItem(item, a), 1);
    EXPECT_EQ(table_.QueryItem(item, b), 1);
  }
  EXPECT_EQ(table_.QueryItem(other, a), 0);
  EXPECT_EQ(table_.QueryItem(nullptr, a), 0);
  EXPECT_EQ(table_.size(), 8);  // one entry per (address, item)

  // A second response refreshes and adds nothing.
  EXPECT_EQ(Feed(kBaidu, 53, 50000), 0);
  EXPECT_EQ(table_.size(), 8);
  table_.CheckTimeOut(CTimeStamp32(50000 + 86400, 0));
  EXPECT_EQ(table_.size(), 8);  // refreshed at 50000: still fresh
  EXPECT_EQ(Feed(kExample, 53, 50000 + 86400), 0);  // ".com" learns it
  table_.CheckTimeOut(CTimeStamp32(50000 + 86401, 0));
  EXPECT_EQ(table_.size(), 1);
  EXPECT_EQ(table_.QueryItem(end, Ip(93, 184, 216, 34)), 1);

  EXPECT_EQ(Feed(kBaidu, 53, 60000), 0);
  EXPECT_EQ(table_.DelItem(baidu), 0);
  EXPECT_EQ(table_.QueryItem(baidu, a) + table_.QueryItem(baidu, b), 0);
  EXPECT_EQ(table_.QueryItem(cdn, a), 1);
  EXPECT_EQ(table_.size(), 7);
}

TEST_F(MiniDnsTableTest, RefusesWhatIsNotAnAnswerFromPort53) {
  void* all = table_.AddItem({"."}, 0);
  EXPECT_EQ(Feed(kBaidu, 5353, 1), int(0xFFFFFFFF));
  Bytes query = kBaidu;
  query[2] = 0x01;
  EXPECT_EQ(Feed(query, 53, 1), int(0xFFFFFFFF));
  Bytes many = kBaidu;
  many[6] = 0x01;  // 0x012C = 300 answers
  many[7] = 0x2C;
  EXPECT_EQ(Feed(many, 53, 1), 1);
  Bytes loop = kBaidu;
  loop[55] = 0xc0;
  loop[56] = 55;
  EXPECT_EQ(Feed(loop, 53, 1), 0);
  EXPECT_EQ(table_.size(), 0);
  EXPECT_EQ(Feed(kBaidu, 53, 1), 0);
  EXPECT_EQ(table_.QueryItem(all, Ip(180, 101, 50, 188)), 1);
}

TEST_F(MiniDnsTableTest, FixedCapacityAndLifecycle) {
  void* item = table_.AddItem({"host"}, 5);
  for (uint32_t i = 0; i < 1100; ++i)
    table_.put_into_table("host.example", htonl(0x0B000000 + i), {1, 0});
  EXPECT_EQ(table_.size(), CMiniDnsTable::kCapacity);
  EXPECT_EQ(table_.QueryItem(item, 0x0B000000 + 1023), 1);
  EXPECT_EQ(table_.QueryItem(item, 0x0B000000 + 1024), 0);      // full: ignored
  table_.QueryOrAddItem(item, 0x0B000000 + 5, "host", {2, 0});  // refresh ok
  EXPECT_EQ(table_.size(), CMiniDnsTable::kCapacity);

  table_.DelItem(item);  // frees the slots
  EXPECT_EQ(table_.size(), 0);
  CMiniDnsTable fresh;  // never created: learns nothing
  void* watch = fresh.AddItem({"host"}, 1);
  fresh.put_into_table("host", htonl(Ip(1, 2, 3, 4)), {1, 0});
  EXPECT_EQ(fresh.QueryItem(watch, Ip(1, 2, 3, 4)), 0);
}

}  // namespace
