#include "support/FWLog.h"

#include "base/CurrentException.h"
#include "base/FormattedText.h"
#include "base/PlatformException.h"
#include "base/Version.h"
#include "base/dates.h"
#include "base/text.h"
#include "platform/mainthread/MainThread.h"
#include "platform/process/RunningProgram.h"
#include "platform/system/SystemFacts.h"
#include "support/SharedPreferences.h"
#include "support/log/FolderLock.h"
#include "support/log/LogFile.h"
#include "support/log/LogGenerations.h"
#include "support/log/LogText.h"
#include "support/log/WriteQueue.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

namespace fw {
namespace {

/// A log longer than this ends and a new generation begins.
constexpr std::uint64_t kMostBytes = 5'000'000;
/// Texts up to here are written at once off the main thread.
constexpr std::size_t kShortText = 99;
/// More lines than this are dropped at exit rather than delaying it.
constexpr std::size_t kMostPendingAtExit = 10;
/// An uncaught exception may have left a lock locked that the worker needs, or its disk may be
/// stuck.
constexpr std::chrono::seconds kMostTimeToDie{5};

std::terminate_handler nextTerminateHandler = nullptr;

/// Logs the reason of an uncaught exception before the process ends.
[[noreturn]] void logUncaughtException() noexcept {
    static std::atomic<bool> isRunning = false;
    const std::optional<CurrentException> exception = currentException();
    if (exception && !isRunning.exchange(true)) {
        FWLog::logLastWords(exception->reason());
    }
    if (nextTerminateHandler != nullptr) {
        nextTerminateHandler();
    }
    std::abort();
}

std::string executableName() {
    const std::string path = runningExecutable();
    const std::string_view name = lastPathComponent(path);
    const std::string_view extension = pathExtension(path);
    return std::string(extension.empty() ? name
                                         : name.substr(0, name.size() - extension.size() - 1));
}

/// The date is the same for all lines that go out together.
void appendLine(std::string& lines, std::string_view date, std::string_view text) {
    lines += date;
    lines += " - ";
    lines += text;
    lines += '\n';
}

} // namespace

FWLog& FWLog::instance(bool& isNew) {
    static FWLog* const log = [&] {
        auto* const made = new FWLog;
        std::atexit(&FWLog::willTerminate);
        nextTerminateHandler = std::set_terminate(logUncaughtException);
        isNew = true;
        return made;
    }();
    return *log;
}

FWLog* FWLog::create() {
    bool isNew = false;
    FWLog& log = instance(isNew);
    return isNew ? &log : nullptr;
}

FWLog& FWLog::sharedController() {
    bool isNew = false;
    return instance(isNew);
}

/// Never destroyed, like the log. Throws while the system has no thread for it; whoever comes later
/// tries again.
WriteQueue& FWLog::queue() {
    static auto* const queue =
        new WriteQueue([this](std::span<const std::string_view> texts) { writeTexts(texts); });
    return *queue;
}

/// Failures of the log, such as no memory or no thread to be had, are not the program's.
template <typename Action>
void FWLog::guarded(Action action) {
    try {
        action(sharedController());
    } catch (const std::exception&) {
        // What was to be logged is lost, and the program goes on.
    }
}

// A new log

void FWLog::createNewLog(const std::string& appName) {
    createNewLog(appName, NoPrinting::kNo);
}

void FWLog::createNewLog(const std::string& appName, NoPrinting noPrinting) {
    guarded([&](FWLog& log) {
        log.setNoPrinting(noPrinting);
        log.openNewLog(appName);
    });
}

void FWLog::openNewLog(const std::string& appName) {
    if (!loggingDisabled_ && openNewGeneration(appName)) {
        writeHeader();
    }
}

bool FWLog::openNewGeneration(const std::string& name) {
    const std::lock_guard filesLock(filesMutex_);
    setFile(nullptr);
    if (SharedPreferences::isSwitchedOn(SharedPreferences::kDisableLogging)) {
        print("Logging is disabled\n");
        loggingDisabled_ = true;
        return false;
    }
    {
        const std::lock_guard lock(fieldsMutex_);
        if (appName_.empty()) {
            appName_ = name;
        }
    }
    bytesWritten_ = 0;
    const LogPlace place = logPlace(appName());
    if (const std::optional<std::string> failure = makeLogFolder(place)) {
        print(*failure);
        return false;
    }
    const FolderLock folderLock(place.folderOfCurrent);
    if (const std::optional<std::string> failure = makeNewGeneration(place)) {
        print(*failure);
        return false;
    }
    const std::shared_ptr<LogFile> opened = LogFile::open(place.current);
    setFile(opened);
    return opened != nullptr;
}

void FWLog::writeHeader() {
    const SystemFacts facts = systemFacts();
    const double gigabytes =
        static_cast<double>(facts.memoryBytes) * 0.0009765625 * 0.0009765625 * 0.0009765625;
    fastAppendLog("Log started: %@\n", std::chrono::system_clock::now());
    fastAppendLog("Version: %@\n", projectVersion());
    fastAppendLog("Path: %@\n", runningExecutable());
    appendLog("System: macOS %@, %li CPU(s), %0.2f GB RAM\n", facts.version, facts.processorCount,
              gigabytes);
    fastAppendLog("Running in 64-bit mode\n");
}

std::string FWLog::appName() const {
    const std::lock_guard lock(fieldsMutex_);
    if (!appName_.empty()) {
        return appName_;
    }
    const std::string name = executableName();
    return name.empty() ? "Unknown" : name;
}

std::vector<std::string> FWLog::availableLogs() {
    std::vector<std::string> logs;
    guarded([&](const FWLog& log) { logs = existingGenerations(logPlace(log.appName())); });
    return logs;
}

// Lines

std::string FWLog::escapeTextForLogging(std::string_view text) {
    return escapedForLogging(text);
}

void FWLog::with(Format format, std::initializer_list<FormatArgument> arguments,
                 Operation operation) {
    guarded([&](FWLog& log) {
        if (format && !log.loggingDisabled_) {
            (log.*operation)(*format, Arguments(arguments.begin(), arguments.size()));
        }
    });
}

void FWLog::fastAppend(std::string_view format, Arguments arguments) {
    appendTextToLog(filledForLogging(format, arguments));
}

void FWLog::append(std::string_view format, Arguments arguments) {
    const std::string text = filledForLogging(format, arguments);
    appendTextToLog(text);
    const std::size_t length = characterCount(text);
    if (!isMainThread() && length > 0 && length <= kShortText && bytesInQueue_ <= kShortText) {
        finish();
    }
}

void FWLog::appendAgain(std::string_view format, Arguments arguments) {
    append(trimmed(filledForLogging(format, arguments)), {});
}

void FWLog::appendAndPrint(std::string_view format, Arguments arguments) {
    printAppended(format, arguments, &FWLog::append);
}

void FWLog::fastAppendAndPrint(std::string_view format, Arguments arguments) {
    printAppended(format, arguments, &FWLog::fastAppend);
}

void FWLog::printAppended(std::string_view format, Arguments arguments, Operation appending) {
    const std::string text(trimmed(filledForLogging(format, arguments)));
    (this->*appending)(text, {});
    print(consoleEcho(text) + '\n');
}

void FWLog::appendTextToLog(std::string_view text) {
    const std::string_view kept = trimmed(text);
    if (!kept.empty()) {
        WriteQueue& texts = queue();
        bytesInQueue_ += characterCount(kept);
        texts.enqueue(kept);
    }
}

/// Nothing when logging was switched off meanwhile.
void FWLog::printFailure(std::string_view text) const {
    if (!loggingDisabled_) {
        print(text);
    }
}

void FWLog::print(std::string_view text) const {
    if (!noPrinting_) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }
}

