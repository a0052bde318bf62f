#include "support/files/backgroundQueue.h"

#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "support/CrashReports.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <exception>
#include <utility>

namespace fw {
namespace {

/// Begun at first use. Never destroyed: its threads may be in a delegate while the program ends.
boost::asio::thread_pool& pool() {
    static auto* const instance = new boost::asio::thread_pool(kBackgroundThreads);
    return *instance;
}

} // namespace

void runInBackground(std::function<void()> function) {
    try {
        boost::asio::post(pool(), [function = std::move(function)] {
            const CrashReportedThread reported;
            function();
        });
    } catch (const std::exception& exception) { // No memory, or no more threads.
        systemLog(formattedText("Unable to run in the background: %@", exception.what()));
    }
}

} // namespace fw
