// Uses the shared authorization, with the machine's real rights, as its arguments say, one after
// the other, and prints what comes out:
//   gui  no-gui          makes the instance
//   start                authStart
//   with=USER:PASSWORD   authStartWithUser
//   end  authorized
//   run=SCRIPT           waits for a shell script with rights
//   async=SCRIPT         does not wait
//   missing              runs a tool that is not there
//   ticket               whether this process's user has a ticket of sudo
//   forget               ends that ticket, behind the authorization's back
//   kill                 ends this process on the spot
//   child=A|B|...        this program as a child, with these arguments
//   unmarked=A|B|...     the same without the environment that children inherit
//   exists=PATH
//   remove=PATH  trash=PATH  make=PATH  move=FROM|TO  copy=FROM|TO
#include "base/text.h"
#include "platform/process/RunningProgram.h"
#include "support/FWAuthorization.h"
#include "support/FWLog.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace fw {
namespace {

FWAuthorization& shared() {
    return FWAuthorization::sharedController();
}

std::vector<std::string> parts(const std::string& text) {
    std::vector<std::string> all;
    for (const std::string_view part : splitAtAnyOf(text, "|")) {
        all.emplace_back(part);
    }
    return all;
}

int start(const std::string& userAndPassword) {
    const std::size_t colon = userAndPassword.find(':');
    return shared().authStartWithUser(userAndPassword.substr(0, colon),
                                      userAndPassword.substr(colon + 1));
}

int hasTicket() {
    return FWTaskEx::terminationCodeFromTask("/usr/bin/sudo", {"-n", "-v"}) == 0;
}

/// Its output shows up among ours.
int runChild(const std::string& arguments, const std::optional<TaskEnvironment>& environment) {
    TaskSlot task;
    const auto output = FWTaskEx::dataFromTask(runningExecutable(), parts(arguments), task,
                                               environment, LogOutput::kYes, LogError::kYes);
    std::fwrite(output->data(), 1, output->size(), stdout);
    return output.has_value();
}

using Instruction = std::function<int(const std::string&)>;

const std::map<std::string_view, Instruction>& instructions() {
    static const std::map<std::string_view, Instruction> all = {
        {"gui",
         [](const auto&) {
             return FWAuthorization::create() != nullptr;
         }},
        {"no-gui",
         [](const auto&) {
             return FWAuthorization::createWithoutGUI() != nullptr;
         }},
        {"start",
         [](const auto&) {
             return shared().authStart();
         }},
        {"with", start},
        {"end",
         [](const auto&) {
             return shared().authEnd(), 1;
         }},
        {"authorized",
         [](const auto&) {
             return shared().isAuthorized();
         }},
        {"run",
         [](const auto& script) {
             return shared().authExecTask("/bin/sh", {"-c", script}, Async::kNo);
         }},
        {"async",
         [](const auto& script) {
             return shared().authExecTask("/bin/sh", {"-c", script}, Async::kYes);
         }},
        {"missing",
         [](const auto&) {
             return shared().authExecTask("/nonexistent/tool", {});
         }},
        {"ticket",
         [](const auto&) {
             return hasTicket();
         }},
        {"forget",
         [](const auto&) {
             return FWTaskEx::terminationCodeFromTask("/usr/bin/sudo", {"-k"}) == 0;
         }},
        {"kill",
         [](const auto&) {
             return ::raise(SIGKILL);
         }},
        {"child",
         [](const auto& arguments) {
             return runChild(arguments, std::nullopt);
         }},
        {"unmarked",
         [](const auto& arguments) {
             return runChild(arguments, TaskEnvironment{{"HOME", std::getenv("HOME")}});
         }},
        {"exists",
         [](const auto& path) {
             return std::filesystem::exists(path);
         }},
        {"remove",
         [](const auto& path) {
             return shared().authRemoveFile(path);
         }},
        {"trash",
         [](const auto& path) {
             return shared().authTrashFile(path);
         }},
        {"make",
         [](const auto& path) {
             return shared().authCreateDir(path);
         }},
        {"move",
         [](const auto& paths) {
             return shared().authMoveFile(parts(paths).front(), parts(paths).back());
         }},
        {"copy",
         [](const auto& paths) {
             return shared().authCopyFile(parts(paths).front(), parts(paths).back());
         }},
    };
    return all;
}

} // namespace
} // namespace fw

int main(int argc, char** argv) {
    fw::FWLog::createNewLog("Probe", fw::NoPrinting::kYes);
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
        const std::string name = argument.substr(0, equals);
        const int result = fw::instructions().at(name)(value);
        std::printf("%s %d\n", name.c_str(), result);
        std::fflush(stdout);
    }
    return 0;
}
