#include "support/FWFileManager.h"

#include <array>
#include <gtest/gtest.h>
#include <thread>

namespace fw {
namespace {

constexpr const char* kUnknown = "application/octet-stream";

TEST(MimeTypeOfFileTest, OfAnExtensionComesFromTheMachine) {
    EXPECT_EQ(FWFileManager::mimeTypeForFileExtension("mov"), "video/quicktime");
    EXPECT_EQ(FWFileManager::mimeTypeForFileExtension("MXF"), "application/mxf");
}

TEST(MimeTypeOfFileTest, AnUnknownExtensionGivesAnOctetStream) {
    for (const char* extension :
         {"", "no-such-extension", ".", "\xFF\xFE", "mov/", "caf\xC3\xA9"}) {
        EXPECT_EQ(FWFileManager::mimeTypeForFileExtension(extension), kUnknown) << extension;
    }
}

TEST(MimeTypeOfFileTest, OfAPathIsThatOfItsExtension) {
    EXPECT_EQ(FWFileManager::mimeTypeForFileAtPath("/missing/a.b.mov"), "video/quicktime");
    EXPECT_EQ(FWFileManager::mimeTypeForFileAtPath("/missing/\xFF.mov/"), "video/quicktime");
    EXPECT_EQ(FWFileManager::mimeTypeForFileAtPath("caf\xC3\xA9.TXT"), "text/plain");
}

TEST(MimeTypeOfFileTest, APathWithoutAnExtensionGivesAnOctetStream) {
    for (const char* path : {"", "/", "/a.mov/b", ".mov", "a.", "a/.mov", "mov", "/a.\xFF"}) {
        EXPECT_EQ(FWFileManager::mimeTypeForFileAtPath(path), kUnknown) << path;
    }
}

TEST(MimeTypeOfFileTest, CanBeAskedForFromManyThreads) {
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
        thread = std::jthread([] {
            for (int i = 0; i < 500; ++i) {
                EXPECT_EQ(FWFileManager::mimeTypeForFileAtPath("/a.mov"), "video/quicktime");
                EXPECT_EQ(FWFileManager::mimeTypeForFileAtPath("/a.unheard-of"), kUnknown);
            }
        });
    }
}

} // namespace
} // namespace fw
