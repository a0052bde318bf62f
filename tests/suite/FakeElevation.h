#pragma once

#include "platform/elevation/Elevation.h"

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fw::test {

/// Stands in for the machine's administrator rights while it lives: records what is asked of it,
/// runs nothing, and answers as it is told.
class FakeElevation {
public:
    using Texts = std::vector<std::string>;

    FakeElevation()
        : before_(setElevationServices(
              {.adopted = [this] { return adopted; },
               .create = [this] { return created("create"); },
               .createWithPassword =
                   [this](std::string_view user, std::string_view password) {
                       return created("create " + std::string(user) + " " + std::string(password));
                   }})) {}
    ~FakeElevation() { setElevationServices(std::move(before_)); }
    FakeElevation(const FakeElevation&) = delete;
    FakeElevation& operator=(const FakeElevation&) = delete;

    // The answers; 0 is no error.
    int creationError = 0;
    bool givesRight = true;
    int runError = 0;
    Texts output; ///< Of a tool, in the pieces in which it comes.
    AuthorizationRef adopted;
    /// What happens while the user is asked.
    std::function<void()> whenRequested = [] {
    };

    /// What was asked, in order: "create", "create USER PASSWORD", "request", "free".
    Texts calls;
    /// What was run: the tool, each argument in brackets, and "taken" when its output was.
    Texts runs;
    int unreadPieces = 0;

    static std::string call(const std::string& tool, const Texts& arguments) {
        std::string text = tool;
        for (const std::string& argument : arguments) {
            text.append(" [").append(argument).append("]");
        }
        return text;
    }

    AuthorizationRef authorization() { return std::make_shared<Fake>(*this); }

private:
    class Stream final : public ToolStream {
    public:
        Stream(FakeElevation& record, Texts pieces) : record_(record), pieces_(std::move(pieces)) {
            record_.unreadPieces += static_cast<int>(pieces_.size());
        }
        std::string read() override {
            if (next_ == pieces_.size()) {
                return {};
            }
            --record_.unreadPieces;
            return pieces_[next_++];
        }

    private:
        FakeElevation& record_;
        Texts pieces_;
        std::size_t next_ = 0;
    };

    class Fake final : public Authorization {
    public:
        explicit Fake(FakeElevation& record) : record_(record) {}
        bool requestAdministratorRight() override {
            record_.calls.emplace_back("request");
            record_.whenRequested();
            return record_.givesRight;
        }
        Result<std::unique_ptr<ToolStream>> run(const std::string& tool, const Texts& arguments,
                                                ToolOutput output) override {
            const bool isTaken = output == ToolOutput::kTaken;
            record_.runs.push_back(call(tool, arguments) + (isTaken ? " taken" : ""));
            if (record_.runError != 0) {
                return Error{"POSIX", record_.runError, "refused"};
            }
            return std::unique_ptr<ToolStream>(
                std::make_unique<Stream>(record_, isTaken ? record_.output : Texts()));
        }
        void free() override { record_.calls.emplace_back("free"); }

    private:
        FakeElevation& record_;
    };

    Result<AuthorizationRef> created(const std::string& call) {
        calls.push_back(call);
        if (creationError != 0) {
            return Error{"POSIX", creationError, "no authorization"};
        }
        return authorization();
    }

    ElevationServices before_;
};

} // namespace fw::test
