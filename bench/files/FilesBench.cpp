// bench_files WHAT FILE...: does one thing, once, for files.py to time, and prints its result and
// the peak of its memory in KiB:
//
//     nothing                   what the program itself costs
//     copy SOURCE DESTINATION   a copy without verification
//     verified SOURCE DESTINATION...   a copy with SHA-256 verification
//     reads-and-writes SOURCE DESTINATION...   the same reads, writes and read-backs, no digests
//     digests SOURCE COUNT      SHA-256 of the file's bytes COUNT times, one thread for each core
//     md5 FILE, sha1 FILE, sha512 FILE   the checksum of a file
#include "base/text.h"
#include "bench/PeakMemory.h"
#include "platform/FileDescriptor.h"
#include "platform/digest/Digest.h"
#include "support/FWFileManager.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using fw::FWFileManager;
using Texts = std::vector<std::string>;

constexpr std::size_t kChunkBytes = 65536;

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

fw::FileDescriptor opened(const std::string& path, int flags) {
    fw::FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC, 0666));
    require(static_cast<bool>(file), "a file cannot be opened");
    return file;
}

void copy(const Texts& paths, fw::FileVerification verification) {
    require(paths.size() >= 2, "a copy has a source and destinations");
    require(FWFileManager::copyFileWithProgress(paths[0], {paths.begin() + 1, paths.end()},
                                                verification, std::nullopt, {}, {}),
            "the copy failed");
}

void readsAndWrites(const Texts& paths) {
    const fw::FileDescriptor source = opened(paths.at(0), O_RDONLY);
    std::vector<fw::FileDescriptor> destinations;
    for (std::size_t i = 1; i < paths.size(); ++i) {
        destinations.push_back(opened(paths[i], O_RDWR | O_CREAT | O_TRUNC));
    }
    std::vector<char> chunk(kChunkBytes);
    std::vector<char> readBack(kChunkBytes);
    ssize_t count = 0;
    while ((count = ::read(source.get(), chunk.data(), chunk.size())) > 0) {
        const auto bytes = static_cast<std::size_t>(count);
        for (const fw::FileDescriptor& destination : destinations) {
            require(::write(destination.get(), chunk.data(), bytes) == count &&
                        ::lseek(destination.get(), -count, SEEK_CUR) >= 0 &&
                        ::read(destination.get(), readBack.data(), bytes) == count,
                    "a destination cannot be written and read back");
        }
    }
    require(count == 0, "the source cannot be read");
}

void digest(const std::string& path) {
    const fw::FileDescriptor source = opened(path, O_RDONLY);
    std::vector<std::byte> chunk(kChunkBytes);
    fw::Digest digest = fw::Sha256Digest();
    ssize_t count = 0;
    while ((count = ::read(source.get(), chunk.data(), chunk.size())) > 0) {
        digest.update(std::span(chunk).first(static_cast<std::size_t>(count)));
    }
    require(digest.bytes().size() == 32, "there is no digest");
}

void digests(const std::string& path, std::int64_t times) {
    std::atomic<std::int64_t> left = times;
    std::vector<std::jthread> threads(std::max(1U, std::thread::hardware_concurrency()));
    for (std::jthread& thread : threads) {
        thread = std::jthread([&] {
            while (left-- > 0) {
                digest(path);
            }
        });
    }
}

void run(const std::string& what, const Texts& arguments) {
    if (what == "copy") {
        copy(arguments, fw::FileVerification::kNone);
    } else if (what == "verified") {
        copy(arguments, fw::FileVerification::kSha256);
    } else if (what == "reads-and-writes") {
        readsAndWrites(arguments);
    } else if (what == "digests") {
        digests(arguments.at(0), fw::leadingInteger(arguments.at(1)));
    } else if (what == "md5") {
        std::puts(FWFileManager::md5HashForFile(arguments.at(0)).c_str());
    } else if (what == "sha1") {
        std::puts(FWFileManager::sha1HashForFile(arguments.at(0)).c_str());
    } else if (what == "sha512") {
        std::puts(FWFileManager::sha512HashForFile(arguments.at(0)).c_str());
    } else {
        require(what == "nothing", "this is not known");
    }
}

} // namespace

int main(int argc, char** argv) {
    const Texts arguments(argv, argv + argc);
    try {
        run(arguments.at(1), {arguments.begin() + 2, arguments.end()});
        fw::bench::printPeakMemory();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "bench_files: %s\n", exception.what());
        return 1;
    }
    return 0;
}
