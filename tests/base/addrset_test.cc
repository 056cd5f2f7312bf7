#include <string>

#include "base/CAddrAndPortSetVector.h"
#include "base/CPrivateNetList.h"
#include "base/CTinyXmlEx.h"
#include "base/CVtIPAndMac.h"
#include "gtest/gtest.h"

namespace {

uint32_t Ip(int a, int b, int c, int d) {
  return (static_cast<uint32_t>(a) << 24) | (static_cast<uint32_t>(b) << 16) |
         (static_cast<uint32_t>(c) << 8) | static_cast<uint32_t>(d);
}

TEST(CPrivateNetListTest, DefaultNetworksAndTheirEdges) {
  CPrivateNetList list;
  EXPECT_EQ(0, list.find_hostorder_ip(Ip(10, 0, 0, 1)));
  list.AddDefaultPrivateNetRange();
  list.AddDefaultPrivateNetRange();  // no duplicates
  ASSERT_EQ(3u, list.size());
  EXPECT_EQ(IP_RANGE_PAIR(Ip(10, 0, 0, 0), Ip(10, 255, 255, 255)),
            list.ranges()[0]);
  EXPECT_EQ(IP_RANGE_PAIR(Ip(172, 16, 0, 0), Ip(172, 31, 255, 255)),
            list.ranges()[1]);
  EXPECT_EQ(IP_RANGE_PAIR(Ip(192, 168, 0, 0), Ip(192, 168, 255, 255)),
            list.ranges()[2]);

  EXPECT_EQ(1, list.find_hostorder_ip(Ip(10, 0, 0, 0)));
  EXPECT_EQ(1, list.find_hostorder_ip(Ip(10, 255, 255, 255)));
  EXPECT_EQ(0, list.find_hostorder_ip(Ip(11, 0, 0, 0)));
  EXPECT_EQ(0, list.find_hostorder_ip(Ip(172, 15, 255, 255)));
  EXPECT_EQ(1, list.find_hostorder_ip(Ip(172, 31, 255, 255)));
  EXPECT_EQ(0, list.find_hostorder_ip(Ip(172, 32, 0, 0)));
  EXPECT_EQ(0, list.find_hostorder_ip(Ip(127, 0, 0, 1)));
  EXPECT_EQ(0, list.find_hostorder_ip(Ip(169, 254, 1, 1)));

  CPrivateNetList other;
  other.Add(Ip(1, 1, 1, 9), Ip(1, 1, 1, 1));
  EXPECT_EQ(1, other.find_hostorder_ip(Ip(1, 1, 1, 5)));
  EXPECT_NE(list, other);
  other.SetToDefaultPrivateNetRange();
  EXPECT_EQ(list, other);
}

TEST(CVtIPAndMacTest, TextFormRoundTripsAndSkipsBadItems) {
  CVtIPAndMac set;
  EXPECT_TRUE(set.empty());
  EXPECT_EQ("", set.GetAddrDesc());
  set.AddIPRange(Ip(10, 0, 0, 9), Ip(10, 0, 0, 1));
  set.AddIPRange(Ip(192, 168, 1, 5), Ip(192, 168, 1, 5));
  const unsigned char mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
  set.AddMac(mac);
  EXPECT_EQ("10.0.0.1-10.0.0.9,192.168.1.5,00-1A-2B-3C-4D-5E",
            set.GetAddrDesc());

  CVtIPAndMac back;
  EXPECT_TRUE(back.GetFromString(set.GetAddrDesc().c_str()));
  EXPECT_EQ(set, back);

  // Separators ";" and blanks, a MAC with ":", and two bad items.
  EXPECT_FALSE(back.GetFromString(
      " 10.0.0.1-10.0.0.9 ; junk, 192.168.1.5,,00:1a:2b:3c:4d:5e,10.0.0.300"));
  EXPECT_EQ(set, back);
  EXPECT_TRUE(back.GetFromString(""));
  EXPECT_TRUE(back.empty());
}

TEST(CVtIPAndMacTest, MembershipByAddressOrMac) {
  CVtIPAndMac set;
  set.AddIPRange(Ip(10, 0, 0, 1), Ip(10, 0, 0, 9));
  const unsigned char listed[6] = {0, 0x11, 0x22, 0x33, 0x44, 0x55};
  const unsigned char other[6] = {0, 0x11, 0x22, 0x33, 0x44, 0x56};
  set.AddMac(listed);
  EXPECT_TRUE(set.IsIn(Ip(10, 0, 0, 1)));
  EXPECT_TRUE(set.IsIn(Ip(10, 0, 0, 9)));
  EXPECT_FALSE(set.IsIn(Ip(10, 0, 0, 10)));
  EXPECT_TRUE(set.IsIn(Ip(1, 2, 3, 4), listed));
  EXPECT_FALSE(set.IsIn(Ip(1, 2, 3, 4), other));
  EXPECT_FALSE(set.IsIn(Ip(1, 2, 3, 4), nullptr));
  EXPECT_TRUE(set.IsIn(Ip(10, 0, 0, 5), other));

  // A zero MAC means "unknown" and never matches, even a zeroed entry.
  std::vector<uint64_t> macs = {0, 0x0011223344ull};
  const unsigned char zero[6] = {0, 0, 0, 0, 0, 0};
  EXPECT_FALSE(Orva::IsMACIn(zero, macs));
  EXPECT_FALSE(Orva::IsMACIn(nullptr, macs));
  const unsigned char low[6] = {0, 0, 0x11, 0x22, 0x33, 0x44};
  EXPECT_TRUE(Orva::IsMACIn(low, macs));
}

TEST(CVtIPAndMacTest, XmlRoundTripBelowAGivenElement) {
  CVtIPAndMac set;
  set.AddIPRange(Ip(10, 0, 0, 1), Ip(10, 0, 0, 9));
  set.AddIPRange(Ip(8, 8, 8, 8), Ip(8, 8, 8, 8));
  set.AddMac(0xA1B2C3D4E5F6ull);

  CTinyXmlEx doc;
  ASSERT_EQ(0, doc.open("<r/>", 4));
  TiXmlNode* holder =
      CTinyXmlEx::InsertEndChildElement(doc.GetRootNode(), "conn_addr");
  ASSERT_TRUE(set.Write(doc, holder));
  std::string text = doc.ToText();

  CTinyXmlEx again;
  ASSERT_EQ(0, again.open(text.c_str(), static_cast<int>(text.size())));
  CVtIPAndMac back;
  back.AddMac(1);  // replaced by the read
  ASSERT_TRUE(back.Read(
      again, CTinyXmlEx::FirstChildElement(again.GetRootNode(), "conn_addr")));
  EXPECT_EQ(set, back);
  EXPECT_FALSE(back.Read(again, nullptr));
  EXPECT_EQ(set, back);
}

TEST(CAddrAndPortSetVectorTest, FirstMatchingSetDecides) {
  CAddrAndPortSetVector list;
  EXPECT_EQ(-1, list.is_passed(Ip(10, 0, 0, 1), 80, 0));

  CAddrAndPortSet refuse_web;
  refuse_web.ip_ranges.push_back(
      IP_RANGE_PAIR(Ip(10, 0, 0, 0), Ip(10, 0, 0, 255)));
  refuse_web.port_ranges.push_back(UINT16_RANGE_PAIR(80, 80));
  refuse_web.port_ranges.push_back(UINT16_RANGE_PAIR(8000, 8080));
  refuse_web.pass = 0;
  CAddrAndPortSet pass_app;
  pass_app.values.push_back(19000001);
  CAddrAndPortSet pass_subnet;
  pass_subnet.ip_ranges.push_back(
      IP_RANGE_PAIR(Ip(10, 0, 0, 0), Ip(10, 0, 0, 255)));
  list.Add(refuse_web);
  list.Add(pass_app);
  list.Add(pass_subnet);

  EXPECT_EQ(0, list.is_passed(Ip(10, 0, 0, 7), 80, 19000001));
  EXPECT_EQ(0, list.is_passed(Ip(10, 0, 0, 255), 8080, 0));
  EXPECT_EQ(1, list.is_passed(Ip(10, 0, 0, 7), 8081, 0));
  EXPECT_EQ(1, list.is_passed(Ip(10, 0, 1, 0), 80, 19000001));
  EXPECT_EQ(-1, list.is_passed(Ip(10, 0, 1, 0), 80, 19000002));
}

TEST(CAddrAndPortSetVectorTest, XmlRoundTripKeepsOrderAndVerdicts) {
  CAddrAndPortSetVector list;
  CAddrAndPortSet first;
  first.ip_ranges.push_back(IP_RANGE_PAIR(Ip(10, 0, 0, 1), Ip(10, 0, 0, 20)));
  first.port_ranges.push_back(UINT16_RANGE_PAIR(1, 1024));
  first.values.push_back(7);
  first.values.push_back(4294967295u);
  first.pass = 0;
  CAddrAndPortSet second;  // matches everything
  list.Add(first);
  list.Add(second);

  CTinyXmlEx doc;
  ASSERT_EQ(0, doc.open("<r/>", 4));
  TiXmlNode* holder =
      CTinyXmlEx::InsertEndChildElement(doc.GetRootNode(), "data_to_audit");
  ASSERT_TRUE(list.Save(doc, holder));
  std::string text = doc.ToText();

  CTinyXmlEx again;
  ASSERT_EQ(0, again.open(text.c_str(), static_cast<int>(text.size())));
  CAddrAndPortSetVector back;
  ASSERT_TRUE(back.Load(again, CTinyXmlEx::FirstChildElement(
                                   again.GetRootNode(), "data_to_audit")));
  EXPECT_EQ(list, back);

  // Hand-written content: a bad range is skipped, "pass" 5 counts as 1.
  const char kDoc[] =
      "<d><addr_port_set pass=\"5\"><iprange>10.0.0.300</iprange>"
      "<portrange>53</portrange></addr_port_set></d>";
  CTinyXmlEx hand;
  ASSERT_EQ(0, hand.open(kDoc, static_cast<int>(sizeof(kDoc) - 1)));
  ASSERT_TRUE(back.Load(hand, hand.GetRootNode()));
  ASSERT_EQ(1u, back.size());
  EXPECT_EQ(1, back.sets()[0].pass);
  EXPECT_TRUE(back.sets()[0].ip_ranges.empty());
  EXPECT_EQ(1, back.is_passed(Ip(1, 2, 3, 4), 53, 0));
  EXPECT_EQ(-1, back.is_passed(Ip(1, 2, 3, 4), 54, 0));
}

}  // namespace
