#include "core/fs/Files.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel::fs {

TEST(FilesTest, AtomicWritesReplaceWhollyAndFailuresAreReported) {
    test::ScratchDirectory scratch;
    const auto target = scratch.path() / "a" / "b" / "cache_version";
    for (const std::string& content : {std::string("a much longer first content"), std::string("x\0y", 3),
                                       std::string(), std::string(3 << 20, 'z')}) {
        ASSERT_TRUE(writeFileAtomically(target, content));
        EXPECT_EQ(readFile(target), content);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target.parent_path()), {}),
              1);  // no leftovers
    EXPECT_EQ(readFile(scratch.path() / "missing"), std::nullopt);
    EXPECT_EQ(readFile(scratch.path()), std::nullopt);
    EXPECT_FALSE(writeFileAtomically(target / "below", "x"));  // parent is a file
    EXPECT_FALSE(writeFileAtomically(scratch.path(), "x"));    // target is a folder
    EXPECT_FALSE(writeFileAtomically("", "x"));
}

}  // namespace zel::fs
