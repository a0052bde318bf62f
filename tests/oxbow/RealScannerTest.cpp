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
#include <fstream>
#include <iterator>
#include <numeric>
#include <tuple>

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

TEST_F(RealScanner, TheDemonstrationNamesTheFolderThatItCannotUse) {
    ::setenv("TMPDIR", house_.file("absent").c_str(), 1);
    const Finished demo = house_.run({"demo"});
    ::unsetenv("TMPDIR");
    EXPECT_EQ(demo.status, 4);
    EXPECT_THAT(demo.error, HasSubstr(house_.file("absent/oxbow-demo-")));
    EXPECT_THAT(demo.error, HasSubstr("No such file or directory"));
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

/// Whatever the real decoder does with a bad movie, the verdict tells it and nothing found is lost.
class RealScannerOnBadMovies : public RealScanner {
protected:
    json scanned(const std::string& movie, int status,
                 const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments = {"scan", "--json", movie};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Finished scan = house_.run(arguments);
        EXPECT_EQ(scan.status, status) << scan.error << scan.output;
        return json::parse(scan.output);
    }
    /// 100 frames, all of them too black in a spot.
    std::string codedMovie(const std::string& name, const std::vector<std::string>& codec) {
        std::vector<int> all(100);
        std::iota(all.begin(), all.end(), 0);
        std::vector<std::string> arguments = {"-i", movieWithBlackSpots("25:1", 100, all)};
        arguments.insert(arguments.end(), codec.begin(), codec.end());
        arguments.push_back(house_.file(name));
        runFfmpeg(arguments);
        return house_.file(name);
    }
    static std::string bytesOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string write(const std::string& name, const std::string& bytes) {
        std::ofstream(house_.file(name), std::ios::binary) << bytes;
        return house_.file(name);
    }
};

TEST_F(RealScannerOnBadMovies, ACutMovieIsIncompleteAndKeepsItsFaults) {
    const std::string whole =
        bytesOf(codedMovie("whole.mov", {"-c:v", "ffv1", "-movflags", "+faststart"}));
    const json document = scanned(write("cut.mov", whole.substr(0, whole.size() / 2)), 2);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["frames"]["expected"], 100);
    EXPECT_GT(document["frames"]["reported"], 20);
    // One of every frame, and what the half frame at the end shows besides.
    EXPECT_GE(document["faults"].size(), document["frames"]["reported"]);
    EXPECT_FALSE(document["error"].is_null());
}

TEST_F(RealScannerOnBadMovies, DamagedPictureDataIsIncomplete) {
    std::string bytes = bytesOf(codedMovie("whole.avi", {"-c:v", "ffv1"}));
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 20, '\x5A');
    const json document = scanned(write("damaged.avi", bytes), 2);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_GT(document["frames"]["reported"], 90);
    EXPECT_FALSE(document["error"].is_null());
}

TEST_F(RealScannerOnBadMovies, AMovieWithSoundOnlyIsCleanAndHasNoFrames) {
    runFfmpeg({"-f", "lavfi", "-i", "sine=d=1", "-c:a", "pcm_s16le", house_.file("sound.mov")});
    const json document = scanned(house_.file("sound.mov"), 0);
    EXPECT_EQ(document["complete"], true);
    EXPECT_EQ(document["frames"]["reported"], 0);
}

TEST_F(RealScannerOnBadMovies, TheSmallestAndShortestMoviesAreScanned) {
    for (const auto& [width, height, frames] :
         {std::tuple{1, 1, 1}, std::tuple{16, 16, 1}, std::tuple{16, 16, 0}}) {
        writeY4m(house_.file("small.y4m"), width, height, frames, "25:1", [](int, TestPicture&) {});
        for (const char* depth : {"8", "10"}) {
            const json document =
                scanned(house_.file("small.y4m"), 0, {"--depth", depth, "--aspect", "2.39"});
            EXPECT_EQ(document["frames"]["reported"], frames);
            EXPECT_EQ(document["complete"], true);
        }
    }
}

TEST_F(RealScannerOnBadMovies, AFlashLengthBeyondEveryMovieIsScanned) {
    const json document = scanned(house_.movie(), 0, {"--flash-length", "4611686018427387904"});
    EXPECT_EQ(document["frames"]["reported"], 4);
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
                        {house_.pythonParent(), "--scanner", house_.file("bin/OxbowGlint"), movie},
                        house_.file("python.out"), house_.file("python.err"), {});
    const Finished scan = parent.wait();
    EXPECT_EQ(scan.status, 1) << scan.error;
    EXPECT_THAT(scan.output, HasSubstr("note: init\n"));
    EXPECT_THAT(scan.output, HasSubstr("frame 5  00:00:00:05  Blacks too low - 2 (16, "));
    EXPECT_THAT(scan.output, HasSubstr("20 frames, 2 faults\n"));
}

TEST_F(RealScanner, TheParentInPythonSaysWhenAMovieCannotBeScanned) {
    OxbowProcess parent("/usr/bin/python3",
                        {house_.pythonParent(), "--scanner", house_.file("bin/OxbowGlint"),
                         house_.file("missing.mov")},
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
        {house.pythonParent(), "--scanner", house.file("bin/OxbowGlint"), house.movie()},
        house.file("python.out"), house.file("python.err"), {});
    const Finished refused = parent.wait();
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.error, "This movie is being scanned already.\n");
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(ParentInPython, AndOxbowRespectEachOther) {
    const OxbowHouse house(OxbowHouse::Scanner::kFake);
    house.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    const std::vector<std::string> arguments = {house.pythonParent(), "--scanner",
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
