#include "oxbow/DemoMovie.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>

namespace fw {
namespace {

TEST(DemoMovie, IsAHundredUncompressedFrames) {
    test::TemporaryFolder folder;
    writeDemoMovie(folder.file("demo.y4m"));
    std::ifstream file(folder.file("demo.y4m"), std::ios::binary);
    std::string header;
    std::getline(file, header);
    EXPECT_EQ(header, "YUV4MPEG2 W480 H270 F25:1 Ip A1:1 C420mpeg2");
    const std::uintmax_t frameSize = 6 + 480 * 270 * 3 / 2;
    EXPECT_EQ(std::filesystem::file_size(folder.file("demo.y4m")),
              header.size() + 1 + 100 * frameSize);
}

TEST(DemoMovie, APlaceThatCannotBeWrittenIsAnError) {
    const test::TemporaryFolder folder;
    EXPECT_THROW(writeDemoMovie(folder.file("absent/demo.y4m")), std::system_error);
    EXPECT_THROW(writeDemoMovie("/dev/full"), std::system_error);
}

TEST(DemoMovie, HasEveryKindOfFaultInOrder) {
    std::set<FaultKind> kinds;
    for (const KnownFault& fault : demoFaults()) {
        kinds.insert(fault.kind);
        EXPECT_EQ(kindOfMessage(fault.message), fault.kind);
    }
    EXPECT_EQ(kinds, (std::set<FaultKind>{FaultKind::kBlacks, FaultKind::kWhites, FaultKind::kFlash,
                                          FaultKind::kMatte}));
    const auto faults = demoFaults();
    EXPECT_TRUE(std::is_sorted(faults.begin(), faults.end(),
                               [](const auto& a, const auto& b) { return a.frame < b.frame; }));
}

} // namespace
} // namespace fw
