#include "platform/plist/ListNode.h"

#include "base/text.h"
#include "platform/plist/BinaryListCheck.h"
#include "platform/plist/LeafText.h"
#include "platform/plist/PlainXml.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace fw {
namespace {

/// The library writes the years before 1000 with fewer than four digits.
std::string withWholeYears(std::string_view xml) {
    constexpr std::string_view kStart = "<date>";
    constexpr std::size_t kLength = std::string_view("2024-03-01T17:05:09Z").size();
    std::string result;
    for (std::size_t end = xml.find(kStart); end != std::string_view::npos;
         end = xml.find(kStart)) {
        result += xml.substr(0, end + kStart.size());
        xml.remove_prefix(end + kStart.size());
        result.append(kLength - std::min(xml.find('<'), kLength), '0');
    }
    return result += xml;
}

ListNode nodeFromXml(const std::string& xml) {
    plist_t node = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
    return ListNode(node);
}

ListNode nodeFromBinary(std::string_view bytes) {
    plist_t node = nullptr;
    if (isBinaryListSound(bytes)) {
        plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
    }
    return ListNode(node);
}

/// The element of one value as it stands in an XML file.
std::string elementOf(plist_t node) {
    constexpr std::string_view kStart = "<plist version=\"1.0\">";
    const std::string xml = xmlFromNode(node);
    const std::size_t start = xml.find(kStart) + kStart.size();
    return std::string(trimmed(std::string_view(xml).substr(start, xml.rfind("</plist>") - start)));
}

/// The text between the tags of an element.
std::string_view textOf(std::string_view element) {
    const std::size_t start = element.find('>') + 1;
    return element.substr(start, element.rfind("</") - start);
}

void readInteger(plist_t node, PropertyListValue& into) {
    std::uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    into.content = static_cast<std::int64_t>(bits);
    if (bits > std::numeric_limits<std::int64_t>::max()) {
        // The library tells a negative number from a large one in its XML only.
        std::string element = elementOf(node);
        if (!textOf(element).starts_with('-')) {
            into.content = ForeignPropertyListValue{std::move(element)};
        }
    }
}

/// By way of the XML text: the library's own numbers end in 2069.
bool readDate(plist_t node, PropertyListValue& into) {
    constexpr auto kFirst = std::chrono::ceil<std::chrono::seconds>(PropertyListDate::min());
    constexpr auto kLast = std::chrono::floor<std::chrono::seconds>(PropertyListDate::max());
    std::string element = elementOf(node);
    const auto date = dateFromText(textOf(element));
    if (date && *date >= kFirst && *date <= kLast) {
        into.content = PropertyListDate(*date);
    } else {
        into.content = ForeignPropertyListValue{std::move(element)};
    }
    return date.has_value();
}

void readString(plist_t node, PropertyListValue& into) {
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    into.content = repairedUtf8({text, length});
}

void readData(plist_t node, PropertyListValue& into) {
    std::uint64_t length = 0;
    const auto* bytes = reinterpret_cast<const std::byte*>(plist_get_data_ptr(node, &length));
    into.content = PropertyListData(bytes, bytes + length);
}

void readBoolean(plist_t node, PropertyListValue& into) {
    std::uint8_t value = 0;
    plist_get_bool_val(node, &value);
    into.content = value != 0;
}

void readReal(plist_t node, PropertyListValue& into) {
    double value = 0;
    plist_get_real_val(node, &value);
    into.content = value;
}

/// What the library hands out to be freed.
template <typename T>
using Allocated = std::unique_ptr<T, decltype([](T* memory) { std::free(memory); })>;

bool readArray(plist_t node, PropertyListArray& into) {
    plist_array_iter start = nullptr;
    plist_array_new_iter(node, &start);
    const Allocated<void> iterator(start);
    bool isSound = true;
    for (std::uint32_t left = plist_array_get_size(node); isSound && left > 0; --left) {
        plist_t item = nullptr;
        plist_array_next_item(node, start, &item);
        isSound = readNode(item, into.emplace_back());
    }
    return isSound;
}

bool readDictionary(plist_t node, PropertyListDictionary& into) {
    plist_dict_iter start = nullptr;
    plist_dict_new_iter(node, &start);
    const Allocated<void> iterator(start);
    bool isSound = true;
    for (std::uint32_t left = plist_dict_get_size(node); isSound && left > 0; --left) {
        char* name = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, start, &name, &item);
        const Allocated<char> key(name);
        isSound = key && readNode(item, into[repairedUtf8(key.get())]);
    }
    return isSound;
}

