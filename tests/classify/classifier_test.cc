// The classification engine on connections whose every decision was worked
// out by hand from the example configuration in examples/gateway/ and the
// example range tables and URL databases.

#include <stdlib.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "address/InternetRange.h"
#include "support/AllocationCounter.h"
#include "tools/Command.h"
#include "tools/common/ConnectionClassifier.h"
#include "tools/common/ConnectionRecord.h"
#include "tools/common/GatewayConfig.h"
#include "tools/common/PolicyStage.h"

namespace quarn_tool {
namespace {

class ClassifierTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    session_ = new LibrarySession;
    config_ = new GatewayConfig;
    ASSERT_TRUE(
        config_->Load(std::string(QUARN_SOURCE_DIR) + "/examples/gateway"));
    EXPECT_TRUE(config_->problems().empty()) << config_->problems()[0];
  }
  static void TearDownTestSuite() {
    delete config_;
    delete session_;
  }

  // Classifies one CSV line in the order of `kHeader`.
  Classification Classify(const std::string& line, bool explain = false) {
    RecordReader reader;
    ConnectionRecord record;
    std::string error;
    EXPECT_EQ(RecordReader::kSkip, reader.Feed(kHeader, 1, &record, &error));
    EXPECT_EQ(RecordReader::kRecord, reader.Feed(line, 2, &record, &error))
        << error;
    ConnectionClassifier classifier(config_);
    Classification c;
    classifier.Classify(record, explain, &c);
    return c;
  }

  static std::string U(const std::string& gbk) { return ToTerminal(gbk); }
  static std::vector<uint64_t> Ids(const std::vector<NamedId>& list) {
    std::vector<uint64_t> ids;
    for (const NamedId& item : list) ids.push_back(item.id);
    return ids;
  }

  static constexpr const char* kHeader =
      "time,first_ip,first_port,second_ip,second_port,transport,url,mac";
  static LibrarySession* session_;
  static GatewayConfig* config_;
};

LibrarySession* ClassifierTest::session_ = nullptr;
GatewayConfig* ClassifierTest::config_ = nullptr;

TEST_F(ClassifierTest, OutboundWebFromASignedInEmployee) {
  // Wednesday morning; the finance clerk's host to a news portal in
  // Zhongshan, Guangdong.
  Classification c = Classify(
      "2026-11-18 09:15:00,10.10.2.15,51234,1.130.4.5,443,tcp,"
      "http://www.beijinzhi272.org/a,");
  EXPECT_EQ(DIR_CS_FIRST_CLIENT, c.cs_dir);
  EXPECT_EQ(DIR_IO_OUT, c.data_dir);
  EXPECT_EQ(0x0A0A020Fu, c.inside_ip);
  EXPECT_EQ(443, c.outside_port);
  EXPECT_EQ(102u, c.class_id);
  EXPECT_EQ("财务部", U(c.class_name));
  EXPECT_EQ(0x0000A02A00000000ull, c.area1.id);
  EXPECT_EQ(0x0000A02A08000000ull, c.area2.id);
  EXPECT_EQ("广东省中山市", U(c.area2.name));
  EXPECT_EQ(19020001u, c.appid);  // unknown TCP service: port 443
  EXPECT_FALSE(c.user_defined_app);
  ASSERT_TRUE(c.has_url);
  EXPECT_EQ("www.beijinzhi272.org/a", c.url);
  EXPECT_EQ(std::vector<uint64_t>{0}, Ids(c.sys_categories));
  EXPECT_EQ("新闻门户", U(c.sys_categories[0].name));
  EXPECT_TRUE(c.user_categories.empty());
  EXPECT_FALSE(c.white);
  EXPECT_EQ(0u, c.ip_object_mask);
  EXPECT_EQ(2u, c.time_object_mask);  // working time only
  ASSERT_TRUE(c.has_employee);
  EXPECT_EQ("李会计", U(c.employee));
  EXPECT_EQ(102u, c.employee_dep_id);
  ASSERT_TRUE(c.signed_in);
  EXPECT_EQ("lihj(李会计)", U(c.account));
}

