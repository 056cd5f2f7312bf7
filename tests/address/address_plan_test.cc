// The company address plan: loading, classification of addresses,
// department editing and save-then-load.

#include <stdlib.h>
#include <time.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "address/CIntranetOrg.h"
#include "address/CLocalIPTypeTable.h"
#include "address_test_util.h"
#include "support/TempDir.h"

namespace {

using address_test::Ip;
using address_test::TmpPath;
typedef COrgStructInfo::tagDEPARTMENT_ITEM Dep;

// 内部未归类 (internal, unclassified)
const char kUnclassified[] = "\xC4\xDA\xB2\xBF\xCE\xB4\xB9\xE9\xC0\xE0";
// 未知部门 (unknown department)
const char kUnknown[] = "\xCE\xB4\xD6\xAA\xB2\xBF\xC3\xC5";
// 异常内网地址 (abnormal intranet address)
const char kAbnormalIntranet[] =
    "\xD2\xEC\xB3\xA3\xC4\xDA\xCD\xF8\xB5\xD8\xD6\xB7";
// 异常外网地址 (abnormal external address)
const char kAbnormalExternal[] =
    "\xD2\xEC\xB3\xA3\xCD\xE2\xCD\xF8\xB5\xD8\xD6\xB7";

// A plan with two intranet ranges, a server range, a DMZ that overlaps a
// department, and departments of every kind the loader must sort out.
const char kPlan[] =
    "<organization><org_info>"
    "<netenv_layer>0</netenv_layer>"
    "<company><intranet>"
    "<in_vpn><iprange>10.0.0.0-10.255.255.255</iprange>"
    "<iprange>192.168.0.0-192.168.255.255</iprange></in_vpn>"
    "<in_vpn_server><iprange>10.0.100.0-10.0.100.255</iprange></in_vpn_server>"
    "<department>"
    "<sub_department id='101' name='Sales' type='iprange'>"
    "<iprange>10.1.0.0-10.1.255.255</iprange></sub_department>"
    "<sub_department id='102' name='RnD' type='ipset'>"
    "<ip>10.2.0.5</ip><ip>192.168.1.9</ip></sub_department>"
    "<sub_department id='500' name='Old' status='0' type='iprange'>"
    "<iprange>10.5.0.0-10.5.0.255</iprange></sub_department>"
    "<sub_department id='40' name='Refused' type='ipset'><ip>10.9.9.9</ip>"
    "</sub_department>"
    "<sub_department name='NoId' type='ipset'><ip>10.9.9.8</ip>"
    "</sub_department>"
    "<sub_department id='103' type='ipset'><ip>10.9.9.7</ip>"
    "</sub_department>"
    "<sub_department id='104' name='\xE8\xB4\xA2\xE5\x8A\xA1' bIPSelected='1'"
    " updatetime='2024-03-05 08:07:09' type='iprange'>"
    "<iprange>10.1.5.0-10.1.5.255</iprange></sub_department>"
    "<sub_department id='105' name='Edge' type='iprange'>"
    "<iprange>200.1.1.0-200.1.1.255</iprange></sub_department>"
    "<sub_department id='106' name='Shapeless' type='other'>"
    "<iprange>10.6.0.0-10.6.0.255</iprange></sub_department>"
    "</department></intranet>"
    "<internet><dmz><iprange>200.1.1.0-200.1.1.127</iprange></dmz></internet>"
    "<max_dep_id>120</max_dep_id>"
    "</company></org_info>"
    "<ip_manager log_ip_change='1' permit_macip_bind='1'/>"
    "</organization>";

class AddressPlanTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "Asia/Shanghai", 1);
    tzset();
    ASSERT_EQ(1, plan_.LoadFromMem(kPlan, sizeof(kPlan) - 1));
  }

  std::vector<uint32_t> DepIds(const CIntranetOrg& org) const {
    std::vector<uint32_t> ids;
    for (const auto& dep : org.departments()) ids.push_back(dep->id);
    return ids;
  }

  CLocalIPTypeTable plan_;
};

