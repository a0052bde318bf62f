#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// Texts one after the other in one block of memory, so that adding one allocates next to nothing.
class TextList {
public:
    void add(std::string_view text) {
        bytes_ += text;
        ends_.push_back(bytes_.size());
    }
    std::size_t size() const { return ends_.size(); }
    bool empty() const { return ends_.empty(); }
    std::string_view operator[](std::size_t index) const {
        const std::size_t start = index > 0 ? ends_[index - 1] : 0;
        return std::string_view(bytes_).substr(start, ends_[index] - start);
    }
    /// Empties it and keeps its memory, unless that has become large.
    void clear() {
        constexpr std::size_t kMostKept = 1024 * 1024;
        bytes_.clear();
        ends_.clear();
        if (bytes_.capacity() > kMostKept) {
            *this = TextList();
        }
    }

private:
    std::string bytes_;
    std::vector<std::size_t> ends_;
};

} // namespace fw
