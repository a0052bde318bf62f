#pragma once

#include "platform/tools/toolPath.h"
#include "tests/support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace fw::test {

/// Scripts in the place of sudo and su while it lives, with one ticket and one password.
/// They record how they are called, and run what they are told with no rights at all.
class FakeSudo {
public:
    /// A text that no environment has by chance.
    static constexpr const char* kPassword = "tHe-riGht-0ne,kEpt";

    FakeSudo();
    ~FakeSudo();
    FakeSudo(const FakeSudo&) = delete;
    FakeSudo& operator=(const FakeSudo&) = delete;

    /// "sudo" or "su" and the arguments in brackets, for each call since the last question.
    std::vector<std::string> calls();
    /// What the environments of all calls were, and every argument.
    std::string everythingSeen() const;

    bool hasTicket() const;
    void giveTicket() const;
    void takeTicket() const;
    /// The ticket gives no right to run everything.
    void withholdRight() const;
    /// sudo needs no password from now on, and reads none.
    void askNobody() const;
    /// Who is asked gives the password.
    void answerPrompts() const;
    /// There is no such program from now on.
    void uninstall(const std::string& program) const;

    std::string file(const std::string& name) const { return folder_.file(name); }

private:
    TemporaryFolder folder_;
    StandInTools before_;
    std::size_t callsTold_ = 0;
};

} // namespace fw::test
