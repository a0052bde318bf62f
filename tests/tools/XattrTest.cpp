#include "platform/files/ExtendedAttributes.h"
#include "tests/support/FileText.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/xattr.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;

constexpr const char* kName = "com.apple.progress.fractionCompleted";
constexpr const char* kUsage =
    "xattr: usage: xattr -d NAME PATH | -p NAME PATH | -w NAME VALUE PATH\n";

ProgramRun xattr(const std::vector<std::string>& arguments) {
    return programRun(FW_TOOL_XATTR, arguments);
}

class XattrTest : public testing::Test {
protected:
    std::string made(const std::string& name) const {
        writeText(folder_.file(name), "x");
        return folder_.file(name);
    }

    TemporaryFolder folder_;
};

TEST_F(XattrTest, WritesPrintsAndRemovesAnAttribute) {
    const std::string file = made("a");
    EXPECT_EQ(xattr({"-w", kName, "0.250", file}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(extendedAttribute(file, kName).value(), "0.250");
    EXPECT_EQ(xattr({"-p", kName, file}), (ProgramRun{0, "0.250\n", ""}));
    EXPECT_EQ(xattr({"-d", kName, file}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(extendedAttribute(file, kName).error().code, ENODATA);
}

TEST_F(XattrTest, TheAttributeStandsInTheNameSpaceOfUsers) {
    const std::string file = made("a");
    EXPECT_EQ(xattr({"-w", kName, "v", file}).status, 0);
    const std::string onDisk = std::string("user.").append(kName);
    EXPECT_EQ(::getxattr(file.c_str(), onDisk.c_str(), nullptr, 0), 1);
}

TEST_F(XattrTest, WritesOverWhatWasThere) {
    const std::string file = made("a");
    EXPECT_EQ(xattr({"-w", kName, "a longer one", file}).status, 0);
    EXPECT_EQ(xattr({"-w", kName, "", file}).status, 0);
    EXPECT_EQ(extendedAttribute(file, kName).value(), "");
}

TEST_F(XattrTest, TakesPathsNamesAndValuesOfAnyBytes) {
    for (const std::string& name : {std::string("\xFF\xFE"), std::string("caf\xC3\xA9 100%@"),
                                    std::string("-d"), std::string(255, 'n')}) {
        const std::string file = made(name);
        EXPECT_EQ(xattr({"-w", "\xC3\xA9", "-p \xFF", file}).status, 0);
        EXPECT_EQ(xattr({"-p", "\xC3\xA9", file}).output, "-p \xFF\n");
    }
    ASSERT_EQ(::chdir(folder_.path().c_str()), 0);
    EXPECT_EQ(xattr({"-p", "\xC3\xA9", "-d"}).output, "-p \xFF\n") << "a path that is no option";
    EXPECT_EQ(::chdir("/"), 0);
}

TEST_F(XattrTest, SaysWhenThereIsNoSuchAttribute) {
    const std::string file = made("a");
    const std::string text = "xattr: " + file + ": No such attribute: n\n";
    EXPECT_EQ(xattr({"-p", "n", file}), (ProgramRun{1, "", text}));
    EXPECT_EQ(xattr({"-d", "n", file}), (ProgramRun{1, "", text}));
}

TEST_F(XattrTest, SaysWhenThereIsNoSuchFile) {
    const std::string file = folder_.file("missing");
    const std::string text = "xattr: " + file + ": No such file or directory\n";
    EXPECT_EQ(xattr({"-p", "n", file}), (ProgramRun{1, "", text}));
    EXPECT_EQ(xattr({"-d", "n", file}), (ProgramRun{1, "", text}));
    EXPECT_EQ(xattr({"-w", "n", "v", file}), (ProgramRun{1, "", text}));
}

TEST_F(XattrTest, SaysWhenTheAttributeCannotBe) {
    const ProgramRun run = xattr({"-w", std::string(256, 'n'), "v", made("a")});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "xattr: " + folder_.file("a") + ": Numerical result out of range\n");
    const ProgramRun unsupported = xattr({"-w", "n", "v", "/proc/self/comm"});
    EXPECT_EQ(unsupported.status, 1);
}

TEST_F(XattrTest, OtherArgumentsAreRefused) {
    const std::string file = made("a");
    using Arguments = std::vector<std::string>;
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"-w"}, Arguments{"-w", "n", file}, Arguments{"-d", file},
          Arguments{"-d", "n", file, file}, Arguments{"-l", file}, Arguments{"-p", "n"},
          Arguments{"-w", "n", "v", file, file}, Arguments{"", "n", file}}) {
        EXPECT_EQ(xattr(arguments), (ProgramRun{64, "", kUsage}));
    }
}

} // namespace
} // namespace fw
