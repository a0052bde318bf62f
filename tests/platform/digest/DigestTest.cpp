#include "platform/digest/Digest.h"

#include <array>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>

namespace fw {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::string hexOf(const Digest& digest) {
    std::string text;
    for (const std::byte byte : digest.bytes()) {
        text += fmt::format("{:02x}", std::to_integer<unsigned>(byte));
    }
    return text;
}

std::string hexOf(DigestKind kind, std::string_view text) {
    Digest digest(kind);
    digest.update(bytesOf(text));
    return hexOf(digest);
}

// Published values: RFC 1321, FIPS 180-4 examples.

TEST(DigestTest, OfNothingIsTheDigestOfEmptyInput) {
    EXPECT_EQ(hexOf(Md5Digest()), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(hexOf(Sha1Digest()), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(hexOf(Sha256Digest()),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hexOf(Sha512Digest()),
              "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
              "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e");
}

TEST(DigestTest, OfAbcHasThePublishedValues) {
    EXPECT_EQ(hexOf(DigestKind::kMd5, "abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(hexOf(DigestKind::kSha1, "abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(hexOf(DigestKind::kSha256, "abc"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hexOf(DigestKind::kSha512, "abc"),
              "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
              "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
}

TEST(DigestTest, OfAMillionLettersHasThePublishedValueHoweverTheyCome) {
    const std::string letters(1'000'000, 'a');
    for (const std::size_t step : {1U, 63U, 64U, 65U, 65536U, 1'000'000U}) {
        Sha1Digest digest;
        for (std::size_t i = 0; i < letters.size(); i += step) {
            digest.update(bytesOf(std::string_view(letters).substr(i, step)));
        }
        EXPECT_EQ(hexOf(digest), "34aa973cd4c4daa4f61eeb2bdbad27316534016f") << step;
    }
}

TEST(DigestTest, TakesNoBytesInWithoutAnyChange) {
    Md5Digest digest;
    digest.update(bytesOf("abc"));
    digest.update({});
    EXPECT_EQ(hexOf(digest), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(DigestTest, CanBeReadAnyNumberOfTimesAndGoesOn) {
    Sha256Digest digest;
    digest.update(bytesOf("a"));
    const std::string early = hexOf(digest);
    EXPECT_EQ(hexOf(digest), early);
    digest.update(bytesOf("bc"));
    EXPECT_EQ(hexOf(digest), hexOf(DigestKind::kSha256, "abc"));
    EXPECT_EQ(early, hexOf(DigestKind::kSha256, "a"));
}

TEST(DigestTest, ACopyGoesOnByItself) {
    for (const DigestKind kind :
         {DigestKind::kMd5, DigestKind::kSha1, DigestKind::kSha256, DigestKind::kSha512}) {
        Digest first(kind);
        first.update(bytesOf("a"));
        Digest second = first;
        second.update(bytesOf("b"));
        first.update(bytesOf("c"));
        EXPECT_EQ(hexOf(first), hexOf(kind, "ac"));
        EXPECT_EQ(hexOf(second), hexOf(kind, "ab"));
    }
}

TEST(DigestTest, CanBeAssignedAndMoved) {
    Digest digest(DigestKind::kMd5);
    Digest other(DigestKind::kSha1);
    other.update(bytesOf("abc"));
    digest = other;
    other.update(bytesOf("d"));
    EXPECT_EQ(hexOf(digest), hexOf(DigestKind::kSha1, "abc"));
    const Digest moved = std::move(digest);
    EXPECT_EQ(hexOf(moved), hexOf(DigestKind::kSha1, "abc"));
}

} // namespace
} // namespace fw
