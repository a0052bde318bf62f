#include "platform/crash/CrashReport.h"

#include "base/text.h"
#include "platform/crash/Backtrace.h"
#include "platform/crash/ExceptionReason.h"
#include "platform/crash/PrintableText.h"
#include "platform/crash/ReportFile.h"
#include "platform/crash/SignalNames.h"
#include "platform/crash/SignalSafeText.h"
#include "platform/crash/UtcTime.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <initializer_list>
#include <string_view>
#include <unistd.h>

namespace fw {
namespace {

constexpr std::size_t kMostBytesOfText = 512;
constexpr std::size_t kMostArguments = 100;

void appendLine(std::string& text, std::string_view label, std::string_view value) {
    text.append(label).append(printableText(value, kMostBytesOfText)).append("\n");
}

std::string programText(const CrashReportSettings& settings) {
    std::string text;
    appendLine(text, "Application: ", settings.applicationName);
    appendLine(text, "Version: ", settings.version);
    appendLine(text, "Executable: ", settings.executable);
    return text;
}

std::string argumentsText(const std::vector<std::string>& arguments) {
    std::string text = "\nArguments: ";
    text.append(std::to_string(arguments.size())).append("\n");
    const std::size_t shown = std::min(arguments.size(), kMostArguments);
    for (std::size_t i = 0; i < shown; ++i) {
        std::string label = "[";
        appendLine(text, label.append(std::to_string(i)).append("] "), arguments[i]);
    }
    if (shown < arguments.size()) {
        text.append("... and ").append(std::to_string(arguments.size() - shown)).append(" more\n");
    }
    return text;
}

/// Empty for no reports, as with a NUL in a path, which would name another file.
std::string pathStartOf(const CrashReportSettings& settings) {
    std::string path = settings.folder;
    path.append("/").append(settings.applicationName).append("_");
    const bool isUsable = !settings.folder.empty() && !holdsZeroByte(path);
    return isUsable ? path : std::string();
}

timespec now() {
    timespec time = {};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return time;
}

void addTwoDigits(SignalSafeText& text, std::initializer_list<unsigned> values,
                  std::string_view separator) {
    bool isFirst = true;
    for (const unsigned value : values) {
        text.add(isFirst ? "" : separator).addPadded(value, 2);
        isFirst = false;
    }
}

void addTime(SignalSafeText& text, const UtcTime& time, std::string_view beforeHours,
             std::string_view separator) {
    text.addPadded(static_cast<std::uint64_t>(time.year), 4).add("-");
    addTwoDigits(text, {time.month, time.day}, "-");
    text.add(beforeHours);
    addTwoDigits(text, {time.hour, time.minute, time.second}, separator);
}

/// Another process with our number, of another container perhaps, may have crashed in the same
/// second: its report stays, and ours gets "_2" and so on behind the number,
/// which stands behind the other one where names are sorted.
void createFile(ReportFile& file, std::string_view pathStart, const UtcTime& time) {
    if (pathStart.empty()) {
        return;
    }
    constexpr std::int64_t kMostReportsOfOneName = 9;
    for (std::int64_t copy = 1; copy <= kMostReportsOfOneName; ++copy) {
        SignalSafeText path;
        path.add(pathStart);
        addTime(path, time, "-", "");
        path.add("_").addNumber(::getpid());
        if (copy > 1) {
            path.add("_").addNumber(copy);
        }
        path.add(".crash");
        if (path.isCut() || file.create(path.c_str()) || errno != EEXIST) {
            return;
        }
    }
}

/// What a signal says of its cause: the place, the system call or the sender.
void addCause(SignalSafeText& text, int signal, const siginfo_t& facts) {
    if (facts.si_code <= 0) {
        text.add(", sent by process ").addNumber(facts.si_pid);
        text.add(" of user ").addNumber(facts.si_uid);
    } else if (signal == SIGSYS) {
        text.add(", system call ").addNumber(facts.si_syscall);
    } else if (facts.si_code != SI_KERNEL) {
        text.add(", address ");
        text.addHexadecimal(reinterpret_cast<std::uintptr_t>(facts.si_addr));
    }
}

void addSignal(SignalSafeText& text, int signal, const siginfo_t& facts) {
    text.add("Signal: ").add(signalName(signal)).add(" (").addNumber(signal).add("), code ");
    text.add(signalCodeName(signal, facts.si_code)).add(" (").addNumber(facts.si_code).add(")");
    addCause(text, signal, facts);
    text.add("\n");
}

void addReason(SignalSafeText& text, int signal) {
    const std::string_view reason = reasonOfTermination();
    if (signal == SIGABRT && !reason.empty()) {
        text.add("Reason: ").add(reason).add("\n");
    }
}

void addInstruction(SignalSafeText& text, std::optional<std::uintptr_t> instruction,
                    std::string_view program) {
    if (instruction) {
        text.add("Instruction: ").addHexadecimal(*instruction).add(" ");
        addModuleOffset(text, *instruction, program);
        text.add("\n");
    }
}

} // namespace

PreparedReport::PreparedReport(const CrashReportSettings& settings)
    : pathStart_(pathStartOf(settings)),
      executable_(printableText(settings.executable, kMostBytesOfText)),
      program_(programText(settings)), arguments_(argumentsText(settings.arguments)) {}

void PreparedReport::write(int signal, const siginfo_t& facts, const void* context) const {
    const timespec time = now();
    const UtcTime utc = utcTime(time.tv_sec);
    const auto instruction = interruptedInstruction(context);

    ReportFile file;
    createFile(file, pathStart_, utc);
    if (file.descriptor() < 0) {
        return;
    }
    SignalSafeText text;
    text.add("Time: ");
    addTime(text, utc, " ", ":");
    constexpr std::int64_t kNanosecondsOfMillisecond = 1'000'000;
    text.add(".").addPadded(static_cast<std::uint64_t>(time.tv_nsec / kNanosecondsOfMillisecond),
                            3);
    text.add(" UTC\nProcess: ").addNumber(::getpid());
    text.add("\nThread: ").addNumber(::gettid()).add("\n");
    addSignal(text, signal, facts);
    addReason(text, signal);
    addInstruction(text, instruction, executable_);

    file.write(program_);
    file.write(text.view());
    file.write(arguments_);
    writeBacktrace(file, executable_, instruction);
    file.write("\nEnd of report\n");
}

} // namespace fw
