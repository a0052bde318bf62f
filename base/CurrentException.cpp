#include "base/CurrentException.h"

#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <memory>

namespace fw {
namespace {

std::string typeOfCurrentException() {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    if (type == nullptr) {
        return "an exception of unknown type";
    }
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type->name();
}

} // namespace

std::optional<CurrentException> currentException() {
    if (!std::current_exception()) {
        return std::nullopt;
    }
    try {
        throw;
    } catch (const std::exception& known) {
        return CurrentException{typeOfCurrentException(), known.what()};
    } catch (...) {
        return CurrentException{typeOfCurrentException(), std::nullopt};
    }
}

} // namespace fw
