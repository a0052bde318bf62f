#include "platform/connection/ConnectionName.h"
#include "platform/connection/SocketPath.h"
#include "platform/connection/UnixSocket.h"
#include "tests/oxbow/OxbowProcess.h"
#include "tests/support/TestMovie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <filesystem>

namespace fw::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

/// oxbow and OxbowGlint as users have them.
class RealScanner : public testing::Test {
protected:
    ~RealScanner() override { EXPECT_TRUE(house_.isCleanedUp()); }

    /// A grey movie in which each of some frames is too black in a spot of 16 samples.
    std::string movieWithBlackSpots(const std::string& rate, int frames,
                                    const std::vector<int>& spotted) {
        const std::string path = house_.file("spots.y4m");
        writeY4m(path, 64, 32, frames, rate, [&](int frame, TestPicture& picture) {
            picture.fillLuma(0, 0, picture.width, picture.height, 100);
            if (std::find(spotted.begin(), spotted.end(), frame) != spotted.end()) {
                picture.fillLuma(8, 8, 4, 4, 2);
            }
        });
        return path;
    }

    std::vector<int> framesWithFaults(const std::vector<std::string>& arguments) {
        const Finished scan = house_.run(arguments);
        EXPECT_TRUE(scan.status == 0 || scan.status == 1) << scan.error << scan.output;
        std::vector<int> frames;
        const json document = json::parse(scan.output);
        for (const json& fault : document["faults"]) {
            frames.push_back(fault["frame"]);
        }
        return frames;
    }

    OxbowHouse house_{OxbowHouse::Scanner::kReal};
};

TEST_F(RealScanner, TheDemonstrationFindsAllItsFaults) {
    const Finished demo = house_.run({"demo"});
    EXPECT_EQ(demo.status, 0) << demo.output << demo.error;
    EXPECT_THAT(demo.output, HasSubstr("All known faults were found, and nothing else.\n"));
}

TEST_F(RealScanner, TheDemonstrationLeavesNothingBehind) {
    const std::string temporary = house_.file("temporary");
    std::filesystem::create_directory(temporary);
    ::setenv("TMPDIR", temporary.c_str(), 1);
    house_.run({"demo"});
    ::unsetenv("TMPDIR");
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

TEST_F(RealScanner, ACleanMovieIsClean) {
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 0) << scan.error << scan.output;
    EXPECT_THAT(scan.output, HasSubstr("Frames: 4 reported"));
}

