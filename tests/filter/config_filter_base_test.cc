#include <string>

#include <gtest/gtest.h>

#include "filter/CConfigFilterBase.h"

namespace {

// Opens `xml` in `reader` and returns its root element.
TiXmlNode* Open(CConfigFilterBase& reader, const std::string& xml) {
  EXPECT_EQ(0, reader.open(xml.data(), static_cast<int>(xml.size())));
  return reader.GetRootNode();
}

TEST(ConfigFilterBaseTest, ReadIPSortsChildrenByKindWhateverTheirOrder) {
  CConfigFilterBase reader;
  TiXmlNode* root = Open(reader,
                         "<Src Positive=\"0\">"
                         "<IntranetIPType>105553116266496</IntranetIPType>"
                         "<InternetIPType>0xA00000000000</InternetIPType>"
                         "<IPRange>10.0.0.1-10.0.0.9</IPRange>"
                         "<ExceptIntranetIPType>105553116266496"
                         "</ExceptIntranetIPType>"
                         "<IntranetIPType>101</IntranetIPType>"
                         "<DeviceIdIPType>7</DeviceIdIPType>"
                         "<InternetIPType>junk</InternetIPType>"
                         "<ExceptIPRange/><ExceptIPRange/>"
                         "<ExceptInternetIPType>5</ExceptInternetIPType>"
                         "<ExceptDeviceIdIPType>9</ExceptDeviceIdIPType>"
                         "<IntranetIPType>101</IntranetIPType>"
                         "<Unknown>1</Unknown>"
                         "</Src>");
  IPADDR_FLT_EXPRESS expr;
  expr.intranet_types.push_back(3);  // readers append, never clear
  ASSERT_EQ(0, reader.ReadIP(root, expr));
  EXPECT_FALSE(expr.positive);
  // The intranet area value names an area: it joins the internet types,
  // after the "InternetIPType" children since each kind is one pass.
  EXPECT_EQ((std::vector<uint64_t>{0xA00000000000ull, 0x600000000000ull}),
            expr.internet_types);
  EXPECT_EQ((std::vector<uint32_t>{3, 101, 101}), expr.intranet_types);
  EXPECT_EQ(std::vector<uint64_t>{7}, expr.device_ids);
  // Range texts are left to derived readers: one unread 0-0 per element.
  EXPECT_EQ(std::vector<IP_RANGE_PAIR>(1, IP_RANGE_PAIR(0, 0)), expr.ip_ranges);
  EXPECT_EQ(std::vector<IP_RANGE_PAIR>(2, IP_RANGE_PAIR(0, 0)),
            expr.except_ip_ranges);
  EXPECT_EQ(std::vector<uint64_t>{5}, expr.except_internet_types);
  // Under the except name the same value is a 32-bit type: truncated.
  EXPECT_EQ(std::vector<uint32_t>{0}, expr.except_intranet_types);
  EXPECT_EQ(std::vector<uint64_t>{9}, expr.except_device_ids);

  EXPECT_EQ(-1, reader.ReadIP(nullptr, expr));
}

TEST(ConfigFilterBaseTest, PositiveFlagsAndPlaceholderReaders) {
  CConfigFilterBase reader;
  TiXmlNode* root = Open(reader,
                         "<F><S Positive=\"12ab\"/><Z Positive=\"0\"/><N/>"
                         "<Sz Positive=\"false\"><SizeRang>1</SizeRang>"
                         "<SizeRang/><SizeRang>x</SizeRang></Sz></F>");
  TiXmlNode* s = CTinyXmlEx::FirstChildElement(root, "S");
  TiXmlNode* z = CTinyXmlEx::FirstChildElement(root, "Z");
  TiXmlNode* n = CTinyXmlEx::FirstChildElement(root, "N");
  TiXmlNode* sz = CTinyXmlEx::FirstChildElement(root, "Sz");

  STRING_FLT_EXPRESS str;
  str.positive = false;
  EXPECT_EQ(0, reader.ReadString(s, str));
  EXPECT_TRUE(str.positive);
  EXPECT_EQ(0, reader.ReadString(z, str));
  EXPECT_FALSE(str.positive);
  str.positive = true;
  EXPECT_EQ(0, reader.ReadString(n, str));  // absent: unchanged
  EXPECT_TRUE(str.positive);
  EXPECT_EQ(-1, reader.ReadString(nullptr, str));

  SIZE_FLT_EXPRESS size;
  ASSERT_EQ(0, reader.ReadSize(sz, size));
  EXPECT_FALSE(size.positive);
  ASSERT_EQ(3u, size.size_ranges.size());
  for (const CMP_SIZE& entry : size.size_ranges) {
    EXPECT_EQ(-1, entry.cmp);
    EXPECT_EQ(0u, entry.size1);
    EXPECT_EQ(0u, entry.size2);
  }
  EXPECT_EQ(-1, reader.ReadSize(nullptr, size));

  INT_FLT_EXPRESS ints;
  EXPECT_EQ(0, reader.ReadInt(root, ints));  // reads nothing, but accepts
  EXPECT_EQ(-1, reader.ReadInt(nullptr, ints));
}

TEST(FoldingTest, KeysOrBitsInFirstInsertionOrder) {
  INT_CONDITION ints;
  INT_FLT_EXPRESS a;
  a.values = {40, 7, 40};
  INT_FLT_EXPRESS b;
  b.values = {7, 9};
  IntExpressToCondition(0, a, ints);
  IntExpressToCondition(5, b, ints);
  IntExpressToCondition(64, b, ints);  // filter 64 is bit 0
  std::vector<std::pair<uint32_t, uint64_t> > got;
  for (const INT_CONDITION_ITEM& item : ints)
    got.push_back({item.value, item.mask});
  EXPECT_EQ((std::vector<std::pair<uint32_t, uint64_t> >{
                {40, 0x1}, {7, 0x21}, {9, 0x21}}),
            got);

  // One-bound codes ignore size2; two-bound codes (6 and up) do not.
  SIZE_CONDITION sizes;
  SIZE_FLT_EXPRESS s;
  s.size_ranges = {CMP_SIZE(3, 100, 1), CMP_SIZE(3, 100, 2),
                   CMP_SIZE(6, 100, 1), CMP_SIZE(6, 100, 2),
                   CMP_SIZE(4, 100, 1)};
  SizeExpressToCondition(63, s, sizes);
  SizeExpressToCondition(1, s, sizes);
  ASSERT_EQ(4u, sizes.size());
  EXPECT_EQ(1u, sizes[0].size.size2);  // the first insertion keeps its key
  EXPECT_EQ(2u, sizes[2].size.size2);
  EXPECT_EQ(4, sizes[3].size.cmp);
  EXPECT_EQ((uint64_t(1) << 63) | 2, sizes[2].mask);

  TIME_CONDITION times;
  CTimeRange r1;
  r1.value = 4;
  CTimeRange r2;
  r2.value = 8;
  TimeExpressToCondition(2, r1, times);
  TimeExpressToCondition(66, r1, times);  // an index, not a bit: its own
  TimeExpressToCondition(2, r2, times);
  ASSERT_EQ(2u, times.size());
  ASSERT_EQ(2u, times[0].ranges.size());
  EXPECT_EQ(8u, times[0].ranges[1].value);
  EXPECT_EQ(66u, times[1].filter_index);

  // File names: equal matchers (letter case and blanks aside) share an
  // entry; an empty pattern adds nothing.
  FILENAME_CONDITION files;
  FILE_NAMETYPE_FLT_EXPRESS expr;
  FileNameExpressToCondition(0, expr, files);
  EXPECT_TRUE(files.empty());
  uint64_t index = 1;
  for (const char* pattern : {"*.exe;*.zip", "*.doc", " *.EXE | *.zip "}) {
    expr.pattern = pattern;
    FileNameExpressToCondition(index++, expr, files);
  }
  ASSERT_EQ(2u, files.size());
  EXPECT_EQ(0xAu, files[0].mask);
  EXPECT_TRUE(files[0].matcher.match("SETUP.ZIP"));
}

}  // namespace
