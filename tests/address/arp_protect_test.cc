// ARP protection settings: what a load keeps and drops, and save-then-load.

#include <string.h>

#include <string>

#include <gtest/gtest.h>

#include "address/CARPProtectData.h"
#include "address_test_util.h"

namespace {

using address_test::Ip;
using address_test::TmpPath;

int LoadText(CARPProtectData* data, const std::string& text) {
  return data->LoadFromMem(text.data(), static_cast<int>(text.size()));
}

TEST(ARPProtect, LoadDropsEmptyPairsButKeepsEveryBinding) {
  CARPProtectData data;
  const std::string doc =
      "<arp_protect><arp_protect>"
      "<broadcast_freq>-5</broadcast_freq>"
      "<arp_list2 card_name='eth0' ip='10.0.0.1' mac='00-11-22-33-44-55'/>"
      "<arp_list2 card_name='eth0' ip='0.0.0.0' mac='00-11-22-33-44-56'/>"
      "<arp_list2 card_name='eth1' ip='10.0.0.3' mac='00-00-00-00-00-00'/>"
      "<arp_list2 card_name='eth1' ip='10.0.0.4'/>"
      "<arp_list2 card_name='eth1' ip='10.0.0.1' mac='00-11-22-33-44-55'/>"
      "<ip_mac_bind_item ip='0.0.0.0' mac='00-00-00-00-00-00'/>"
      "<ip_mac_bind_item ip='10.0.0.9' mac='AA-BB-CC-DD-EE-FF'/>"
      "</arp_protect></arp_protect>";
  ASSERT_EQ(1, LoadText(&data, doc));
  EXPECT_EQ(0, data.broadcast_freq);
  ASSERT_EQ(2u, data.arp_list.size());  // duplicates are kept
  EXPECT_EQ("eth0", data.arp_list[0].card_name);
  EXPECT_EQ(Ip("10.0.0.1"), data.arp_list[0].ip);
  const unsigned char mac[8] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0, 0};
  EXPECT_EQ(0, memcmp(mac, data.arp_list[0].mac, 8));
  EXPECT_EQ(-1, data.arp_list[0].user);
  EXPECT_EQ("eth1", data.arp_list[1].card_name);
  ASSERT_EQ(2u, data.bind_list.size());
  EXPECT_EQ(0u, data.bind_list[0].ip);
  EXPECT_EQ(Ip("10.0.0.9"), data.bind_list[1].ip);
  EXPECT_EQ(0xFF, data.bind_list[1].mac[5]);

  // A second load replaces the lists.
  const std::string shorter =
      "<arp_protect><arp_protect><broadcast_freq>3</broadcast_freq>"
      "</arp_protect></arp_protect>";
  ASSERT_EQ(1, LoadText(&data, shorter));
  EXPECT_EQ(3, data.broadcast_freq);
  EXPECT_TRUE(data.arp_list.empty());
  EXPECT_TRUE(data.bind_list.empty());
}

TEST(ARPProtect, DocumentsWithoutSettings) {
  CARPProtectData data;
  data.broadcast_freq = 4;
  const std::string other_child = "<arp_protect><other/></arp_protect>";
  EXPECT_EQ(1, LoadText(&data, other_child));
  EXPECT_EQ(4, data.broadcast_freq);  // left as it was
  EXPECT_EQ(0, LoadText(&data, "no xml here"));
  const std::string no_freq = "<a><arp_protect/></a>";
  EXPECT_EQ(1, LoadText(&data, no_freq));
  EXPECT_EQ(10, data.broadcast_freq);
}

TEST(ARPProtect, SaveThenLoadComparesEqual) {
  CARPProtectData data;
  data.broadcast_freq = -2;
  CARPProtectData::tagARP_ITEM arp;
  arp.card_name = "eth0";
  arp.ip = Ip("192.168.1.1");
  arp.mac[0] = 0x02;
  arp.mac[5] = 0x99;
  arp.user = 7;
  data.arp_list.push_back(arp);
  CARPProtectData::tagBIND_ITEM bind;
  bind.ip = Ip("192.168.1.20");
  bind.mac[3] = 0x10;
  data.bind_list.push_back(bind);
  data.bind_list.push_back(CARPProtectData::tagBIND_ITEM());

  const std::string path = TmpPath("arp_protect.xml");
  ASSERT_EQ(1, data.SaveToFile(path.c_str()));
  EXPECT_EQ(0, data.broadcast_freq);  // clamped on save
  CARPProtectData back;
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_EQ(1, back.compare_config(data));
  EXPECT_EQ(-1, back.arp_list[0].user);  // not stored

  back.bind_list[1].mac[0] = 1;
  EXPECT_EQ(0, back.compare_config(data));
  CARPProtectData copy(back);
  EXPECT_EQ(1, copy.compare_config(back));
  copy.close();
  EXPECT_EQ(1, copy.compare_config(CARPProtectData()));
}

}  // namespace

namespace {

TEST(ARPProtect, ExampleDocumentLoads) {
  CARPProtectData data;
  const std::string path =
      std::string(QUARN_SOURCE_DIR) + "/examples/gateway/arp_protect.xml";
  ASSERT_EQ(1, data.LoadFromFile(path.c_str()));
  EXPECT_EQ(10, data.broadcast_freq);
  EXPECT_EQ(4u, data.arp_list.size());
  EXPECT_EQ(4u, data.bind_list.size());
  EXPECT_EQ("eth2", data.arp_list[3].card_name);
}

}  // namespace
