#pragma once

#include "base/FormatArgument.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

class LogFile;
class WriteQueue;

/// Whether the log keeps quiet on standard output.
enum class NoPrinting : bool { kNo, kYes };

/// The process-wide log: time-stamped lines in a rotating set of five text files in
/// Library/Logs/Fernwick of the user's home ("NAME.1.log", the newest, to "NAME.5.log"), written by
/// one background worker in the order of the calls. The superuser's current log stands in the
/// machine's Library/Logs/Fernwick, a folder that nobody makes here; it is emptied where others
/// rotate.
///
/// Each line is "DATE - TEXT" in UTF-8, the date in UTC with its offset, the text without white
/// space at its ends. A line goes out in one write, unless the disk is full, so processes that log
/// under one name do not corrupt each other's. A new generation begins with each createNewLog and
/// after 5,000,000 bytes. The key "disable-logging" of the suite's shared preferences switches
/// logging off for the rest of the process.
///
/// Every operation is safe from any thread; calls of createNewLog are not ordered among each
/// other. Failures never reach the caller: they are told on standard output, unless printing is
/// off. Without a thread to be had, or beyond a limit of a file's size, lines are lost and the
/// program goes on; only an answer may lack the memory it needs. An uncaught exception's reason is
/// logged; what waits when the process exits is written, unless more than ten lines wait.
///
/// Formats are those of formattedText(), after escapeTextForLogging(). An absent format does
/// nothing.
class FWLog {
public:
    using Format = std::optional<std::string_view>;

    /// The log, when this call made it; null once there is one.
    static FWLog* create();
    /// The log, made at first use. It is never destroyed.
    static FWLog& sharedController();
    FWLog& copy() { return *this; }
    FWLog(const FWLog&) = delete;
    FWLog& operator=(const FWLog&) = delete;

    /// Opens a new generation, with printing allowed. The first name given is kept for good; an
    /// empty one gives no name, and without one the log is named after the running executable.
    static void createNewLog(const std::string& appName = {});
    static void createNewLog(const std::string& appName, NoPrinting noPrinting);

    /// Queues a line. Off the main thread a short one (1 to 99 characters, with at most 99
    /// waiting) is on disk when the call returns, so that a crash soon after loses nothing.
    template <typename... Arguments>
    static void appendLog(Format format, const Arguments&... arguments) {
        with(format, {FormatArgument(arguments)...}, &FWLog::append);
    }
    /// Queues a line; never waits.
    template <typename... Arguments>
    static void fastAppendLog(Format format, const Arguments&... arguments) {
        with(format, {FormatArgument(arguments)...}, &FWLog::fastAppend);
    }
    /// Logs, and shows the text on standard output. The formatted text is taken as a format again:
    /// "%%" in it becomes "%" in the log. On the console every percent sign is doubled and "%@" is
    /// left out.
    template <typename... Arguments>
    static void appendLogAndPrint(Format format, const Arguments&... arguments) {
        with(format, {FormatArgument(arguments)...}, &FWLog::appendAndPrint);
    }
    /// Logs as appendLogAndPrint does; shows nothing.
    template <typename... Arguments>
    static void appendLogAndDebugPrint(Format format, const Arguments&... arguments) {
        with(format, {FormatArgument(arguments)...}, &FWLog::appendAgain);
    }
    /// Does nothing.
    template <typename... Arguments>
    static void debugPrint(Format, const Arguments&...) {}

    /// Waits until every line queued before is written.
    static void finishWriting();
    /// For a process that dies of `reason`: logs and shows it as appendLogAndPrint does, and waits
    /// for the log for some seconds at most, whatever it is stuck in.
    static void logLastWords(std::string_view reason);
    /// The paths of the generations that exist in the user's folder, the newest first.
    static std::vector<std::string> availableLogs();
    /// See escapedForLogging().
    static std::string escapeTextForLogging(std::string_view text);
    /// The end of the process: runs by itself at exit. Later lines are dropped.
    static void willTerminate();

    /// The base name of the files.
    std::string appName() const;
    /// Written to the current file since createNewLog opened it; advisory.
    std::uint64_t bytesWritten() const { return bytesWritten_; }
    /// Characters of the texts that wait; advisory.
    std::uint64_t bytesInQueue() const { return bytesInQueue_; }
    bool loggingDisabled() const { return loggingDisabled_; }
    bool noPrinting() const { return noPrinting_; }
    void setNoPrinting(NoPrinting noPrinting) { noPrinting_ = noPrinting == NoPrinting::kYes; }

private:
    using Arguments = std::span<const FormatArgument>;
    using Operation = void (FWLog::*)(std::string_view format, Arguments arguments);

    FWLog() = default;
    ~FWLog() = default;
    static FWLog& instance(bool& isNew);
    WriteQueue& queue();

    template <typename Action>
    static void guarded(Action action);
    static void with(Format format, std::initializer_list<FormatArgument> arguments,
                     Operation operation);
    void append(std::string_view format, Arguments arguments);
    void fastAppend(std::string_view format, Arguments arguments);
    void appendAndPrint(std::string_view format, Arguments arguments);
    void appendAgain(std::string_view format, Arguments arguments);
    void fastAppendAndPrint(std::string_view format, Arguments arguments);
    void printAppended(std::string_view format, Arguments arguments, Operation appending);
    void appendTextToLog(std::string_view text);

    void openNewLog(const std::string& appName);
    bool openNewGeneration(const std::string& appName);
    void writeHeader();

    // On the worker.
    void writeTexts(std::span<const std::string_view> texts);
    std::size_t writeFirst(std::span<const std::string_view> texts);
    std::size_t written(std::span<const std::string_view> texts, LogFile& file);
    void rotateWhenFull();
    std::shared_ptr<LogFile> openFile();

    std::shared_ptr<LogFile> file() const;
    void setFile(std::shared_ptr<LogFile> file);

    void print(std::string_view text) const;
    void printFailure(std::string_view text) const;
    void finish();
    void terminate();

    std::atomic<std::uint64_t> bytesWritten_ = 0;
    std::atomic<std::uint64_t> bytesInQueue_ = 0;
    std::atomic<bool> loggingDisabled_ = false;
    std::atomic<bool> noPrinting_ = false;
    std::atomic<bool> isTerminated_ = false;

    mutable std::mutex fieldsMutex_; ///< Of the two below; never held while waiting.
    std::string appName_;
    std::shared_ptr<LogFile> file_;

    std::mutex filesMutex_;  ///< Held while files are moved, so that no line meets a gap.
    std::mutex finishMutex_; ///< Those who wait for the queue, one after the other.
};

} // namespace fw
