#include "support/files/SourceChunks.h"

#include "support/files/checksumText.h"
#include "tests/suite/FailingMemory.h"
#include "tests/suite/FileTest.h"
#include "tests/support/RoomForThreads.h"

#include <algorithm>
#include <gtest/gtest.h>

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

TEST(SourceChunks, WithoutAThreadTheCallerMakesTheDigest) {
    const std::string text = test::someBytes(20 * kChunk);
    std::string checksum;
    {
        const test::RoomForThreads room(0);
        EXPECT_THROW(std::thread([] {}).join(), std::system_error);
        SourceChunks chunks(Sha1Digest(), text.size());
        feed(chunks, text);
        checksum = checksumText(*chunks.digest());
    }
    EXPECT_EQ(checksum, checksumOf(text));
}

} // namespace
} // namespace fw
