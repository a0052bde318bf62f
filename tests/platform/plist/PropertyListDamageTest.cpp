#include "platform/plist/PropertyListFile.h"

#include "tests/support/FileText.h"
#include "tests/support/LeasedFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <random>

namespace fw {
namespace {

using test::TemporaryFolder;
using test::writeText;

Result<PropertyListDictionary> readBytes(std::string_view bytes) {
    const TemporaryFolder folder;
    writeText(folder.file("list"), bytes);
    return readPropertyList(folder.file("list"));
}

/// Nothing when the bytes are refused as damaged.
testing::AssertionResult isRefused(std::string_view bytes) {
    const auto list = readBytes(bytes);
    if (list) {
        return testing::AssertionFailure() << "read";
    }
    return list.error().domain == "PropertyList"
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << list.error().description;
}

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string all;
    for (const std::string_view part : parts) {
        all += part;
    }
    return all;
}

std::string inPlist(const std::string& element) {
    return joined({"<plist version=\"1.0\">", element, "</plist>"});
}

std::string inDictionary(const std::string& element) {
    return inPlist(joined({"<dict><key>k</key>", element, "</dict>"}));
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

std::string bigEndian(std::uint64_t value, int size) {
    std::string bytes;
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

/// A binary list of these objects, 2-byte offsets and references; the first is the root.
struct BinaryList {
    std::vector<std::string> objects;
    int offsetSize = 2;
    int referenceSize = 2;
    std::uint64_t root = 0;
    std::optional<std::uint64_t> objectCount = std::nullopt;
    std::optional<std::uint64_t> tableStart = std::nullopt;

    std::string bytes() const {
        std::string all = "bplist00";
        std::string table;
        for (const std::string& object : objects) {
            table += bigEndian(all.size(), 2);
            all += object;
        }
        const std::uint64_t start = tableStart.value_or(all.size());
        all += table;
        all += std::string(6, '\0') + static_cast<char>(offsetSize);
        all += static_cast<char>(referenceSize);
        all += bigEndian(objectCount.value_or(objects.size()), 8);
        all += bigEndian(root, 8);
        return all += bigEndian(start, 8);
    }
};

const std::string kTrue = "\x09";
const std::string kKey = "\x51k";

/// A dictionary that holds object 2 under the key of object 1.
std::string dictionaryOfOne() {
    return joined({"\xD1", bigEndian(1, 2), bigEndian(2, 2)});
}

std::string arrayOf(const std::vector<std::uint64_t>& references) {
    std::string bytes(1, static_cast<char>(0xA0 + references.size()));
    for (const std::uint64_t reference : references) {
        bytes += bigEndian(reference, 2);
    }
    return bytes;
}

TEST(PropertyListDamage, TheBinaryListsOfTheseTestsAreSoundWhenNothingIsWrong) {
    const auto list = readBytes(BinaryList{{dictionaryOfOne(), kKey, kTrue}}.bytes());
    ASSERT_TRUE(list);
    EXPECT_EQ(list.value(), (PropertyListDictionary{{"k", {true}}}));
    const auto deep =
        readBytes(BinaryList{{dictionaryOfOne(), kKey, arrayOf({3, 3}), kTrue}}.bytes());
    ASSERT_TRUE(deep);
    EXPECT_EQ(deep.value().at("k"), (PropertyListValue{PropertyListArray{{true}, {true}}}));
}

TEST(PropertyListDamage, EmptyAndShortFilesAreRefused) {
    for (const char* text : {"", " ", "<", "<plist", "<plist>", "<plist/>", "bplist00", "bplist",
                             "<plist></plist>", "{ a = b; }", "{\"a\":1}", "no list at all"}) {
        EXPECT_TRUE(isRefused(text)) << text;
    }
}

TEST(PropertyListDamage, AnotherOutermostValueThanADictionaryIsRefused) {
    EXPECT_TRUE(isRefused(inPlist("<array><true/></array>")));
    EXPECT_TRUE(isRefused(inPlist("<string>x</string>")));
    EXPECT_TRUE(isRefused(inPlist("<array><dict/></array>")));
    EXPECT_TRUE(isRefused(BinaryList{{arrayOf({1}), kTrue}}.bytes()));
    EXPECT_TRUE(isRefused(BinaryList{{kTrue}}.bytes()));
}

TEST(PropertyListDamage, AnXmlFileCutOffAnywhereIsRefused) {
    const std::string whole =
        inPlist("<dict><key>a</key><array><string>b &amp; c</string><data>AAAA</data>"
                "<date>2024-03-01T17:05:09Z</date><integer>-5</integer></array></dict>");
    ASSERT_TRUE(readBytes(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(isRefused(whole.substr(0, length))) << length;
    }
}

TEST(PropertyListDamage, ElementsThatDoNotFitAreRefused) {
    for (const char* element : {"<true>",
                                "</true>",
                                "<true></false>",
                                "<array></dict>",
                                "<unknown/>",
                                "<true/><true/>",
                                "text",
                                "<true/>text",
                                "<string><true/></string>",
                                "<a\"b/>",
                                "<![CDATA[<true/>",
                                "<!-- <true/>",
                                "<true/><!-- --",
                                "<string>&nothing;</string>",
                                "<string>&#0;</string>",
                                "<string>&#x110000;</string>",
                                "<string>&amp</string>",
                                "<integer/>",
                                "<integer>x</integer>",
                                "<integer>1<true/></integer>",
                                "<real>x</real>",
                                "<real/>",
                                "<date/>",
                                "<date>today</date>",
                                "<date>2024-02-30T00:00:00Z</date>",
                                "<integer>99999999999999999999</integer>",
                                "<!DOCTYPE x [<!ENTITY a \"b\">]><true/>"}) {
        EXPECT_TRUE(isRefused(inDictionary(element))) << element;
    }
    EXPECT_TRUE(isRefused(inPlist("<dict><true/></dict>")));
    EXPECT_TRUE(isRefused(inPlist("<dict/>") + inPlist("<dict/><dict/>") + "</x>"));
}

TEST(PropertyListDamage, XmlNestedTooDeepIsRefused) {
    const std::string deep = repeated("<array>", 500) + repeated("</array>", 500);
    EXPECT_TRUE(readBytes(inDictionary(deep)));
    for (const std::size_t depth : {600U, 100'000U}) {
        const std::string open = repeated("<array>", depth);
        EXPECT_TRUE(isRefused(inDictionary(open + repeated("</array>", depth))));
        EXPECT_TRUE(isRefused(inDictionary(open)));
        // Closed where only a careless reader sees it.
        EXPECT_TRUE(isRefused(inDictionary(repeated("<array><!-- </array> -->", depth))));
        EXPECT_TRUE(isRefused(inDictionary(repeated("<array a=\"</array>\">", depth))));
        EXPECT_TRUE(isRefused(inDictionary(repeated("<array><![CDATA[</array>]]>", depth))));
    }
}

TEST(PropertyListDamage, MillionsOfEntitiesInOneTextAreRefused) {
    EXPECT_TRUE(
        isRefused(inDictionary(joined({"<string>", repeated("&amp;", 3'000'000), "</string>"}))));
    const auto list =
        readBytes(inDictionary(joined({"<string>", repeated("&amp;", 10'000), "</string>"})));
    ASSERT_TRUE(list);
    EXPECT_EQ(list.value().at("k"), PropertyListValue{std::string(10'000, '&')});
}

TEST(PropertyListDamage, BinaryListsThatHoldThemselvesAreRefused) {
    EXPECT_TRUE(
        isRefused(BinaryList{{joined({"\xD1", bigEndian(1, 2), bigEndian(0, 2)}), kKey}}.bytes()));
    EXPECT_TRUE(
        isRefused(BinaryList{{dictionaryOfOne(), kKey, arrayOf({3}), arrayOf({2})}}.bytes()));
    EXPECT_TRUE(
        isRefused(BinaryList{{joined({"\xD1", bigEndian(0, 2), bigEndian(1, 2)}), kTrue}}.bytes()));
}

TEST(PropertyListDamage, BinaryListsNestedTooDeepAreRefused) {
    for (const std::uint64_t depth : {600U, 15'000U}) {
        BinaryList list = {{dictionaryOfOne(), kKey}};
        for (std::uint64_t i = 0; i < depth; ++i) {
            list.objects.push_back(arrayOf({i + 3}));
        }
        list.objects.push_back(kTrue);
        EXPECT_TRUE(isRefused(list.bytes())) << depth;
    }
}

TEST(PropertyListDamage, ASmallBinaryListThatUnfoldsWithoutBoundIsRefused) {
    BinaryList list = {{dictionaryOfOne(), kKey}};
    for (std::uint64_t i = 2; i < 60; ++i) {
        list.objects.push_back(arrayOf({i + 1, i + 1}));
    }
    list.objects.push_back(kTrue);
    EXPECT_TRUE(isRefused(list.bytes()));
}

TEST(PropertyListDamage, ABinaryListThatRepeatsLargeDataIsRefused) {
    BinaryList list = {{dictionaryOfOne(), kKey, joined({"\xAF\x11", bigEndian(5000, 2)})}};
    list.objects[2] += repeated(bigEndian(3, 2), 5000);
    list.objects.push_back(joined({"\x4F\x11", bigEndian(50'000, 2), std::string(50'000, 'x')}));
    EXPECT_TRUE(isRefused(list.bytes()));
}

TEST(PropertyListDamage, BinaryTablesThatLieElsewhereAreRefused) {
    const BinaryList sound = {{dictionaryOfOne(), kKey, kTrue}};
    constexpr auto kHuge = std::numeric_limits<std::uint64_t>::max();
    for (const int size : {0, 9, 255}) {
        BinaryList list = sound;
        list.offsetSize = size;
        EXPECT_TRUE(isRefused(list.bytes())) << size;
        list = sound;
        list.referenceSize = size;
        EXPECT_TRUE(isRefused(list.bytes())) << size;
    }
    for (const std::uint64_t number :
         {std::uint64_t{4}, std::uint64_t{1} << 32, std::uint64_t{1} << 63, kHuge / 2 + 2, kHuge}) {
        BinaryList list = sound;
        list.root = number;
        EXPECT_TRUE(isRefused(list.bytes())) << number;
        list = sound;
        list.objectCount = number;
        EXPECT_TRUE(isRefused(list.bytes())) << number;
        list = sound;
        list.tableStart = number;
        EXPECT_TRUE(isRefused(list.bytes())) << number;
    }
    BinaryList none = sound;
    none.objectCount = 0;
    EXPECT_TRUE(isRefused(none.bytes()));
}

TEST(PropertyListDamage, BinaryCountsBeyondTheFileAreRefused) {
    for (const char kind : {'\x4F', '\x5F', '\x6F', '\xAF', '\xCF', '\xDF'}) {
        for (const std::uint64_t count :
             {std::uint64_t{100}, std::uint64_t{1} << 31, std::uint64_t{1} << 62,
              std::uint64_t{1} << 63, std::numeric_limits<std::uint64_t>::max()}) {
            const std::string object = joined({{&kind, 1}, "\x13", bigEndian(count, 8)});
            EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), kKey, object}}.bytes()))
                << static_cast<int>(kind) << " " << count;
        }
    }
    // A count that is no number, and one wider than 64 bits.
    EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), kKey, "\x4F\x51x"}}.bytes()));
    EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), kKey, "\x4F\x1F"}}.bytes()));
}

