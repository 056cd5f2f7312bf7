// Employee records: admission by the address plan, the insertion modes
// and their result codes, collisions, ageing, departments, texts, the
// stream form, the document and diffs.

#include "employee/CEmployeeInfoMgr.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "address/CLocalIPTypeTable.h"
#include "base/OrvaAddr.h"
#include "support/TempDir.h"

namespace {

const unsigned char kMac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const unsigned char kMac2[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x56};
const unsigned char kVlan[6] = {0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F};

unsigned int Ip(const char* text) {
  uint32_t ip = 0;
  Orva::string_to_hip(text, &ip);
  return ip;
}

// Intranet 10.0.0.0/16 with department 101 on 10.0.1.0/24, servers on
// 10.0.9.0/24, DMZ 172.16.0.0/24; outside hosts refused, no collision
// handling.
class EmployeeInfoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    plan_.intranet().ranges().push_back({Ip("10.0.0.0"), Ip("10.0.255.255")});
    plan_.server().ranges().push_back({Ip("10.0.9.0"), Ip("10.0.9.255")});
    plan_.dmz().ranges().push_back({Ip("172.16.0.0"), Ip("172.16.0.255")});
    CLocalIPTypeTable::tagDEPARTMENT_ITEM dep;
    dep.id = 101;
    dep.name = "sales";
    dep.type = COrgStructInfo::DEP_TYPE_IPRANGE;
    dep.status = 1;
    dep.ranges.push_back({Ip("10.0.1.0"), Ip("10.0.1.255")});
    ASSERT_NE(nullptr, plan_.intranet().AddDepartment(dep));
    // The placeholders a loaded plan always has.
    for (unsigned int id : {25u, 27u}) {
      CLocalIPTypeTable::tagDEPARTMENT_ITEM placeholder;
      placeholder.id = id;
      placeholder.status = 1;
      ASSERT_NE(nullptr, plan_.intranet().AddDepartment(placeholder));
    }
  }

  CLocalIPTypeTable plan_;
};

TEST_F(EmployeeInfoTest, Layer2ResultCodesKeepBothIndexesConsistent) {
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, 1));
  int result = -9;
  EMPLOYEE_INFO* r =
      mgr.InsertEmployee(100, Ip("10.0.0.5"), kMac, kVlan, &result);
  ASSERT_NE(nullptr, r);
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_CREATED, result);
  EXPECT_EQ(100, r->last_active_time);
  EXPECT_EQ(0, memcmp(kVlan, r->vlan_mac, 6));

  // Older sighting at another IP: ignored.
  EXPECT_EQ(r, mgr.InsertEmployee(90, Ip("10.0.0.6"), kMac, nullptr, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_STALE, result);
  EXPECT_EQ(Ip("10.0.0.5"), r->ip);
  EXPECT_EQ(100, r->last_active_time);

  // Newer: the record moves, and the IP index with it.
  EXPECT_EQ(r, mgr.InsertEmployee(110, Ip("10.0.0.6"), kMac, nullptr, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_IP_CHANGED, result);
  EXPECT_EQ(r, mgr.FindLastEmployeeByRunIP(Ip("10.0.0.6")));
  EXPECT_EQ(nullptr, mgr.FindLastEmployeeByRunIP(Ip("10.0.0.5")));
  EXPECT_EQ(110, r->last_active_time);
  EXPECT_EQ(r, mgr.InsertEmployee(120, Ip("10.0.0.6"), kMac, nullptr, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_FOUND, result);

  // A record known by IP only learns its MAC: no second record.
  EMPLOYEE_INFO* s =
      mgr.InsertEmployee(-1, Ip("10.0.0.7"), nullptr, nullptr, &result);
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_CREATED, result);
  EXPECT_EQ(nullptr, mgr.FindByMAC(kMac2));
  EXPECT_EQ(s, mgr.InsertEmployee(-1, Ip("10.0.0.7"), kMac2, nullptr, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_MAC_GIVEN, result);
  EXPECT_EQ(s, mgr.FindByMAC(kMac2));
  EXPECT_EQ(2u, mgr.GetUsedCount());

  // Moves by hand keep the indexes in step.
  mgr.ChangeEmployeeMac(s, kMac);  // now two records share kMac
  std::vector<EMPLOYEE_INFO*> repeated;
  mgr.CheckRepeatMac(repeated);
  EXPECT_EQ(2u, repeated.size());
  EXPECT_EQ(nullptr, mgr.FindByMAC(kMac2));
  EXPECT_EQ(2, mgr.DeleteEmployee(kMac));
  EXPECT_EQ(0u, mgr.GetUsedCount());
  EXPECT_EQ(-1, mgr.GetHeadBlockByIP());
  EXPECT_EQ(-1, mgr.GetHeadBlockByMac());
}

TEST_F(EmployeeInfoTest, Layer3InsertionReportsFoundOnly) {
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, 0));
  int result = -9;
  EMPLOYEE_INFO* r =
      mgr.InsertEmployee(5, Ip("10.0.0.5"), kMac, nullptr, &result);
  ASSERT_NE(nullptr, r);
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_FOUND, result);
  EXPECT_EQ(0, memcmp(kMac, r->host_mac, 6));
  EXPECT_EQ(r, mgr.InsertEmployee(6, Ip("10.0.0.5"), kMac2, nullptr, &result));
  EXPECT_EQ(1u, mgr.GetUsedCount());
  EXPECT_EQ(r, mgr.FindByMAC(kMac));  // found by walking without an index
  // Configured-IP insertion needs the MAC index.
  EXPECT_EQ(nullptr,
            mgr.InsertEmployee_ConfigIP(Ip("10.0.0.9"), kMac, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_REFUSED, result);

  // Switching the MAC finder on keeps the records and indexes them.
  r->name = "kept";
  mgr.EanbelMacFinder(1);
  ASSERT_EQ(1u, mgr.GetUsedCount());
  EMPLOYEE_INFO* again = mgr.FindByMAC(kMac);
  ASSERT_NE(nullptr, again);
  EXPECT_EQ("kept", again->name);
  EXPECT_EQ(again, mgr.GetDataByIndex(mgr.GetHeadBlockByMac()));
}

