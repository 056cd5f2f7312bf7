// Authentication accounts: indexes, renaming, passwords and their
// scrambling, the document in both versions, the stream form and diffs.

#include "employee/CEmployeeAuthAccountMgr.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TempDir.h"

namespace {

int LoadText(CEmployeeAuthAccountMgr& mgr, const std::string& xml) {
  return mgr.LoadFromMem(xml.data(), static_cast<int>(xml.size()));
}

TEST(AuthAccount, ScrambledPasswordsRoundTrip) {
  for (int i = 0; i < 300; ++i) {  // many random keys
    std::string text = CEmployeeAuthAccountMgr::cry_passwd("abc");
    ASSERT_EQ(10u, text.size());
    EXPECT_EQ("01", text.substr(0, 2));
    EXPECT_EQ(std::string::npos, text.find_first_not_of("0123456789ABCDEF"));
    EXPECT_EQ("abc", CEmployeeAuthAccountMgr::uncry_passwd(text.c_str()));
  }
  std::string high = "\xC3\xDC\xC2\xEB 9";  // GBK bytes and a blank
  EXPECT_EQ(high,
            CEmployeeAuthAccountMgr::uncry_passwd(
                CEmployeeAuthAccountMgr::cry_passwd(high.c_str()).c_str()));
  // Key 0x10 (second byte 0x11), lower-case hex accepted.
  EXPECT_EQ("pq", CEmployeeAuthAccountMgr::uncry_passwd("01116061"));
  // An incomplete last pair is dropped.
  EXPECT_EQ("p", CEmployeeAuthAccountMgr::uncry_passwd("0111606"));
  EXPECT_EQ("60481357", CEmployeeAuthAccountMgr::uncry_passwd("02116061"));
  EXPECT_EQ("60481357", CEmployeeAuthAccountMgr::uncry_passwd(""));
  EXPECT_EQ("", CEmployeeAuthAccountMgr::uncry_passwd(
                    CEmployeeAuthAccountMgr::cry_passwd("").c_str()));
  EXPECT_EQ(514u,
            CEmployeeAuthAccountMgr::cry_passwd(std::string(300, 'x').c_str())
                .size());  // cut at 255 bytes
}

TEST(AuthAccount, IndexesFollowInsertRenameAndDelete) {
  CEmployeeAuthAccountMgr mgr;
  EXPECT_EQ(nullptr, mgr.InsertOneEmployee("a", nullptr, 1, 1));  // no pool
  ASSERT_EQ(1, mgr.Create(3));
  int result = -1;
  EMPLOYEE_AUTH_ACCOUNT_INFO* a = mgr.InsertOneEmployee("ab", &result, 11, 2);
  ASSERT_NE(nullptr, a);
  EXPECT_EQ(-1, result);  // only a found account reports a result
  EXPECT_EQ(2, a->insert_flag);
  // "ba" has the same name key as "ab": same chain, told apart by bytes.
  EMPLOYEE_AUTH_ACCOUNT_INFO* b = mgr.InsertOneEmployee("ba", &result, 12, 1);
  EXPECT_EQ(CEmployeeAuthAccountMgr::NameKey("ab"),
            CEmployeeAuthAccountMgr::NameKey("ba"));
  EXPECT_EQ(a, mgr.InsertOneEmployee("ab", &result, 99, 1));
  EXPECT_EQ(0, result);
  EXPECT_EQ(nullptr, mgr.InsertOneEmployee("", &result, 1, 1));
  EXPECT_EQ(a, mgr.FindEmployeeByKeyName("ab"));
  EXPECT_EQ(b, mgr.FindEmployeeByKeyName("ba"));
  EXPECT_EQ(nullptr, mgr.FindEmployeeByKeyName("AB"));  // case-sensitive

  EXPECT_EQ(-1, mgr.ChangeEmployeeName("zz", "yy"));
  EXPECT_EQ(0, mgr.ChangeEmployeeName("ab", "ba"));
  EXPECT_EQ("ab", a->kname);
  EXPECT_EQ(1, mgr.ChangeEmployeeName("ab", "carol"));
  EXPECT_EQ(nullptr, mgr.FindEmployeeByKeyName("ab"));
  EXPECT_EQ(a, mgr.FindEmployeeByKeyName("carol"));
  EXPECT_EQ(a, mgr.FindEmployeeByDid(11));

  EMPLOYEE_AUTH_ACCOUNT_INFO rec;
  rec.kname = "dave";
  rec.did = 12;  // taken
  EXPECT_EQ(nullptr, mgr.InsertOneEmployee(rec, 1));
  rec.did = 13;
  rec.fname = "Dave";
  EMPLOYEE_AUTH_ACCOUNT_INFO* d = mgr.InsertOneEmployee(rec, 4);
  ASSERT_NE(nullptr, d);
  EXPECT_EQ("Dave", d->fname);
  EXPECT_EQ(4, d->insert_flag);
  rec.kname = "erin";
  rec.did = 14;
  EXPECT_EQ(nullptr, mgr.InsertOneEmployee(rec, 1));  // full

  EXPECT_EQ(1, mgr.DeleteEmployeeByKeyName("ba"));
  EXPECT_EQ(nullptr, mgr.FindEmployeeByDid(12));
  EXPECT_EQ(0, mgr.DeleteEmployeeByDid(12));
  EXPECT_EQ(2, mgr.DeleteEmployee(std::vector<uint64_t>{11, 13, 77}));
  EXPECT_EQ(0u, mgr.GetUsedCount());
}

TEST(AuthAccount, PasswordChecksResetsAndValidity) {
  CEmployeeAuthAccountMgr mgr;
  ASSERT_EQ(1, mgr.Create(8));
  EMPLOYEE_AUTH_ACCOUNT_INFO* p = mgr.InsertOneEmployee("p", nullptr, 1, 1);
  EMPLOYEE_AUTH_ACCOUNT_INFO* k = mgr.InsertOneEmployee("k", nullptr, 2, 1);
  p->key_type = 1;
  p->passwd = "s3cret";
  k->key_type = 2;
  k->passwd = "s3cret";
  EXPECT_EQ(p, mgr.CheckPwd("p", "s3cret"));
  EXPECT_EQ(nullptr, mgr.CheckPwd("p", "S3cret"));
  EXPECT_EQ(nullptr, mgr.CheckPwd("p", nullptr));
  EXPECT_EQ(nullptr, mgr.CheckPwd("k", "s3cret"));

  mgr.SetModified(0);
  mgr.ResetAllEmployeePasswd();
  EXPECT_EQ("60481357", p->passwd);
  EXPECT_EQ(0, p->pwd_state);
  EXPECT_EQ("s3cret", k->passwd);
  EXPECT_EQ(0, mgr.ResetOneEmployeePasssed(uint64_t{2}));

  EMPLOYEE_AUTH_ACCOUNT_INFO acc;
  acc.begin_effective_time = 100;
  EXPECT_EQ(0, acc.IsAccountEffective(99));
  EXPECT_EQ(1, acc.IsAccountEffective(100));
  EXPECT_EQ(1, acc.IsAccountEffective(0xFFFFFFF0u));
  acc.end_effective_time = 200;
  EXPECT_EQ(1, acc.IsAccountEffective(200));
  EXPECT_EQ(0, acc.IsAccountEffective(201));
  acc.end_effective_time = -1;
  EXPECT_EQ(1, acc.IsAccountEffective(0x7FFFFFFF));

  acc.bind_list.AddIPRange(0x0A000001, 0x0A000005);
  EXPECT_EQ(1, acc.IsBindAddr(0x0B000000));  // binding off
  acc.bind_addr = 1;
  EXPECT_EQ(0, acc.IsBindAddr(0x0B000000));
  EXPECT_EQ(1, acc.IsBindAddr(0x0A000003));
}

TEST(AuthAccount, NamesForDisplayAndSearch) {
  CEmployeeAuthAccountMgr mgr;
  ASSERT_EQ(1, mgr.Create(4));
  EMPLOYEE_AUTH_ACCOUNT_INFO* a = mgr.InsertOneEmployee("Zhang", nullptr, 5, 1);
  EXPECT_EQ("Zhang", a->GetShownName(1));
  EXPECT_EQ("Zhang", a->GetShownName(2));
  a->fname = "San";
  EXPECT_EQ("San", a->GetShownName(1));
  EXPECT_EQ("Zhang(San)", a->GetShownName(2));
  EXPECT_EQ("Zhang", a->GetShownName(7));
  EXPECT_STREQ("Zhang(San)", mgr.GetShowName(5, 2).c_str());
  EXPECT_STREQ("281474976710656",
               mgr.GetShowName(uint64_t{1} << 48, 0).c_str());
  EXPECT_TRUE(a->find_string("san,zh"));
  EXPECT_FALSE(a->find_string("Zhang"));  // the text is not lower-cased
  EXPECT_FALSE(a->find_string(""));
}

TEST(AuthAccount, NewIdsAreFreshAndInRange) {
  CEmployeeAuthAccountMgr mgr;
  ASSERT_EQ(1, mgr.Create(64));
  for (int kind = 0; kind < 2; ++kind) {
    uint64_t base = kind == 0 ? uint64_t{1} << 48 : uint64_t{1} << 49;
    for (int i = 0; i < 20; ++i) {
      uint64_t did = mgr.CalNewDid(kind);
      EXPECT_GE(did, base);
      EXPECT_LE(did, base + static_cast<uint64_t>(RAND_MAX));
      EXPECT_EQ(nullptr, mgr.FindEmployeeByDid(did));
      mgr.InsertOneEmployee(("u" + std::to_string(kind * 100 + i)).c_str(),
                            nullptr, did, 1);
    }
  }
  EXPECT_EQ(40u, mgr.GetUsedCount());
}

TEST(AuthAccount, Version1DocumentRoundTrip) {
  std::string dir = quarn_test::MakeTempDir("accounts");
  std::string path = dir + "/tb_employee_auth_account.xml";
  CEmployeeAuthAccountMgr mgr;
  ASSERT_EQ(1, mgr.Create(16));
  EMPLOYEE_AUTH_ACCOUNT_INFO rec;
  rec.kname = "li";
  rec.did = (uint64_t{1} << 48) + 77;
  rec.fname = "Li Si";
  rec.key_type = 1;
  rec.passwd = "50% off & more";
  rec.onoff = 0;
  rec.bind_addr = 1;
  rec.bind_list.AddIPRange(0x0A000001, 0x0A000009);
  rec.share_count = 3;
  rec.band_as_common = 0;
  rec.nMaxUpBand = 1000;
  rec.nMaxDownBand = 2000;
  rec.begin_effective_time = 1700000000;
  rec.end_effective_time = 1800000000;
  rec.permit_live_time = 60;
  ASSERT_NE(nullptr, mgr.InsertOneEmployee(rec, 1));
  rec.kname = "wang";
  rec.did = 5;
  rec.passwd.clear();
  rec.key_type = 2;
  rec.bind_list.clear();
  rec.band_as_common = 1;
  rec.nMaxUpBand = rec.nMaxDownBand = 0;
  ASSERT_NE(nullptr, mgr.InsertOneEmployee(rec, 1));
  mgr.SetLastSavedTickCount(4242);
  ASSERT_EQ(1, mgr.SaveToFile(path.c_str()));

  std::string xml = quarn_test::ReadFile(path);
  EXPECT_NE(std::string::npos, xml.find("version=\"1\""));
  EXPECT_NE(std::string::npos, xml.find("50%25%20off%20%26%20more"));

  CEmployeeAuthAccountMgr back;
  ASSERT_EQ(1, back.Create(16));
  ASSERT_EQ(1, back.LoadFromFile(path.c_str()));
  EXPECT_EQ(1, back.GetVersion());
  EXPECT_EQ(4242u, back.GetLastSavedTickCount());
  EXPECT_FALSE(back.IsModified());
  EXPECT_TRUE(mgr == back);
  EXPECT_EQ("50% off & more", back.FindEmployeeByKeyName("li")->passwd);
  EXPECT_EQ("", back.FindEmployeeByKeyName("wang")->passwd);
  EXPECT_EQ(0, back.DiffToOther(mgr));
}

TEST(AuthAccount, OlderDocumentsAndDefaults) {
  CEmployeeAuthAccountMgr mgr;
  ASSERT_EQ(1, mgr.Create(16));
  std::string scrambled = CEmployeeAuthAccountMgr::cry_passwd("x y");
  ASSERT_EQ(1, LoadText(mgr,
                        "<tb_employee_auth_account last_save_tickcount=\"9\">"
                        "<employee_info>"
                        "<one_employee did=\"1\" kname=\"a\" passwd=\"" +
                            scrambled +
                            "\"/>"
                            "<one_employee did=\"2\" kname=\"b\"/>"
                            "<one_employee did=\"3\" kname=\"c\" key_type=\"2\""
                            " share_count=\"300\"/>"
                            "<one_employee did=\"4\" kname=\"d\" "
                            "share_count=\"0\" effective_time=\"2024-01-02 "
                            "03:04:05\"/>"
                            "<one_employee did=\"1\" kname=\"dup-id\"/>"
                            "<one_employee did=\"9\" kname=\"a\"/>"
                            "<one_employee did=\"5\" passwd=\"ZZ\"/>"
                            "</employee_info></tb_employee_auth_account>"));
  EXPECT_EQ(0, mgr.GetVersion());
  EXPECT_EQ(4u, mgr.GetUsedCount());  // duplicates and the nameless dropped
  EXPECT_EQ("x y", mgr.FindEmployeeByDid(1)->passwd);
  EXPECT_EQ("60481357", mgr.FindEmployeeByDid(2)->passwd);
  EXPECT_EQ(1, mgr.FindEmployeeByDid(2)->key_type);
  EXPECT_EQ("", mgr.FindEmployeeByDid(3)->passwd);
  EXPECT_EQ(1, mgr.FindEmployeeByDid(3)->share_count);
  EXPECT_EQ(1, mgr.FindEmployeeByDid(4)->share_count);
  EXPECT_NE(0, mgr.FindEmployeeByDid(4)->end_effective_time);
  EXPECT_EQ(-1, mgr.FindEmployeeByDid(4)->permit_live_time);
  EXPECT_FALSE(mgr.IsModified());

  // Documents without the list fail, and leave an empty table.
  EXPECT_EQ(0, LoadText(mgr, "<tb_employee_auth_account/>"));
  EXPECT_EQ(0u, mgr.GetUsedCount());
}

TEST(AuthAccount, StreamRoundTripAndBoundedReads) {
  EMPLOYEE_AUTH_ACCOUNT_INFO a;
  a.did = 0x0001000000000042ull;
  a.kname = "kn";
  a.fname = "full name";
  a.passwd = "pw";
  a.bind_addr = 1;
  a.bind_list.AddIPRange(1, 2);
  a.bind_list.AddIPRange(10, 20);
  a.bind_list.AddMac(uint64_t{0x001122334455});
  a.nMaxUpBand = 1ull << 40;
  a.end_effective_time = -1;
  a.pwd_state = 0;
  std::vector<char> buffer(a.get_stream_size());
  char* p = buffer.data();
  int written = a.PutStream(p);
  ASSERT_EQ(static_cast<int>(buffer.size()), written);

  EMPLOYEE_AUTH_ACCOUNT_INFO back;
  const char* q = buffer.data();
  EXPECT_EQ(written, back.GetStream(q));
  EXPECT_EQ(buffer.data() + written, q);
  EXPECT_TRUE(a == back);

  // Every cut is refused without reading past the cut (the sanitizers
  // see each buffer at its exact size).
  for (size_t cut = 0; cut < buffer.size(); ++cut) {
    std::vector<char> part(buffer.begin(), buffer.begin() + cut);
    EMPLOYEE_AUTH_ACCOUNT_INFO target;
    const char* r = part.data();
    EXPECT_EQ(-1, target.GetStream(r, part.size())) << cut;
    EXPECT_EQ(part.data(), r);
    EXPECT_TRUE(target == EMPLOYEE_AUTH_ACCOUNT_INFO());
  }
  // A string length pointing past the end, and a wrong end mark.
  std::vector<char> bad = buffer;
  size_t kname_at = 8 + 1 + 8 + 1 + 1 + 16 + 1 + 6 + 4;
  bad[kname_at + 3] = 0x7F;
  const char* r = bad.data();
  EXPECT_EQ(-1, back.GetStream(r, bad.size()));
  bad = buffer;
  bad.back() = 0x41;
  r = bad.data();
  EXPECT_EQ(-1, back.GetStream(r, bad.size()));
}

TEST(AuthAccount, DiffAndCopies) {
  CEmployeeAuthAccountMgr old_table;
  ASSERT_EQ(1, old_table.Create(8));
  old_table.InsertOneEmployee("a", nullptr, 1, 1);
  old_table.InsertOneEmployee("b", nullptr, 2, 1);
  old_table.InsertOneEmployee("c", nullptr, 3, 1);

  CEmployeeAuthAccountMgr now = old_table;
  EXPECT_TRUE(now == old_table);
  now.FindEmployeeByDid(2)->fname = "Bee";
  now.DeleteEmployeeByDid(3);
  now.InsertOneEmployee("d", nullptr, 4, 1);
  // The copy is independent of the original.
  EXPECT_EQ("", old_table.FindEmployeeByDid(2)->fname);

  std::vector<EMPLOYEE_AUTH_ACCOUNT_INFO> added, changed;
  std::vector<uint64_t> removed;
  EXPECT_NE(0, now.DiffToOther(old_table, &added, &changed, &removed));
  ASSERT_EQ(1u, added.size());
  EXPECT_EQ(4u, added[0].did);
  ASSERT_EQ(1u, changed.size());
  EXPECT_EQ("Bee", changed[0].fname);
  EXPECT_EQ(std::vector<uint64_t>{3}, removed);
  EXPECT_NE(0, now.DiffToOther(old_table));  // null lists are fine
}

}  // namespace
