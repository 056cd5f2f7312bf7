// Loaders handed what is not a configuration file: a directory, a FIFO with
// no writer, a document nested far too deep. Each must fail (not abort, not
// block, not overflow the stack) and accept the real file afterwards.

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "address/CInternetIPRangeTable.h"
#include "appid/CAppSubtypeReader.h"
#include "base/CBaseXMLConfig.h"
#include "base/OrvaFile.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"
#include "faults/fault_subjects.h"
#include "gtest/gtest.h"
#include "objects/CKeyTypeTable.h"
#include "settings/CCtrlStatusMgr.h"
#include "support/TempDir.h"
#include "url/CURL_Type_Finder_Ex.h"

namespace {

using quarn_faults::AllSubjects;
using quarn_faults::ExampleDir;

class HostileLoadTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // One directory per test: ctest runs the tests of a binary in parallel.
    dir_ = quarn_test::MakeTempDir(
        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    directory_ = dir_ + "/a_directory.xml";
    ASSERT_EQ(0, mkdir(directory_.c_str(), 0755));
    fifo_ = dir_ + "/a_fifo.xml";
    ASSERT_EQ(0, mkfifo(fifo_.c_str(), 0644));
    deep_ = dir_ + "/deep.xml";
    std::string text;
    for (int i = 0; i < 100000; ++i) text += "<a>";
    ASSERT_TRUE(Orva::WriteFileAtomic(deep_.c_str(), text.data(), text.size()));
  }
  void TearDown() override { system(("rm -rf '" + dir_ + "'").c_str()); }

  std::string dir_, directory_, fifo_, deep_;
};

TEST_F(HostileLoadTest, EveryXmlLoaderRefusesAndThenAcceptsTheRealFile) {
  for (const quarn_faults::Subject& s : AllSubjects()) {
    SCOPED_TRACE(s.name);
    EXPECT_FALSE(s.load(directory_.c_str()));
    EXPECT_FALSE(s.load(fifo_.c_str()));
    EXPECT_FALSE(s.load(deep_.c_str()));
    EXPECT_FALSE(s.load("/dev/zero"));
    EXPECT_TRUE(s.load(s.example.c_str()));
  }
}

TEST_F(HostileLoadTest, DocumentsInMemoryAreMeasuredToo) {
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  CCtrlStatusMgr status;
  EXPECT_EQ(0, status.LoadFromMem(deep.data(), static_cast<int>(deep.size())));
  CTinyXmlEx doc;
  EXPECT_NE(0, doc.open(deep.data(), static_cast<int>(deep.size())));
  EXPECT_EQ("elements nested too deeply", doc.error());
  // The limit itself still parses.
  std::string limit;
  for (int i = 0; i < 256; ++i) limit += "<a>";
  for (int i = 0; i < 256; ++i) limit += "</a>";
  EXPECT_EQ(0, doc.open(limit.data(), static_cast<int>(limit.size())));
}

TEST_F(HostileLoadTest, DataFileLoadersRefuseWhatIsNotAFile) {
  CKeyTypeTable keys;
  EXPECT_EQ(0, keys.Load_xml(directory_.c_str()));
  EXPECT_EQ(0, keys.Load_ini(directory_.c_str()));
  EXPECT_EQ(0, keys.Load_ini(fifo_.c_str()));
  EXPECT_EQ(0, keys.Load_xml(deep_.c_str()));
  EXPECT_EQ(1, keys.Load_ini((ExampleDir() + "/keywords.txt").c_str()));

  CInternetIPRangeTable ranges;
  EXPECT_EQ(0, ranges.Load_dat(directory_.c_str(), 0, nullptr));
  EXPECT_EQ(0, ranges.Load_ini(directory_.c_str(), 0, nullptr));
  EXPECT_EQ(0, ranges.Load_ini(fifo_.c_str(), 0, nullptr));

  __ST_DB_VERSION_TMP__ version;
  EXPECT_FALSE(CAppSubtypeReader::ReadVersionInfo(directory_.c_str(), version));
  EXPECT_FALSE(CAppSubtypeReader::ReadVersionInfo(deep_.c_str(), version));

  char* buffer = nullptr;
  int length = 0;
  EXPECT_EQ(
      0, CBaseXMLConfig::LoadCryDataFile(directory_.c_str(), buffer, length));
  EXPECT_EQ(nullptr, buffer);

  // Finds nothing, and does not stop the process.
  CURL_Type_Finder_Ex finder;
  finder.LoadURLDB(directory_.c_str(), deep_.c_str(), 1);
}

TEST_F(HostileLoadTest, SignedInStateSkipsAMainFileThatIsNotAFile) {
  // The main file is a directory; the new file beside it is complete.
  std::string state = dir_ + "/state";
  ASSERT_EQ(0, mkdir(state.c_str(), 0755));
  std::string bytes;
  ASSERT_TRUE(Orva::ReadFileToString(
      (ExampleDir() + "/auth_center.dat").c_str(), &bytes));
  ASSERT_TRUE(Orva::WriteFileAtomic((state + "/auth_center_new.dat").c_str(),
                                    bytes.data(), bytes.size()));
  ASSERT_EQ(0, mkdir((state + "/auth_center.dat").c_str(), 0755));
  CMyEmployeeDynamicInfoMgr table;
  ASSERT_EQ(1, table.Create(100, 0));
  EXPECT_EQ(1, table.Load_bin(state.c_str()));
  EXPECT_EQ(4u, table.GetUsedCount());
}

TEST_F(HostileLoadTest, ControlStatusWriteToAPathThatBecameADirectory) {
  std::string path = dir_ + "/ctrl_status.xml";
  std::string bytes;
  ASSERT_TRUE(Orva::ReadFileToString(
      (ExampleDir() + "/ctrl_status.xml").c_str(), &bytes));
  ASSERT_TRUE(Orva::WriteFileAtomic(path.c_str(), bytes.data(), bytes.size()));
  CCtrlStatusMgr status;
  ASSERT_EQ(1, status.LoadFromFile(path.c_str()));
  ASSERT_EQ(0, unlink(path.c_str()));
  ASSERT_EQ(0, mkdir(path.c_str(), 0755));
  EXPECT_EQ(0, status.WriteCtrlStatus("audit_level", 3));
  struct stat st;
  ASSERT_EQ(0, stat(path.c_str(), &st));
  EXPECT_TRUE(S_ISDIR(st.st_mode));
}

}  // namespace
