#include "support/files/SourceChunks.h"

#include "support/files/checksumText.h"
#include "tests/suite/FailingMemory.h"
#include "tests/suite/FileTest.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace fw {
namespace {

using test::kChunk;

constexpr std::uint64_t kBesideTheCopy = 8 * kChunk;

/// Hands over chunks of the text; every one but the last is full.
void feed(SourceChunks& chunks, std::string_view text) {
    while (!text.empty()) {
        const auto room = chunks.room();
        const std::size_t count = std::min(room.size(), text.size());
        std::ranges::copy(std::as_bytes(std::span(text.substr(0, count))), room.begin());
        chunks.take(count);
        text.remove_prefix(count);
    }
}

std::string checksumOf(std::string_view text) {
    Digest digest = Sha1Digest();
    digest.update(std::as_bytes(std::span(text)));
    return checksumText(digest);
}

/// By size of the text and by the size that was expected: the digest is made by the caller or
/// beside it.
class SourceChunksBySize : public testing::TestWithParam<std::tuple<std::size_t, std::uint64_t>> {};

TEST_P(SourceChunksBySize, GivesTheDigestOfWhatItTook) {
    const auto [size, expected] = GetParam();
    const std::string text = test::someBytes(size);
    SourceChunks chunks(Sha1Digest(), expected);
    ASSERT_TRUE(chunks);
    feed(chunks, text);
    EXPECT_EQ(checksumText(*chunks.digest()), checksumOf(text));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, SourceChunksBySize,
    testing::Combine(testing::Values(0U, 1U, kChunk - 1, kChunk, kChunk + 1, 8 * kChunk,
                                     8 * kChunk + 1, 41 * kChunk + 7),
                     testing::Values(0U, kBesideTheCopy - 1, kBesideTheCopy, ~std::uint64_t{0})));

TEST(SourceChunks, TheDigestCanBeAskedForAfterEveryChunk) {
    const std::string text = test::someBytes(30 * kChunk);
    SourceChunks chunks(Sha1Digest(), text.size());
    for (std::size_t taken = 0; taken < text.size(); taken += kChunk) {
        EXPECT_EQ(checksumText(*chunks.digest()), checksumOf(text.substr(0, taken)));
        feed(chunks, text.substr(taken, kChunk));
    }
}

TEST(SourceChunks, ACopyThatIsNotVerifiedHasNoDigest) {
    SourceChunks chunks(std::nullopt, kBesideTheCopy);
    ASSERT_TRUE(chunks);
    feed(chunks, test::someBytes(20 * kChunk));
    EXPECT_FALSE(chunks.digest());
}

TEST(SourceChunks, MayBeGivenUpAtAnyMoment) {
    const std::string text = test::someBytes(20 * kChunk);
    for (std::size_t taken = 0; taken <= text.size(); taken += kChunk) {
        SourceChunks chunks(Sha512Digest(), text.size());
        feed(chunks, text.substr(0, taken));
    }
}

TEST(SourceChunks, WithoutMemoryItIsOfNoUse) {
    for (const int successes : {0, 1, 7}) {
        const test::FailingMemory memory(successes);
        EXPECT_FALSE(SourceChunks(Sha1Digest(), kBesideTheCopy));
    }
}

/// Of a process that can start no thread.
int exitStatusWithoutThreads() {
    constexpr uid_t kNobody = 65534;
    const rlimit none{0, 0};
    if ((::getuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0) ||
        ::setrlimit(RLIMIT_NPROC, &none) != 0) {
        return 1;
    }
    try {
        std::thread([] {}).join();
        return 2;
    } catch (const std::system_error&) {
        const std::string text = test::someBytes(20 * kChunk);
        SourceChunks chunks(Sha1Digest(), text.size());
        feed(chunks, text);
        return checksumText(*chunks.digest()) == checksumOf(text) ? 0 : 3;
    }
}

TEST(SourceChunks, WithoutAThreadTheCallerMakesTheDigest) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusWithoutThreads()), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace fw
