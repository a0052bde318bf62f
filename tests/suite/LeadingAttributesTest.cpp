#include "support/files/leadingAttributes.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

const FileAttributes kAll{.creationDate = FileAttributes::Date(std::chrono::nanoseconds(1)),
                          .modificationDate = FileAttributes::Date(std::chrono::nanoseconds(2)),
                          .isExtensionHidden = true,
                          .creatorCode = 3,
                          .typeCode = 4};

TEST(LeadingAttributes, AreAllWhereNoneIsMissing) {
    EXPECT_EQ(leadingAttributes(kAll), kAll);
    EXPECT_EQ(leadingAttributes({}), FileAttributes());
}

TEST(LeadingAttributes, EndAtTheFirstThatIsMissingDeliberately) {
    FileAttributes from = kAll;
    from.creationDate.reset();
    EXPECT_EQ(leadingAttributes(from), FileAttributes());

    FileAttributes expected;
    expected.creationDate = kAll.creationDate;
    from = kAll;
    from.modificationDate.reset();
    EXPECT_EQ(leadingAttributes(from), expected);

    expected.modificationDate = kAll.modificationDate;
    from = kAll;
    from.isExtensionHidden.reset();
    EXPECT_EQ(leadingAttributes(from), expected);

    expected.isExtensionHidden = kAll.isExtensionHidden;
    from = kAll;
    from.creatorCode.reset();
    EXPECT_EQ(leadingAttributes(from), expected);

    expected.creatorCode = kAll.creatorCode;
    from = kAll;
    from.typeCode.reset();
    EXPECT_EQ(leadingAttributes(from), expected);
}

} // namespace
} // namespace fw
