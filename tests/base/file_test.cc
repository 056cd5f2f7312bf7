#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "base/OrvaFile.h"
#include "gtest/gtest.h"

namespace {

std::string TempPath(const char* name) {
  mkdir(QUARN_TEST_TMP_DIR, 0755);
  return std::string(QUARN_TEST_TMP_DIR) + "/" + name;
}

TEST(OrvaFileTest, WriteReadAndCopyOver) {
  std::string src = TempPath("orva_file_src.dat");
  std::string dst = TempPath("orva_file_dst.dat");
  std::string bytes("new\0content", 11);
  ASSERT_TRUE(Orva::WriteFileAtomic(src.c_str(), bytes.data(), bytes.size()));
  ASSERT_TRUE(Orva::WriteFileAtomic(dst.c_str(), "old", 3));
  EXPECT_NE(0, access((dst + ".tmp").c_str(), F_OK));  // no leftovers

  ASSERT_TRUE(Orva::CopyFileOverwrite(src.c_str(), dst.c_str()));
  std::string read;
  ASSERT_TRUE(Orva::ReadFileToString(dst.c_str(), &read));
  EXPECT_EQ(bytes, read);

  // A missing source leaves the target as it was.
  EXPECT_FALSE(
      Orva::CopyFileOverwrite(TempPath("no_such_file").c_str(), dst.c_str()));
  ASSERT_TRUE(Orva::ReadFileToString(dst.c_str(), &read));
  EXPECT_EQ(bytes, read);

  // An unwritable target fails without touching anything.
  EXPECT_FALSE(Orva::WriteFileAtomic(TempPath("no_dir/x").c_str(), "a", 1));
  read = "kept";
  EXPECT_FALSE(Orva::ReadFileToString(TempPath("no_such_file").c_str(), &read));
  EXPECT_EQ("kept", read);

  // Empty files are files.
  ASSERT_TRUE(Orva::WriteFileAtomic(dst.c_str(), nullptr, 0));
  ASSERT_TRUE(Orva::ReadFileToString(dst.c_str(), &read));
  EXPECT_EQ("", read);
  unlink(src.c_str());
  unlink(dst.c_str());
}

}  // namespace

namespace {

TEST(OrvaFileTest, ReplacingKeepsModeAndFollowsSymbolicLinks) {
  std::string real = TempPath("orva_real.conf");
  std::string link = TempPath("orva_link.conf");
  unlink(link.c_str());
  ASSERT_TRUE(Orva::WriteFileAtomic(real.c_str(), "one", 3));
  ASSERT_EQ(0, chmod(real.c_str(), 0640));
  ASSERT_EQ(0, symlink("orva_real.conf", link.c_str()));  // relative

  ASSERT_TRUE(Orva::WriteFileAtomic(link.c_str(), "two", 3));
  struct stat st;
  ASSERT_EQ(0, lstat(link.c_str(), &st));
  EXPECT_TRUE(S_ISLNK(st.st_mode));  // the link stays a link
  ASSERT_EQ(0, stat(real.c_str(), &st));
  EXPECT_EQ(0640u, st.st_mode & 07777);  // the file keeps its mode
  std::string read;
  ASSERT_TRUE(Orva::ReadFileToString(real.c_str(), &read));
  EXPECT_EQ("two", read);
  unlink(link.c_str());
  unlink(real.c_str());
}

TEST(OrvaFileTest, ReadsOnlyRegularFilesWithinTheLimit) {
  std::string path = TempPath("orva_limit.dat");
  ASSERT_TRUE(Orva::WriteFileAtomic(path.c_str(), "0123456789", 10));
  std::string read = "kept";
  EXPECT_FALSE(Orva::ReadFileToString(path.c_str(), &read, 9));
  EXPECT_EQ(EFBIG, errno);
  EXPECT_TRUE(Orva::ReadFileToString(path.c_str(), &read, 10));
  EXPECT_EQ("0123456789", read);

  read = "kept";
  EXPECT_FALSE(Orva::ReadFileToString(QUARN_TEST_TMP_DIR, &read));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(Orva::ReadFileToString("/dev/null", &read));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ("kept", read);
  EXPECT_EQ(nullptr, Orva::OpenRegularFile(QUARN_TEST_TMP_DIR));
  FILE* file = Orva::OpenRegularFile(path.c_str(), 10);
  ASSERT_NE(nullptr, file);
  fclose(file);
  unlink(path.c_str());
}

}  // namespace
