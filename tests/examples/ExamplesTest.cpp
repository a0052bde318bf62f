#include "tests/support/FileText.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace fw::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// Runs the example programs in a home of the test's own.
class ExamplesTest : public testing::Test {
protected:
    ProgramRun run(const std::string& program, const std::vector<std::string>& arguments) const {
        std::filesystem::copy_file(reachable(program), folder_.file("program"),
                                   std::filesystem::copy_options::overwrite_existing);
        return programRun(folder_.file("program"), arguments);
    }
    std::string file(const std::string& name) const { return folder_.file(name); }

private:
    TemporaryFolder folder_;
    ScopedEnvironment home_{"HOME", folder_.path().string()};
};

// Of FIPS 180-4: the digest of "abc".
constexpr const char* kSha256OfAbc =
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class VerifiedCopy : public ExamplesTest {};
class WaveformSvg : public ExamplesTest {};

TEST_F(VerifiedCopy, CopiesToEveryPlaceAndPrintsTheChecksums) {
    writeText(file("a"), "abc");
    const ProgramRun ran = run(FW_VERIFIED_COPY, {file("a"), file("b"), file("new/c")});
    EXPECT_EQ(ran.status, 0) << ran.errors;
    EXPECT_EQ(ran.output, std::string(kSha256OfAbc) + "  " + file("b") + "\n" + kSha256OfAbc +
                              "  " + file("new/c") + "\n");
    EXPECT_THAT(ran.errors, IsEmpty()) << "no line of progress where no terminal is";
    EXPECT_EQ(readText(file("b")), "abc");
    EXPECT_EQ(readText(file("new/c")), "abc");
}

TEST_F(VerifiedCopy, SaysWhyItFails) {
    const ProgramRun ran = run(FW_VERIFIED_COPY, {file("missing"), file("b")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.output, IsEmpty());
    EXPECT_THAT(ran.errors, HasSubstr("Error: File " + file("missing") + " doesn't exist."));
    EXPECT_FALSE(std::filesystem::exists(file("b")));
}

TEST_F(VerifiedCopy, WithoutADestinationTellsItsUse) {
    const ProgramRun ran = run(FW_VERIFIED_COPY, {file("a")});
    EXPECT_EQ(ran.status, 64);
    EXPECT_THAT(ran.errors, StartsWith("usage: "));
}

/// How far each stroke reaches from the middle.
std::vector<double> strokesOf(const std::string& svg) {
    std::vector<double> heights;
    for (std::size_t at = svg.find("M"); at != std::string::npos; at = svg.find("\nM", at + 1)) {
        std::istringstream stroke(svg.substr(at + 1 + (svg[at] == '\n' ? 1 : 0)));
        double column = 0;
        double top = 0;
        double bottom = 0;
        char letter = 0;
        stroke >> column >> top >> letter >> bottom;
        EXPECT_DOUBLE_EQ(column, static_cast<double>(heights.size()) + 0.5);
        EXPECT_NEAR(top + bottom, 200.0, 0.01);
        heights.push_back(bottom - 100.0);
    }
    return heights;
}

TEST_F(WaveformSvg, DrawsASecondOfQuietAndASecondOfLoudSound) {
    runFfmpeg({"-f", "lavfi", "-i", "aevalsrc=if(lt(t\\,1)\\,0.1\\,0.5):s=48000:d=2", "-c:a",
               "pcm_s16le", file("sound.mov")});
    const ProgramRun ran = run(FW_WAVEFORM_SVG, {file("sound.mov"), file("wave.svg")});
    EXPECT_EQ(ran.status, 0) << ran.errors;
    const std::string svg = readText(file("wave.svg"));
    EXPECT_THAT(svg, StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"99\""));
    EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
    const std::vector<double> heights = strokesOf(svg);
    ASSERT_EQ(heights.size(), 99U) << "50 points a second, each of one sample more";
    EXPECT_NEAR(heights[0], 20.0, 0.1);
    EXPECT_NEAR(heights[48], 20.0, 0.1);
    EXPECT_NEAR(heights[51], 100.0, 0.1);
    EXPECT_NEAR(heights[98], 100.0, 0.1);
}

TEST_F(WaveformSvg, AMovieWithoutSoundIsAnError) {
    runFfmpeg({"-f", "lavfi", "-i", "color=s=64x48:d=1", "-c:v", "mjpeg", file("silent.mov")});
    const ProgramRun ran = run(FW_WAVEFORM_SVG, {file("silent.mov"), file("wave.svg")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors,
              "waveform_svg: " + file("silent.mov") + " has no sound that can be decoded\n");
}

TEST_F(WaveformSvg, AFileThatIsNoMovieIsAnError) {
    writeText(file("text.mov"), "This is no movie.");
    const ProgramRun ran = run(FW_WAVEFORM_SVG, {file("text.mov"), file("wave.svg")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors, "waveform_svg: " + file("text.mov") +
                              ": The file is not a movie that can be read, or its start is "
                              "damaged (Invalid data found when processing input).\n");
    EXPECT_FALSE(std::filesystem::exists(file("wave.svg")));
}

TEST_F(WaveformSvg, APlaceThatCannotBeWrittenIsAnError) {
    runFfmpeg({"-f", "lavfi", "-i", "aevalsrc=0.1:s=8000:d=1", file("sound.wav")});
    const ProgramRun ran = run(FW_WAVEFORM_SVG, {file("sound.wav"), file("missing/wave.svg")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, HasSubstr("cannot be written"));
}

} // namespace
} // namespace fw::test