TEST_F(AddressPlanTest, LoaderSkipsBadDepartmentsAndAddsThePlaceholder) {
  EXPECT_EQ((std::vector<uint32_t>{101, 102, 104, 105, 106, 25}),
            DepIds(plan_.intranet()));
  const Dep* placeholder = plan_.FindDepartmentById(25);
  ASSERT_NE(nullptr, placeholder);
  EXPECT_EQ(kUnclassified, placeholder->name);
  EXPECT_EQ(COrgStructInfo::DEP_TYPE_IPSET, placeholder->type);
  EXPECT_TRUE(placeholder->ipset.empty());
  EXPECT_EQ(21, placeholder->net_area_id);

  // A UTF-8 name arrives in GBK; the older attribute spelling is read.
  const Dep* finance = plan_.FindDepartmentById(104);
  ASSERT_NE(nullptr, finance);
  EXPECT_EQ("\xB2\xC6\xCE\xF1", finance->name);
  EXPECT_EQ(1, finance->bIPSelected);
  EXPECT_EQ(1709597229, finance->updatetime);
  EXPECT_EQ(21, finance->net_area_id);
  EXPECT_EQ(104, plan_.GetDepartmentIdByName("\xB2\xC6\xCE\xF1"));
  EXPECT_EQ(-1, plan_.GetDepartmentIdByName("Sale"));

  // The disabled department 500 is dropped but its id stays taken, above
  // the file's max_dep_id.
  EXPECT_EQ(500u, plan_.GetMaxDepid());
  EXPECT_EQ(501u, plan_.GenNextDepid());
  EXPECT_EQ(501u, plan_.GetMaxDepid());

  EXPECT_EQ(1, plan_.log_ip_change);
  EXPECT_EQ(0, plan_.permit_ip_select);
  EXPECT_EQ(1, plan_.IsIPManagerPolicyOn());
  EXPECT_EQ(0, plan_.netenv().GetNetEnvLayer());
}

TEST_F(AddressPlanTest, AddressesResolveToDepartmentsAndClasses) {
  // Range ends are inside; the first department in list order wins.
  EXPECT_EQ(101, plan_.GetDepartmentIdByIP(Ip("10.1.0.0")));
  EXPECT_EQ(101, plan_.GetDepartmentIdByIP(Ip("10.1.255.255")));
  EXPECT_EQ(101, plan_.GetDepartmentIdByIP(Ip("10.1.5.5")));
  EXPECT_EQ(102, plan_.GetDepartmentIdByIP(Ip("10.2.0.5")));
  EXPECT_EQ(102, plan_.GetDepartmentIdByIP(Ip("192.168.1.9")));
  // Intranet hosts in no department, and address 0, fall to 25; so do the
  // addresses of a department whose type matches nothing.
  EXPECT_EQ(25, plan_.GetDepartmentIdByIP(Ip("10.2.0.0")));
  EXPECT_EQ(25, plan_.GetDepartmentIdByIP(Ip("10.2.0.6")));
  EXPECT_EQ(25, plan_.GetDepartmentIdByIP(Ip("10.6.0.1")));
  EXPECT_EQ(25, plan_.GetDepartmentIdByIP(0));
  // The DMZ wins over a department holding the same address.
  EXPECT_EQ(31, plan_.GetDepartmentIdByIP(Ip("200.1.1.0")));
  EXPECT_EQ(31, plan_.GetDepartmentIdByIP(Ip("200.1.1.127")));
  EXPECT_EQ(105, plan_.GetDepartmentIdByIP(Ip("200.1.1.128")));
  // Private but outside the intranet ranges: 40; anything else: 50.
  EXPECT_EQ(40, plan_.GetDepartmentIdByIP(Ip("172.16.0.1")));
  EXPECT_EQ(50, plan_.GetDepartmentIdByIP(Ip("8.8.8.8")));

  EXPECT_EQ(kUnknown, plan_.GetDepartmentName(31));
  EXPECT_EQ(kAbnormalIntranet, plan_.GetDepartmentName(40));
  EXPECT_EQ(kAbnormalExternal, plan_.GetDepartmentName(50));
  EXPECT_EQ("Sales", plan_.GetDepartmentName(101));
  EXPECT_EQ(kUnknown, plan_.intranet().GetDepartmentName(40));

  int type = -7;
  EXPECT_EQ(1, plan_.IsIPInCompany(Ip("192.168.255.255"), &type));
  EXPECT_EQ(21, type);
  EXPECT_EQ(1, plan_.IsIPInCompany(Ip("200.1.1.1"), &type));
  EXPECT_EQ(31, type);
  type = -7;
  EXPECT_EQ(0, plan_.IsIPInCompany(Ip("200.1.1.128"), &type));
  EXPECT_EQ(-7, type);
  EXPECT_EQ(1, plan_.IsInVPNServer(Ip("10.0.100.255")));
  EXPECT_EQ(0, plan_.IsInVPNServer(Ip("10.0.101.0")));
  EXPECT_EQ(1, plan_.IsServerIP(Ip("200.1.1.127")));
}

