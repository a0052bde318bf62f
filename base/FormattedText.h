#pragma once

#include "base/FormatArgument.h"

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace fw {

/// Fills a format of the suite's conversion language with its arguments.
///
/// The conversions are those of C's printf ("%[position$][flags][width][.precision][length]" and
/// one of d i u o x X c p s f F e E g G a A C S; widths and precisions may be "*"), "%%", and "%@",
/// the description of any argument. An integer conversion takes as many low bits as C takes there:
/// 32 without a length, 64 with l, ll, L, q, j, z or t. A text, date or list given to a conversion
/// of numbers is written as its description, so nothing is lost; a number given to "%s" likewise.
///
/// A conversion whose argument is missing is written as it stands, and so is a "%" that begins no
/// conversion. The locale plays no part; "#" counts for integers only. Safe from any thread.
std::string formattedText(std::string_view format, std::span<const FormatArgument> arguments);

template <typename... Arguments>
std::string formattedText(std::string_view format, const Arguments&... arguments) {
    const std::initializer_list<FormatArgument> list = {FormatArgument(arguments)...};
    return formattedText(format, std::span<const FormatArgument>(list.begin(), list.size()));
}

} // namespace fw
