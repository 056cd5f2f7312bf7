// Address predicates and connection direction over the process-wide plan.

#include <string>

#include <gtest/gtest.h>

#include "address/AddressPredicates.h"
#include "address/CLocalIPTypeTable.h"
#include "address_test_util.h"

namespace {

using address_test::Ip;

// Intranet 10.0.0.0/16 only, so the rest of 10/8 and 172.16/12 are private
// but not intranet; a DMZ on public addresses.
const char kPlan[] =
    "<organization><org_info><company><intranet><in_vpn>"
    "<iprange>10.0.0.0-10.0.255.255</iprange></in_vpn></intranet>"
    "<internet><dmz><iprange>202.100.1.0-202.100.1.255</iprange></dmz>"
    "</internet></company></org_info></organization>";

class PredicatesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CLocalIPTypeTable* plan = CLocalIPTypeTable_Singleton::instance();
    ASSERT_NE(nullptr, plan);
    ASSERT_EQ(1, plan->LoadFromMem(kPlan, sizeof(kPlan) - 1));
  }
  void TearDown() override { CLocalIPTypeTable_Singleton::instance()->close(); }

  static tagIPv4_CONNECT_ADDR Conn(const char* first, uint16_t first_port,
                                   const char* second, uint16_t second_port) {
    tagIPv4_CONNECT_ADDR addr;
    addr.first_ip = Ip(first);
    addr.first_port = first_port;
    addr.second_ip = Ip(second);
    addr.second_port = second_port;
    return addr;
  }
};

TEST_F(PredicatesTest, MembershipAtRangeEnds) {
  EXPECT_EQ(1, GetIP_IsInVPN(Ip("10.0.0.0")));
  EXPECT_EQ(1, GetIP_IsInVPN(Ip("10.0.255.255")));
  EXPECT_EQ(0, GetIP_IsInVPN(Ip("10.1.0.0")));
  EXPECT_EQ(1, GetIP_IsInternetDMZ(Ip("202.100.1.0")));
  EXPECT_EQ(1, GetIP_IsInternetDMZ(Ip("202.100.1.255")));
  EXPECT_EQ(0, GetIP_IsInternetDMZ(Ip("202.100.2.0")));

  // Private: the default networks or the intranet.
  EXPECT_EQ(1, GetIP_IsPrivateAddr(Ip("10.1.0.0")));
  EXPECT_EQ(1, GetIP_IsPrivateAddr(Ip("172.16.0.0")));
  EXPECT_EQ(0, GetIP_IsPrivateAddr(Ip("172.32.0.0")));
  EXPECT_EQ(0, GetIP_IsPrivateAddr(Ip("202.100.1.1")));  // DMZ is public
  EXPECT_EQ(1, GetIP_IsOutterAddr(Ip("202.100.1.1")));
  EXPECT_EQ(0, GetIP_IsOutterAddr(Ip("172.20.1.1")));
  EXPECT_EQ(1, GetIP_IsInnerAddr(Ip("172.20.1.1")));

  int type = 0;
  EXPECT_EQ(1, GetIP_IsIPInCompany(Ip("10.0.3.4"), &type));
  EXPECT_EQ(21, type);
  EXPECT_EQ(1, GetIP_IsIPInCompany(Ip("202.100.1.9"), &type));
  EXPECT_EQ(31, type);
  type = 0;
  EXPECT_EQ(0, GetIP_IsIPInCompany(Ip("10.1.0.1"), &type));
  EXPECT_EQ(0, type);
  EXPECT_EQ(1, GetIP_IsIPInCompany(Ip("10.0.3.4"), nullptr));
}

TEST_F(PredicatesTest, WithoutIntranetListOnlyDefaultNetworksAreInside) {
  const std::string no_intranet =
      "<organization><org_info><company/></org_info></organization>";
  CLocalIPTypeTable* plan = CLocalIPTypeTable_Singleton::instance();
  ASSERT_EQ(1, plan->LoadFromMem(no_intranet.data(),
                                 static_cast<int>(no_intranet.size())));
  EXPECT_EQ(0, GetIP_IsInVPN(Ip("10.0.0.1")));
  EXPECT_EQ(0, GetIP_IsOutterAddr(Ip("10.0.0.1")));
  EXPECT_EQ(1, GetIP_IsOutterAddr(Ip("202.100.1.1")));
  EXPECT_EQ(0, GetIP_IsIPInCompany(Ip("10.0.0.1"), nullptr));
}

TEST_F(PredicatesTest, InsideAndOutsideEnds) {
  struct Case {
    int dir;
    const char* first;
    const char* second;
    const char* inside;
    int out_dir;
  };
  const Case cases[] = {
      {1, "8.8.8.8", "10.0.0.1", "8.8.8.8", 1},  // decided: no tests
      {0, "10.0.0.1", "8.8.8.8", "8.8.8.8", 0},
      {-1, "8.8.8.8", "10.0.0.1", "10.0.0.1", 0},  // only first outside
      {-1, "8.8.8.8", "172.16.0.1", "172.16.0.1", 0},
      {-1, "10.0.0.1", "8.8.8.8", "10.0.0.1", 1},
      {-1, "8.8.8.8", "1.1.1.1", "8.8.8.8", 1},     // both outside
      {-1, "10.0.0.1", "10.0.0.2", "10.0.0.1", 1},  // both inside
      {7, "8.8.8.8", "10.0.0.1", "10.0.0.1", 0},    // undecided value
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.first) + " " + c.second);
    const tagIPv4_CONNECT_ADDR addr = Conn(c.first, 1111, c.second, 2222);
    unsigned int inside = 0, outside = 0;
    int out_dir = -5;
    quarn_GetIPDir(static_cast<DIR_IO>(c.dir), addr, inside, outside, out_dir);
    EXPECT_EQ(Ip(c.inside), inside);
    EXPECT_EQ(Ip(c.inside) == addr.first_ip ? addr.second_ip : addr.first_ip,
              outside);
    EXPECT_EQ(c.out_dir, out_dir);

    unsigned short inside_port = 0, outside_port = 0;
    int port_dir = -5;
    quarn_GetPortDir(static_cast<DIR_IO>(c.dir), addr, inside_port,
                     outside_port, port_dir);
    EXPECT_EQ(c.out_dir, port_dir);
    EXPECT_EQ(c.out_dir == 1 ? 1111 : 2222, inside_port);
    EXPECT_EQ(c.out_dir == 1 ? 2222 : 1111, outside_port);
  }
}

