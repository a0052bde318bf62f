#include "platform/connection/SocketPath.h"
#include "platform/connection/ConnectionName.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(ConnectionName, TakesThePathAsItStands) {
    EXPECT_EQ(connectionNameForMovie("./a b/../Füße@%.mov"), "Oxbow - ./a b/../Füße@%.mov");
}

TEST(SocketPath, StemIsTheFirst40DigitsOfTheSha256OfTheName) {
    // SHA-256 of "abc" is the example of FIPS 180-4.
    EXPECT_EQ(socketFileStem("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a3");
    EXPECT_EQ(socketFileStem(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4");
}

TEST(SocketPath, LiesInTheFolderOxbowOfTheRuntimeFolder) {
    EXPECT_EQ(socketPath({"/run/user/1000", false}, "00ff"), "/run/user/1000/oxbow/00ff.sock");
}

TEST(SocketPath, MayHave107BytesAndNoMore) {
    const std::string stem(40, 'a');
    const std::size_t overhead = std::string("/oxbow/").size() + 45;
    const RuntimeFolder fits{std::string(107 - overhead, 'r'), false};
    const RuntimeFolder tooLong{std::string(108 - overhead, 'r'), false};
    ASSERT_TRUE(socketPath(fits, stem).has_value());
    EXPECT_EQ(socketPath(fits, stem)->size(), 107U);
    EXPECT_FALSE(socketPath(tooLong, stem).has_value());
}

} // namespace
} // namespace fw
