#include <string.h>

#include <gtest/gtest.h>

#include "base/CBaseXMLConfig.h"
#include "base/CTinyXmlEx.h"
#include "base/OrvaAddr.h"
#include "base/OrvaMem.h"
#include "support/TempDir.h"

namespace {

TEST(TinyXmlExTest, TypedAttributesRoundTripThroughAFile) {
  std::string dir = quarn_test::MakeTempDir("xml");
  std::string path = dir + "/doc.xml";
  {
    CTinyXmlEx doc;
    ASSERT_EQ(0, doc.open_ex(path.c_str(), CTinyXmlEx::OPEN_CREATE_NEW));
    TiXmlNode* root = doc.InsertRootElement("cfg");
    ASSERT_NE(nullptr, root);
    EXPECT_EQ(nullptr, doc.InsertRootElement("second"));
    TiXmlNode* item = CTinyXmlEx::InsertEndChildElement(root, "item");
    CTinyXmlEx::SetAttr(item, "i", -42);
    CTinyXmlEx::SetAttr(item, "u", 4294967295u);
    CTinyXmlEx::SetAttr(item, "big", static_cast<uint64_t>(0x0000A02A00000000));
    CTinyXmlEx::SetAttr(item, "b", true);
    CTinyXmlEx::SetAttr(item, "gbk", "\xb2\xbf\xc3\xc5 & <x>");  // "部门"
    CTinyXmlEx::SetAttr(item, "words", std::vector<std::string>{"a", "b c"},
                        ',');
    CTinyXmlEx::SetAttr(item, "nums", std::vector<int>{3, -1, 7}, ';');
    CTinyXmlEx::SetAttr_HostOrderIP(item, "ip", 0xC0A8010Au);
    const unsigned char mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0xFE};
    CTinyXmlEx::SetAttr_Macaddr(item, "mac", mac);
    ASSERT_EQ(0, doc.savefile());
  }
  std::string text = quarn_test::ReadFile(path);
  EXPECT_NE(std::string::npos, text.find("encoding=\"GBK\""));

  CTinyXmlEx doc;
  ASSERT_EQ(0, doc.open_for_readonly(path.c_str()));
  TiXmlNode* item = CTinyXmlEx::FirstChildElement(doc.GetRootNode(), "item");
  int i = 0;
  unsigned int u = 0;
  uint64_t big = 0;
  bool b = false;
  std::string gbk;
  std::vector<std::string> words;
  std::vector<int> nums;
  uint32_t ip = 0;
  unsigned char mac[6] = {};
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "i", i));
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "u", u));
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "big", big));
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "b", b));
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "gbk", gbk));
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "words", words, ','));
  EXPECT_TRUE(CTinyXmlEx::GetAttr(item, "nums", nums, ';'));
  EXPECT_TRUE(CTinyXmlEx::GetAttr_HostOrderIP(item, "ip", ip));
  EXPECT_TRUE(CTinyXmlEx::GetAttr_Macaddr(item, "mac", mac));
  EXPECT_EQ(-42, i);
  EXPECT_EQ(4294967295u, u);
  EXPECT_EQ(0x0000A02A00000000u, big);
  EXPECT_TRUE(b);
  EXPECT_EQ("\xb2\xbf\xc3\xc5 & <x>", gbk);
  EXPECT_EQ((std::vector<std::string>{"a", "b c"}), words);
  EXPECT_EQ((std::vector<int>{3, -1, 7}), nums);
  EXPECT_EQ(0xC0A8010Au, ip);
  EXPECT_EQ(0xFE, mac[5]);
}

