// Saves that cannot complete: onto a device, past a file size limit, into
// a directory the process may not write. Each save reports failure (where
// its result depends on the write) and the previous file stays byte for
// byte, with no temporary file left beside it.

#include <dirent.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <set>
#include <string>

#include "base/CBaseXMLConfig.h"
#include "base/OrvaFile.h"
#include "employee/CMyEmployeeDynamicInfoMgr.h"
#include "faults/fault_subjects.h"
#include "gtest/gtest.h"
#include "settings/CCtrlStatusMgr.h"
#include "support/TempDir.h"

namespace {

using quarn_faults::AllSubjects;
using quarn_faults::ExampleDir;
using quarn_faults::Subject;

std::string Read(const std::string& path) {
  std::string bytes;
  EXPECT_TRUE(Orva::ReadFileToString(path.c_str(), &bytes)) << path;
  return bytes;
}

void Write(const std::string& path, const std::string& bytes) {
  ASSERT_TRUE(Orva::WriteFileAtomic(path.c_str(), bytes.data(), bytes.size()));
}

std::set<std::string> Listing(const std::string& dir) {
  std::set<std::string> names;
  DIR* d = opendir(dir.c_str());
  if (d == nullptr) return names;
  while (dirent* e = readdir(d)) {
    std::string name = e->d_name;
    if (name != "." && name != "..") names.insert(name);
  }
  closedir(d);
  return names;
}

// Runs `body` in a child process and returns the text it produced; the
// faults it sets up (limits, identity) die with the child.
std::string InChild(const std::function<std::string()>& body) {
  int fds[2];
  if (pipe(fds) != 0) return "pipe failed";
  pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    std::string out = body();
    ssize_t ignored = write(fds[1], out.data(), out.size());
    (void)ignored;
    _exit(0);
  }
  close(fds[1]);
  std::string out;
  char chunk[256];
  ssize_t n;
  while ((n = read(fds[0], chunk, sizeof(chunk))) > 0) out.append(chunk, n);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  return out;
}

class FailedSaveTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // One directory per test: ctest runs the tests of a binary in parallel.
    dir_ = quarn_test::MakeTempDir(
        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    // Every target starts as a copy of a real file, larger than the limit
    // below, which a failed save must leave as it is.
    for (const Subject& s : AllSubjects()) {
      if (s.save) Write(Target(s), Read(s.example));
    }
    std::string state = Read(ExampleDir() + "/auth_center.dat");
    Write(dir_ + "/auth_center.dat", state);
    Write(dir_ + "/auth_center_new.dat", state);
    Write(dir_ + "/data.dat", std::string(300, 'd'));
    Write(dir_ + "/ctrl_status_inplace.xml",
          Read(ExampleDir() + "/ctrl_status.xml"));
    before_ = Snapshot();
  }
  void TearDown() override {
    chmod(dir_.c_str(), 0755);
    system(("rm -rf '" + dir_ + "'").c_str());
  }

  std::string Target(const Subject& s) const {
    return dir_ + "/" + s.name + ".xml";
  }

  // One character per save: '1' reported success, '0' failure.
  std::string SaveEverything() const {
    std::string results;
    for (const Subject& s : AllSubjects()) {
      if (s.save) results += s.save(Target(s).c_str()) ? '1' : '0';
    }
    CMyEmployeeDynamicInfoMgr table;
    table.Create(100, 0);
    table.Load_bin(ExampleDir().c_str());
    results += table.Save_bin(dir_.c_str()) ? '1' : '0';
    std::string data(1000, 'x');
    results += CBaseXMLConfig::SaveCryDataFile((dir_ + "/data.dat").c_str(),
                                               data.data(), 1000)
                   ? '1'
                   : '0';
    CCtrlStatusMgr status;
    status.LoadFromFile((dir_ + "/ctrl_status_inplace.xml").c_str());
    results += status.WriteCtrlStatus("padding", 1) ? '1' : '0';
    return results;
  }

  // What SaveEverything() returns when every write fails.
  static std::string AllFailed() {
    std::string results;
    for (const Subject& s : AllSubjects()) {
      if (s.save) results += s.save_always_succeeds ? '1' : '0';
    }
    return results + "000";
  }

  std::string Snapshot() const {
    std::string all;
    for (const std::string& name : Listing(dir_)) {
      all += name + "\n" + Read(dir_ + "/" + name) + "\n";
    }
    return all;
  }

  std::string dir_;
  std::string before_;
};

TEST_F(FailedSaveTest, WritesCutByAFileSizeLimitKeepThePreviousFiles) {
  std::string results = InChild([this]() {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 100;
    setrlimit(RLIMIT_FSIZE, &limit);
    return SaveEverything();
  });
  EXPECT_EQ(AllFailed(), results);
  EXPECT_EQ(before_, Snapshot());  // same names, same bytes
}

TEST_F(FailedSaveTest, ReadOnlyDirectoryKeepsThePreviousFiles) {
  ASSERT_EQ(0, chmod(dir_.c_str(), 0555));
  std::string results = InChild([this]() -> std::string {
    // Root may write anywhere: give the saves an identity that may not.
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
      return "skip";
    }
    if (access(dir_.c_str(), W_OK) == 0) return "skip";
    return SaveEverything();
  });
  if (results == "skip") GTEST_SKIP() << "cannot make the directory read-only";
  EXPECT_EQ(AllFailed(), results);
  EXPECT_EQ(before_, Snapshot());
}

TEST_F(FailedSaveTest, DevicesAreNeverReplaced) {
  for (const Subject& s : AllSubjects()) {
    if (!s.save) continue;
    SCOPED_TRACE(s.name);
    EXPECT_EQ(s.save_always_succeeds, s.save("/dev/full"));
    struct stat st;
    ASSERT_EQ(0, stat("/dev/full", &st));
    EXPECT_TRUE(S_ISCHR(st.st_mode));
  }
  EXPECT_FALSE(Orva::WriteFileAtomic("/dev/null", "x", 1));
  EXPECT_EQ(0, CBaseXMLConfig::SaveCryDataFile("/dev/full", "x", 1));
  // A directory as the target is refused, and stays a directory.
  EXPECT_FALSE(Orva::WriteFileAtomic(dir_.c_str(), "x", 1));
  EXPECT_EQ(before_, Snapshot());
}

TEST_F(FailedSaveTest, SuccessfulSavesLeaveNothingBeside) {
  std::string results = SaveEverything();
  EXPECT_EQ(std::string(results.size(), '1'), results);
  std::set<std::string> after = Listing(dir_);
  std::set<std::string> names;
  for (const Subject& s : AllSubjects()) {
    if (s.save) names.insert(s.name + ".xml");
  }
  names.insert({"auth_center.dat", "auth_center_new.dat", "data.dat",
                "ctrl_status_inplace.xml"});
  EXPECT_EQ(names, after);
}

}  // namespace