// The worker

void FWLog::writeTexts(std::span<const std::string_view> rest) {
    while (!rest.empty() && !loggingDisabled_) {
        std::size_t done = 1;
        try {
            done = writeFirst(rest);
        } catch (const std::exception& exception) {
            printFailure(formattedText("Exception writing to log: %s\n", exception.what()));
        }
        rest = rest.subspan(done);
    }
}

/// Writes as many of the texts as go out together and returns their number. Throws when the first
/// one cannot be written.
std::size_t FWLog::writeFirst(std::span<const std::string_view> texts) {
    const std::shared_ptr<LogFile> file = openFile();
    std::size_t done = 1;
    if (file) {
        done = written(texts, *file);
        rotateWhenFull();
    } else {
        printFailure(formattedText("Unable to log the following information: %s\n", texts[0]));
        printFailure("Unable to open log for output\n");
    }
    std::uint64_t characters = 0;
    for (const std::string_view text : texts.first(done)) {
        characters += characterCount(text);
    }
    bytesInQueue_ -= characters;
    return done;
}

std::size_t FWLog::written(std::span<const std::string_view> texts, LogFile& file) {
    const std::string date = dateDescription(std::chrono::system_clock::now());
    std::string lines;
    std::vector<std::size_t> ends;
    do {
        appendLine(lines, date, texts[ends.size()]);
        ends.push_back(lines.size());
    } while (ends.size() < texts.size() && bytesWritten_ + lines.size() < kMostBytes);
    const LogFile::Outcome outcome = file.append(lines);
    bytesWritten_ += outcome.bytes;
    std::size_t whole = 0;
    while (whole < ends.size() && ends[whole] <= outcome.bytes) {
        ++whole;
    }
    if (whole == 0) {
        throw PlatformException(outcome.error->description);
    }
    return whole;
}

