#include "platform/plist/PropertyListFile.h"

#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cmath>
#include <filesystem>
#include <limits>

namespace fw {
namespace {

using namespace std::chrono_literals;
using test::readText;
using test::TemporaryFolder;
using test::writeText;
using testing::HasSubstr;

const PropertyListDate k2024 =
    std::chrono::sys_days(std::chrono::year(2024) / 3 / 1) + 17h + 5min + 9s;

PropertyListDictionary readBack(const std::string& path) {
    auto result = readPropertyList(path);
    EXPECT_TRUE(result) << result.error().description;
    return std::move(result).value();
}

PropertyListDictionary written(const PropertyListDictionary& dictionary) {
    const TemporaryFolder folder;
    EXPECT_EQ(writePropertyList(folder.file("list"), dictionary), std::nullopt);
    return readBack(folder.file("list"));
}

/// The dictionary in an XML file whose dictionary holds `elements`.
Result<PropertyListDictionary> fromXml(const std::string& elements) {
    const TemporaryFolder folder;
    std::string text = "<plist version=\"1.0\"><dict>";
    text += elements;
    text += "</dict></plist>";
    writeText(folder.file("list"), text);
    return readPropertyList(folder.file("list"));
}

TEST(PropertyList, EveryKindOfValueComesBack) {
    PropertyListDictionary inner;
    inner["deep"] = {true};
    PropertyListDictionary list;
    list["true"] = {true};
    list["false"] = {false};
    list["zero"] = {std::int64_t{0}};
    list["least"] = {std::numeric_limits<std::int64_t>::min()};
    list["most"] = {std::numeric_limits<std::int64_t>::max()};
    list["minus one"] = {std::int64_t{-1}};
    list["real"] = {0.1};
    list["tiny"] = {-5e-324};
    list["huge"] = {std::numeric_limits<double>::max()};
    list["infinity"] = {-std::numeric_limits<double>::infinity()};
    list["text"] = {std::string("<&>\"' \t\n\r ]]> \xC3\xA9\xF0\x9F\x8E\xAC ")};
    list["empty text"] = {std::string()};
    list["date"] = {k2024};
    list["data"] = {PropertyListData(1000, std::byte{0xA5})};
    list["empty data"] = {PropertyListData()};
    list["array"] = {PropertyListArray{{std::string("a")}, {std::int64_t{1}}, {inner}}};
    list["empty array"] = {PropertyListArray()};
    list["dictionary"] = {inner};
    list["empty dictionary"] = {PropertyListDictionary()};
    list[""] = {std::string("of the empty key")};
    list["<&>"] = {std::string("of a key with signs")};
    EXPECT_EQ(written(list), list);
}

TEST(PropertyList, DataOfEveryLengthComesBackFromEveryDepth) {
    for (int depth = 0; depth < 12; ++depth) {
        PropertyListArray all;
        for (std::size_t length = 0; length < 200; ++length) {
            PropertyListData data(length);
            for (std::size_t i = 0; i < length; ++i) {
                data[i] = static_cast<std::byte>(i * 37 + length);
            }
            all.push_back({data});
        }
        PropertyListValue value = {all};
        for (int i = 0; i < depth; ++i) {
            value = {PropertyListDictionary{{"inside", value}}};
        }
        const PropertyListDictionary list = {{"data", value}};
        EXPECT_TRUE(written(list) == list) << depth;
    }
}

TEST(PropertyList, NotANumberComesBack) {
    const auto list = written({{"nan", {std::nan("")}}});
    const auto* value = list.at("nan").get<double>();
    ASSERT_NE(value, nullptr);
    EXPECT_TRUE(std::isnan(*value));
}

TEST(PropertyList, AnEmptyDictionaryComesBack) {
    EXPECT_TRUE(written({}).empty());
}

TEST(PropertyList, BooleansAndWholeNumbersAndRealsAreDifferentKinds) {
    const auto list = written({{"b", {true}}, {"i", {std::int64_t{1}}}, {"r", {1.0}}});
    EXPECT_NE(list.at("b").get<bool>(), nullptr);
    EXPECT_NE(list.at("i").get<std::int64_t>(), nullptr);
    EXPECT_NE(list.at("r").get<double>(), nullptr);
    EXPECT_EQ(list.at("i").get<bool>(), nullptr);
}

TEST(PropertyList, DatesKeepWholeSecondsRoundedDown) {
    EXPECT_EQ(written({{"d", {k2024 + 999ms}}}).at("d"), PropertyListValue{k2024});
    const PropertyListDate before1970(-1ms);
    EXPECT_EQ(written({{"d", {before1970}}}).at("d"), PropertyListValue{PropertyListDate(-1s)});
}

TEST(PropertyList, DatesReachAsFarAsTheClock) {
    const auto first = std::chrono::ceil<std::chrono::seconds>(PropertyListDate::min());
    const auto last = std::chrono::floor<std::chrono::seconds>(PropertyListDate::max());
    EXPECT_EQ(written({{"d", {PropertyListDate(first)}}}).at("d"),
              PropertyListValue{PropertyListDate(first)});
    EXPECT_EQ(written({{"d", {PropertyListDate(last)}}}).at("d"),
              PropertyListValue{PropertyListDate(last)});
}

TEST(PropertyList, TheFileIsXmlAndItsOwnersAlone) {
    const TemporaryFolder folder;
    const std::string path = folder.file("list");
    ASSERT_EQ(writePropertyList(path, {{"launch", {k2024}}}), std::nullopt);
    EXPECT_THAT(readText(path),
                HasSubstr("<key>launch</key>\n\t<date>2024-03-01T17:05:09Z</date>"));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
}

TEST(PropertyList, TextThatXmlCannotHoldIsRepaired) {
    const std::string bad("a\xFF"
                          "b\0c\x01"
                          "d",
                          7);
    const auto list = written({{bad, {bad}}});
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list.begin()->first, "a\uFFFDb\uFFFDc\uFFFDd");
    EXPECT_EQ(list.begin()->second, PropertyListValue{std::string("a\uFFFDb\uFFFDc\uFFFDd")});
}

TEST(PropertyList, TextThatIsNotUtf8IsRepairedOnTheWayIn) {
    const auto list = fromXml("<key>k\xFF</key><string>\xC3(</string>");
    ASSERT_TRUE(list);
    EXPECT_EQ(list.value().at("k\uFFFD"), PropertyListValue{std::string("\uFFFD(")});
}

TEST(PropertyList, ValuesWithoutAKindOfTheirOwnAreWrittenBackAsTheyWere) {
    const auto list = fromXml("<key>large</key><integer>18446744073709551615</integer>"
                              "<key>past</key><date>0001-01-01T00:00:00Z</date>"
                              "<key>future</key><date>4001-01-01T00:00:00Z</date>");
    ASSERT_TRUE(list);
    for (const auto& [key, value] : list.value()) {
        EXPECT_NE(value.get<ForeignPropertyListValue>(), nullptr) << key;
    }
    const TemporaryFolder folder;
    ASSERT_EQ(writePropertyList(folder.file("list"), list.value()), std::nullopt);
    const std::string text = readText(folder.file("list"));
    EXPECT_THAT(text, HasSubstr("<integer>18446744073709551615</integer>"));
    EXPECT_THAT(text, HasSubstr("<date>0001-01-01T00:00:00Z</date>"));
    EXPECT_THAT(text, HasSubstr("<date>4001-01-01T00:00:00Z</date>"));
    EXPECT_EQ(readBack(folder.file("list")), list.value());
}

TEST(PropertyList, BinaryFilesAreRead) {
    const plist_t root = plist_new_dict();
    plist_dict_set_item(root, "minus", plist_new_uint(static_cast<std::uint64_t>(-5)));
    plist_dict_set_item(root, "true", plist_new_bool(1));
    plist_dict_set_item(root, "text", plist_new_string("caf\xC3\xA9"));
    plist_dict_set_item(root, "date", plist_new_date(731'005'509, 500'000));
    plist_dict_set_item(root, "data", plist_new_data("\0\1", 2));
    plist_dict_set_item(root, "uid", plist_new_uid(7));
    const plist_t array = plist_new_array();
    plist_array_append_item(array, plist_new_real(2.5));
    plist_dict_set_item(root, "array", array);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    const TemporaryFolder folder;
    writeText(folder.file("list"), {bytes, length});
    plist_to_bin_free(bytes);
    plist_free(root);

    const auto list = readBack(folder.file("list"));
    EXPECT_EQ(list.at("minus"), PropertyListValue{std::int64_t{-5}});
    EXPECT_EQ(list.at("true"), PropertyListValue{true});
    EXPECT_EQ(list.at("text"), PropertyListValue{std::string("café")});
    EXPECT_EQ(list.at("date"), PropertyListValue{k2024}) << "2001-01-01 and 731005509.5 s";
    EXPECT_EQ(list.at("data"), (PropertyListValue{PropertyListData{std::byte{0}, std::byte{1}}}));
    EXPECT_EQ(list.at("array"), (PropertyListValue{PropertyListArray{{2.5}}}));
    ASSERT_NE(list.at("uid").get<ForeignPropertyListValue>(), nullptr);
    ASSERT_EQ(writePropertyList(folder.file("list"), list), std::nullopt);
    EXPECT_THAT(readText(folder.file("list")), HasSubstr("<key>CF$UID</key>"));
}

TEST(PropertyList, CommentsCdataAttributesAndEmptyElementsAreUnderstood) {
    const TemporaryFolder folder;
    writeText(folder.file("list"),
              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://x/p.dtd\">\n"
              "<!-- </dict> --><plist version=\"1.0\">\r\n"
              "<dict a=\"b\"><key/><string/><key>a<!-- </key> -->b</key ><true />\n"
              "<key>c</key><string><![CDATA[<&]]>&lt;&#233;&#x1F3AC;</string>\n"
              "<key>d</key><integer> 010\n</integer><key>e</key><array/>\n"
              "</dict></plist><!-- end -->\n");
    const PropertyListDictionary expected = {{"", {std::string()}},
                                             {"ab", {true}},
                                             {"c", {std::string("<&<é🎬")}},
                                             {"d", {std::int64_t{10}}},
                                             {"e", {PropertyListArray()}}};
    EXPECT_EQ(readBack(folder.file("list")), expected);
}

TEST(PropertyList, OfAKeyThatStandsTwiceTheLastCounts) {
    const auto list = fromXml("<key>a</key><true/><key>a</key><false/>");
    ASSERT_TRUE(list);
    EXPECT_EQ(list.value(), (PropertyListDictionary{{"a", {false}}}));
}

TEST(PropertyList, AFileThatCannotBeWrittenIsAnError) {
    const TemporaryFolder folder;
    EXPECT_EQ(writePropertyList(folder.file("missing/list"), {}).value().domain, "POSIX");
}

TEST(PropertyList, WhatCouldNotBeReadAgainIsNotWritten) {
    const TemporaryFolder folder;
    const std::string path = folder.file("list");
    ASSERT_EQ(writePropertyList(path, {{"old", {true}}}), std::nullopt);
    PropertyListValue deep = {true};
    for (int i = 0; i < 512; ++i) {
        PropertyListArray around;
        around.push_back(std::move(deep));
        deep.content = std::move(around);
    }
    const auto ofDepth = writePropertyList(path, {{"deep", deep}});
    ASSERT_TRUE(ofDepth);
    EXPECT_EQ(ofDepth->domain, "PropertyList");
    EXPECT_TRUE(writePropertyList(path, {{"large", {std::string(kLargestPropertyList, 'x')}}}));
    EXPECT_EQ(readBack(path), (PropertyListDictionary{{"old", {true}}}));
}

TEST(PropertyList, TheDeepestListThatIsWrittenIsReadAgain) {
    PropertyListValue deep = {true};
    for (int i = 0; i < 510; ++i) {
        PropertyListArray around;
        around.push_back(std::move(deep));
        deep.content = std::move(around);
    }
    const PropertyListDictionary list = {{"deep", deep}};
    EXPECT_TRUE(written(list) == list);
}

TEST(PropertyList, GoesThroughTextAsThroughAFile) {
    const PropertyListDictionary list = {{"name", {"\xC3\xA9 & <x>"}}, {"size", {std::int64_t{7}}}};
    const Result<std::string> xml = propertyListXml(list);
    ASSERT_TRUE(xml);
    EXPECT_EQ(propertyListFromBytes(xml.value()).value(), list);
}

TEST(PropertyList, OfOtherBytesThereIsNone) {
    for (const std::string_view bytes :
         {"", "Could not find disk", "<plist><dict><key>a</key>", "<plist><true/></plist>"}) {
        const auto list = propertyListFromBytes(bytes);
        ASSERT_FALSE(list) << bytes;
        EXPECT_EQ(list.error().domain, "PropertyList");
        EXPECT_EQ(list.error().description, "This is no property list with a dictionary.");
    }
    const auto large = propertyListFromBytes(std::string(kLargestPropertyList + 1, ' '));
    EXPECT_EQ(large.error().description, "The property list is too large.");
}

} // namespace
} // namespace fw