TEST_F(ClassifierTest, UserDefinedApplicationsDecideAppAndClient) {
  // OA: server address 10.10.1.30, ports 443 and 8443; written with the
  // server first, so the application turns the client round.
  Classification oa =
      Classify("2026-11-17 12:30:00,10.10.1.30,8443,10.10.3.200,40000,tcp,,");
  EXPECT_TRUE(oa.user_defined_app);
  EXPECT_EQ(19000002u, oa.appid);
  EXPECT_EQ("协同办公平台", U(oa.app_name));
  EXPECT_EQ(DIR_CS_FIRST_SERVER, oa.cs_dir);
  // Both ends are intranet, so the first end counts as the inside one; the
  // OA server's address is in no department.
  EXPECT_EQ(DIR_IO_OUT, oa.data_dir);
  EXPECT_EQ(0x0A0A011Eu, oa.inside_ip);
  EXPECT_EQ(25u, oa.class_id);

  // The video meeting is UDP only; over TCP the same ports are unknown.
  Classification video =
      Classify("2026-11-17 12:30:00,192.168.10.5,50010,3.210.1.1,50050,udp,,");
  EXPECT_EQ(19000003u, video.appid);
  Classification tcp =
      Classify("2026-11-17 12:30:00,192.168.10.5,50010,3.210.1.1,50050,tcp,,");
  EXPECT_FALSE(tcp.user_defined_app);
  EXPECT_EQ(19010001u, tcp.appid);  // unknown TCP data: both ports high

  // ERP is TCP only: UDP to its port is unknown UDP data.
  Classification erp = Classify(
      "2026-11-17 12:30:00,192.168.20.200,40000,10.10.1.20,8005,udp,,");
  EXPECT_EQ(19010002u, erp.appid);

  // Branch sync holds for any address in 172.20.0.0/16, whatever the port.
  Classification sync =
      Classify("2026-11-17 12:30:00,172.20.1.9,40000,9.40.2.2,9000,tcp,,");
  EXPECT_EQ(19000004u, sync.appid);
  EXPECT_EQ(108u, sync.class_id);
  EXPECT_EQ("台湾省", U(sync.area1.name));
}

// The policy's facts come from the decisions above: its client and server
// ends follow the client test, not the inside end, and each end carries
// what was asked for it.
TEST_F(ClassifierTest, PolicyFactsFollowTheClientEnd) {
  // The OA server written first: the inside end is the server end.
  Classification oa =
      Classify("2026-11-17 12:30:00,10.10.1.30,8443,10.10.3.200,40000,tcp,,");
  const ConnectionFacts& f = oa.facts;
  EXPECT_FALSE(f.client_inside);
  EXPECT_EQ(0x0A0A03C8u, f.client.ip);
  EXPECT_EQ(40000, f.client.port);
  EXPECT_EQ(104u, f.client.department);
  EXPECT_EQ(0x0A0A011Eu, f.server.ip);
  EXPECT_EQ(8443, f.server.port);
  EXPECT_EQ(oa.class_id, f.server.department);
  EXPECT_EQ(21u, f.client.company_class);    // intranet
  EXPECT_EQ(kAreaIntranet, f.client.area1);  // private: not looked up
  EXPECT_EQ(kAreaIntranet, f.server.area2);
  EXPECT_EQ(19000002u, f.app_id);
  EXPECT_EQ(nullptr, f.url);

  // Outbound web of a signed-in employee: the client is the inside end;
  // the server end carries the areas shown for the outside end.
  Classification web = Classify(
      "2026-11-18 09:15:00,10.10.2.15,51234,1.130.4.5,443,tcp,"
      "http://www.beijinzhi272.org/a,");
  const ConnectionFacts& g = web.facts;
  EXPECT_TRUE(g.client_inside);
  EXPECT_EQ(web.account_did, g.client.device_id);
  EXPECT_NE(0u, g.account_did);
  EXPECT_EQ(0u, g.server.device_id);
  EXPECT_EQ(102u, g.employee_department);
  EXPECT_EQ(web.area1.id, g.server.area1);
  EXPECT_EQ(web.area2.id, g.server.area2);
  EXPECT_NE(g.server.area1, g.server.area2);
  EXPECT_EQ(0xFFFFFFFFu, g.server.company_class);  // outside the company
  EXPECT_EQ(web.url.c_str(), g.url);
  EXPECT_EQ(1u, g.url_types.hitype);
  EXPECT_EQ(2u, g.time_objects);
  EXPECT_EQ(0x0A0A020Fu, g.addr.first_ip);
}

