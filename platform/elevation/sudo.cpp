#include "platform/elevation/sudo.h"

#include "platform/FileDescriptor.h"
#include "platform/PosixError.h"
#include "platform/process/ChildProcess.h"
#include "platform/tools/toolPath.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace fw::sudo {
namespace {

constexpr const char* kSudo = "/usr/bin/sudo";
constexpr const char* kSu = "/bin/su";
/// Who may run a shell may run anything.
constexpr const char* kAnything = "/bin/sh";

using Arguments = std::vector<std::string>;

/// A call that shows and reads nothing.
ChildProcessOptions callOf(const char* program, Arguments arguments) {
    ChildProcessOptions options;
    options.path = toolPath(program);
    options.arguments = std::move(arguments);
    options.standardOutput = ChildStream::kNull;
    options.standardError = ChildStream::kNull;
    // Signals of ours do not reach what runs as the superuser: it cannot be ended from here.
    options.whenReleased = WhenReleased::kLeave;
    return options;
}

ChildProcessOptions sudoCall(Arguments arguments) {
    return callOf(kSudo, std::move(arguments));
}

ChildStream streamFor(ToolOutput output) {
    return output == ToolOutput::kTaken ? ChildStream::kPipe : ChildStream::kNull;
}

using Call = std::unique_ptr<ChildProcess>;

/// A call that has ended well. It takes as long as it takes: one that was given up could still
/// start its tool or get its ticket later.
Result<Call> granted(const ChildProcessOptions& options) {
    auto started = ChildProcess::start(options);
    if (!started) {
        return started.error();
    }
    Call call = std::move(started).value();
    if (call->wait() != ChildEnd(ExitedWithStatus{0})) {
        return posixError(EACCES);
    }
    return call;
}

bool isGranted(const ChildProcessOptions& options) {
    return static_cast<bool>(granted(options));
}

/// With the password as so many lines at its standard input.
Result<Call> granted(ChildProcessOptions options, const SecretText& password, int lines) {
    const auto input = password.asLines(lines);
    if (!input) {
        return input.error();
    }
    options.standardInput = ChildInput::kGiven;
    options.givenInput = input.value().get();
    return granted(options);
}

/// The output of a tool that sudo has left to itself: sudo ends at once, the tool's end of the pipe
/// stays.
class PipeStream final : public ToolStream {
public:
    explicit PipeStream(Call call) : call_(std::move(call)) {}
    std::string read() override { return call_->availableOutput(); }

private:
    Call call_;
};

Result<std::unique_ptr<ToolStream>> streamOf(Result<Call> call) {
    if (!call) {
        return call.error();
    }
    return std::unique_ptr<ToolStream>(std::make_unique<PipeStream>(std::move(call).value()));
}

/// What comes before, the tool and its arguments.
Arguments commandOf(Arguments before, const std::string& tool, const Arguments& arguments) {
    // A name alone is a file in the current folder, not one to be searched for.
    before.push_back(tool.find('/') == std::string::npos ? std::string("./").append(tool) : tool);
    before.insert(before.end(), arguments.begin(), arguments.end());
    return before;
}

/// su asks for the password of the administrator, and in their name sudo asks once more: "-k" keeps
/// a ticket that is there from counting.
ChildProcessOptions callAs(const std::string& administrator, const Arguments& sudoArguments) {
    Arguments arguments = {"-s", "/bin/sh",       "-c", "exec \"$@\"", "--", administrator,
                           "sh", toolPath(kSudo), "-S", "-k",          "-p", ""};
    arguments.insert(arguments.end(), sudoArguments.begin(), sudoArguments.end());
    return callOf(kSu, std::move(arguments));
}

/// A process in the background has a terminal, too, and would be stopped when it asks there.
bool mayAskOnTerminal() {
    const FileDescriptor terminal(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
    return terminal && ::tcgetpgrp(terminal.get()) == ::getpgrp();
}

} // namespace

bool isInstalled() {
    return isExecutableFile(toolPath(kSudo)) && isExecutableFile(toolPath(kSu));
}

bool ask() {
    ChildProcessOptions call =
        sudoCall(mayAskOnTerminal() ? Arguments{"-v"} : Arguments{"-A", "-v"});
    call.standardError = ChildStream::kInherit; // Where sudo tells what it misses.
    return isGranted(call);
}

bool authenticate(const SecretText& password) {
    const auto accepts = [&](const Arguments& arguments) {
        return static_cast<bool>(granted(sudoCall(arguments), password, 1));
    };
    // "-k" keeps a ticket that is there from counting, and a new one from being kept.
    return accepts({"-S", "-k", "-p", "", "-v"}) &&
           (hasTicket() || accepts({"-S", "-p", "", "-v"}));
}

bool hasTicket() {
    return isGranted(sudoCall({"-n", "-v"}));
}

bool mayRunAnything() {
    return isGranted(sudoCall({"-n", "-l", "--", kAnything}));
}

void endTicket() {
    static_cast<void>(isGranted(sudoCall({"-k"})));
}

Result<std::unique_ptr<ToolStream>> run(const std::string& tool, const Arguments& arguments,
                                        ToolOutput output) {
    // "-b": sudo looks at the rights, starts the tool and ends, while the tool runs on.
    ChildProcessOptions call = sudoCall(commandOf({"-n", "-b", "--"}, tool, arguments));
    call.standardOutput = streamFor(output);
    return streamOf(granted(call));
}

bool mayRunAnything(const std::string& administrator, const SecretText& password) {
    return static_cast<bool>(granted(callAs(administrator, {"-l", "--", kAnything}), password, 2));
}

Result<std::unique_ptr<ToolStream>> run(const std::string& administrator,
                                        const SecretText& password, const std::string& tool,
                                        const Arguments& arguments, ToolOutput output) {
    // A tool has the standard input of its sudo, with the second line in it still where sudo asks
    // this administrator for none. A shell takes it away.
    const Arguments withoutInput = {"-b", "--", kAnything, "-c", "exec \"$@\" </dev/null", "sh"};
    ChildProcessOptions call = callAs(administrator, commandOf(withoutInput, tool, arguments));
    call.standardOutput = streamFor(output);
    return streamOf(granted(std::move(call), password, 2));
}

} // namespace fw::sudo
