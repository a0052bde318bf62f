#include "platform/plist/PlainXml.h"

#include "base/text.h"
#include "platform/plist/LeafText.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace fw {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kXmlSpace = " \t\r\n";
constexpr std::string_view kCdataStart = "<![CDATA[";
/// The library moves the rest of a text for each entity in it.
constexpr std::uint64_t kMostBytesMoved = std::uint64_t{1} << 31;

std::string_view withoutSpace(std::string_view text) {
    const std::size_t start = text.find_first_not_of(kXmlSpace);
    if (start == std::string_view::npos) {
        return {};
    }
    return text.substr(start, text.find_last_not_of(kXmlSpace) + 1 - start);
}

bool isElementName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    });
}

/// Copies a text construct by construct.
class Copy {
public:
    explicit Copy(std::string_view xml) : rest_(xml) { plain_.reserve(xml.size()); }

    std::optional<std::string> whole() {
        while (!rest_.empty()) {
            if (!copyNext()) {
                return std::nullopt;
            }
        }
        return open_.empty() ? std::optional(std::move(plain_)) : std::nullopt;
    }

private:
    bool copyNext() {
        if (!rest_.starts_with('<')) {
            const std::string_view text = rest_.substr(0, rest_.find('<'));
            plain_ += text;
            rest_.remove_prefix(text.size());
            return true;
        }
        if (rest_.starts_with("<!--")) {
            return until(4, "-->").has_value();
        }
        if (rest_.starts_with(kCdataStart)) {
            return copyCdata();
        }
        if (rest_.starts_with("<?")) {
            return until(2, "?>").has_value();
        }
        const auto tag = until(1, ">");
        if (!tag || tag->find('<') != std::string_view::npos) {
            return false;
        }
        if (tag->starts_with('!')) {
            return tag->find('[') == std::string_view::npos; // A document type of its own.
        }
        return copyTag(*tag);
    }

    /// What stands before the next `end` after `skip` bytes; goes on behind that.
    std::optional<std::string_view> until(std::size_t skip, std::string_view end) {
        const std::size_t position = rest_.find(end, skip);
        if (position == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view inside = rest_.substr(skip, position - skip);
        rest_.remove_prefix(position + end.size());
        return inside;
    }

    bool copyCdata() {
        const auto text = until(kCdataStart.size(), "]]>");
        for (const char c : text.value_or("")) {
            if (c == '<') {
                plain_ += "&lt;";
            } else if (c == '&') {
                plain_ += "&amp;";
            } else {
                plain_ += c;
            }
        }
        return text.has_value();
    }

    /// `tag` is what stands between "<" and ">".
    bool copyTag(std::string_view tag) {
        if (tag.starts_with('/')) {
            return close(withoutSpace(tag.substr(1)));
        }
        const bool isEmpty = tag.ends_with('/');
        if (isEmpty) {
            tag.remove_suffix(1);
        }
        const std::string_view name = tag.substr(0, tag.find_first_of(kXmlSpace));
        return open(name) && (!isEmpty || close(name));
    }

    bool open(std::string_view name) {
        if (!isElementName(name) || open_.size() > kDeepestPropertyList) {
            return false;
        }
        ((plain_ += '<') += name) += '>';
        open_.push_back(name);
        contentStart_ = plain_.size();
        hasChildren_ = false;
        return true;
    }

    bool close(std::string_view name) {
        if (open_.empty() || open_.back() != name || (!hasChildren_ && !settleText(name))) {
            return false;
        }
        ((plain_ += "</") += name) += '>';
        open_.pop_back();
        hasChildren_ = true; // Of the element around.
        return true;
    }

    /// Puts the text of a value into its one form.
    bool settleText(std::string_view name) {
        const std::string_view content = std::string_view(plain_).substr(contentStart_);
        const std::string_view text = withoutSpace(content);
        if (name == "integer") {
            return replaceContent(plainInteger(text));
        }
        if (name == "real") {
            return isReal(text) && replaceContent(std::string(text));
        }
        if (name == "date") {
            return dateFromText(text) && replaceContent(std::string(text));
        }
        const auto entities = std::count(content.begin(), content.end(), '&');
        bytesMoved_ += static_cast<std::uint64_t>(entities) * content.size();
        return bytesMoved_ <= kMostBytesMoved;
    }

    bool replaceContent(const std::optional<std::string>& text) {
        plain_.resize(contentStart_);
        plain_ += text.value_or("");
        return text.has_value();
    }

    std::string_view rest_;
    std::string plain_;
    std::vector<std::string_view> open_;
    std::size_t contentStart_ = 0;
    bool hasChildren_ = false;
    std::uint64_t bytesMoved_ = 0;
};

} // namespace

std::optional<std::string> plainXml(std::string_view xml) {
    if (xml.starts_with(kByteOrderMark)) {
        xml.remove_prefix(kByteOrderMark.size());
    }
    return holdsZeroByte(xml) ? std::nullopt : Copy(xml).whole();
}

} // namespace fw