TEST_F(EmployeeInfoTest, CollisionModesAndAdmission) {
  for (int mode = 0; mode <= 2; ++mode) {
    plan_.netenv().handle_collision_ip_type = mode;
    CEmployeeInfoMgr mgr;
    ASSERT_EQ(1, mgr.Create(&plan_, 100, 1));
    EMPLOYEE_INFO* unnamed = mgr.InsertEmployee(1, Ip("10.0.0.1"), kMac);
    EMPLOYEE_INFO* named = mgr.InsertEmployee(1, Ip("10.0.0.2"), kVlan);
    named->name = "boss";
    int result = 0;
    mgr.InsertEmployee(2, Ip("10.0.0.1"), kMac2, nullptr, &result);
    EXPECT_EQ(CEmployeeInfoMgr::INSERT_CREATED, result);
    mgr.InsertEmployee(3, Ip("10.0.0.2"), kMac2, nullptr, &result);
    EXPECT_EQ(CEmployeeInfoMgr::INSERT_IP_CHANGED, result);
    if (mode == 0) {
      EXPECT_EQ(Ip("10.0.0.1"), unnamed->ip);
      EXPECT_EQ(3u, mgr.GetUsedCount());
    } else if (mode == 1) {
      EXPECT_EQ(0u, unnamed->ip);
      EXPECT_EQ(0u, named->ip);
      EXPECT_EQ(3u, mgr.GetUsedCount());
      EXPECT_EQ(Ip("10.0.0.2"), mgr.FindByMAC(kMac2)->ip);
    } else {
      EXPECT_EQ(nullptr, mgr.FindByMAC(kMac));  // unnamed: deleted
      EXPECT_EQ(named, mgr.FindByMAC(kVlan));
      EXPECT_EQ(0u, named->ip);
      EXPECT_EQ(2u, mgr.GetUsedCount());
    }
  }

  // Outside hosts: refused by default; admitted up to a tenth.
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, 1));
  EXPECT_EQ(nullptr, mgr.InsertEmployee(1, Ip("8.8.8.8"), kMac));
  EXPECT_NE(nullptr, mgr.InsertEmployee(1, Ip("172.16.0.9"), kMac));  // DMZ
  EXPECT_NE(nullptr, mgr.InsertEmployee(1, 0, kMac2));
  plan_.netenv().admit_outside_host = 1;
  for (int i = 1; i <= 10; ++i) {
    EXPECT_NE(nullptr, mgr.InsertEmployee(1, Ip("8.8.8.0") + i, nullptr));
  }
  EXPECT_EQ(nullptr, mgr.InsertEmployee(1, Ip("8.8.8.11"), nullptr));
  EXPECT_EQ(10u, mgr.GetOutsideCount());
}

