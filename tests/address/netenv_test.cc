// Switch polling settings and the network environment that embeds them.

#include <string.h>

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "address/CFetchIPMacInL3Switch_Config.h"
#include "address/CFetchMacPortInSwitch_Config.h"
#include "address/CNetEnvSetData.h"
#include "address_test_util.h"

namespace {

using address_test::Ip;
using address_test::TmpPath;

std::string ReadFile(const std::string& path) {
  std::ifstream in(path.c_str(), std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(SwitchPolling, AbsentKeysTakeTheDefaultsOfEachClass) {
  const std::string l3 =
      "<fetch_ipmac_inl3switch enable='1'>"
      "<time_out>7</time_out>"
      "<one_item><ip>10.1.1.1</ip></one_item>"
      "<one_item><ip>10.1.1.2</ip><community>pub</community><port>1161</port>"
      "<mac>00-1A-2B-3C-4D-5E</mac></one_item>"
      "</fetch_ipmac_inl3switch>";
  CFetchIPMacInL3Switch_Config ipmac;
  ASSERT_EQ(1, ipmac.LoadFromMem(l3.data(), static_cast<int>(l3.size())));
  EXPECT_EQ(1, ipmac.enable);
  EXPECT_EQ(7, ipmac.time_out);
  EXPECT_EQ(10, ipmac.schedule_time);
  ASSERT_EQ(2u, ipmac.items.size());
  EXPECT_EQ(Ip("10.1.1.1"), ipmac.items[0].ip);
  EXPECT_EQ("1.3.6.1.2.1.3.1.1.2", ipmac.items[0].oid);
  EXPECT_EQ("kestra", ipmac.items[0].community);
  EXPECT_EQ(161, ipmac.items[0].port);
  EXPECT_EQ("pub", ipmac.items[1].community);
  EXPECT_EQ(1161, ipmac.items[1].port);
  const unsigned char mac[8] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E, 0, 0};
  EXPECT_EQ(0, memcmp(mac, ipmac.items[1].mac, 8));

  const std::string empty = "<fetch_macport_inswitch/>";
  CFetchMacPortInSwitch_Config macport;
  ASSERT_EQ(1,
            macport.LoadFromMem(empty.data(), static_cast<int>(empty.size())));
  EXPECT_EQ(0, macport.enable);
  EXPECT_EQ(5, macport.time_out);
  EXPECT_EQ(300, macport.schedule_time);
  EXPECT_TRUE(macport.items.empty());

  const std::string one = "<x><one_item><ip>10.9.9.9</ip></one_item></x>";
  ASSERT_EQ(1, macport.LoadFromMem(one.data(), static_cast<int>(one.size())));
  ASSERT_EQ(1u, macport.items.size());
  EXPECT_EQ("1.3.6.1.2.1.17.1.4.1", macport.items[0].oid);
  EXPECT_EQ("kestra", macport.items[0].community);
  EXPECT_EQ(161, macport.items[0].port);

  macport.close();
  EXPECT_EQ(CFetchMacPortInSwitch_Config(), macport);
}

TEST(SwitchPolling, SaveThenLoadGivesAnEqualObject) {
  CFetchIPMacInL3Switch_Config ipmac;
  ipmac.enable = 1;
  ipmac.time_out = 3;
  ipmac.schedule_time = 60;
  CFetchIPMacInL3Switch_Config::tagONE_ITEM a;
  a.ip = Ip("192.168.0.1");
  a.mac[0] = 0xAA;
  a.mac[5] = 0x01;
  a.community = "secret";
  CFetchIPMacInL3Switch_Config::tagONE_ITEM b;
  b.ip = Ip("192.168.0.2");
  b.oid = "1.3.6.1.2.1.4.22.1.2";
  b.port = 10161;
  ipmac.items.push_back(a);
  ipmac.items.push_back(b);
  const std::string ipmac_path = TmpPath("ipmac.xml");
  ASSERT_EQ(1, ipmac.SaveToFile(ipmac_path.c_str()));
  CFetchIPMacInL3Switch_Config ipmac_back;
  ASSERT_EQ(1, ipmac_back.LoadFromFile(ipmac_path.c_str()));
  EXPECT_EQ(ipmac, ipmac_back);

  CFetchMacPortInSwitch_Config macport;
  macport.enable = 1;
  CFetchMacPortInSwitch_Config::tagONE_ITEM c;
  c.ip = Ip("172.16.5.5");
  c.community = "sw";
  c.port = 162;
  macport.items.push_back(c);
  const std::string macport_path = TmpPath("macport.xml");
  ASSERT_EQ(1, macport.SaveToFile(macport_path.c_str()));
  CFetchMacPortInSwitch_Config macport_back;
  ASSERT_EQ(1, macport_back.LoadFromFile(macport_path.c_str()));
  EXPECT_EQ(macport, macport_back);
  // The MAC-to-port items keep their own key order: ip, community, port,
  // oid.
  const std::string text = ReadFile(macport_path);
  const size_t ip = text.find("<ip>"), community = text.find("<community>"),
               port = text.find("<port>"), oid = text.find("<oid>");
  ASSERT_NE(std::string::npos, oid);
  EXPECT_LT(ip, community);
  EXPECT_LT(community, port);
  EXPECT_LT(port, oid);

  // Loading the same document again replaces the items, not repeats them.
  ASSERT_EQ(1, macport_back.LoadFromFile(macport_path.c_str()));
  EXPECT_EQ(macport, macport_back);
}

TEST(NetEnv, EmptyElementGivesDefaultsAndLoadResetsEarlierValues) {
  CTinyXmlEx doc;
  const std::string full =
      "<org_info><netenv_layer>0</netenv_layer><dep_type>3</dep_type>"
      "<handle_collision_ip_type>2</handle_collision_ip_type>"
      "<admit_outside_host>1</admit_outside_host>"
      "<fetch_ipmac_inl3switch enable='1'><one_item><ip>10.0.0.254</ip>"
      "</one_item></fetch_ipmac_inl3switch>"
      "<trace learn_host_type='2' delete_old_host='0' over_hour='12'"
      " handle_netbios_pkt='1'/></org_info>";
  ASSERT_EQ(0, doc.open(full.data(), static_cast<int>(full.size())));
  CNetEnvSetData env;
  ASSERT_EQ(1, env.LoadFromFile(doc, doc.GetRootNode()));
  EXPECT_EQ(0, env.GetNetEnvLayer());
  EXPECT_EQ(3, env.dep_type);
  EXPECT_EQ(2, env.GetHandleCollisionIPType());
  EXPECT_EQ(1, env.IsAdmitOutsideHost());
  EXPECT_EQ(1u, env.fetch_ipmac_inl3switch.items.size());
  EXPECT_EQ(2, env.learn_host_type);
  EXPECT_EQ(0, env.delete_old_host);
  EXPECT_EQ(12, env.over_hour);
  EXPECT_EQ(1, env.handle_netbios_pkt);

  const std::string empty = "<org_info/>";
  ASSERT_EQ(0, doc.open(empty.data(), static_cast<int>(empty.size())));
  ASSERT_EQ(1, env.LoadFromFile(doc, doc.GetRootNode()));
  EXPECT_EQ(1, env.netenv_layer);
  EXPECT_EQ(1, env.dep_type);
  EXPECT_EQ(240, env.over_hour);
  EXPECT_EQ(1, env.learn_host_type);
  EXPECT_EQ(1, env.delete_old_host);
  EXPECT_EQ(0, env.forbit_except_addr);
  EXPECT_EQ(0, env.log_except_addr);
  EXPECT_EQ(0, env.handle_collision_ip_type);
  EXPECT_EQ(0, env.IsAdmitOutsideHost());
  EXPECT_EQ(0, env.handle_netbios_pkt);
  EXPECT_TRUE(env.fetch_ipmac_inl3switch.items.empty());
  EXPECT_EQ(1, env.compare_config(CNetEnvSetData()));
}

TEST(NetEnv, IpMacBindingFollowsLayerAndPolling) {
  CNetEnvSetData env;
  env.SetNetEnvLayer(0);
  EXPECT_EQ(0, env.IsLayer3());
  EXPECT_EQ(1, env.IsEanbelIPMacBind());
  env.SetNetEnvLayer(1);
  EXPECT_EQ(1, env.IsLayer3());
  EXPECT_EQ(0, env.IsEanbelIPMacBind());
  env.fetch_ipmac_inl3switch.enable = 1;
  EXPECT_EQ(1, env.IsEanbelIPMacBind());
}

}  // namespace

namespace {

TEST(SwitchPolling, ExampleDocumentLoads) {
  CFetchMacPortInSwitch_Config config;
  const std::string path = std::string(QUARN_SOURCE_DIR) +
                           "/examples/gateway/fetch_macport_inswitch.xml";
  ASSERT_EQ(1, config.LoadFromFile(path.c_str()));
  EXPECT_EQ(1, config.enable);
  ASSERT_EQ(2u, config.items.size());
  EXPECT_EQ(Ip("10.10.0.3"), config.items[1].ip);
  EXPECT_EQ("ops-read", config.items[1].community);
  EXPECT_EQ("1.3.6.1.2.1.17.1.4.1", config.items[1].oid);
}

}  // namespace
