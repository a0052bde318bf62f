#pragma once

#include <sys/resource.h>

#include <cstddef>
#include <fstream>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace fw::test {

/// While it lives, the process can start so many threads and no more.
class RoomForThreads {
public:
    explicit RoomForThreads(std::size_t count) {
        // Its end frees large stacks of earlier threads, which new ones would take over.
        std::thread([] {}).join();
        pthread_attr_t attributes;
        ::pthread_getattr_default_np(&attributes);
        ::pthread_attr_getstacksize(&attributes, &stackBytes_);
        ::pthread_attr_destroy(&attributes);
        setStackBytes(kStackBytes);
        ::getrlimit(RLIMIT_AS, &before_);
        const rlimit little{usedBytes() + count * kStackBytes + kStackBytes / 2, before_.rlim_max};
        ::setrlimit(RLIMIT_AS, &little);
    }
    ~RoomForThreads() {
        ::setrlimit(RLIMIT_AS, &before_);
        setStackBytes(stackBytes_);
    }
    RoomForThreads(const RoomForThreads&) = delete;
    RoomForThreads& operator=(const RoomForThreads&) = delete;

private:
    /// Far more than all else that a test asks for.
    static constexpr std::size_t kStackBytes = std::size_t{512} << 20U;

    static void setStackBytes(std::size_t bytes) {
        pthread_attr_t attributes;
        ::pthread_attr_init(&attributes);
        ::pthread_attr_setstacksize(&attributes, bytes);
        ::pthread_setattr_default_np(&attributes);
        ::pthread_attr_destroy(&attributes);
    }
    static std::size_t usedBytes() {
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    }

    std::size_t stackBytes_ = 0;
    rlimit before_{};
};

} // namespace fw::test