TEST_F(EmployeeInfoTest, ConfiguredIpInsertion) {
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, 1));
  int result = 0;
  EXPECT_EQ(nullptr, mgr.InsertEmployee_ConfigIP(0xFFFFFFFFu, kMac, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_REFUSED, result);
  EXPECT_EQ(nullptr,
            mgr.InsertEmployee_ConfigIP(Ip("10.0.0.3"), nullptr, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_REFUSED, result);
  EMPLOYEE_INFO* r = mgr.InsertEmployee_ConfigIP(Ip("10.0.0.3"), kMac, &result);
  ASSERT_NE(nullptr, r);
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_CREATED, result);
  EXPECT_EQ(Ip("10.0.0.3"), r->ip);
  EXPECT_EQ(r, mgr.FindEmployeeByConfigIP(Ip("10.0.0.3")));
  EXPECT_EQ(nullptr,
            mgr.InsertEmployee_ConfigIP(Ip("10.0.0.3"), kMac2, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_MAC_GIVEN, result);
  EXPECT_EQ(r, mgr.InsertEmployee_ConfigIP(Ip("10.0.0.4"), kMac, &result));
  EXPECT_EQ(CEmployeeInfoMgr::INSERT_IP_CHANGED, result);
  EXPECT_EQ(Ip("10.0.0.4"), r->cip);
  mgr.ResetAllConfigIP();
  EXPECT_EQ(nullptr, mgr.FindEmployeeByConfigIP(Ip("10.0.0.4")));
}

TEST_F(EmployeeInfoTest, AgeingDepartmentsAndCounts) {
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, 0));
  EMPLOYEE_INFO* old = mgr.InsertEmployee(400, Ip("10.0.1.1"), nullptr);
  EMPLOYEE_INFO* edge = mgr.InsertEmployee(401, Ip("10.0.1.2"), nullptr);
  EMPLOYEE_INFO* named = mgr.InsertEmployee(100, Ip("10.0.0.3"), nullptr);
  named->name = "n";
  EMPLOYEE_INFO* never = mgr.InsertEmployee(-1, Ip("10.0.9.4"), nullptr);
  EMPLOYEE_INFO* future = mgr.InsertEmployee(2000, Ip("172.16.0.1"), nullptr);
  (void)old;
  EXPECT_EQ(1, mgr.CleanOldEmployee(1000, 600));
  EXPECT_EQ(nullptr, mgr.FindLastEmployeeByRunIP(Ip("10.0.1.1")));
  EXPECT_EQ(edge, mgr.FindLastEmployeeByRunIP(Ip("10.0.1.2")));
  EXPECT_TRUE(mgr.IsModified());

  mgr.SetModified(0);
  mgr.ResetOrgIdForEmployee();
  EXPECT_TRUE(mgr.IsModified());
  EXPECT_EQ(101u, edge->dep_id);
  EXPECT_EQ(25u, named->dep_id);
  EXPECT_EQ(31u, future->dep_id);
  EXPECT_EQ(1, mgr.GetCountInDep(101));
  EXPECT_EQ(1, mgr.GetCountInDep(27));  // servers by address
  EXPECT_EQ(1, mgr.GetCountIn_DMZ());
  EXPECT_EQ(2, mgr.GetCountInNoDep_InVPN());  // named and the server
  EXPECT_EQ(4, mgr.GetCountInCompany());
  // The sums count each host once: servers are already in their
  // department.
  EXPECT_EQ(4, mgr.GetCountIn_Intranet_Company());
  EXPECT_EQ(3, mgr.GetCountIn_InVPN());
  // Times near 1970 are long past; a time ahead of the clock is active.
  EXPECT_EQ(0, mgr.GetActiveCountIn_Intranet_Company());
  future->last_active_time = 0x7FFFFFF0;
  EXPECT_EQ(1, mgr.GetActiveCountIn_Intranet_Company());
  EXPECT_EQ(1, mgr.GetActiveCountIn_DMZ());
  mgr.SetModified(0);
  mgr.ResetOrgIdForEmployee();
  EXPECT_FALSE(mgr.IsModified());

  int seen = 0;
  for (int c = mgr.GetHeadBlock(101); c != -1;) {
    EXPECT_EQ(edge, mgr.GetNextBlockFromHead(c, 101));
    ++seen;
  }
  EXPECT_EQ(1, seen);
  EXPECT_EQ(2, mgr.DeleteAllEmployeesInDep(25));
  EXPECT_EQ(nullptr, mgr.FindLastEmployeeByRunIP(Ip("10.0.9.4")));
  EXPECT_EQ(edge, mgr.FindLastEmployeeByRunIP(Ip("10.0.1.2")));
  (void)never;
}