TEST_F(PredicatesTest, DataDirection) {
  // A decided direction is returned without looking at the addresses.
  EXPECT_EQ(DIR_IO_IN,
            quarn_GetDataDir(DIR_IO_IN, Conn("10.0.0.1", 1, "8.8.8.8", 2)));
  EXPECT_EQ(DIR_IO_OUT,
            quarn_GetDataDir(DIR_IO_OUT, Conn("8.8.8.8", 1, "10.0.0.1", 2)));
  struct Case {
    const char* first;
    const char* second;
    DIR_IO expected;
  };
  const Case cases[] = {
      {"10.0.0.1", "202.100.1.1", DIR_IO_OUT},  // first in the intranet
      {"10.0.0.1", "10.0.0.2", DIR_IO_OUT},
      {"202.100.1.1", "10.0.0.1", DIR_IO_IN},     // DMZ to intranet
      {"202.100.1.1", "8.8.8.8", DIR_IO_OUT},     // DMZ to internet
      {"202.100.1.1", "172.16.0.1", DIR_IO_OUT},  // DMZ to private non-intranet
      {"8.8.8.8", "10.0.0.1", DIR_IO_IN},
      {"8.8.8.8", "172.16.0.1", DIR_IO_IN},   // second private, not intranet
      {"172.16.0.1", "8.8.8.8", DIR_IO_OUT},  // first private, second out
      {"172.16.0.1", "10.1.0.1", DIR_IO_IN},  // both private, neither intranet
      {"8.8.8.8", "1.1.1.1", DIR_IO_IN},      // both outside
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.first) + " " + c.second);
    EXPECT_EQ(c.expected,
              quarn_GetDataDir(DIR_IO_UNKNOWN, Conn(c.first, 1, c.second, 2)));
  }
}

TEST_F(PredicatesTest, ClientServerDirection) {
  DIR_CS cs = DIR_CS_UNKNOWN;
  // A first end ending in .255 is the server even inside the company.
  quarn_JudgeCSDir(Conn("10.0.0.255", 1, "8.8.8.8", 2), cs);
  EXPECT_EQ(DIR_CS_FIRST_SERVER, cs);
  cs = DIR_CS_UNKNOWN;
  quarn_JudgeCSDir(Conn("8.8.8.8", 1, "10.0.0.255", 2), cs);
  EXPECT_EQ(DIR_CS_FIRST_CLIENT, cs);
  cs = DIR_CS_UNKNOWN;
  quarn_JudgeCSDir(Conn("172.16.0.1", 1, "8.8.8.8", 2), cs);
  EXPECT_EQ(DIR_CS_FIRST_CLIENT, cs);
  cs = DIR_CS_UNKNOWN;
  quarn_JudgeCSDir(Conn("8.8.8.8", 1, "10.0.0.1", 2), cs);
  EXPECT_EQ(DIR_CS_FIRST_SERVER, cs);
  // A decided direction stays whatever the addresses say.
  cs = DIR_CS_FIRST_SERVER;
  quarn_JudgeCSDir(Conn("10.0.0.1", 1, "8.8.8.255", 2), cs);
  EXPECT_EQ(DIR_CS_FIRST_SERVER, cs);
  cs = DIR_CS_FIRST_CLIENT;
  quarn_JudgeCSDir(Conn("8.8.8.255", 1, "10.0.0.1", 2), cs);
  EXPECT_EQ(DIR_CS_FIRST_CLIENT, cs);
}

TEST(UnknownAppId, ServicePortsAndTransports) {
  tagIPv4_CONNECT_ADDR addr = {0, 1024, 0, 5000};
  EXPECT_EQ(19020001u, quarn_GetUKAppId(addr, 1));
  EXPECT_EQ(19020002u, quarn_GetUKAppId(addr, 2));
  EXPECT_EQ(19020000u, quarn_GetUKAppId(addr, 0));
  EXPECT_EQ(19020000u, quarn_GetUKAppId(addr, 17));
  addr.first_port = 1025;
  EXPECT_EQ(19010001u, quarn_GetUKAppId(addr, 1));
  EXPECT_EQ(19010002u, quarn_GetUKAppId(addr, 2));
  EXPECT_EQ(19010000u, quarn_GetUKAppId(addr, 3));
  addr.second_port = 0;  // either end may be the service
  EXPECT_EQ(19020001u, quarn_GetUKAppId(addr, 1));
  addr.first_port = 65535;
  addr.second_port = 65535;
  EXPECT_EQ(19010001u, quarn_GetUKAppId(addr, 1));
}

}  // namespace