TEST_F(RealScanner, RangesOfUsualAndOddRatesAreHitExactly) {
    for (const char* rate : {"25:1", "30000:1001", "25:2", "24000:1001", "60000:1001"}) {
        const std::string movie =
            movieWithBlackSpots(rate, 12, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
        for (const auto& [start, end] : {std::pair{1, 2}, std::pair{3, 8}, std::pair{7, 12}}) {
            std::vector<int> expected;
            for (int frame = start; frame < end; ++frame) {
                expected.push_back(frame);
            }
            EXPECT_EQ(framesWithFaults({"scan", "--json", "--no-flash", movie, "--start",
                                        std::to_string(start), "--end", std::to_string(end)}),
                      expected)
                << rate << " from " << start << " to " << end;
        }
    }
}

TEST_F(RealScanner, SecondsAndTimecodesSelectTheirFrames) {
    const std::string movie = movieWithBlackSpots("25:1", 100, {9, 10, 49, 50, 51});
    EXPECT_EQ(framesWithFaults({"scan", "--json", movie, "--start", "0.4s", "--end", "2s"}),
              (std::vector<int>{10, 49}));
    EXPECT_EQ(framesWithFaults({"scan", "--json", movie, "--start", "00:00:02:00"}),
              (std::vector<int>{50, 51}));
}

TEST_F(RealScanner, APathThatIsNotUtf8IsScanned) {
    const std::string path = house_.movieNamed("b\xFF\"%\n@.y4m");
    const Finished scan = house_.run({"scan", "--json", path});
    EXPECT_EQ(scan.status, 0) << scan.error;
    EXPECT_EQ(json::parse(scan.output)["frames"]["reported"], 4);
}

TEST_F(RealScanner, TheParentInPythonScansAMovie) {
    const std::string movie = movieWithBlackSpots("25:1", 20, {5, 6});
    OxbowProcess parent("/usr/bin/python3",
                        {FW_PYTHON_PARENT, "--scanner", house_.file("bin/OxbowGlint"), movie},
                        house_.file("python.out"), house_.file("python.err"), {});
    const Finished scan = parent.wait();
    EXPECT_EQ(scan.status, 1) << scan.error;
    EXPECT_THAT(scan.output, HasSubstr("note: init\n"));
    EXPECT_THAT(scan.output, HasSubstr("frame 5  00:00:00:05  Blacks too low - 2 (16, "));
    EXPECT_THAT(scan.output, HasSubstr("20 frames, 2 faults\n"));
}

TEST_F(RealScanner, TheParentInPythonSaysWhenAMovieCannotBeScanned) {
    OxbowProcess parent(
        "/usr/bin/python3",
        {FW_PYTHON_PARENT, "--scanner", house_.file("bin/OxbowGlint"), house_.file("missing.mov")},
        house_.file("python.out"), house_.file("python.err"), {});
    const Finished scan = parent.wait();
    EXPECT_EQ(scan.status, 3);
    EXPECT_THAT(scan.error, HasSubstr("ERR:Unable to locate file."));
}

TEST(ParentInPython, LeavesALivingSocketAlone) {
    const OxbowHouse house(OxbowHouse::Scanner::kFake);
    std::filesystem::create_directory(house.file("run/oxbow"));
    std::filesystem::permissions(house.file("run/oxbow"), std::filesystem::perms(0700));
    const std::string path = *socketPath({house.file("run"), false},
                                         socketFileStem(connectionNameForMovie(house.movie())));
    const FileDescriptor listener = listenAtSocket(path);
    OxbowProcess parent(
        "/usr/bin/python3",
        {FW_PYTHON_PARENT, "--scanner", house.file("bin/OxbowGlint"), house.movie()},
        house.file("python.out"), house.file("python.err"), {});
    const Finished refused = parent.wait();
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.error, "This movie is being scanned already.\n");
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(ParentInPython, AndOxbowRespectEachOther) {
    const OxbowHouse house(OxbowHouse::Scanner::kFake);
    house.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    const std::vector<std::string> arguments = {FW_PYTHON_PARENT, "--scanner",
                                                house.file("bin/OxbowGlint"), house.movie()};
    OxbowProcess parent("/usr/bin/python3", arguments, house.file("python.out"),
                        house.file("python.err"), {});
    ASSERT_TRUE(comesTrue([&] { return house.scannerProcessId() != 0; }));
    const Finished refused = house.run({"scan", house.movie()});
    EXPECT_EQ(refused.status, 4);
    EXPECT_EQ(refused.error, "oxbow: This movie is being scanned already (process " +
                                 std::to_string(parent.processId()) + ").\n");
    ::kill(house.scannerProcessId(), SIGKILL);
    EXPECT_EQ(parent.wait().status, 2);
    EXPECT_TRUE(house.isCleanedUp());

    const auto oxbow = house.start({"scan", house.movie()});
    ASSERT_TRUE(comesTrue([&] { return oxbow->output().find("frame 0") != std::string::npos; }));
    OxbowProcess second("/usr/bin/python3", arguments, house.file("python.out"),
                        house.file("python.err"), {});
    const Finished refusedToo = second.wait();
    EXPECT_EQ(refusedToo.status, 3);
    EXPECT_EQ(refusedToo.error, "This movie is being scanned already (process " +
                                    std::to_string(oxbow->processId()) + ").\n");
    oxbow->signal(SIGINT);
    EXPECT_EQ(oxbow->wait().status, 2);
}

} // namespace
} // namespace fw::test