TEST_F(AddressPlanTest, BrokenDocumentsAndDefaults) {
  CLocalIPTypeTable plan;
  EXPECT_EQ(1, plan.LoadFromMem(nullptr, 0));
  EXPECT_EQ(0, plan.LoadFromFile(""));
  EXPECT_EQ(0, plan.LoadFromFile(TmpPath("no-such-plan.xml").c_str()));
  const std::string unparsable = "<organization><org_info>";
  EXPECT_EQ(0, plan.LoadFromMem(unparsable.data(),
                                static_cast<int>(unparsable.size())));
  const std::string no_org = "<organization><company/></organization>";
  EXPECT_EQ(0,
            plan.LoadFromMem(no_org.data(), static_cast<int>(no_org.size())));
  const std::string no_company =
      "<organization><org_info><dep_type>4</dep_type></org_info>"
      "</organization>";
  EXPECT_EQ(0, plan.LoadFromMem(no_company.data(),
                                static_cast<int>(no_company.size())));
  EXPECT_EQ(4, plan.netenv().dep_type);  // read before the failure

  // No intranet ranges: the default private networks stand in.
  const std::string bare =
      "<anything><org_info><company><intranet/>"
      "<max_dep_id>130</max_dep_id></company></org_info></anything>";
  ASSERT_EQ(1, plan.LoadFromMem(bare.data(), static_cast<int>(bare.size())));
  EXPECT_EQ(plan.private_nets().ranges(), plan.intranet().ranges());
  EXPECT_EQ(25, plan.GetDepartmentIdByIP(Ip("192.168.3.3")));
  EXPECT_EQ(1u, plan.intranet().departments().size());
  EXPECT_EQ(130u, plan.GetMaxDepid());

  // close() empties the classes but keeps the handed-out ids and the
  // default private networks.
  plan_.close();
  EXPECT_TRUE(plan_.intranet().departments().empty());
  EXPECT_TRUE(plan_.dmz().ranges().empty());
  EXPECT_EQ(0, plan_.log_ip_change);
  EXPECT_EQ(500u, plan_.GetMaxDepid());
  EXPECT_EQ(40, plan_.GetDepartmentIdByIP(Ip("10.1.0.1")));
}