// The policy stage on the classifier's facts: the example policy loads
// with every object manager of the configuration, a decision allocates
// nothing once warm, and a connection's verdict is the policy's.
TEST_F(ClassifierTest, PolicyStageDecidesWithoutAllocating) {
  PolicyStage stage(config_);
  std::vector<std::string> messages;
  ASSERT_TRUE(stage.Load("", kConfigAll, &messages));
  EXPECT_TRUE(messages.empty()) << messages[0];
  // A host of the internet black list, Monday 09:15, going out.
  const Classification blocked =
      Classify("2026-11-16 09:15:00,192.168.99.4,40000,1.33.2.2,443,tcp,,");
  // The finance clerk's web page: the keyword search runs too.
  const Classification web = Classify(
      "2026-11-18 09:15:00,10.10.2.15,51234,1.130.4.5,443,tcp,"
      "http://www.beijinzhi272.org/a,");
  ConnectionVerdict v;
  stage.Decide(web.facts, false, &v);  // warm
  const uint64_t before = quarn_test::AllocationCount();
  for (int i = 0; i < 50; ++i) {
    stage.Decide(blocked.facts, false, &v);
    stage.Decide(web.facts, false, &v);
  }
  EXPECT_EQ(before, quarn_test::AllocationCount());
  ASSERT_EQ(&stage.policy(), v.policy);
  ASSERT_EQ(2, v.verdict.passed_count);
  EXPECT_EQ(9, v.verdict.passed[0]);  // finance web records
  EXPECT_EQ(4u, v.verdict.save_level);
  EXPECT_EQ(kAuditReasonLevel, v.audit.reason);
  EXPECT_EQ(kAuditAppWeb, v.audit.app);
  stage.Decide(blocked.facts, true, &v);
  EXPECT_EQ(0x1001u, v.verdict.interrupt_code);
  EXPECT_EQ(kAuditReasonNotPassed, v.audit.reason);
  EXPECT_FALSE(v.traces.empty());
}

TEST_F(ClassifierTest, InboundAndBroadcastDirections) {
  // From Shanghai to the web server in the DMZ: inbound, and the first
  // (outside) end is not the client.
  Classification in =
      Classify("2026-11-18 14:05:30,2.20.1.1,5903,203.0.113.10,80,tcp,,");
  EXPECT_EQ(DIR_IO_IN, in.data_dir);
  EXPECT_EQ(DIR_CS_FIRST_SERVER, in.cs_dir);
  EXPECT_EQ(0xCB00710Au, in.inside_ip);
  EXPECT_EQ(80, in.inside_port);
  EXPECT_EQ(31u, in.class_id);
  EXPECT_EQ("公司外网-DMZ", U(in.class_name));
  EXPECT_EQ("上海市", U(in.area1.name));
  EXPECT_EQ(in.area1.id, in.area2.id);  // only Guangdong has level 2
  EXPECT_TRUE(in.has_employee);         // the DMZ web server's record
  EXPECT_EQ(31u, in.employee_dep_id);

  // A NetBIOS broadcast: the .255 end is the server.
  Classification bc =
      Classify("2026-11-17 12:30:00,10.10.3.5,137,10.10.3.255,138,udp,,");
  EXPECT_EQ(DIR_CS_FIRST_CLIENT, bc.cs_dir);
  EXPECT_EQ(103u, bc.class_id);
  EXPECT_EQ(19020002u, bc.appid);                 // unknown UDP service
  EXPECT_EQ(0x000FFFFF00000000ull, bc.area1.id);  // no internet area
  Classification bc_first =
      Classify("2026-11-17 12:30:00,10.10.3.255,138,10.10.3.5,137,udp,,");
  EXPECT_EQ(DIR_CS_FIRST_SERVER, bc_first.cs_dir);

  // Both ends outside: inbound, the second end stands for the inside one,
  // of the abnormal external class.
  Classification out =
      Classify("2026-11-21 23:10:00,1.2.3.4,40000,3.1.1.1,80,tcp,,");
  EXPECT_EQ(DIR_IO_IN, out.data_dir);
  EXPECT_EQ(50u, out.class_id);
  EXPECT_EQ("香港特别行政区", U(out.area1.name));
}

