#include "fuzz/check.h"
#include "platform/plist/PropertyListFile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace fw;
using fuzz::check;

PropertyListDictionary readBack(const std::string& xml) {
    auto list = propertyListFromBytes(xml);
    check(bool(list), "what was written is read");
    return std::move(list).value();
}

std::string written(const PropertyListDictionary& list) {
    auto xml = propertyListXml(list);
    check(bool(xml), "a small list that was read can be written");
    return std::move(xml).value();
}

} // namespace

/// What is read from any bytes can be written, and is then read and written without a change.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto list = propertyListFromBytes({reinterpret_cast<const char*>(data), size});
    if (!list) {
        check(list.error().domain == "PropertyList", "a refusal is the list's");
        return 0;
    }
    const std::string first = written(list.value());
    const std::string second = written(readBack(first));
    // Where characters were replaced keys may stand in another order, once.
    const bool isRepaired = first.find("\xEF\xBF\xBD") != std::string::npos;
    check(isRepaired || second == first, "a list is written as it was read");
    check(written(readBack(second)) == second, "a list of ours is written as it was read");
    return 0;
}