TEST_F(AddressPlanTest, SaveThenLoadKeepsThePlan) {
  plan_.permit_ip_select = 1;
  plan_.netenv().admit_outside_host = 1;
  plan_.netenv().over_hour = 48;
  plan_.netenv().fetch_ipmac_inl3switch.items.resize(2);
  plan_.netenv().fetch_ipmac_inl3switch.items[1].ip = Ip("10.2.3.4");
  Dep server_dep;
  server_dep.id = 27;
  server_dep.name = "not written";
  server_dep.type = COrgStructInfo::DEP_TYPE_IPSET;
  plan_.intranet().AddDepartment(server_dep);
  const std::string path = TmpPath("plan.xml");
  ASSERT_EQ(1, plan_.SaveToFile(path.c_str()));

  std::ifstream in(path.c_str(), std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(std::string::npos, text.str().find("id=\"27\""));
  EXPECT_EQ(std::string::npos, text.str().find("id=\"40\""));
  EXPECT_NE(std::string::npos, text.str().find("id=\"25\""));

  CLocalIPTypeTable back;
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_EQ(0, back.IsIPManagerPolicyChanged(plan_));
  EXPECT_EQ(1, back.netenv().compare_config(plan_.netenv()));
  EXPECT_EQ(500u, back.GetMaxDepid());
  // Everything but the unwritten server department comes back.
  EXPECT_FALSE(back == plan_);
  plan_.intranet().DeleteDeparment(27);
  EXPECT_TRUE(back == plan_);
  EXPECT_EQ(1709597229, back.FindDepartmentById(104)->updatetime);

  back.permit_macip_bind = 0;
  EXPECT_EQ(1, back.IsIPManagerPolicyChanged(plan_));
  EXPECT_EQ(0, plan_.SaveToFile(""));
}

// Saves `plan` and loads the file into a fresh table.
CLocalIPTypeTable SavedAndLoaded(const CLocalIPTypeTable& plan) {
  const std::string path =
      quarn_test::MakeTempDir("round_trip") + "/organization.xml";
  CLocalIPTypeTable back;
  EXPECT_EQ(1, plan.SaveToFile(path.c_str()));
  EXPECT_EQ(1, back.LoadFromFile(path.c_str()));
  return back;
}

std::vector<std::string> DepNames(const CLocalIPTypeTable& plan) {
  std::vector<std::string> names;
  for (const auto& dep : plan.intranet().departments()) {
    names.push_back(dep->name);
  }
  return names;
}

TEST_F(AddressPlanTest, DepartmentsSharingAnIdKeepTheirOrder) {
  // Two departments 101 and two placeholders 25, as a hand-edited file may
  // hold them.
  const std::string doubled =
      "<organization><org_info><company><intranet>"
      "<in_vpn><iprange>10.0.0.0-10.255.255.255</iprange></in_vpn>"
      "<department>"
      "<sub_department id='25' name='P1' type='ipset'><ip>10.0.0.1</ip>"
      "</sub_department>"
      "<sub_department id='101' name='A' type='ipset'/>"
      "<sub_department id='25' name='P2' type='ipset'/>"
      "<sub_department id='101' name='B' type='ipset'/>"
      "</department></intranet></company></org_info></organization>";
  CLocalIPTypeTable plan;
  ASSERT_EQ(1,
            plan.LoadFromMem(doubled.data(), static_cast<int>(doubled.size())));
  // Each placeholder read goes before those already there.
  const std::vector<std::string> order = {"A", "B", "P2", "P1"};
  ASSERT_EQ(order, DepNames(plan));
  for (int round = 0; round < 2; ++round) {
    plan = SavedAndLoaded(plan);
    EXPECT_EQ(order, DepNames(plan)) << round;
  }

  // The same holds for the full plan, every field compared.
  plan_.intranet().AddDepartment(*plan_.FindDepartmentById(25));
  plan_.intranet().FindDepartmentById(25)->name = "second";
  const CLocalIPTypeTable back = SavedAndLoaded(plan_);
  EXPECT_TRUE(back == plan_);
  EXPECT_TRUE(SavedAndLoaded(back) == plan_);
}

TEST_F(AddressPlanTest, EmptyPlanGainsTheDefaultsOnItsFirstRoundTrip) {
  CLocalIPTypeTable plan;
  ASSERT_EQ(1, plan.LoadFromMem("", 0));
  EXPECT_TRUE(plan.intranet().ranges().empty());
  EXPECT_TRUE(plan.intranet().departments().empty());

  // A written plan always has an intranet: read back, its empty range list
  // stands for the private networks, and the placeholder is added.
  CLocalIPTypeTable back = SavedAndLoaded(plan);
  EXPECT_FALSE(back == plan);
  EXPECT_EQ(plan.private_nets().ranges(), back.intranet().ranges());
  ASSERT_EQ(1u, back.intranet().departments().size());
  EXPECT_EQ(kUnclassified, back.intranet().departments()[0]->name);
  plan.intranet().ranges() = back.intranet().ranges();
  plan.intranet().AddDepartment(*back.FindDepartmentById(25));
  EXPECT_TRUE(back == plan);

  // From then on the plan is a fixed point.
  EXPECT_TRUE(SavedAndLoaded(back) == back);
}

TEST(IntranetOrg, EditingKeepsPlaceholdersLast) {
  CIntranetOrg org(21);
  org.ranges().push_back(IP_RANGE_PAIR(Ip("10.0.0.0"), Ip("10.0.255.255")));
  Dep item;
  item.id = 25;
  item.type = COrgStructInfo::DEP_TYPE_IPSET;
  org.AddDepartment(item);
  item.id = 27;
  org.AddDepartment(item);
  item.id = 101;
  item.type = COrgStructInfo::DEP_TYPE_IPRANGE;
  const Dep* first = org.AddDepartment(item);
  item.id = 102;
  const Dep* second = org.AddDepartment(item);
  item.id = 103;
  item.status = 0;
  EXPECT_EQ(nullptr, org.AddDepartment(item));
  ASSERT_EQ(4u, org.departments().size());
  EXPECT_EQ(101u, org.departments()[0]->id);
  EXPECT_EQ(102u, org.departments()[1]->id);

  // A host hands in the address of a plain department pointer and may
  // edit the department it gets back.
  Dep* swapped = nullptr;
  EXPECT_EQ(0, org.MoveDown(second, &swapped));  // followed by a placeholder
  EXPECT_EQ(0, org.MoveUp(first, &swapped));     // already first
  EXPECT_EQ(0, org.MoveUp(&item, &swapped));     // not held
  EXPECT_EQ(nullptr, swapped);
  EXPECT_EQ(1, org.MoveUp(second, &swapped));
  EXPECT_EQ(first, swapped);
  EXPECT_EQ(second, org.departments()[0].get());
  swapped->desc = "moved down";
  EXPECT_EQ("moved down", org.FindDepartmentById(101)->desc);
  EXPECT_EQ(1, org.MoveDown(second, &swapped));
  EXPECT_EQ(first, swapped);
  EXPECT_EQ(second, org.departments()[1].get());
  EXPECT_EQ(1, org.MoveUp(second, nullptr));
  EXPECT_EQ(1, org.MoveDown(second));

  CIntranetOrg copy(org);
  EXPECT_TRUE(copy == org);
  copy.FindDepartmentById(101)->name = "changed";
  EXPECT_TRUE(copy != org);
  EXPECT_EQ("", org.FindDepartmentById(101)->name);

  EXPECT_EQ(1, org.DeleteDeparment(101));
  EXPECT_EQ(0, org.DeleteDeparment(101));
  org.RemoveAllDeparment();
  // 27 was added after 25 and so went in before it.
  ASSERT_EQ(2u, org.departments().size());
  EXPECT_EQ(27u, org.departments()[0]->id);
  EXPECT_EQ(25u, org.departments()[1]->id);
  EXPECT_EQ(0, org.MoveDown(org.departments()[1].get()));  // last
}

TEST(IntranetOrg, OverlapAndValidityChecks) {
  Dep ranges;
  ranges.id = 101;
  ranges.type = COrgStructInfo::DEP_TYPE_IPRANGE;
  ranges.ranges.push_back(IP_RANGE_PAIR(100, 200));
  EXPECT_EQ(1, COrgStructInfo::IsIntercross(50, 100, ranges));   // touches
  EXPECT_EQ(1, COrgStructInfo::IsIntercross(200, 300, ranges));  // touches
  EXPECT_EQ(1, COrgStructInfo::IsIntercross(120, 130, ranges));  // inside
  EXPECT_EQ(1, COrgStructInfo::IsIntercross(0, 1000, ranges));   // around
  EXPECT_EQ(0, COrgStructInfo::IsIntercross(0, 99, ranges));
  EXPECT_EQ(0, COrgStructInfo::IsIntercross(201, 300, ranges));
  Dep set;
  set.id = 102;
  set.type = COrgStructInfo::DEP_TYPE_IPSET;
  set.ipset.push_back(500);
  EXPECT_EQ(1, COrgStructInfo::IsIntercross(500, 500, set));
  EXPECT_EQ(0, COrgStructInfo::IsIntercross(501, 600, set));
  EXPECT_EQ(0, COrgStructInfo::IsInThisDepartment(499, set));
  Dep shapeless;
  EXPECT_EQ(1, COrgStructInfo::IsIntercross(1, 1, shapeless));
  EXPECT_EQ(0, COrgStructInfo::IsInThisDepartment(1, shapeless));

  CIntranetOrg org(21);
  EXPECT_EQ(0, org.IsDepartmentInNetArea(ranges));  // class has no ranges
  EXPECT_EQ(1, org.IsDepartmentInNetArea(set));     // item has none
  EXPECT_EQ(0xFFFFFFFFu, org.IsNewAddrValid({IP_RANGE_PAIR(100, 100)}, 101));
  org.ranges().push_back(IP_RANGE_PAIR(0, 150));
  org.ranges().push_back(IP_RANGE_PAIR(151, 1000));
  // Ends in two different class ranges still count as inside.
  EXPECT_EQ(1, org.IsDepartmentInNetArea(ranges));
  org.AddDepartment(ranges);
  org.AddDepartment(set);
  EXPECT_EQ(101u, org.IsAddrDiff(150, 160, 0));
  EXPECT_EQ(0u, org.IsAddrDiff(150, 160, 101));
  EXPECT_EQ(102u, org.IsAddrDiff(150, 600, 101));
  EXPECT_EQ(0u, org.IsNewAddrValid({IP_RANGE_PAIR(100, 200)}, 101));
  EXPECT_EQ(102u, org.IsNewAddrValid(
                      {IP_RANGE_PAIR(10, 20), IP_RANGE_PAIR(450, 550)}, 101));
  EXPECT_EQ(0xFFFFFFFFu, org.IsNewAddrValid({IP_RANGE_PAIR(900, 1001)}, 101));
  // Outside the intranet class, addresses in no department find none.
  CIntranetOrg dmz(31);
  dmz.ranges().push_back(IP_RANGE_PAIR(0, 1000));
  Dep placeholder;
  placeholder.id = 25;
  dmz.AddDepartment(placeholder);
  EXPECT_EQ(nullptr, dmz.FindDepartmentByIP(5));
  EXPECT_EQ(25u, dmz.GetDepartmentIdByIP(0));
}

}  // namespace