TEST_F(ClassifierTest, ObjectsByRangeMacAndTime) {
  // A guest-network address (private, in no company range) on a national
  // holiday, with the super white list's MAC.
  Classification guest = Classify(
      "2026-10-01 10:00:00,172.16.100.5,40000,1.2.3.4,5000,udp,"
      "badsite.example.com/x,00-1A-2B-3C-4D-01");
  EXPECT_EQ(40u, guest.class_id);
  EXPECT_EQ(0x401u, guest.ip_object_mask);  // super white list + guests
  EXPECT_EQ((std::vector<uint64_t>{1, 1024}), Ids(guest.ip_objects));
  EXPECT_EQ("访客网络", U(guest.ip_objects[1].name));
  EXPECT_EQ(1u, guest.time_object_mask);  // holiday: non-working time
  EXPECT_EQ(std::vector<uint64_t>{1}, Ids(guest.user_categories));
  EXPECT_EQ("禁止访问网站", U(guest.user_categories[0].name));

  // A warehouse host that is also listed as a server, at lunch time.
  Classification server =
      Classify("2026-11-17 12:30:00,192.168.20.200,40000,1.2.3.4,80,tcp,,");
  EXPECT_EQ(113u, server.class_id);
  EXPECT_EQ(0x900u, server.ip_object_mask);
  EXPECT_EQ(0x12u, server.time_object_mask);  // working time and lunch

  // Saturday night; a Monday before working time begins.
  EXPECT_EQ(0x21u, Classify("2026-11-21 23:10:00,10.10.3.5,40000,1.2.3.4,"
                            "80,tcp,,")
                       .time_object_mask);
  EXPECT_EQ(0u, Classify("2026-11-16 08:10:00,10.10.3.5,40000,1.2.3.4,"
                         "80,tcp,,")
                        .time_object_mask &
                    2u);  // before 08:30
}

TEST_F(ClassifierTest, WhiteListAndSchemes) {
  Classification white = Classify(
      "2026-11-18 10:00:00,10.10.1.10,5000,4.176.40.1,80,tcp,"
      "https://oa.example.cn:8080/flow,");
  EXPECT_EQ("oa.example.cn:8080/flow", white.url);
  EXPECT_TRUE(white.white);
  EXPECT_TRUE(white.sys_categories.empty());
  EXPECT_EQ("广东省广州市", U(white.area2.name));
  EXPECT_EQ("王总", U(white.employee));

  Classification docs = Classify(
      "2026-11-22 03:20:00,10.10.4.5,40000,9.40.2.2,443,tcp,"
      "docs.example.com/api/v2,");
  EXPECT_EQ(111u, docs.class_id);  // listed by address
  EXPECT_EQ(std::vector<uint64_t>{2}, Ids(docs.user_categories));
  EXPECT_FALSE(docs.white);
  EXPECT_FALSE(docs.has_employee);
  EXPECT_FALSE(docs.signed_in);

  Classification none =
      Classify("2026-11-22 03:20:00,10.10.4.5,40000,9.40.2.2,443,tcp,,");
  EXPECT_FALSE(none.has_url);
}

TEST_F(ClassifierTest, ExplainNamesTheEvidence) {
  Classification c = Classify(
      "2026-11-18 09:15:00,10.10.2.15,51234,1.130.4.5,443,tcp,"
      "www.beijinzhi272.org/,",
      true);
  EXPECT_EQ("department range 10.10.2.0-10.10.2.255", c.class_evidence);
  EXPECT_NE(std::string::npos, c.time_evidence.find("Wednesday 09:15"));
  EXPECT_NE(std::string::npos, c.url_evidence.find("0x0000000000000001"));
  EXPECT_NE(std::string::npos, c.employee_evidence.find("signed in"));

  Classification app = Classify(
      "2026-11-17 12:30:00,10.10.1.20,40000,10.10.1.30,8443,tcp,,", true);
  EXPECT_NE(std::string::npos, app.app_evidence.find("\"oa\""));
  EXPECT_NE(std::string::npos, app.app_evidence.find("443,8443"));
  EXPECT_NE(std::string::npos, app.cs_evidence.find("oa"));
  EXPECT_EQ("intranet range 10.10.0.0-10.10.255.255, in no department",
            app.class_evidence);

  Classification guest = Classify(
      "2026-10-01 10:00:00,172.16.100.5,40000,1.2.3.4,5000,udp,,"
      "00-1A-2B-3C-4D-01",
      true);
  ASSERT_EQ(2u, guest.ip_objects.size());
  EXPECT_EQ("MAC 00-1A-2B-3C-4D-01", guest.ip_objects[0].evidence);
  EXPECT_EQ("range 172.16.100.1-172.16.100.254", guest.ip_objects[1].evidence);
  EXPECT_NE(std::string::npos, guest.time_evidence.find("a holiday"));

  // Without --explain no evidence is gathered.
  Classification quiet = Classify(
      "2026-10-01 10:00:00,172.16.100.5,40000,1.2.3.4,5000,udp,,"
      "00-1A-2B-3C-4D-01");
  EXPECT_TRUE(quiet.class_evidence.empty());
  EXPECT_TRUE(quiet.ip_objects[0].evidence.empty());
}

