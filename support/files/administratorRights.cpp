#include "support/files/administratorRights.h"

#include "support/FWAuthorization.h"

#include <mutex>

namespace fw {
namespace {

/// Never destroyed: threads may ask while the program ends.
std::mutex& turn() {
    static auto* const instance = new std::mutex;
    return *instance;
}

template <typename Operation>
bool done(Operation operation) {
    const std::lock_guard lock(turn());
    return operation(FWAuthorization::sharedController());
}

} // namespace

FileRights administratorRights() {
    using Path = const std::string&;
    return {.obtain = [] { return done([](FWAuthorization& a) { return a.authStart(); }); },
            .removeFile =
                [](Path path) {
                    return done([&](FWAuthorization& a) { return a.authRemoveFile(path); });
                },
            .trashFile =
                [](Path path) {
                    return done([&](FWAuthorization& a) { return a.authTrashFile(path); });
                },
            .createDirectory =
                [](Path path) {
                    return done([&](FWAuthorization& a) { return a.authCreateDir(path); });
                },
            .copyFile =
                [](Path source, Path destination) {
                    return done(
                        [&](FWAuthorization& a) { return a.authCopyFile(source, destination); });
                },
            .moveFile =
                [](Path source, Path destination) {
                    return done(
                        [&](FWAuthorization& a) { return a.authMoveFile(source, destination); });
                },
            .runTool =
                [](Path tool, const std::vector<std::string>& arguments) {
                    return done([&](FWAuthorization& a) {
                        return a.authExecTask(tool, arguments, Async::kNo) == 0;
                    });
                }};
}

} // namespace fw