// The running IPs met by one walk over all records.
std::vector<unsigned int> WalkIps(
    CEmployeeInfoMgr& mgr, int head,
    EMPLOYEE_INFO* (CEmployeeInfoMgr::*next)(int&)) {
  std::vector<unsigned int> ips;
  for (int c = head; c != -1;) ips.push_back((mgr.*next)(c)->ip);
  return ips;
}

TEST_F(EmployeeInfoTest, WalksFollowInsertionOrderAfterReuse) {
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 4, 1));
  // Addresses and MACs whose buckets, and slots after reuse, run against
  // the order in which the hosts were entered.
  const unsigned char mac9[6] = {0, 0, 0, 0, 0, 9};
  const unsigned char mac7[6] = {0, 0, 0, 0, 0, 7};
  const unsigned char mac3[6] = {0, 0, 0, 0, 0, 3};
  const unsigned char mac2[6] = {0, 0, 0, 0, 0, 2};
  mgr.InsertEmployee(-1, Ip("10.0.0.9"), mac9);
  mgr.InsertEmployee(-1, Ip("10.0.0.7"), mac7);
  mgr.InsertEmployee(-1, Ip("10.0.0.5"), nullptr);  // MAC key 0
  mgr.InsertEmployee(-1, Ip("10.0.0.2"), mac2);
  EXPECT_EQ(nullptr, mgr.InsertEmployee(-1, Ip("10.0.0.3"), mac3));
  EXPECT_EQ(1, mgr.DeleteEmployee(Ip("10.0.0.9")));
  ASSERT_NE(nullptr, mgr.InsertEmployee(-1, Ip("10.0.0.3"), mac3));
  // A record keeps its place when it moves to another address.
  mgr.ChangeEmployeeIP(mgr.FindByMAC(mac7), Ip("10.0.0.1"));

  const std::vector<unsigned int> expected = {Ip("10.0.0.1"), Ip("10.0.0.5"),
                                              Ip("10.0.0.2"), Ip("10.0.0.3")};
  std::vector<unsigned int> order;
  for (int c = mgr.GetHeadBlock(); c != -1;) {
    order.push_back(mgr.GetNextBlockFromHead(c)->ip);
  }
  EXPECT_EQ(expected, order);
  EXPECT_EQ(expected, WalkIps(mgr, mgr.GetHeadBlockByIP(),
                              &CEmployeeInfoMgr::GetNextBlockFromHeadByIP));
  EXPECT_EQ(expected, WalkIps(mgr, mgr.GetHeadBlockByMac(),
                              &CEmployeeInfoMgr::GetNextBlockFromHeadByMac));

  // Without the MAC index there is nothing to walk by MAC.
  mgr.EanbelMacFinder(0);
  EXPECT_EQ(-1, mgr.GetHeadBlockByMac());
  EXPECT_EQ(expected, WalkIps(mgr, mgr.GetHeadBlockByIP(),
                              &CEmployeeInfoMgr::GetNextBlockFromHeadByIP));
}

