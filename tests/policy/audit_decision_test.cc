// The audit decision from the example "audit_filter_policy" and
// "ctrl_status", rule by rule.

#include <gtest/gtest.h>

#include "ExampleConfig.h"
#include "tools/policy/AuditDecision.h"

namespace {

using quarn_policy_test::ExampleConfig;
using quarn_policy_test::ExamplePath;
using quarn_policy_test::Facts;
using quarn_tool::AuditDecision;
using quarn_tool::ConnectionFacts;
using quarn_tool::DecideAudit;

std::string Why(const AuditDecision& d) {
  return std::string(d.audit ? "audit: " : "skip: ") +
         quarn_tool::AuditReasonName(d.reason);
}

class AuditDecisionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(ExampleConfig::Get().loaded);
    ASSERT_NE(0, policy_.LoadFromFile(
                     ExamplePath("gateway/audit_filter_policy.xml").c_str()));
    ASSERT_NE(
        0, ctrl_.LoadFromFile(ExamplePath("gateway/ctrl_status.xml").c_str()));
  }

  void LoadCtrl(const char* text) {
    ctrl_.close();
    ASSERT_NE(0, ctrl_.LoadFromMem(text, static_cast<int>(strlen(text))));
  }

  CAuditFilterConfig policy_;
  CCtrlStatusMgr ctrl_;
};

// The example control status passes 10.10.0.0/16 to the audit, except the
// ERP server's ports; the rules come in their order.
TEST_F(AuditDecisionTest, ExampleRulesInOrder) {
  // An ordinary web page from the company: audited at level 2.
  ConnectionFacts facts = Facts("10.10.2.15", "1.2.3.4", 80);
  facts.url = "www.example.com/";
  AuditDecision d = DecideAudit(policy_, ctrl_, facts);
  EXPECT_EQ("audit: audit level", Why(d));
  EXPECT_EQ(2, d.level);
  EXPECT_EQ(quarn_tool::kAuditAppWeb, d.app);
  EXPECT_TRUE(d.flow_record);

  // The ERP server's ports: the list keeps them from the audit. The
  // server end is asked first (the client alone would pass).
  facts = Facts("10.10.5.77", "10.10.1.20", 8007);
  facts.app_id = 19000001;
  EXPECT_EQ("skip: not passed to audit",
            Why(DecideAudit(policy_, ctrl_, facts)));

  // The guest network going out: on the black list, kept although the
  // list would not pass it.
  facts = Facts("192.168.100.7", "1.2.3.4", 443);
  EXPECT_EQ("audit: black list", Why(DecideAudit(policy_, ctrl_, facts)));

  // Web mail is left out by the web element's fragment; the company's own
  // DMZ site by its range; an FTP backup by the ftp element's fragment.
  facts = Facts("10.10.3.5", "1.2.3.4", 443);
  facts.url = "mail.example.com/webmail/inbox";
  d = DecideAudit(policy_, ctrl_, facts);
  EXPECT_EQ("skip: application filter", Why(d));
  EXPECT_TRUE(d.by_text);
  facts = Facts("10.10.3.5", "203.0.113.10", 80);
  facts.url = "www.example.cn/";
  d = DecideAudit(policy_, ctrl_, facts);
  EXPECT_EQ("skip: application filter", Why(d));
  EXPECT_FALSE(d.by_text);
  facts = Facts("10.10.100.8", "1.2.3.4", 21);
  facts.app_id = 10030001;
  facts.app_text = "/backup/2026-11-18.tar";
  d = DecideAudit(policy_, ctrl_, facts);
  EXPECT_EQ("skip: application filter", Why(d));
  EXPECT_EQ(quarn_tool::kAuditAppFtp, d.app);
  // The same fragment in a mail's text does not count for mail.
  facts.app_id = 10020001;
  EXPECT_EQ("audit: audit level", Why(DecideAudit(policy_, ctrl_, facts)));
}

TEST_F(AuditDecisionTest, WhiteListAndAuditOff) {
  // Everything passed to the audit: the data-centre pair is white-listed
  // in both directions.
  LoadCtrl("<ctrl_status><audit_level>3</audit_level></ctrl_status>");
  ConnectionFacts facts = Facts("10.2.0.5", "10.1.3.4", 873);
  EXPECT_EQ("skip: white list", Why(DecideAudit(policy_, ctrl_, facts)));
  facts = Facts("10.1.0.5", "10.2.3.4", 873);
  EXPECT_EQ("skip: white list", Why(DecideAudit(policy_, ctrl_, facts)));
  facts = Facts("10.1.0.5", "10.3.3.4", 873);
  AuditDecision d = DecideAudit(policy_, ctrl_, facts);
  EXPECT_EQ("audit: audit level", Why(d));
  EXPECT_EQ(3, d.level);

  // History switched off: nothing is audited, not even the black list;
  // server flow records follow their own switch.
  LoadCtrl("<ctrl_status><disable_all_hist>1</disable_all_hist></ctrl_status>");
  facts = Facts("192.168.100.7", "1.2.3.4", 443);
  d = DecideAudit(policy_, ctrl_, facts);
  EXPECT_EQ("skip: off", Why(d));
  EXPECT_FALSE(d.flow_record);
  LoadCtrl(
      "<ctrl_status><server_histflux_status>0</server_histflux_status>"
      "</ctrl_status>");
  EXPECT_TRUE(DecideAudit(policy_, ctrl_, facts).flow_record);
  facts = Facts("10.10.3.5", "10.10.200.10", 445);
  EXPECT_FALSE(DecideAudit(policy_, ctrl_, facts).flow_record);
}

TEST(AuditAppTest, ApplicationElements) {
  ASSERT_TRUE(ExampleConfig::Get().loaded);
  using quarn_tool::AuditAppOf;
  EXPECT_EQ(quarn_tool::kAuditAppWeb, AuditAppOf(10010000, false));
  EXPECT_EQ(quarn_tool::kAuditAppMail, AuditAppOf(10020007, false));
  EXPECT_EQ(quarn_tool::kAuditAppQq, AuditAppOf(10080018, false));
  EXPECT_EQ(quarn_tool::kAuditAppYmsg, AuditAppOf(10080505, false));
  EXPECT_EQ(quarn_tool::kAuditAppMsn, AuditAppOf(10080001, true));
  EXPECT_EQ(quarn_tool::kAuditAppTelnet, AuditAppOf(19090002, false));
  EXPECT_EQ(quarn_tool::kAuditAppFtp, AuditAppOf(10030003, false));
  EXPECT_EQ(quarn_tool::kAuditAppNone, AuditAppOf(10080003, false));
  // An unknown service carrying a URL is web traffic.
  EXPECT_EQ(quarn_tool::kAuditAppWeb, AuditAppOf(19020001, true));
  EXPECT_EQ(quarn_tool::kAuditAppNone, AuditAppOf(19020001, false));
}

}  // namespace
