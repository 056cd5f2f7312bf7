#include <string>

#include <gtest/gtest.h>

#include "appid/CAppSubtypeReader.h"
#include "appid/CUserDefAppConfig.h"
#include "appid/CUserDefAppConfig2.h"
#include "support/TempDir.h"

namespace {

const uint32_t kServer = 0x0A000001;  // 10.0.0.1
const uint32_t kClient = 0xC0A80105;  // 192.168.1.5
const uint32_t kOther = 0x08080808;   // 8.8.8.8
const DIR_CS kAllDirs[] = {DIR_CS_UNKNOWN, DIR_CS_FIRST_CLIENT,
                           DIR_CS_FIRST_SERVER};

tagIPv4_CONNECT_ADDR Conn(uint32_t first_ip, uint16_t first_port,
                          uint32_t second_ip, uint16_t second_port) {
  tagIPv4_CONNECT_ADDR addr = {};
  addr.first_ip = first_ip;
  addr.first_port = first_port;
  addr.second_ip = second_ip;
  addr.second_port = second_port;
  return addr;
}

// Client first, server second; and the other way round.
const tagIPv4_CONNECT_ADDR kClientFirst = Conn(kClient, 4000, kServer, 80);
const tagIPv4_CONNECT_ADDR kServerFirst = Conn(kServer, 80, kClient, 4000);

UserDefAppItem Item(uint32_t cond, uint32_t ip, uint16_t port) {
  UserDefAppItem item;
  item.cond_type = cond;
  if (ip != 0) item.ips.push_back(IP_RANGE_PAIR(ip, ip));
  if (port != 0) item.ports.push_back(UINT16_RANGE_PAIR(port, port));
  return item;
}

// Runs the condition from direction `start` (transport and judge pass);
// returns the result and leaves the direction in `*dir`.
int Match(const UserDefAppItem& item, const tagIPv4_CONNECT_ADDR& addr,
          DIR_CS start, DIR_CS* dir) {
  *dir = start;
  return item.Cmp(addr, 1, static_cast<int>(item.judge_type), *dir);
}

// The item matches `addr` from an undecided direction and settles it to
// `settled`, matches from `settled`, and fails from the other direction.
void ExpectSettles(const UserDefAppItem& item, const tagIPv4_CONNECT_ADDR& addr,
                   DIR_CS settled) {
  DIR_CS dir;
  EXPECT_EQ(1, Match(item, addr, DIR_CS_UNKNOWN, &dir));
  EXPECT_EQ(settled, dir);
  EXPECT_EQ(1, Match(item, addr, settled, &dir));
  DIR_CS other = settled == DIR_CS_FIRST_CLIENT ? DIR_CS_FIRST_SERVER
                                                : DIR_CS_FIRST_CLIENT;
  EXPECT_EQ(0, Match(item, addr, other, &dir));
}

// No match from any direction, and the direction is left alone.
void ExpectNoMatch(const UserDefAppItem& item,
                   const tagIPv4_CONNECT_ADDR& addr) {
  for (DIR_CS start : kAllDirs) {
    DIR_CS dir;
    EXPECT_EQ(0, Match(item, addr, start, &dir));
    EXPECT_EQ(start, dir);
  }
}

TEST(UserDefAppItemTest, EveryConditionKindInEveryDirection) {
  for (const UserDefAppItem& item :
       {Item(1, 0, 80), Item(2, 0, 4000), Item(3, kServer, 80),
        Item(4, kClient, 80)}) {
    SCOPED_TRACE(item.cond_type);
    ExpectSettles(item, kClientFirst, DIR_CS_FIRST_CLIENT);
    ExpectSettles(item, kServerFirst, DIR_CS_FIRST_SERVER);
  }
  ExpectNoMatch(Item(1, 0, 80), Conn(kClient, 4000, kServer, 8080));
  ExpectNoMatch(Item(2, 0, 4000), Conn(kClient, 4001, kServer, 80));
  // The address and the port must belong to the right endpoints.
  ExpectNoMatch(Item(3, kServer, 80), Conn(kServer, 4000, kClient, 80));
  ExpectNoMatch(Item(4, kClient, 80), Conn(kClient, 80, kServer, 4000));
  for (uint32_t kind : {0u, 6u}) ExpectNoMatch(Item(kind, 0, 0), kClientFirst);

  // Kind 5: either address; the direction is neither read nor written.
  for (DIR_CS start : kAllDirs) {
    DIR_CS dir;
    EXPECT_EQ(1, Match(Item(5, kServer, 0), kClientFirst, start, &dir));
    EXPECT_EQ(1, Match(Item(5, kServer, 0), kServerFirst, start, &dir));
    EXPECT_EQ(start, dir);
  }
  ExpectNoMatch(Item(5, kServer, 0), Conn(kClient, 1, kOther, 2));

  // With no ports, an undecided direction becomes "second is the server"
  // for the server port and "second is the client" for the client port.
  DIR_CS dir;
  EXPECT_EQ(1, Match(Item(1, kServer, 0), kServerFirst, DIR_CS_UNKNOWN, &dir));
  EXPECT_EQ(DIR_CS_FIRST_CLIENT, dir);
  EXPECT_EQ(1, Match(Item(2, kServer, 0), kClientFirst, DIR_CS_UNKNOWN, &dir));
  EXPECT_EQ(DIR_CS_FIRST_SERVER, dir);

  // Ranges hold both ends.
  UserDefAppItem range = Item(1, 0, 0);
  range.ports.push_back(UINT16_RANGE_PAIR(8000, 8080));
  for (uint16_t port : {7999, 8000, 8080, 8081}) {
    EXPECT_EQ(port == 8000 || port == 8080 ? 1 : 0,
              Match(range, Conn(kClient, 1, kServer, port), DIR_CS_FIRST_CLIENT,
                    &dir));
  }
}

TEST(UserDefAppItemTest, TransportJudgeAndFind) {
  UserDefAppItem item = Item(1, 0, 80);
  DIR_CS dir = DIR_CS_FIRST_CLIENT;
  for (int transport : {1, 2, 0x80, -1}) {
    EXPECT_EQ(1, item.Cmp(kClientFirst, transport, dir)) << transport;
  }
  EXPECT_EQ(0, item.Cmp(kClientFirst, 0, dir));
  item.trans_type = 2;
  item.judge_type = 7;
  EXPECT_EQ(0, item.Cmp(kClientFirst, 1, dir));
  EXPECT_EQ(1, item.Cmp(kClientFirst, 3, 7, dir));
  EXPECT_EQ(0, item.Cmp(kClientFirst, 3, 0, dir));
  EXPECT_EQ(1, item.Cmp(kClientFirst, 3, dir));  // no judge test

  CUserDefAppConfig config;
  config.items = {Item(1, 0, 443), item, item};
  EXPECT_EQ(&config.items[1], config.find(kClientFirst, 2, 7, dir));
  EXPECT_EQ(nullptr, config.find(kClientFirst, 2, 8, dir));
  EXPECT_EQ(nullptr, config.find(kClientFirst, 1, 7, dir));
  DIR_CS undecided = DIR_CS_UNKNOWN;
  EXPECT_EQ(&config.items[1], config.find(kServerFirst, 2, 7, undecided));
  EXPECT_EQ(DIR_CS_FIRST_SERVER, undecided);
}

std::string OneApp(const std::string& attrs, const std::string& ranges) {
  return "<one_app " + attrs + ">" + ranges + "</one_app>";
}
const char kPort[] = "<port><port_range>1</port_range></port>";

TEST(UserDefAppConfigTest, LoadSaveAndNumber) {
  const std::string text =
      "<user_def_app next_appid=\"3\">" +
      OneApp("name=\"none\" appid=\"20\" cond_type=\"1\"", "") +  // no ranges
      OneApp("appid=\"21\" cond_type=\"1\"", kPort) +             // no name
      OneApp("name=\"a\" cond_type=\"1\"", kPort) +               // no appid
      OneApp("name=\"a\" appid=\"22\"", kPort) +                  // no kind
      OneApp(
          "name=\"erp\" appid=\"5\" cond_type=\"3\" trans_type=\"1\" "
          "judge_type=\"2\" desc=\"\xbf\xcd\xbb\xa7\"",
          "<ip><ip_range>10.0.0.1-10.0.0.9</ip_range></ip>"
          "<port><port_range>8000-8080</port_range></port>") +
      OneApp("name=\"crm\" appid=\"9\" cond_type=\"5\"",
             "<ip><ip_range>10.1.0.0-10.1.255.255</ip_range></ip>") +
      OneApp("name=\"new1\" appid=\"0\" cond_type=\"1\"", kPort) +
      OneApp("name=\"new2\" appid=\"0\" cond_type=\"1\"", kPort) +
      "</user_def_app>";
  CUserDefAppConfig config;
  ASSERT_TRUE(config.LoadFromMem(text.data(), static_cast<int>(text.size())));
  ASSERT_EQ(4u, config.items.size());
  EXPECT_EQ(10, config.next_appid);
  EXPECT_EQ(IP_RANGE_PAIR(0x0A000001, 0x0A000009), config.items[0].ips[0]);
  EXPECT_EQ(2u, config.items[0].judge_type);
  EXPECT_EQ(0xFFFFFFFFu, config.items[1].trans_type);

  config.ReCalAppid();
  EXPECT_EQ(5u, config.items[0].appid);
  EXPECT_EQ(10u, config.items[2].appid);
  EXPECT_EQ(11u, config.items[3].appid);
  EXPECT_EQ(12, config.next_appid);

  const std::string dir = quarn_test::MakeTempDir("userdef");
  const std::string path = dir + "/company.apps.xml";
  config.name = "company.apps";
  ASSERT_TRUE(config.SaveToFile(path.c_str()));
  EXPECT_FALSE(config.SaveToFile((dir + "/no/such/dir.xml").c_str()));
  CUserDefAppConfig loaded;
  ASSERT_TRUE(loaded.read(path.c_str()));
  EXPECT_EQ(config, loaded);
  loaded.items[0].ports.clear();
  EXPECT_NE(config, loaded);

  // next_appid survives close and a document without it.
  const std::string plain =
      "<user_def_app>" +
      OneApp("name=\"a\" appid=\"4\" cond_type=\"1\"", kPort) +
      "</user_def_app>";
  ASSERT_TRUE(loaded.LoadFromMem(plain.data(), static_cast<int>(plain.size())));
  EXPECT_EQ(1u, loaded.items.size());
  EXPECT_EQ(12, loaded.next_appid);
  EXPECT_TRUE(loaded.LoadFromMem(nullptr, 0));
  EXPECT_TRUE(loaded.items.empty());
  EXPECT_FALSE(loaded.LoadFromMem("<user_def_app>", 14));
  EXPECT_FALSE(config.read((dir + "/missing.xml").c_str()));
  EXPECT_TRUE(config.items.empty());
}

TEST(UserDefAppConfigTest, ExampleDocumentLoads) {
  CUserDefAppConfig config;
  ASSERT_TRUE(
      config.read(QUARN_SOURCE_DIR "/examples/gateway/user_def_app.xml"));
  EXPECT_EQ("user_def_app", config.name);
  EXPECT_EQ(4u, config.items.size());
  DIR_CS dir = DIR_CS_UNKNOWN;
  const UserDefAppItem* erp =
      config.find(Conn(kClient, 4000, 0x0A0A0114, 8005), 1, 0, dir);
  ASSERT_NE(nullptr, erp);
  EXPECT_EQ(19000001u, erp->appid);
}

TEST(UserDefAppConfig2Test, LoadChecksTheTreeAndFindsByServer) {
  const std::string tmp = quarn_test::MakeTempDir("userdef2");
  mkdir((tmp + "/pat").c_str(), 0755);
  quarn_test::WriteFile(
      tmp + "/pat/proto_tree.xml",
      "<tree><root appid=\"10000000\" disp=\"ext\"><mail appid=\"10020000\""
      " disp=\"Mail\"><smtp appid=\"10020001\" disp=\"SMTP\"/></mail></root>"
      "</tree>");
  quarn_test::ScopedModuleDir module_dir(tmp);
  ASSERT_EQ(1, CAppSubtypeReader::ReadAppTypeTree());

  const std::string smtp =
      "<ip><ip_range>10.0.0.1</ip_range></ip>"
      "<port><port_range>25</port_range></port>";
  const std::string text =
      "<user_def_app>" + OneApp("appid=\"10020001\"", smtp) +
      OneApp("appid=\"10029999\"", kPort) +  // not in tree
      OneApp("", kPort) + OneApp("appid=\"10020000\"", "") +
      OneApp("appid=\"10020000\" trans_type=\"2\"",
             "<port><port_range>110</port_range></port>") +
      "</user_def_app>";
  CUserDefAppConfig2 config;
  ASSERT_TRUE(config.LoadFromMem(text.data(), static_cast<int>(text.size())));
  ASSERT_EQ(2u, config.items.size());
  EXPECT_EQ(0xFFFFFFFFu, config.items[0].trans_type);

  DIR_CS dir = DIR_CS_UNKNOWN;
  EXPECT_EQ(&config.items[0],
            config.find(Conn(kServer, 25, kClient, 4000), 1, dir));
  EXPECT_EQ(DIR_CS_FIRST_SERVER, dir);
  dir = DIR_CS_FIRST_SERVER;
  EXPECT_EQ(nullptr, config.find(Conn(kClient, 4000, kServer, 25), 1, dir));
  dir = DIR_CS_UNKNOWN;
  EXPECT_EQ(nullptr, config.find(Conn(kClient, 4000, kOther, 110), 1, dir));
  EXPECT_EQ(&config.items[1],
            config.find(Conn(kClient, 4000, kOther, 110), 2, dir));

  const std::string path = tmp + "/apps2.xml";
  ASSERT_TRUE(config.SaveToFile(path.c_str()));
  CUserDefAppConfig2 loaded;
  ASSERT_TRUE(loaded.read(path.c_str()));
  config.name = "apps2";
  EXPECT_EQ(config, loaded);

  // Without the tree every entry is refused.
  CAppSubtypeReader::CloseAppTypeTree();
  ASSERT_TRUE(loaded.read(path.c_str()));
  EXPECT_TRUE(loaded.items.empty());

  UserDefAppItem2 fresh;
  EXPECT_EQ(0xFFFFFFFFu, fresh.trans_type);
  fresh.close();
  EXPECT_EQ(1u, fresh.trans_type);
}

}  // namespace