/// XML has no way to hold the other control characters.
std::string xmlText(const std::string& text) {
    std::string result;
    for (const char c : repairedUtf8(text)) {
        const bool isControl = static_cast<unsigned char>(c) < 0x20;
        if (isControl && c != '\t' && c != '\n' && c != '\r') {
            result += "\xEF\xBF\xBD";
        } else {
            result += c;
        }
    }
    return result;
}

ListNode nodeFromElement(std::string_view element) {
    return nodeFromXml(fmt::format("<plist>{}</plist>", element));
}

/// Makes a node of each kind of value; `depth` is the value's own.
struct NodeMaker {
    int depth = 1;

    ListNode operator()(bool value) const { return ListNode(plist_new_bool(value ? 1 : 0)); }
    ListNode operator()(std::int64_t value) const {
        return ListNode(plist_new_uint(static_cast<std::uint64_t>(value)));
    }
    ListNode operator()(double value) const { return ListNode(plist_new_real(value)); }
    ListNode operator()(const std::string& value) const {
        return ListNode(plist_new_string(xmlText(value).c_str()));
    }
    ListNode operator()(PropertyListDate value) const {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(value);
        return nodeFromElement(fmt::format("<date>{}</date>", textFromDate(seconds)));
    }
    ListNode operator()(const PropertyListData& value) const {
        const void* bytes = value.empty() ? "" : static_cast<const void*>(value.data());
        return ListNode(plist_new_data(static_cast<const char*>(bytes), value.size()));
    }
    ListNode operator()(const ForeignPropertyListValue& value) const {
        return nodeFromElement(value.xml);
    }
    ListNode operator()(const PropertyListArray& value) const {
        ListNode node(plist_new_array());
        for (const PropertyListValue& item : value) {
            ListNode child = inside(item);
            if (!child) {
                return nullptr;
            }
            plist_array_append_item(node.get(), child.release());
        }
        return node;
    }
    ListNode operator()(const PropertyListDictionary& value) const {
        ListNode node(plist_new_dict());
        for (const auto& [key, item] : value) {
            ListNode child = inside(item);
            if (!child) {
                return nullptr;
            }
            plist_dict_set_item(node.get(), xmlText(key).c_str(), child.release());
        }
        return node;
    }
    ListNode inside(const PropertyListValue& value) const {
        return depth < kDeepestPropertyList ? std::visit(NodeMaker{depth + 1}, value.content)
                                            : nullptr;
    }
};

} // namespace

ListNode nodeFromBytes(std::string_view bytes) {
    if (bytes.starts_with("bplist")) {
        return nodeFromBinary(bytes);
    }
    const std::optional<std::string> xml = plainXml(bytes);
    return xml ? nodeFromXml(*xml) : nullptr;
}

bool readNode(plist_t node, PropertyListValue& into) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        readBoolean(node, into);
        return true;
    case PLIST_UINT:
        readInteger(node, into);
        return true;
    case PLIST_REAL:
        readReal(node, into);
        return true;
    case PLIST_STRING:
        readString(node, into);
        return true;
    case PLIST_DATA:
        readData(node, into);
        return true;
    case PLIST_UID:
        into.content = ForeignPropertyListValue{elementOf(node)};
        return true;
    case PLIST_DATE:
        return readDate(node, into);
    case PLIST_ARRAY:
        return readArray(node, into.content.emplace<PropertyListArray>());
    case PLIST_DICT:
        return readDictionary(node, into.content.emplace<PropertyListDictionary>());
    default:
        return false;
    }
}

ListNode nodeFromValue(const PropertyListValue& value) {
    return std::visit(NodeMaker(), value.content);
}

std::string xmlFromNode(plist_t node) {
    char* start = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node, &start, &length);
    const Allocated<char> xml(start);
    return withWholeYears({start, length});
}

} // namespace fw