// Several hosts on one running IP, as a layer-2 network without collision
// handling leaves them: the per-connection lookup names the one with the
// latest activity, and on equal times the one met later in the IP's chain
// (new and moved records go first in it).
TEST_F(EmployeeInfoTest, LastEmployeeByRunIPIsTheMostRecentlyActive) {
  plan_.intranet().ranges().push_back({Ip("10.10.0.0"), Ip("10.11.255.255")});
  plan_.netenv().SetNetEnvLayer(0);
  plan_.netenv().handle_collision_ip_type = 0;
  const unsigned int ip = Ip("10.10.5.50");
  const unsigned int same_bucket = Ip("10.11.5.50");
  const unsigned char mac_a[6] = {2, 0, 0, 0, 0, 0xA};
  const unsigned char mac_b[6] = {2, 0, 0, 0, 0, 0xB};
  const unsigned char mac_c[6] = {2, 0, 0, 0, 0, 0xC};
  const unsigned char mac_d[6] = {2, 0, 0, 0, 0, 0xD};
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, plan_.netenv().IsLayer3() ? 0 : 1));
  EMPLOYEE_INFO* a = mgr.InsertEmployee(200, ip, mac_a);
  EMPLOYEE_INFO* b = mgr.InsertEmployee(100, ip, mac_b);
  ASSERT_NE(nullptr, a);
  ASSERT_NE(nullptr, b);
  ASSERT_NE(a, b);
  // The newest record is not the most recently active one.
  EXPECT_EQ(a, mgr.FindLastEmployeeByRunIP(ip));
  mgr.InsertEmployee(300, ip, mac_b);
  EXPECT_EQ(b, mgr.FindLastEmployeeByRunIP(ip));
  mgr.InsertEmployee(300, ip, mac_a);
  EXPECT_EQ(a, mgr.FindLastEmployeeByRunIP(ip));  // tie: a entered first

  // A third record makes the chain longer than its bucket keeps; a more
  // recent host on another address of the same bucket does not count.
  EMPLOYEE_INFO* c = mgr.InsertEmployee(250, ip, mac_c);
  EMPLOYEE_INFO* d = mgr.InsertEmployee(900, same_bucket, mac_d);
  ASSERT_NE(nullptr, c);
  EXPECT_EQ(a, mgr.FindLastEmployeeByRunIP(ip));
  EXPECT_EQ(d, mgr.FindLastEmployeeByRunIP(same_bucket));
  c->last_active_time = 301;
  EXPECT_EQ(c, mgr.FindLastEmployeeByRunIP(ip));
  EXPECT_EQ(1, mgr.DeleteEmployee(c));
  EXPECT_EQ(a, mgr.FindLastEmployeeByRunIP(ip));

  // Moving a away and back puts it first in the chain: the tie now goes
  // to b.
  mgr.ChangeEmployeeIP(a, Ip("10.10.5.51"));
  EXPECT_EQ(b, mgr.FindLastEmployeeByRunIP(ip));
  EXPECT_EQ(a, mgr.FindLastEmployeeByRunIP(Ip("10.10.5.51")));
  mgr.ChangeEmployeeIP(a, ip);
  EXPECT_EQ(b, mgr.FindLastEmployeeByRunIP(ip));
  a->last_active_time = 299;
  b->last_active_time = -1;  // before 1970 still counts as a time
  EXPECT_EQ(a, mgr.FindLastEmployeeByRunIP(ip));

  // With collision handling the earlier holder leaves the address, however
  // recent it is: it moves to IP 0 (mode 1) or goes (mode 2, unnamed).
  for (int mode = 1; mode <= 2; ++mode) {
    plan_.netenv().handle_collision_ip_type = mode;
    CEmployeeInfoMgr handled;
    ASSERT_EQ(1, handled.Create(&plan_, 100, 1));
    EMPLOYEE_INFO* first = handled.InsertEmployee(200, ip, mac_a);
    EMPLOYEE_INFO* second = handled.InsertEmployee(100, ip, mac_b);
    EXPECT_EQ(second, handled.FindLastEmployeeByRunIP(ip)) << mode;
    EXPECT_EQ(mode == 1 ? first : nullptr, handled.FindLastEmployeeByRunIP(0));
  }

  // Behind a layer-3 device hosts are told apart by address only: a
  // second MAC on the address is the same record, stamped with the latest
  // sighting even when that is older.
  plan_.netenv().SetNetEnvLayer(1);
  plan_.netenv().handle_collision_ip_type = 0;
  CEmployeeInfoMgr layer3;
  ASSERT_EQ(1, layer3.Create(&plan_, 100, plan_.netenv().IsLayer3() ? 0 : 1));
  EMPLOYEE_INFO* only = layer3.InsertEmployee(200, ip, mac_a);
  EXPECT_EQ(only, layer3.InsertEmployee(100, ip, mac_b));
  EXPECT_EQ(only, layer3.FindLastEmployeeByRunIP(ip));
  EXPECT_EQ(100, only->last_active_time);
  EXPECT_EQ(1u, layer3.GetUsedCount());
}