TEST(TinyXmlExTest, FailedReadsLeaveTheTargetAlone) {
  const char text[] =
      "<r a=\"12x\" n=\"-1\" big=\"99999999999\" ip=\"1.2.3.256\" "
      "mac=\"00-11-22-33-44\"><k> 7 </k><bad>x</bad></r>";
  CTinyXmlEx doc;
  ASSERT_EQ(0, doc.open(text, sizeof(text) - 1));
  TiXmlNode* root = doc.GetRootNode();
  int i = 5;
  unsigned int u = 5;
  uint32_t ip = 5;
  unsigned char mac[6] = {9, 9, 9, 9, 9, 9};
  EXPECT_FALSE(CTinyXmlEx::GetAttr(root, "a", i));
  EXPECT_FALSE(CTinyXmlEx::GetAttr(root, "n", u));
  EXPECT_FALSE(CTinyXmlEx::GetAttr(root, "big", u));
  EXPECT_FALSE(CTinyXmlEx::GetAttr(root, "missing", i));
  EXPECT_FALSE(CTinyXmlEx::GetAttr_HostOrderIP(root, "ip", ip));
  EXPECT_FALSE(CTinyXmlEx::GetAttr_Macaddr(root, "mac", mac));
  EXPECT_EQ(5, i);
  EXPECT_EQ(5u, u);
  EXPECT_EQ(5u, ip);
  EXPECT_EQ(9, mac[0]);

  // Keyed children: absent or unparsable keys keep the default.
  int value = 3;
  EXPECT_FALSE(CTinyXmlEx::GetValueLikeIni(root, "absent", &value));
  EXPECT_FALSE(CTinyXmlEx::GetValueLikeIni(root, "bad", &value));
  EXPECT_EQ(3, value);
  EXPECT_TRUE(CTinyXmlEx::GetValueLikeIni(root, "k", &value));
  EXPECT_EQ(7, value);

  char small[4];
  CTinyXmlEx::SetAttr(root, "s", "abcd");
  EXPECT_FALSE(CTinyXmlEx::GetAttr(root, "s", small, sizeof(small)));
  EXPECT_EQ(-1, doc.open("<unclosed>", 10));
  EXPECT_EQ(nullptr, doc.GetRootNode());
}

TEST(TinyXmlExTest, ListsAndKeyedValuesRoundTripInMemory) {
  CTinyXmlEx doc;
  ASSERT_EQ(0, doc.open_ex("/nonexistent/x.xml", CTinyXmlEx::OPEN_CREATE_NEW));
  int created = 0;
  TiXmlNode* root = doc.GetOrCreateRootElement("plan", &created);
  EXPECT_EQ(1, created);
  EXPECT_EQ(root, doc.GetOrCreateRootElement("plan", &created));
  EXPECT_EQ(0, created);
  EXPECT_EQ(nullptr, doc.GetOrCreateRootElement("other", nullptr));

  std::vector<IP_RANGE_PAIR> ranges = {{0x0A000000u, 0x0AFFFFFFu},
                                       {0xC0A80101u, 0xC0A80101u}};
  std::vector<UINT16_RANGE_PAIR> ports = {{80, 80}, {8000, 8080}};
  std::vector<std::string> strings = {"one", "", "\xd6\xd0"};
  CTinyXmlEx::SetValue_HostOrderIPRangeVector(root, ranges, "iprange");
  CTinyXmlEx::SetValue_Uint16RangeVector(root, ports, "port_range");
  CTinyXmlEx::SetValue_StringVector(root, strings, "string");
  CTinyXmlEx::SetValueLikeIni(root, "count", 4);
  CTinyXmlEx::SetValueLikeIni(root, "count", 5);  // replaces, no second child
  CTinyXmlEx::SetValueLikeIni_HostOrderIP(root, "gw", 0x0A000001u);

  std::string text = doc.ToText();
  CTinyXmlEx copy;
  ASSERT_EQ(0, copy.open(text.c_str(), static_cast<int>(text.size())));
  TiXmlNode* r = copy.GetRootNode();
  std::vector<IP_RANGE_PAIR> ranges2;
  std::vector<UINT16_RANGE_PAIR> ports2;
  std::vector<std::string> strings2;
  EXPECT_TRUE(
      CTinyXmlEx::GetValue_HostOrderIPRangeVector(r, ranges2, "iprange"));
  EXPECT_TRUE(CTinyXmlEx::GetValue_Uint16RangeVector(r, ports2, "port_range"));
  EXPECT_TRUE(CTinyXmlEx::GetValue_StringVector(r, strings2, "string"));
  EXPECT_EQ(ranges, ranges2);
  EXPECT_EQ(ports, ports2);
  EXPECT_EQ(strings, strings2);
  int count = 0;
  uint32_t gw = 0;
  EXPECT_TRUE(CTinyXmlEx::GetValueLikeIni(r, "count", &count));
  EXPECT_TRUE(CTinyXmlEx::GetValueLikeIni_HostOrderIP(r, "gw", &gw));
  EXPECT_EQ(5, count);
  EXPECT_EQ(0x0A000001u, gw);
  EXPECT_EQ(nullptr, CTinyXmlEx::NextSiblingElement(
                         CTinyXmlEx::FirstChildElement(r, "count"), "count"));
}

