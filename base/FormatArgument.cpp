#include "base/FormatArgument.h"

#include "base/dates.h"

#include <fmt/format.h>

namespace fw {
namespace {

struct Description {
    std::string operator()(bool value) const { return value ? "1" : "0"; }
    std::string operator()(std::string_view text) const { return std::string(text); }
    std::string operator()(FormatArgument::Date date) const { return dateDescription(date); }
    std::string operator()(FormatArgument::List list) const { return list.describe(list.elements); }
    template <typename Number>
    std::string operator()(Number number) const {
        return fmt::format("{}", number);
    }
};

} // namespace

std::string description(const FormatArgument& argument) {
    return std::visit(Description{}, argument.value());
}

} // namespace fw
