// Each test looks at an instance that is made in a process of its own, which leaves nothing behind
// although it ends in the middle.
#include "support/FWAuthorization.h"
#include "tests/suite/FakeElevation.h"
#include "tests/suite/ScopedUser.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <type_traits>
#include <vector>

namespace fw {
namespace {

using namespace test;

class FWAuthorizationLife : public testing::Test {
protected:
    FWAuthorizationLife() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    /// The code runs in a process of its own and says whether all is as it should be.
    template <typename Code>
    static void inItsOwnProcess(Code code) {
        EXPECT_EXIT(std::exit(code() ? 0 : 1), testing::ExitedWithCode(0), "");
    }

    const ScopedUser user_{ScopedUser::kNobodyKnown};
    FakeElevation elevation_;
};

TEST_F(FWAuthorizationLife, IsMadeOnce) {
    inItsOwnProcess([] {
        FWAuthorization* const first = FWAuthorization::create();
        return first != nullptr && FWAuthorization::create() == nullptr &&
               FWAuthorization::createWithoutGUI() == nullptr &&
               &FWAuthorization::sharedController() == first;
    });
}

TEST_F(FWAuthorizationLife, IsMadeByTheFirstQuestion) {
    inItsOwnProcess([] {
        FWAuthorization& shared = FWAuthorization::sharedController();
        return FWAuthorization::create() == nullptr &&
               &FWAuthorization::sharedController(WithGui::kNo) == &shared && shared.hasGUI();
    });
}

TEST_F(FWAuthorizationLife, HasAGuiUnlessItWasMadeWithout) {
    inItsOwnProcess([] { return FWAuthorization::create()->hasGUI(); });
    inItsOwnProcess([] { return !FWAuthorization::createWithoutGUI()->hasGUI(); });
    inItsOwnProcess([] { return FWAuthorization::sharedController(WithGui::kYes).hasGUI(); });
    inItsOwnProcess([] {
        return !FWAuthorization::sharedController(WithGui::kNo).hasGUI() &&
               !FWAuthorization::sharedController().hasGUI();
    });
}

TEST_F(FWAuthorizationLife, IsNotAuthorizedAtFirst) {
    inItsOwnProcess([&] {
        const FWAuthorization& shared = FWAuthorization::sharedController();
        return !shared.isAuthorized() && shared.authRef() == nullptr && elevation_.calls.empty();
    });
}

TEST_F(FWAuthorizationLife, CountsNoOwners) {
    inItsOwnProcess([] {
        FWAuthorization& shared = FWAuthorization::sharedController();
        shared.release();
        shared.release();
        return &shared.copy() == &shared && &shared.retain() == &shared &&
               &shared.autorelease() == &shared && shared.retainCount() == 4294967295U &&
               &FWAuthorization::sharedController() == &shared;
    });
    static_assert(!std::is_copy_constructible_v<FWAuthorization>);
    static_assert(!std::is_default_constructible_v<FWAuthorization>);
}

TEST_F(FWAuthorizationLife, AdoptsWhatAParentHandsDown) {
    inItsOwnProcess([&] {
        elevation_.adopted = elevation_.authorization();
        FWAuthorization& shared = FWAuthorization::sharedController(WithGui::kNo);
        return shared.isAuthorized() && shared.authRef() == elevation_.adopted &&
               shared.authExecTask("/bin/sh", {"x"}) == 0 &&
               elevation_.runs == FakeElevation::Texts{"/bin/sh [x]"} && elevation_.calls.empty();
    });
}

TEST_F(FWAuthorizationLife, IsMadeByOneOfManyThreads) {
    inItsOwnProcess([] {
        std::atomic<int> made = 0;
        std::atomic<int> same = 0;
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 8; ++i) {
                threads.emplace_back([&] {
                    made += FWAuthorization::create() != nullptr ? 1 : 0;
                    same += FWAuthorization::sharedController().retain().hasGUI() ? 1 : 0;
                });
            }
        }
        return made == 1 && same == 8;
    });
}

/// Says on standard error when it is freed.
class Spoken final : public Authorization {
public:
    bool requestAdministratorRight() override { return true; }
    Result<std::unique_ptr<ToolStream>> run(const std::string&, const std::vector<std::string>&,
                                            ToolOutput) override {
        return Error{};
    }
    void free() override { std::cerr << "freed" << std::endl; }
};

TEST_F(FWAuthorizationLife, EndsTheAuthorizationAtTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            FWAuthorization::sharedController().setAuthRef(std::make_shared<Spoken>());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "freed");
}

} // namespace
} // namespace fw