TEST(AddressTextTest, ParsesOnlyWellFormedForms) {
  IP_RANGE_PAIR range;
  ASSERT_TRUE(Orva::string_to_hip_range(" 10.0.0.9 - 10.0.0.1 ", &range));
  EXPECT_EQ(IP_RANGE_PAIR(0x0A000001u, 0x0A000009u), range);
  EXPECT_EQ("10.0.0.1-10.0.0.9", Orva::hip_range_to_string(range));
  uint32_t ip = 0;
  EXPECT_FALSE(Orva::string_to_hip("1.2.3", &ip));
  EXPECT_FALSE(Orva::string_to_hip("1.2.3.4.5", &ip));
  EXPECT_FALSE(Orva::string_to_hip("0001.2.3.4", &ip));
  EXPECT_TRUE(Orva::string_to_hip("255.255.255.255", &ip));
  EXPECT_EQ(0xFFFFFFFFu, ip);
  UINT16_RANGE_PAIR ports;
  EXPECT_FALSE(Orva::string_to_uint16_range("65536", &ports));
  EXPECT_TRUE(Orva::string_to_uint16_range("65535", &ports));
  unsigned char mac[6];
  EXPECT_TRUE(Orva::a_to_mac_addr("001a2b3c4d5e", mac));
  EXPECT_TRUE(Orva::a_to_mac_addr("00:1a:2b:3c:4d:5e", mac));
  EXPECT_FALSE(Orva::a_to_mac_addr("00:1a-2b:3c:4d:5e", mac));
  EXPECT_EQ("00_1A_2B_3C_4D_5E", Orva::mac_addr_to_a(mac, '_'));
  EXPECT_EQ(0x001A2B3C4D5Eu, Orva::mac_to_uint64(mac));
}

// A minimal configuration class for the base contract.
class CountConfig : public CBaseXMLConfig {
 public:
  void close() override { count_ = 7; }
  int count_ = 7;

 private:
  int LoadConfig(CTinyXmlEx& doc) override {
    TiXmlNode* root = doc.GetRootNode();
    if (root == nullptr || strcmp(root->Value(), "counter") != 0) return 0;
    CTinyXmlEx::GetValueLikeIni(root, "count", &count_);
    return 1;
  }
  int SaveConfig(CTinyXmlEx& doc) override {
    TiXmlNode* root = doc.InsertRootElement("counter");
    return CTinyXmlEx::SetValueLikeIni(root, "count", count_) ? 1 : 0;
  }
};

TEST(BaseXMLConfigTest, RemembersThePathAndReadsEncipheredFiles) {
  std::string dir = quarn_test::MakeTempDir("config");
  std::string path = dir + "/counter.xml";
  CountConfig config;
  EXPECT_EQ(0, config.SaveToFile());  // no path remembered yet
  config.count_ = 11;
  ASSERT_EQ(1, config.SaveToFile(path.c_str()));
  config.close();
  ASSERT_EQ(1, config.LoadFromFile(path.c_str()));
  EXPECT_EQ(11, config.count_);
  EXPECT_EQ(path, config.GetFilePath());
  config.count_ = 12;
  ASSERT_EQ(1, config.SaveToFile());
  EXPECT_NE(std::string::npos,
            quarn_test::ReadFile(path).find("<count>12</count>"));
  EXPECT_EQ(0, config.LoadFromMem("<other/>", 8));
  EXPECT_EQ(0, config.LoadFromFile((dir + "/missing.xml").c_str()));

  const std::string plain = "<counter><count>21</count></counter>";
  std::string cry = dir + "/counter.dat";
  ASSERT_EQ(1, CBaseXMLConfig::SaveCryDataFile(cry.c_str(), plain.data(),
                                               static_cast<int>(plain.size())));
  EXPECT_EQ(std::string::npos, quarn_test::ReadFile(cry).find("counter"));
  char* buffer = nullptr;
  int length = 0;
  ASSERT_EQ(1, CBaseXMLConfig::LoadCryDataFile(cry.c_str(), buffer, length));
  EXPECT_EQ(plain, std::string(buffer, length));
  Orva::MyMemFree(buffer);
  ASSERT_EQ(1, config.LoadFromCryDataFile(cry.c_str()));
  EXPECT_EQ(21, config.count_);

  // One flipped byte, or a cut file, is refused rather than half-read.
  std::string bytes = quarn_test::ReadFile(cry);
  bytes[20] = static_cast<char>(bytes[20] ^ 1);
  quarn_test::WriteFile(cry, bytes);
  EXPECT_EQ(0, CBaseXMLConfig::LoadCryDataFile(cry.c_str(), buffer, length));
  quarn_test::WriteFile(cry, bytes.substr(0, 10));
  EXPECT_EQ(0, CBaseXMLConfig::LoadCryDataFile(cry.c_str(), buffer, length));
}

}  // namespace