TEST_F(ClassifierTest, HostsAreAskedInLowerCaseAndTheWhiteListWithThePath) {
  // The host is case-insensitive, the path is not.
  Classification upper = Classify(
      "2026-11-18 10:00:00,10.10.1.10,5000,4.176.40.1,80,tcp,"
      "HTTP://WWW.BADSITE.EXAMPLE.COM/X,");
  EXPECT_EQ("www.badsite.example.com/X", upper.url);
  EXPECT_EQ(std::vector<uint64_t>{1}, Ids(upper.user_categories));

  // The entry "www.gov.example.cn/notice" must begin the text: it holds
  // for the host with the path (the port left out), not for the host.
  Classification gov = Classify(
      "2026-11-18 10:00:00,10.10.1.10,5000,4.176.40.1,80,tcp,"
      "http://WWW.Gov.example.cn:8080/notice/12?a=B,",
      true);
  EXPECT_TRUE(gov.white);
  EXPECT_EQ((std::vector<std::string>{"www.gov.example.cn",
                                      "www.gov.example.cn/notice/12?a=B"}),
            gov.white_asked);
  EXPECT_NE(std::string::npos,
            gov.url_evidence.find(
                "host \"www.gov.example.cn\" not on the white list, host and "
                "path \"www.gov.example.cn/notice/12?a=B\" on the white list"))
      << gov.url_evidence;
  EXPECT_FALSE(Classify("2026-11-18 10:00:00,10.10.1.10,5000,4.176.40.1,80,"
                        "tcp,www.gov.example.cn/NOTICE,")
                   .white);
  // A host on the list answers alone.
  Classification host = Classify(
      "2026-11-18 10:00:00,10.10.1.10,5000,4.176.40.1,80,tcp,"
      "user@Update.Example.com/x,");
  EXPECT_TRUE(host.white);
  EXPECT_EQ(std::vector<std::string>{"update.example.com"}, host.white_asked);
  // A scheme with nothing after it is no URL.
  EXPECT_FALSE(Classify("2026-11-18 10:00:00,10.10.1.10,5000,4.176.40.1,80,"
                        "tcp,http://,")
                   .has_url);
}

TEST_F(ClassifierTest, EvidenceComesFromTheLibrarysAnswers) {
  // The .255 end is the server, whichever end it is; the address plan
  // decides the rest.
  EXPECT_EQ(
      "second end looks like a broadcast address: it is the server",
      Classify("2026-11-17 12:30:00,10.10.3.5,137,10.10.3.255,138,udp,,", true)
          .cs_evidence);
  EXPECT_EQ(
      "first end looks like a broadcast address: it is the server",
      Classify("2026-11-17 12:30:00,10.10.3.255,138,10.10.3.5,137,udp,,", true)
          .cs_evidence);
  EXPECT_EQ(
      "second end looks like a broadcast address: it is the server",
      Classify("2026-11-17 12:30:00,1.2.3.4,138,10.10.3.255,137,udp,,", true)
          .cs_evidence);
  EXPECT_EQ(
      "first end is an outside address: it is the server",
      Classify("2026-11-18 14:05:30,2.20.1.1,5903,203.0.113.10,80,tcp,,", true)
          .cs_evidence);
  EXPECT_EQ(
      "first end is not an outside address: it is the client",
      Classify("2026-11-18 14:05:30,10.10.3.5,5903,1.2.3.4,80,tcp,,", true)
          .cs_evidence);

  // Service and data ports as the library counts them.
  Classification service = Classify(
      "2026-11-17 12:30:00,10.10.3.5,137,10.10.3.255,1024,udp,,", true);
  EXPECT_EQ(19020002u, service.appid);
  EXPECT_EQ(
      "no user-defined application; ports 137 and 1024 are service ports: "
      "unknown service",
      service.app_evidence);
  EXPECT_EQ(
      "no user-defined application; port 1024 is a service port: unknown "
      "service",
      Classify("2026-11-17 12:30:00,10.10.3.5,1025,1.2.3.4,1024,tcp,,", true)
          .app_evidence);
  EXPECT_EQ(
      "no user-defined application; ports 1025 and 5000 are data ports: "
      "unknown data",
      Classify("2026-11-17 12:30:00,10.10.3.5,1025,1.2.3.4,5000,tcp,,", true)
          .app_evidence);

  // The unknown address 0 gets the placeholder department without a range.
  Classification zero =
      Classify("2026-11-17 12:30:00,1.2.3.4,80,0.0.0.0,5000,tcp,,", true);
  EXPECT_EQ(0u, zero.inside_ip);
  EXPECT_EQ(25u, zero.class_id);
  EXPECT_EQ(
      "the unknown address 0.0.0.0: the placeholder for hosts in no "
      "department",
      zero.class_evidence);

  // Server and DMZ ranges make the inside end a server.
  Classification server =
      Classify("2026-11-17 12:30:00,10.10.200.7,80,1.2.3.4,5000,tcp,,", true);
  EXPECT_TRUE(server.inside_server);
  EXPECT_EQ(25u, server.class_id);
  EXPECT_EQ(
      "intranet range 10.10.0.0-10.10.255.255, in no department; server "
      "range 10.10.200.0-10.10.200.255",
      server.class_evidence);
  EXPECT_TRUE(Classify("2026-11-17 12:30:00,2.20.1.1,5,203.0.113.10,80,tcp,,")
                  .inside_server);
  EXPECT_FALSE(Classify("2026-11-17 12:30:00,10.10.3.5,5,1.2.3.4,80,tcp,,")
                   .inside_server);
}

