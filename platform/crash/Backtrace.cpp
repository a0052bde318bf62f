#include "platform/crash/Backtrace.h"

#include <algorithm>
#include <array>
#include <bit>
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>
#include <span>
#include <ucontext.h>

namespace fw {
namespace {

constexpr std::size_t kMostFrames = 128;

using Frames = std::span<void* const>;

void writeFrames(const ReportFile& file, Frames frames, std::string_view program) {
    constexpr std::size_t kAddressDigits = 2 * sizeof(void*);
    std::size_t number = 0;
    for (void* const frame : frames) {
        SignalSafeText line;
        line.addPadded(number++, 3).add(" ");
        line.addHexadecimal(reinterpret_cast<std::uintptr_t>(frame), kAddressDigits).add(" ");
        addModuleOffset(line, reinterpret_cast<std::uintptr_t>(frame), program);
        file.write(line.add("\n").view());
    }
}

/// A path that is too long or odd must not hide what follows it.
void addOnOneLine(SignalSafeText& text, std::string_view path) {
    constexpr std::size_t kMostBytes = 1024;
    for (const char& byte : path.substr(0, kMostBytes)) {
        const bool isControl = (byte >= 0 && byte < ' ') || byte == 0x7F;
        text.add(isControl ? "?" : std::string_view(&byte, 1));
    }
}

Frames from(Frames frames, std::optional<std::uintptr_t> innermost) {
    const auto first = std::ranges::find_if(
        frames, [&](void* frame) { return reinterpret_cast<std::uintptr_t>(frame) == innermost; });
    return first == frames.end() ? frames : Frames(first, frames.end());
}

} // namespace

void prepareBacktrace() {
    std::array<void*, 2> frames;
    ::backtrace(frames.data(), static_cast<int>(frames.size()));
}

std::optional<std::uintptr_t> interruptedInstruction(const void* context) {
    const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    return static_cast<std::uintptr_t>(machine.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return static_cast<std::uintptr_t>(machine.pc);
#else
    static_cast<void>(machine);
    return std::nullopt;
#endif
}

void addModuleOffset(SignalSafeText& text, std::uintptr_t address, std::string_view program) {
    // The one search of the loader that is made for signal handlers: it takes no lock.
    dl_find_object found = {};
    if (::_dl_find_object(std::bit_cast<void*>(address), &found) != 0) {
        text.add("?");
        return;
    }
    const std::string_view name = found.dlfo_link_map->l_name;
    addOnOneLine(text, name.empty() ? program : name);
    text.add("+");
    text.addHexadecimal(address - found.dlfo_link_map->l_addr);
}

void writeBacktrace(const ReportFile& file, std::string_view program,
                    std::optional<std::uintptr_t> innermost) {
    file.write("\nBacktrace:\n");
    std::array<void*, kMostFrames> buffer;
    const int count = ::backtrace(buffer.data(), static_cast<int>(buffer.size()));
    const Frames all(buffer.data(), static_cast<std::size_t>(std::max(count, 0)));
    const Frames frames = from(all, innermost);
    writeFrames(file, frames, program);
    if (all.size() == buffer.size()) {
        file.write("... and those that called them\n");
    }
    file.write("\nNames:\n");
    ::backtrace_symbols_fd(frames.data(), static_cast<int>(frames.size()), file.descriptor());
}

} // namespace fw
