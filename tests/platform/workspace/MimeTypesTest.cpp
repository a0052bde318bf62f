#include "platform/workspace/mimeTypes.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

namespace fw {
namespace {

TEST(MimeTypesTest, ComeFromTheSharedDatabase) {
    EXPECT_EQ(mimeTypeOfExtension("mov"), "video/quicktime");
    EXPECT_EQ(mimeTypeOfExtension("mp4"), "video/mp4");
    EXPECT_EQ(mimeTypeOfExtension("mxf"), "application/mxf");
    EXPECT_EQ(mimeTypeOfExtension("txt"), "text/plain");
    EXPECT_EQ(mimeTypeOfExtension("png"), "image/png");
    EXPECT_EQ(mimeTypeOfExtension("tar.gz"), "application/x-compressed-tar");
}

TEST(MimeTypesTest, CapitalsDoNotMatter) {
    EXPECT_EQ(mimeTypeOfExtension("MOV"), "video/quicktime");
    EXPECT_EQ(mimeTypeOfExtension("Png"), "image/png");
}

TEST(MimeTypesTest, ThereIsNoneForWhatIsNotKnown) {
    for (const std::string& extension :
         {std::string("no-such-extension"), std::string(), std::string("."), std::string("bin/"),
          std::string("/"), std::string("a/txt"), std::string("txt\0", 4), std::string("\0", 1),
          std::string("\xFF\xFE"), std::string("caf\xC3\xA9"), std::string("m\xC3"),
          std::string(100'000, 'x')}) {
        EXPECT_EQ(mimeTypeOfExtension(extension), std::nullopt) << extension.substr(0, 20);
    }
}

TEST(MimeTypesTest, CanBeAskedForFromManyThreads) {
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
        thread = std::jthread([] {
            for (int i = 0; i < 500; ++i) {
                EXPECT_EQ(mimeTypeOfExtension("mov"), "video/quicktime");
                EXPECT_EQ(mimeTypeOfExtension("no-such-extension"), std::nullopt);
            }
        });
    }
}

} // namespace
} // namespace fw