TEST_F(ClassifierTest, EachTimeObjectSaysWhyItHolds) {
  auto evidence = [&](const std::string& time) {
    Classification c =
        Classify(time + ",10.10.3.5,40000,1.2.3.4,80,tcp,,", true);
    std::vector<std::string> all;
    for (const NamedId& object : c.time_objects) {
      all.push_back(std::to_string(object.id) + " " + object.evidence);
    }
    return all;
  };
  EXPECT_EQ((std::vector<std::string>{"2 segment 08:30-17:30 on Tuesdays",
                                      "16 segment 12:00-13:00 on Tuesdays"}),
            evidence("2026-11-17 12:30:00"));
  // A segment across midnight; the non-working time of a Saturday.
  EXPECT_EQ((std::vector<std::string>{"1 outside working time",
                                      "32 segment 22:00-06:00 on Saturdays"}),
            evidence("2026-11-21 23:10:00"));
  // A national holiday at working time.
  EXPECT_EQ((std::vector<std::string>{
                "1 a holiday: working time counts as non-working time"}),
            evidence("2026-10-01 10:00:00"));
  // A Monday worked on Friday's schedule.
  EXPECT_EQ((std::vector<std::string>{
                "2 segment 08:30-17:30 on Fridays (an extra working date on "
                "that schedule)"}),
            evidence("2026-10-12 10:00:00"));
}

TEST(GatewayConfigTest, ReportsMissingAndBrokenDocuments) {
  LibrarySession session;
  const std::string tmp = std::string(QUARN_TEST_TMP_DIR) + "/gateway";
  const std::string examples = std::string(QUARN_SOURCE_DIR) + "/examples";
  ASSERT_EQ(0, system(("mkdir -p " + tmp + " && cp " + examples +
                       "/gateway/organization.xml " + tmp +
                       "/ && echo '<ip_obj_mgr><a></b></ip_obj_mgr>' > " + tmp +
                       "/ip_obj_mgr.xml")
                          .c_str()));
  {
    GatewayConfig config;
    EXPECT_TRUE(config.Load(tmp));
    bool broken = false;
    bool missing = false;
    for (const std::string& p : config.problems()) {
      if (p == tmp +
                   "/ip_obj_mgr.xml: line 1, column 16: Error reading "
                   "end tag.")
        broken = true;
      if (p == tmp + "/time_obj_mgr.xml: No such file or directory")
        missing = true;
    }
    EXPECT_TRUE(broken && missing)
        << ::testing::PrintToString(config.problems());
  }
  {
    GatewayConfig config;
    EXPECT_FALSE(config.Load(tmp + "/none"));
    ASSERT_EQ(1u, config.problems().size());
    EXPECT_EQ(tmp + "/none/organization.xml: No such file or directory",
              config.problems()[0]);
  }
  // Leave the process-wide plan as the other tests expect it.
  CLocalIPTypeTable_Singleton::instance()->LoadFromFile(
      (examples + "/gateway/organization.xml").c_str());
}

}  // namespace
}  // namespace quarn_tool
