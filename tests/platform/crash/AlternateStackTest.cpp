#include "platform/crash/AlternateStack.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <thread>

namespace fw {
namespace {

stack_t current() {
    stack_t stack{};
    EXPECT_EQ(::sigaltstack(nullptr, &stack), 0);
    return stack;
}

bool isSame(const stack_t& one, const stack_t& other) {
    return one.ss_sp == other.ss_sp && one.ss_size == other.ss_size &&
           one.ss_flags == other.ss_flags;
}

TEST(AlternateStack, IsThereWhileItLivesAndThenTheOneBefore) {
    const stack_t before = current();
    {
        const AlternateStack outer;
        const stack_t first = current();
        EXPECT_EQ(first.ss_flags, 0);
        EXPECT_GE(first.ss_size, 65'536U);
        EXPECT_FALSE(isSame(first, before));
        {
            const AlternateStack inner;
            EXPECT_FALSE(isSame(current(), first));
        }
        EXPECT_TRUE(isSame(current(), first));
    }
    EXPECT_TRUE(isSame(current(), before));
}

TEST(AlternateStack, IsThatOfItsThread) {
    const AlternateStack mine;
    const stack_t here = current();
    std::thread([&here] {
        const stack_t before = current();
        EXPECT_FALSE(isSame(before, here));
        const AlternateStack stack;
        EXPECT_FALSE(isSame(current(), here));
    }).join();
    EXPECT_TRUE(isSame(current(), here));
}

/// Where the handler's frame is.
volatile std::uintptr_t place = 0;

void notePlace(int /*signal*/) {
    place = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

TEST(AlternateStack, SignalHandlersRunOnIt) {
    const AlternateStack stack;
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = notePlace;
    action.sa_flags = SA_ONSTACK;
    ::sigaction(SIGUSR1, &action, &before);
    ::raise(SIGUSR1);
    ::sigaction(SIGUSR1, &before, nullptr);
    const auto start = reinterpret_cast<std::uintptr_t>(current().ss_sp);
    EXPECT_GE(place, start);
    EXPECT_LT(place, start + current().ss_size);
}

} // namespace
} // namespace fw
