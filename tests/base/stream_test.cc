#include <string.h>

#include <string>
#include <vector>

#include "base/CDataArray.h"
#include "base/CData_Stream_LE.h"
#include "base/COctets.h"
#include "base/CURLDecoder.h"
#include "gtest/gtest.h"

namespace {

TEST(CDataStreamTest, IntegersAreLittleEndian) {
  char buffer[32];
  char* p = buffer;
  EXPECT_EQ(1, CData_Stream_LE::PutUint8(p, 0xAB));
  EXPECT_EQ(2, CData_Stream_LE::PutUint16(p, 0x1234));
  EXPECT_EQ(4, CData_Stream_LE::PutInt32(p, -2));
  EXPECT_EQ(8, CData_Stream_LE::PutUint64(p, 0x0102030405060708ull));
  ASSERT_EQ(15, p - buffer);
  EXPECT_EQ(0, memcmp(buffer,
                      "\xAB\x34\x12\xFE\xFF\xFF\xFF"
                      "\x08\x07\x06\x05\x04\x03\x02\x01",
                      15));

  CData_Stream_LE reader(buffer, 15);
  uint8_t u8;
  uint16_t u16;
  int32_t i32;
  uint64_t u64;
  EXPECT_TRUE(reader.GetUint8(&u8) && reader.GetUint16(&u16) &&
              reader.GetInt32(&i32) && reader.GetUint64(&u64));
  EXPECT_EQ(0xAB, u8);
  EXPECT_EQ(0x1234, u16);
  EXPECT_EQ(-2, i32);
  EXPECT_EQ(0x0102030405060708ull, u64);
  EXPECT_EQ(0u, reader.remaining());
  EXPECT_FALSE(reader.GetUint8(&u8));
  EXPECT_FALSE(reader.ok());
}

// Writes `text` in `mode` and checks the prefix size and the read back.
void RoundTrip(const std::string& text, int mode, size_t prefix) {
  std::vector<char> buffer(CData_Stream_LE::StringSize(text.size(), mode));
  ASSERT_EQ(prefix + text.size(), buffer.size());
  char* p = buffer.data();
  EXPECT_EQ(static_cast<int>(buffer.size()),
            CData_Stream_LE::PutString(p, text, mode));
  const char* q = buffer.data();
  std::string back;
  ASSERT_TRUE(CData_Stream_LE::GetVarString(q, buffer.data() + buffer.size(),
                                            &back, mode));
  EXPECT_EQ(text, back);
  EXPECT_EQ(buffer.data() + buffer.size(), q);
}

TEST(CDataStreamTest, StringsNeverGetCut) {
  RoundTrip("", 1, 1);
  RoundTrip(std::string(254, 'a'), 1, 1);
  RoundTrip(std::string(255, 'b'), 1, 5);  // escape byte and 4-byte length
  RoundTrip(std::string(70000, 'c'), 1, 5);
  RoundTrip(std::string(65534, 'd'), 2, 2);
  RoundTrip(std::string(65535, 'e'), 2, 6);
  RoundTrip(std::string("with\0zero", 9), 4, 4);
  RoundTrip("\xD6\xD0\xCE\xC4", 4, 4);

  char buffer[8];
  char* p = buffer;
  EXPECT_EQ(-1, CData_Stream_LE::PutString(p, "x", 3));
  EXPECT_EQ(buffer, p);
  EXPECT_EQ(0u, CData_Stream_LE::StringSize(1, 3));
}

TEST(CDataStreamTest, TruncatedOrLyingStreamsAreRefused) {
  std::string text(300, 'x');
  std::vector<char> full(CData_Stream_LE::StringSize(text.size(), 1));
  char* w = full.data();
  CData_Stream_LE::PutString(w, text, 1);
  // Every cut short of the whole stream fails and leaves the pointer.
  for (size_t cut = 0; cut < full.size(); cut += (cut < 8 ? 1 : 97)) {
    const char* p = full.data();
    std::string out = "untouched";
    EXPECT_FALSE(CData_Stream_LE::GetVarString(p, full.data() + cut, &out, 1))
        << cut;
    EXPECT_EQ(full.data(), p);
    EXPECT_EQ("untouched", out);
  }
  // A 4-byte length of 0xFFFFFFF0 with three bytes behind it.
  const char lying[] =
      "\xF0\xFF\xFF\xFF"
      "abc";
  const char* p = lying;
  std::string out;
  EXPECT_FALSE(CData_Stream_LE::GetVarString(p, lying + 7, &out, 4));
  EXPECT_EQ(lying, p);
  // The reader object stays failed after the first short read.
  CData_Stream_LE reader(lying, 7);
  uint64_t big;
  uint32_t small;
  EXPECT_FALSE(reader.GetUint64(&big));
  EXPECT_FALSE(reader.GetUint32(&small));
  EXPECT_FALSE(reader.ok());
  EXPECT_EQ(7u, reader.remaining());
}

TEST(CURLDecoderTest, EveryByteSurvivesARoundTrip) {
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  std::string encoded = CURLDecoder::encode(all);
  EXPECT_EQ(std::string::npos, encoded.find_first_of(" +\"<>&"));
  EXPECT_EQ(all, CURLDecoder::unencode(encoded));

  EXPECT_EQ("pa%20ss%25word%2B1", CURLDecoder::encode("pa ss%word+1"));
  EXPECT_EQ("A-z_0.9~", CURLDecoder::encode("A-z_0.9~"));
  EXPECT_EQ("%D6%D0", CURLDecoder::encode("\xD6\xD0"));
}

TEST(CURLDecoderTest, DecodesLenientlyAndNeverReadsPastTheEnd) {
  EXPECT_EQ("a b", CURLDecoder::unencode("a+b"));
  EXPECT_EQ("\xD6\xD0", CURLDecoder::unencode("%d6%D0"));
  EXPECT_EQ("100%", CURLDecoder::unencode("100%"));
  EXPECT_EQ("%4", CURLDecoder::unencode("%4"));
  EXPECT_EQ("%zz", CURLDecoder::unencode("%zz"));
  // The bound cuts "%41" short: it stays literal.
  EXPECT_EQ("x%4", CURLDecoder::unencode("x%41", 3));
}

int CompareDescending(const void* a, const void* b) {
  uint64_t x = *static_cast<const uint64_t*>(a);
  uint64_t y = *static_cast<const uint64_t*>(b);
  return x > y ? -1 : (x < y ? 1 : 0);
}

TEST(CDataArrayTest, GrowsByItsStepAndKeepsStorageOnRemoveAll) {
  CDataArray array(0, 260);
  EXPECT_TRUE(array.IsEmpty());
  EXPECT_EQ(nullptr, array.GetData());
  for (int i = 0; i < 261; ++i) ASSERT_EQ(i, array.Add(1000 + i));
  EXPECT_EQ(261, array.GetSize());
  EXPECT_EQ(520, array.GetCapacity());
  EXPECT_EQ(1000u, array.GetAt(0));
  EXPECT_EQ(1260u, array[260]);

  array.RemoveAll();
  EXPECT_EQ(0, array.GetSize());
  EXPECT_EQ(520, array.GetCapacity());
  array.Add(5);
  array.Add(9);
  array.Add(7);
  array.Sort(CompareDescending);
  EXPECT_EQ(9u, array[0]);
  EXPECT_EQ(7u, array[1]);
  EXPECT_EQ(5u, array[2]);
  ASSERT_TRUE(array.SetSize(5));
  EXPECT_EQ(0u, array[4]);

  CDataArray doubling;  // no step: doubles
  for (int i = 0; i < 100; ++i) doubling.Add(static_cast<uint64_t>(i));
  EXPECT_EQ(99u, doubling[99]);
}

TEST(COctetsTest, LentStorageIsUsedUntilItOverflows) {
  char lent[8];
  memset(lent, 'x', sizeof(lent));
  COctets octets;
  octets.Attach(lent, sizeof(lent));
  EXPECT_FALSE(octets.IsOwner());
  EXPECT_EQ(7u, octets.GetCapacity());
  ASSERT_TRUE(octets.Append("abcdefg", 7));
  EXPECT_EQ(lent, octets.GetData());
  EXPECT_EQ(0, lent[7]);  // the terminating zero, inside the lent bytes

  ASSERT_TRUE(octets.Append("h", 1));
  EXPECT_TRUE(octets.IsOwner());
  EXPECT_NE(lent, octets.GetData());
  EXPECT_STREQ("abcdefgh", octets.GetData());
  // Storage of twice the 9 bytes needed, less the terminating zero.
  EXPECT_EQ(17u, octets.GetCapacity());
  EXPECT_EQ(0, memcmp(lent, "abcdefg", 8));  // lent bytes left alone

  octets.Clear();
  EXPECT_EQ(0u, octets.GetLength());
  EXPECT_TRUE(octets.IsOwner());
  octets.Empty();
  EXPECT_FALSE(octets.IsOwner());
  EXPECT_STREQ("", octets.GetData());
}

TEST(COctetsTest, CopiesOwnTheirBytesAndSelfAppendIsSafe) {
  COctets octets;
  ASSERT_TRUE(octets.Append("abc", 3));  // storage of 8 bytes
  ASSERT_TRUE(octets.Append("d", 1));
  ASSERT_EQ(7u, octets.GetCapacity());
  // Appending its own 4 bytes needs 9: the buffer moves while copying.
  std::string before(octets.GetData(), octets.GetLength());
  ASSERT_TRUE(octets.Append(octets.GetData(), octets.GetLength()));
  EXPECT_EQ(before + before, std::string(octets.GetData(), octets.GetLength()));

  COctets copy(octets);
  EXPECT_NE(copy.GetData(), octets.GetData());
  EXPECT_EQ(std::string(octets.GetData(), octets.GetLength()),
            std::string(copy.GetData(), copy.GetLength()));
  ASSERT_TRUE(copy.SetLength(2));
  EXPECT_STREQ("ab", copy.GetData());
  ASSERT_TRUE(copy.SetLength(4));
  EXPECT_EQ(0, memcmp(copy.GetData(), "ab\0\0", 5));
}

}  // namespace