std::shared_ptr<LogFile> FWLog::openFile() {
    if (std::shared_ptr<LogFile> open = file()) {
        return open;
    }
    const std::lock_guard filesLock(filesMutex_);
    const LogPlace place = logPlace(appName());
    const FolderLock folderLock(place.folderOfCurrent);
    std::shared_ptr<LogFile> open = file(); // A new log may have been opened meanwhile.
    if (!open) {
        open = LogFile::open(place.current);
        setFile(open);
    }
    return open;
}

std::shared_ptr<LogFile> FWLog::file() const {
    const std::lock_guard lock(fieldsMutex_);
    return file_;
}

/// What it replaces is closed, which may wait, when the lock is off again.
void FWLog::setFile(std::shared_ptr<LogFile> file) {
    const std::lock_guard lock(fieldsMutex_);
    file_.swap(file);
}

/// The limit and the text that speaks of 500KB disagree; both are deliberate.
void FWLog::rotateWhenFull() {
    if (bytesWritten_ >= kMostBytes) {
        openNewLog(appName());
        appendLog("Log truncated at 500KB");
    }
}

// The end

void FWLog::finishWriting() {
    guarded([](FWLog& log) { log.finish(); });
}

void FWLog::finish() {
    // The worker cannot wait for itself; what was queued before its text is written already.
    if (!queue().isWorker()) {
        const std::lock_guard lock(finishMutex_);
        queue().waitUntilFinished();
    }
}

void FWLog::logLastWords(std::string_view reason) {
    with(reason, {}, &FWLog::fastAppendAndPrint);
    guarded([](FWLog& log) {
        if (!log.queue().isWorker()) {
            log.queue().waitUntilFinished(kMostTimeToDie);
        }
    });
}

void FWLog::willTerminate() {
    guarded([](FWLog& log) { log.terminate(); });
}

void FWLog::terminate() {
    if (isTerminated_.exchange(true)) {
        return;
    }
    if (queue().pendingCount() <= kMostPendingAtExit) {
        finish();
        queue().close();
    } else {
        queue().abandon();
    }
    setFile(nullptr);
    const std::lock_guard lock(fieldsMutex_);
    appName_.clear();
}

} // namespace fw