TEST(PropertyListDamage, TextsWithTheCharacterZeroAreRefused) {
    const std::string ascii("\x53"
                            "a\0b",
                            4);
    const std::string utf16("\x62\0k\0\0", 5);
    const std::string sound("\x62\0k\x01\0", 5); // "kĀ", with a zero byte but no zero character.
    for (const std::string& text : {ascii, utf16}) {
        EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), text, kTrue}}.bytes()));
        EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), kKey, text}}.bytes()));
    }
    EXPECT_TRUE(readBytes(BinaryList{{dictionaryOfOne(), sound, sound}}.bytes()));
    EXPECT_TRUE(isRefused(inDictionary(std::string("<string>a\0b</string>", 20))));
}

TEST(PropertyListDamage, ABinaryDateThatIsNoNumberIsRefused) {
    const std::string nan = joined({"\x33", bigEndian(0x7FF8000000000000, 8)});
    EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), kKey, nan}}.bytes()));
    const std::string huge = joined({"\x33", bigEndian(0x7FE0000000000000, 8)});
    EXPECT_TRUE(isRefused(BinaryList{{dictionaryOfOne(), kKey, huge}}.bytes()));
}

std::string soundBinaryList() {
    const plist_t root = plist_new_dict();
    const plist_t array = plist_new_array();
    plist_array_append_item(array, plist_new_string("text"));
    plist_array_append_item(array, plist_new_string("t\xC3\xA9xt"));
    plist_array_append_item(array, plist_new_data("data", 4));
    plist_array_append_item(array, plist_new_date(1, 2));
    plist_array_append_item(array, plist_new_real(1.5));
    plist_array_append_item(array, plist_new_uint(300));
    plist_array_append_item(array, plist_new_uid(7));
    plist_dict_set_item(root, "array", array);
    plist_dict_set_item(root, "dictionary", plist_new_dict());
    char* start = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &start, &length);
    const std::string bytes(start, length);
    plist_to_bin_free(start);
    plist_free(root);
    return bytes;
}

