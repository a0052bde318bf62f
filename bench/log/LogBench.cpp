// The log beside spdlog, in alternating runs; prints medians and their ratio.
//   bench_log [RUNS]
#include "platform/folders/folderServices.h"
#include "support/FWLog.h"

#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

const std::string kReason = "the chroma of this frame lies outside the reference";

double nanoseconds(Clock::duration time) {
    return std::chrono::duration<double, std::nano>(time).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// A folder for the logs of both, which goes at the end.
class LogHome {
public:
    LogHome() {
        std::string pattern = (fs::temp_directory_path() / "oxbow-bench-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
        ::setenv("HOME", path_.c_str(), 1);
        // The superuser's log would be the machine's.
        fw::setFolderServices({[] { return 1000U; },
                               [this](auto, auto) {
                                   return std::vector<std::string>{path_ + "/Library"};
                               }});
    }
    ~LogHome() { fs::remove_all(path_); }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

using Lines = std::function<void(int count)>;

void ourLines(int count) {
    for (int i = 0; i < count; ++i) {
        fw::FWLog::fastAppendLog("frame %li of %i: %@", std::int64_t{i}, count, kReason);
    }
}

void spdlogLines(spdlog::logger& logger, int count) {
    for (int i = 0; i < count; ++i) {
        logger.info("frame {} of {}: {}", std::int64_t{i}, count, kReason);
    }
}

/// The caller's time for one line of a burst that the queues of both hold; the writing is waited
/// for outside of the measured time.
constexpr int kBurst = 5000;

double ourCallersCost() {
    fw::FWLog::createNewLog("bench", fw::NoPrinting::kYes);
    fw::FWLog::finishWriting();
    const auto start = Clock::now();
    ourLines(kBurst);
    const auto time = Clock::now() - start;
    fw::FWLog::finishWriting();
    return nanoseconds(time) / kBurst;
}

double spdlogCallersCost(const LogHome& home) {
    spdlog::init_thread_pool(8192, 1);
    const auto logger =
        spdlog::basic_logger_mt<spdlog::async_factory>("async", home.file("async.log"), true);
    const auto start = Clock::now();
    spdlogLines(*logger, kBurst);
    const auto time = Clock::now() - start;
    spdlog::drop_all();
    spdlog::shutdown();
    return nanoseconds(time) / kBurst;
}

/// Lines on disk: ours from the first call to the end of finishWriting, spdlog's with a flush after
/// each line. Both below five million bytes.
constexpr int kLines = 40000;

double ourTimeToDisk() {
    fw::FWLog::createNewLog("bench", fw::NoPrinting::kYes);
    fw::FWLog::finishWriting();
    const auto start = Clock::now();
    ourLines(kLines);
    fw::FWLog::finishWriting();
    return nanoseconds(Clock::now() - start) / kLines;
}

double spdlogTimeToDisk(const LogHome& home) {
    const auto logger = spdlog::basic_logger_st("disk", home.file("disk.log"), true);
    logger->flush_on(spdlog::level::info);
    const auto start = Clock::now();
    spdlogLines(*logger, kLines);
    const auto time = Clock::now() - start;
    spdlog::drop_all();
    return nanoseconds(time) / kLines;
}

void compare(const char* what, int runs, const std::function<double()>& ours,
             const std::function<double()>& theirs) {
    std::vector<double> our;
    std::vector<double> their;
    for (int i = 0; i < runs; ++i) {
        our.push_back(ours());
        their.push_back(theirs());
    }
    std::printf("%-34s FWLog %8.0f ns   spdlog %8.0f ns   ratio %.2f\n", what, median(our),
                median(their), median(our) / median(their));
}

} // namespace

int main(int argc, char** argv) {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 21;
    const LogHome home;
    compare("caller's cost of a line", runs, ourCallersCost,
            [&] { return spdlogCallersCost(home); });
    compare("a line on disk", runs, ourTimeToDisk, [&] { return spdlogTimeToDisk(home); });
    const auto bytes = fs::file_size(fw::FWLog::availableLogs().front());
    std::printf("%d lines, %ju bytes in one file\n", kLines, static_cast<std::uintmax_t>(bytes));
    return bytes < 5'000'000 ? 0 : 1;
}
