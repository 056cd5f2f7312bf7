#include "settings/CCtrlStatusMgr.h"

#include <stdio.h>

#include <string>

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

typedef CCommonMacTCPIPDecode::TCPIP_DECODE_CONTEXT Context;

Context MakeContext(uint32_t src_ip, uint32_t dst_ip, uint16_t src_port,
                    uint16_t dst_port, uint32_t app) {
  Context ctx = {};
  ctx.src_ip = src_ip;
  ctx.dst_ip = dst_ip;
  ctx.src_port = src_port;
  ctx.dst_port = dst_port;
  ctx.app_type = app;
  return ctx;
}

CAddrAndPortSet MakeSet(uint32_t ip, uint16_t port, int pass) {
  CAddrAndPortSet set;
  set.ip_ranges.push_back(IP_RANGE_PAIR(ip, ip));
  set.port_ranges.push_back(UINT16_RANGE_PAIR(port, port));
  set.pass = pass;
  return set;
}

int LoadText(CCtrlStatusMgr& mgr, const std::string& text) {
  return mgr.LoadFromMem(text.data(), static_cast<int>(text.size()));
}

TEST(CtrlStatusTest, SwitchesAndTheMasterSwitch) {
  CCtrlStatusMgr mgr;
  EXPECT_EQ(1, mgr.IfEnableHistFlux());
  EXPECT_EQ(1, mgr.IfEnableFCHistFlux());
  EXPECT_EQ(0, mgr.IfEnableServerHistFlux());
  EXPECT_EQ(1, mgr.IfEnableActionState());
  EXPECT_EQ(2, mgr.GetAuditLevel());

  mgr.server_histflux_status = 1;
  mgr.disable_all_hist = 1;
  EXPECT_EQ(0, mgr.IfEnableHistFlux() + mgr.IfEnableFCHistFlux() +
                   mgr.IfEnableServerHistFlux() + mgr.IfEnableActionState() +
                   mgr.GetAuditLevel());
  mgr.disable_all_hist = 0;
  mgr.histflux_status = 0;
  EXPECT_EQ(0, mgr.IfEnableHistFlux());
  EXPECT_EQ(1, mgr.IfEnableServerHistFlux());
}

TEST(CtrlStatusTest, LoadOverlaysOnlyWhatTheDocumentHolds) {
  CCtrlStatusMgr mgr;
  ASSERT_EQ(1, LoadText(mgr,
                        "<ctrl_status><audit_level>3</audit_level>"
                        "</ctrl_status>"));
  CCtrlStatusMgr expected;
  expected.audit_level = 3;
  EXPECT_EQ(expected, mgr);

  // "copy_connect_info" counts only inside "copy_hist_data".
  ASSERT_EQ(1, LoadText(mgr,
                        "<ctrl_status><copy_connect_info>1"
                        "</copy_connect_info></ctrl_status>"));
  EXPECT_EQ(0, mgr.copy_connect_info);
  ASSERT_EQ(1, LoadText(mgr,
                        "<ctrl_status><copy_hist_data><copy_connect_info>"
                        "1</copy_connect_info></copy_hist_data>"
                        "</ctrl_status>"));
  EXPECT_EQ(1, mgr.copy_connect_info);
  EXPECT_EQ(3, mgr.audit_level);  // kept from the first load
  mgr.close();
  EXPECT_EQ(CCtrlStatusMgr(), mgr);
}