TEST(PropertyListDamage, ABinaryFileCutOffAnywhereIsRefused) {
    const std::string whole = soundBinaryList();
    ASSERT_TRUE(readBytes(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(isRefused(whole.substr(0, length))) << length;
    }
}

/// Read without harm: a dictionary that can be written and read again, or an error.
void expectHarmless(const std::string& path, const std::string& bytes) {
    writeText(path, bytes);
    const auto list = readPropertyList(path);
    if (list) {
        EXPECT_EQ(writePropertyList(path, list.value()), std::nullopt);
        EXPECT_TRUE(readPropertyList(path));
    } else {
        EXPECT_EQ(list.error().domain, "PropertyList");
    }
}

TEST(PropertyListDamage, NoChangedByteDoesHarm) {
    const TemporaryFolder folder;
    const std::string path = folder.file("list");
    const std::string xml =
        inPlist("<dict><key>a</key><array><string>b &lt; c</string><data>AAAA</data>"
                "<date>2024-03-01T17:05:09Z</date><integer>-5</integer><real>1.5</real>"
                "</array><key>b</key><dict/></dict>");
    for (const std::string& whole : {soundBinaryList(), xml}) {
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (const int change : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
                std::string bytes = whole;
                bytes[i] = static_cast<char>(bytes[i] ^ change);
                expectHarmless(path, bytes);
            }
        }
    }
}

