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