TEST(CtrlStatusTest, PassDataToAuditByType) {
  const uint32_t server = 0x0A000001, client = 0x0A000002;
  const Context ctx = MakeContext(client, server, 4000, 80, 10010000);
  CCtrlStatusMgr mgr;
  for (int type : {0, 1, 5, -1}) {
    mgr.data_to_audit_type = type;
    EXPECT_EQ(type == 0 ? 0 : 1, mgr.IsPassDataToAudit(ctx)) << type;
  }

  mgr.data_to_audit_type = 2;
  EXPECT_EQ(0, mgr.IsPassDataToAudit(ctx));  // no entry at all
  // A refusal for the destination decides without asking for the source.
  mgr.data_to_audit_list.Add(MakeSet(server, 80, 0));
  mgr.data_to_audit_list.Add(MakeSet(client, 80, 1));
  EXPECT_EQ(0, mgr.IsPassDataToAudit(ctx));
  // With no entry for the destination, the source address is asked with the
  // destination port, never with its own.
  mgr.data_to_audit_list.clear();
  mgr.data_to_audit_list.Add(MakeSet(client, 4000, 1));
  EXPECT_EQ(0, mgr.IsPassDataToAudit(ctx));
  mgr.data_to_audit_list.Add(MakeSet(client, 80, 1));
  EXPECT_EQ(1, mgr.IsPassDataToAudit(ctx));

  // The application id takes part in the match.
  CAddrAndPortSet by_app = MakeSet(server, 80, 1);
  by_app.values.push_back(10020001);
  mgr.data_to_audit_list.clear();
  mgr.data_to_audit_list.Add(by_app);
  EXPECT_EQ(0, mgr.IsPassDataToAudit(ctx));
  EXPECT_EQ(1, mgr.IsPassDataToAudit(
                   MakeContext(client, server, 4000, 80, 10020001)));
}

TEST(CtrlStatusTest, SaveLoadAndWriteOneKey) {
  const std::string path =
      quarn_test::MakeTempDir("ctrl_status") + "/ctrl_status.xml";
  CCtrlStatusMgr saved;
  int value = 100;  // a distinct value for every simple key
  for (int* key :
       {&saved.data_to_audit_type, &saved.disable_all_hist,
        &saved.histflux_status, &saved.fc_histflux_status,
        &saved.server_histflux_status, &saved.actionstat_status,
        &saved.audit_level, &saved.http_audit_type,
        &saved.save_html_only_have_title, &saved.employee_conn_histaudit_status,
        &saved.report_dump, &saved.audit_save_day, &saved.day_table_size,
        &saved.month_table_size, &saved.disk_threshold,
        &saved.copy_connect_info}) {
    *key = value++;
  }
  saved.data_to_audit_list.Add(MakeSet(0xC0A80001, 443, 0));
  saved.conn_histaudit_addr.AddIPRange(0x0A000000, 0x0A0000FF);
  EXPECT_EQ(0, saved.WriteCtrlStatus("audit_level", 4));  // nothing loaded
  ASSERT_EQ(1, saved.SaveToFile(path.c_str()));

  CCtrlStatusMgr loaded;
  ASSERT_EQ(1, loaded.LoadFromFile(path.c_str()));
  EXPECT_EQ(saved, loaded);
  loaded.conn_histaudit_addr.clear();  // lists take part in the comparison
  EXPECT_NE(saved, loaded);

  // One key changes in the file, not in the object.
  EXPECT_EQ(1, loaded.WriteCtrlStatus("audit_level", 4));
  EXPECT_EQ(saved.audit_level, loaded.audit_level);
  CCtrlStatusMgr reread;
  ASSERT_EQ(1, reread.LoadFromFile(path.c_str()));
  EXPECT_EQ(4, reread.audit_level);
  EXPECT_EQ(saved.disk_threshold, reread.disk_threshold);
  remove(path.c_str());
  EXPECT_EQ(0, reread.WriteCtrlStatus("audit_level", 5));
}

TEST(CtrlStatusTest, ExampleDocumentLoads) {
  CCtrlStatusMgr mgr;
  ASSERT_EQ(1, mgr.LoadFromFile(QUARN_SOURCE_DIR
                                "/examples/gateway/ctrl_status.xml"));
  EXPECT_FALSE(mgr.conn_histaudit_addr.empty());
  // The ERP server's ports are kept from the audit, the rest of 10.10/16
  // goes to it.
  EXPECT_EQ(0, mgr.IsPassDataToAudit(
                   MakeContext(0xC0A80105, 0x0A0A0114, 4000, 8005, 0)));
  EXPECT_EQ(1, mgr.IsPassDataToAudit(
                   MakeContext(0xC0A80105, 0x0A0A0203, 4000, 25, 0)));
}

}  // namespace