namespace {

TEST(ExamplePlan, LoadsAndClassifiesTheExampleGateway) {
  CLocalIPTypeTable plan;
  const std::string path =
      std::string(QUARN_SOURCE_DIR) + "/examples/gateway/organization.xml";
  ASSERT_EQ(1, plan.LoadFromFile(path.c_str()));
  // Fourteen enabled departments and the placeholder; 115 is disabled.
  EXPECT_EQ(15u, plan.intranet().departments().size());
  EXPECT_EQ(nullptr, plan.FindDepartmentById(115));
  EXPECT_EQ(115u, plan.GetMaxDepid());
  EXPECT_EQ(25u, plan.intranet().departments().back()->id);
  // 财务部 (finance) in GBK.
  EXPECT_EQ("\xB2\xC6\xCE\xF1\xB2\xBF", plan.GetDepartmentName(102));
  EXPECT_EQ(102, plan.GetDepartmentIdByIP(Ip("10.10.2.15")));
  EXPECT_EQ(101, plan.GetDepartmentIdByIP(Ip("10.10.1.11")));
  EXPECT_EQ(108, plan.GetDepartmentIdByIP(Ip("172.20.3.255")));
  EXPECT_EQ(25, plan.GetDepartmentIdByIP(Ip("172.20.4.0")));
  EXPECT_EQ(31, plan.GetDepartmentIdByIP(Ip("203.0.113.63")));
  EXPECT_EQ(50, plan.GetDepartmentIdByIP(Ip("203.0.113.64")));
  EXPECT_EQ(40, plan.GetDepartmentIdByIP(Ip("10.11.0.1")));
  EXPECT_EQ(1, plan.netenv().IsLayer3());
  EXPECT_EQ(1, plan.netenv().IsEanbelIPMacBind());
  EXPECT_EQ(2u, plan.netenv().fetch_ipmac_inl3switch.items.size());
  EXPECT_EQ(1, plan.netenv().GetHandleCollisionIPType());
  EXPECT_EQ(0, plan.netenv().IsAdmitOutsideHost());
}

}  // namespace
