#include "platform/elevation/SecretText.h"

#include "tests/support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <string>
#include <utility>

namespace fw {
namespace {

// The sanitizers lock no memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLocksMemory = false;
#else
constexpr bool kLocksMemory = true;
#endif

std::string linesOf(const SecretText& secret, int count) {
    const auto pipe = secret.asLines(count);
    EXPECT_TRUE(pipe);
    std::string text;
    std::array<char, 4096> block;
    for (ssize_t length = 1; length > 0;) {
        length = ::read(pipe.value().get(), block.data(), block.size());
        text.append(block.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    }
    return text;
}

/// How many pieces of this process's memory are locked and in no core dump.
int lockedMappings() {
    std::ifstream maps("/proc/self/smaps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        const bool isLocked = line.starts_with("VmFlags:") &&
                              line.find(" lo") != std::string::npos &&
                              line.find(" dd") != std::string::npos;
        count += isLocked ? 1 : 0;
    }
    return count;
}

TEST(SecretText, IsGivenAsLinesAndThenEnds) {
    const auto secret = SecretText::kept(" pass\xFFword ");
    ASSERT_TRUE(secret);
    EXPECT_EQ(linesOf(secret.value(), 1), " pass\xFFword \n");
    EXPECT_EQ(linesOf(secret.value(), 2), " pass\xFFword \n pass\xFFword \n");
    EXPECT_EQ(linesOf(secret.value(), 1), " pass\xFFword \n");
}

TEST(SecretText, MayBeEmptyOrAsLongAsAPasswordCanBe) {
    EXPECT_EQ(linesOf(SecretText::kept("").value(), 2), "\n\n");
    const std::string longest(SecretText::kLongest, 'x');
    EXPECT_EQ(linesOf(SecretText::kept(longest).value(), 4).size(), 4 * (longest.size() + 1));
}

TEST(SecretText, IsNoTextThatCannotBeALine) {
    const std::string zero("\0", 1);
    for (const std::string& text : {std::string(SecretText::kLongest + 1, 'x'), std::string("\n"),
                                    std::string("a\n"), zero, "a" + zero}) {
        const auto secret = SecretText::kept(text);
        ASSERT_FALSE(secret);
        EXPECT_EQ(secret.error().code, EINVAL);
    }
}

TEST(SecretText, IsNotGivenWhereNoPipeCanBeHad) {
    const SecretText secret = SecretText::kept("password").value();
    rlimit before = {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const auto pipe = secret.asLines(1);
    ::setrlimit(RLIMIT_NOFILE, &before);
    ASSERT_FALSE(pipe);
    EXPECT_EQ(pipe.error().code, EMFILE);
    EXPECT_EQ(linesOf(secret, 1), "password\n");
}

TEST(SecretText, IsGoneWhenItIsWiped) {
    SecretText secret = SecretText::kept("password").value();
    EXPECT_TRUE(secret);
    secret.wipe();
    EXPECT_FALSE(secret);
    secret.wipe();
    EXPECT_FALSE(SecretText());
}

TEST(SecretText, IsInOnePlaceOnly) {
    SecretText first = SecretText::kept("first").value();
    SecretText second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(linesOf(second, 1), "first\n");
    SecretText third = SecretText::kept("third").value();
    third = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_EQ(linesOf(third, 1), "first\n");
    SecretText& same = third;
    third = std::move(same);
    EXPECT_EQ(linesOf(third, 1), "first\n");
}

TEST(SecretText, LiesInMemoryThatIsNeverWrittenToDisk) {
    if (!kLocksMemory) {
        GTEST_SKIP() << "Not under a sanitizer.";
    }
    const int before = lockedMappings();
    {
        SecretText secret = SecretText::kept("password").value();
        EXPECT_EQ(lockedMappings(), before + 1);
        const SecretText moved = std::move(secret);
        EXPECT_EQ(lockedMappings(), before + 1);
    }
    EXPECT_EQ(lockedMappings(), before);
}

TEST(SecretText, IsNotKeptWhereNoMemoryCanBeLocked) {
    if (!kLocksMemory) {
        GTEST_SKIP() << "Not under a sanitizer.";
    }
    const test::WithoutPrivileges user;
    ASSERT_TRUE(user.worked());
    rlimit before = {};
    ::getrlimit(RLIMIT_MEMLOCK, &before);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_MEMLOCK, &none), 0);
    const auto secret = SecretText::kept("password");
    ::setrlimit(RLIMIT_MEMLOCK, &before);
    ASSERT_FALSE(secret);
    EXPECT_TRUE(secret.error().code == EPERM || secret.error().code == ENOMEM);
}

} // namespace
} // namespace fw
