#include "platform/crash/ExceptionReason.h"

#include "base/CurrentException.h"
#include "platform/crash/PrintableText.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string>

namespace fw {
namespace {

constexpr std::size_t kMostBytes = 1024;

struct Note {
    std::array<char, kMostBytes + 64> bytes;
    std::size_t length;
};

/// Each thread has its own, so that two that end at once do not mix their reasons.
constinit thread_local Note note = {};

std::terminate_handler handlerBefore = nullptr;

std::string currentReason() {
    const std::optional<CurrentException> exception = currentException();
    if (!exception) {
        return "std::terminate was called without an exception";
    }
    std::string reason = exception->type;
    return exception->what ? reason.append(": ").append(*exception->what) : reason;
}

void noteReason() {
    const std::string reason = printableText(currentReason(), kMostBytes);
    note.length = std::min(reason.size(), note.bytes.size());
    std::copy_n(reason.data(), note.length, note.bytes.data());
}

void noteReasonAndGoOn() {
    try {
        noteReason();
    } catch (...) {
        // No memory for the reason: the report goes without.
    }
    handlerBefore();
}

} // namespace

void noteReasonsOfTermination() {
    static const bool isInstalled = [] {
        handlerBefore = std::get_terminate();
        std::set_terminate(noteReasonAndGoOn);
        return true;
    }();
    static_cast<void>(isInstalled);
}

std::string_view reasonOfTermination() {
    return {note.bytes.data(), note.length};
}

} // namespace fw
