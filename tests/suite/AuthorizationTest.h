#pragma once

#include "platform/tools/toolPath.h"
#include "support/FWAuthorization.h"
#include "tests/suite/FakeElevation.h"
#include "tests/suite/FileTest.h"
#include "tests/suite/ScopedUser.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace fw::test {

/// A test of the shared instance, without rights at first. Whatever happens, nothing but scripts
/// that record their arguments stands in the place of the four tools, and nothing runs with rights.
/// A test of what the tools do takes the stand-ins away, and names only files of its own folder.
class AuthorizationTest : public FileTest {
protected:
    using Texts = std::vector<std::string>;

    AuthorizationTest() : toolsBefore_(setStandInTools(recorders())) {}
    ~AuthorizationTest() override {
        finishTools();
        setStandInTools(std::move(toolsBefore_));
        authorization_.setAuthRef(nullptr);
    }

    void SetUp() override {
        authorization_.setAuthRef(nullptr);
        authorization_.setHasGUI(true);
        elevation_.calls.clear();
    }

    void authorize() { authorization_.setAuthRef(elevation_.authorization()); }
    /// A run as it is recorded: the tool, and each argument in brackets.
    static std::string call(const std::string& tool, const Texts& arguments) {
        return FakeElevation::call(tool, arguments);
    }
    /// What was run with rights, the stand-ins under the names of their tools.
    Texts runs() const;
    /// What the stand-ins were asked, once all have ended.
    Texts recorded() const;
    /// Until the tools that were started have ended.
    static void finishTools();

    /// The home of the user of this process, and the Trash in it.
    static std::string home() { return std::getenv("HOME"); }
    static std::string trash() { return home() + "/.Trash"; }

    FakeElevation elevation_;
    FWAuthorization& authorization_ = FWAuthorization::sharedController();

private:
    StandInTools recorders() const;

    StandInTools toolsBefore_;
};

/// The paths that are refused wherever the machine has them, by every spelling.
std::vector<std::string> refusedDirectories();

} // namespace fw::test