TEST(PropertyListDamage, RandomBytesAndRandomPiecesDoNoHarm) {
    const TemporaryFolder folder;
    const std::string path = folder.file("list");
    std::mt19937 random(20240301);
    const std::vector<std::string> pieces = {"<plist>",      "</plist>",  "<dict>",
                                             "</dict>",      "<array>",   "</array>",
                                             "<key>a</key>", "<key/>",    "<true/>",
                                             "<string>",     "</string>", "<!--",
                                             "-->",          "<![CDATA[", "]]>",
                                             "&amp;",        "<?",        "?>",
                                             "<!",           ">",         "<integer>1</integer>",
                                             "\"",           "/",         "<data>AA=",
                                             "</data>",      " ",         "\0"};
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = round % 2 == 0 ? "bplist00" : "<plist><dict><key>k</key>";
        const auto count = random() % 60;
        for (unsigned i = 0; i < count; ++i) {
            bytes += round % 2 == 0 ? std::string(1, static_cast<char>(random() % 256))
                                    : pieces[random() % pieces.size()];
        }
        if (round % 2 == 0) {
            bytes += std::string(6, '\0') + "\1\1" + bigEndian(random() % 8, 8) +
                     bigEndian(random() % 4, 8) + bigEndian(8 + random() % 60, 8);
        }
        expectHarmless(path, bytes);
    }
}

TEST(PropertyListDamage, AFileUnderALeaseIsWaitedFor) {
    const TemporaryFolder folder;
    writeText(folder.file("list"), soundBinaryList());
    test::LeasedFile lease(folder.file("list"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << test::kNoLeases;
    }
    EXPECT_TRUE(readPropertyList(folder.file("list")));
    EXPECT_TRUE(lease.wasGivenUp());
}

TEST(PropertyListDamage, AMissingFileIsAnErrorInTheSystemsWords) {
    const TemporaryFolder folder;
    const auto list = readPropertyList(folder.file("missing"));
    ASSERT_FALSE(list);
    EXPECT_EQ(list.error(), (Error{"POSIX", ENOENT, "No such file or directory"}));
}

TEST(PropertyListDamage, AFileAboveTheLimitIsNotRead) {
    const TemporaryFolder folder;
    writeText(folder.file("list"), inDictionary("<true/>"));
    std::filesystem::resize_file(folder.file("list"), kLargestPropertyList + 1);
    EXPECT_EQ(readPropertyList(folder.file("list")).error().code, EFBIG);
    std::filesystem::resize_file(folder.file("list"), std::uintmax_t{1} << 40);
    EXPECT_EQ(readPropertyList(folder.file("list")).error().code, EFBIG);
}

TEST(PropertyListDamage, AFileOfExactlyTheLimitIsRead) {
    std::string bytes = inDictionary("<true/>");
    bytes += std::string(kLargestPropertyList - bytes.size(), '\n');
    EXPECT_TRUE(readBytes(bytes));
}

TEST(PropertyListDamage, PipesDevicesAndFoldersAreErrorsAtOnce) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readPropertyList(folder.file("pipe")).error().code, EINVAL);
    EXPECT_EQ(readPropertyList("/dev/zero").error().code, EINVAL);
    EXPECT_EQ(readPropertyList(folder.path().string()).error().code, EISDIR);
}

TEST(PropertyListDamage, AFileWithoutPermissionIsAnError) {
    const TemporaryFolder folder;
    writeText(folder.file("list"), inDictionary("<true/>"));
    ::chmod(folder.file("list").c_str(), 0);
    const test::WithoutPrivileges nobody;
    EXPECT_EQ(readPropertyList(folder.file("list")).error().code, EACCES);
}

TEST(PropertyListDamage, APathWithAZeroByteNamesNothing) {
    const TemporaryFolder folder;
    writeText(folder.file("list"), inDictionary("<true/>"));
    std::string path = folder.file("list");
    path += std::string("\0x", 2);
    EXPECT_EQ(readPropertyList(path).error().code, EINVAL);
}

} // namespace
} // namespace fw