TEST(EmployeeInfoRecord, NamesSearchAndStream) {
  EMPLOYEE_INFO r;
  r.ip = 0x0A000005;
  EXPECT_EQ("10.0.0.5", r.GetShownName(static_cast<int*>(nullptr)));
  int from_ip = 0;
  r.GetShownName(&from_ip);
  EXPECT_EQ(1, from_ip);
  r.host_name = "pc1";
  EXPECT_EQ("pc1*", r.GetShownName(0));
  EXPECT_EQ("10.0.0.5", r.GetShownName(3));
  r.ip = 0;
  r.cip = 0x0A000009;
  EXPECT_EQ("10.0.0.9", r.GetShownName(9));

  memcpy(r.host_mac, kMac, 6);
  EXPECT_TRUE(r.find_string("00-11"));
  EXPECT_TRUE(r.find_string("001122334455"));
  EXPECT_TRUE(r.find_string("10.0.0.9,"));
  EXPECT_TRUE(r.find_string("pc1"));
  EXPECT_FALSE(r.find_string("PC1"));
  EXPECT_FALSE(r.find_string(nullptr));

  r.name = "\xD5\xC5\xC8\xFD";     // GBK for a Chinese name
  r.desc = std::string(300, 'd');  // longer than a one-byte length
  r.last_active_time = -5;
  r.checked = 1;
  r.flux[0] = 77;
  std::vector<char> buffer(r.get_stream_size());
  char* p = buffer.data();
  int written = r.PutStream(p);
  ASSERT_EQ(static_cast<int>(buffer.size()), written);
  EMPLOYEE_INFO back;
  const char* q = buffer.data();
  EXPECT_EQ(written, back.GetStream(q));
  EXPECT_TRUE(r == back);
  EXPECT_EQ(0u, back.flux[0]);

  for (size_t cut = 0; cut < buffer.size(); cut += 7) {
    std::vector<char> part(buffer.begin(), buffer.begin() + cut);
    const char* s = part.data();
    EXPECT_EQ(-1, back.GetStream(s, part.size()));
    EXPECT_EQ(part.data(), s);
  }
  buffer[0] = 0x42;
  q = buffer.data();
  EXPECT_EQ(-1, back.GetStream(q, buffer.size()));
}

TEST_F(EmployeeInfoTest, DocumentRoundTripAndDiff) {
  std::string dir = quarn_test::MakeTempDir("tb_employee");
  std::string path = dir + "/tb_employee.xml";
  CEmployeeInfoMgr mgr;
  ASSERT_EQ(1, mgr.Create(&plan_, 100, 1));
  EXPECT_EQ(0, mgr.Save(nullptr));  // no path yet
  EMPLOYEE_INFO* a =
      mgr.InsertEmployee(1700000000, Ip("10.0.1.7"), kMac, kVlan);
  a->name = "\xD5\xC5\xC8\xFD";
  a->host_name = "pc-7";
  a->os_name = "win";
  a->mail = "a@b.c";
  a->desc = "x \"y\" <z>";
  a->cip = Ip("10.0.1.8");
  a->ipmac_bind = 1;
  mgr.InsertEmployee(-1, Ip("10.0.0.20"), nullptr);
  ASSERT_EQ(1, mgr.Save(path.c_str()));

  CEmployeeInfoMgr back;
  ASSERT_EQ(1, back.Create(&plan_, 100, 1));
  ASSERT_EQ(1, back.Load(path.c_str()));
  ASSERT_EQ(2u, back.GetUsedCount());
  EXPECT_TRUE(*a == *back.FindByMAC(kMac));
  EXPECT_EQ(0, back.DiffToOther(mgr));

  back.FindByMAC(kMac)->desc = "changed";
  back.InsertEmployee(-1, Ip("10.0.0.21"), kMac2);
  mgr.InsertEmployee(-1, Ip("10.0.0.22"), kVlan);
  std::vector<EMPLOYEE_INFO> added, changed;
  std::vector<unsigned int> removed_ips;
  std::vector<uint64_t> removed_macs;
  EXPECT_NE(
      0, back.DiffToOther(mgr, &added, &changed, &removed_ips, &removed_macs));
  ASSERT_EQ(1u, added.size());
  EXPECT_EQ(Ip("10.0.0.21"), added[0].ip);
  ASSERT_EQ(1u, changed.size());
  EXPECT_EQ("changed", changed[0].desc);
  EXPECT_TRUE(removed_ips.empty());
  EXPECT_EQ(std::vector<uint64_t>{Orva::mac_to_uint64(kVlan)}, removed_macs);

  // Saving to the remembered path; a document without the list fails.
  back.SetModified(1);
  EXPECT_EQ(1, back.JudgeModifyedToSave(nullptr));
  EXPECT_EQ(0, back.JudgeModifyedToSave(nullptr));
  quarn_test::WriteFile(path, "<tb_employee/>");
  EXPECT_EQ(0, back.Load(path.c_str()));
}

}  // namespace
