#include "core/fs/Files.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace zel::fs {
namespace {

TEST(FilesTest, AtomicWriteCreatesParentsAndReplacesWholly) {
    test::ScratchDirectory scratch;
    const auto target = scratch.path() / "a" / "b" / "cache_version";
    ASSERT_TRUE(writeFileAtomically(target, "a much longer first content"));
    ASSERT_TRUE(writeFileAtomically(target, std::string("x\0y", 3)));
    EXPECT_EQ(readFile(target), std::string("x\0y", 3));
    ASSERT_TRUE(writeFileAtomically(target, ""));
    EXPECT_EQ(readFile(target), "");
    // No temporary file is left behind.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target.parent_path()), {}), 1);

    const std::string big(3 << 20, 'z');
    ASSERT_TRUE(writeFileAtomically(target, big));
    EXPECT_EQ(readFile(target), big);
}

TEST(FilesTest, FailuresAreReportedNotThrown) {
    test::ScratchDirectory scratch;
    EXPECT_EQ(readFile(scratch.path() / "missing"), std::nullopt);
    EXPECT_EQ(readFile(scratch.path()), std::nullopt);
    ASSERT_TRUE(writeFileAtomically(scratch.path() / "file", "f"));
    EXPECT_FALSE(writeFileAtomically(scratch.path() / "file" / "below", "x"));  // parent is a file
    EXPECT_FALSE(writeFileAtomically(scratch.path(), "x"));                     // target is a folder
    EXPECT_FALSE(writeFileAtomically("", "x"));
    EXPECT_EQ(readFile(scratch.path() / "file"), "f");
}

}  // namespace
}  // namespace zel::fs
