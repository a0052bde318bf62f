#include "platform/folders/standardFolders.h"
#include "platform/folders/folderServices.h"
#include "tests/support/TestHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fw {
namespace {

using Domain = FolderDomainMask;
using Kind = FolderKind;
using testing::ElementsAre;
using testing::IsEmpty;

class StandardFolders : public testing::Test {
protected:
    std::string inHome(const std::string& name) const { return home.file(name); }

    test::TestHome home;
};

TEST_F(StandardFolders, OfTheUserLieInTheHomeFolder) {
    const auto of = [](Kind kind) {
        return standardFolders(kind, Domain::kUser);
    };
    EXPECT_THAT(of(Kind::kApplications), ElementsAre(inHome("Applications")));
    EXPECT_THAT(of(Kind::kAdministrationApplications),
                ElementsAre(inHome("Applications/Utilities")));
    EXPECT_THAT(of(Kind::kDocuments), ElementsAre(inHome("Documents")));
    EXPECT_THAT(of(Kind::kLibrary), ElementsAre(inHome("Library")));
    EXPECT_THAT(of(Kind::kCaches), ElementsAre(inHome("Library/Caches")));
    EXPECT_THAT(of(Kind::kApplicationSupport), ElementsAre(inHome("Library/Application Support")));
    EXPECT_THAT(of(Kind::kMovies), ElementsAre(inHome("Movies")));
    EXPECT_THAT(of(Kind::kDesktop), ElementsAre(inHome("Desktop")));
    EXPECT_THAT(of(Kind::kDocumentation), IsEmpty());
}

TEST_F(StandardFolders, OfTheMachineLieBelowItsRoot) {
    const auto of = [](Kind kind) {
        return standardFolders(kind, Domain::kLocal);
    };
    EXPECT_THAT(of(Kind::kApplications), ElementsAre("/Applications"));
    EXPECT_THAT(of(Kind::kAdministrationApplications), ElementsAre("/Applications/Utilities"));
    EXPECT_THAT(of(Kind::kDocuments), IsEmpty());
    EXPECT_THAT(of(Kind::kLibrary), ElementsAre("/Library"));
    EXPECT_THAT(of(Kind::kCaches), ElementsAre("/Library/Caches"));
    EXPECT_THAT(of(Kind::kApplicationSupport), ElementsAre("/Library/Application Support"));
    EXPECT_THAT(of(Kind::kMovies), IsEmpty());
    EXPECT_THAT(of(Kind::kDesktop), IsEmpty());
    EXPECT_THAT(of(Kind::kDocumentation), ElementsAre("/Library/Documentation"));
}

TEST_F(StandardFolders, OfTheSystemAreItsLibraryAlone) {
    EXPECT_THAT(standardFolders(Kind::kLibrary, Domain::kSystem), ElementsAre("/usr/lib"));
    for (const Kind kind :
         {Kind::kApplications, Kind::kAdministrationApplications, Kind::kDocuments, Kind::kCaches,
          Kind::kApplicationSupport, Kind::kMovies, Kind::kDesktop, Kind::kDocumentation}) {
        EXPECT_THAT(standardFolders(kind, Domain::kSystem), IsEmpty());
    }
}

TEST_F(StandardFolders, OfSeveralDomainsComeInTheOrderUserLocalSystem) {
    EXPECT_THAT(standardFolders(Kind::kLibrary, Domain::kSystem | Domain::kLocal | Domain::kUser),
                ElementsAre(inHome("Library"), "/Library", "/usr/lib"));
    EXPECT_THAT(standardFolders(Kind::kMovies, Domain::kLocal | Domain::kUser),
                ElementsAre(inHome("Movies")));
}

TEST_F(StandardFolders, OfUnknownKindsAndDomainsAreNone) {
    EXPECT_THAT(standardFolders(static_cast<Kind>(1'000), Domain::kUser), IsEmpty());
    EXPECT_THAT(standardFolders(Kind::kLibrary, static_cast<Domain>(0)), IsEmpty());
    EXPECT_THAT(standardFolders(Kind::kLibrary, static_cast<Domain>(1U << 31U)), IsEmpty());
}

TEST_F(StandardFolders, OfTheSuperuserLieUnderVarRoot) {
    setFolderServices({.realUserId = [] { return 0U; }, .search = {}});
    EXPECT_THAT(standardFolders(Kind::kLibrary, Domain::kUser), ElementsAre("/var/root/Library"));
    EXPECT_THAT(standardFolders(Kind::kLibrary, Domain::kLocal), ElementsAre("/Library"));
}

TEST_F(StandardFolders, AnUnknownHomeHasNoFolders) {
    const test::ScopedEnvironment noHome("HOME", std::nullopt);
    EXPECT_THAT(standardFolders(Kind::kLibrary, Domain::kUser | Domain::kLocal),
                ElementsAre("/Library"));
}

TEST_F(StandardFolders, OfAHomeWithASlashAtItsEndHaveOneSlashBetween) {
    const test::ScopedEnvironment slash("HOME", "/home/somebody/");
    EXPECT_THAT(standardFolders(Kind::kLibrary, Domain::kUser),
                ElementsAre("/home/somebody/Library"));
}

} // namespace
} // namespace fw
