#include "support/files/Cancellation.h"

#include "tests/suite/FileTest.h"
#include "tests/support/RoomForThreads.h"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <latch>
#include <mutex>

namespace fw {
namespace {

using namespace test;
using testing::IsEmpty;

/// Questions that are answered when the test says so.
class SlowQuestions {
public:
    ~SlowQuestions() { answer(); }

    Cancellation::Question question(bool answer) {
        return [this, answer] {
            {
                const std::lock_guard lock(mutex_);
                most = std::max(most, ++open_);
            }
            ++asked;
            answered_.wait();
            const std::lock_guard lock(mutex_);
            --open_;
            return answer;
        };
    }
    void answer() {
        if (!answered_.try_wait()) {
            answered_.count_down();
        }
        finishBackground();
    }

    std::atomic<int> asked = 0;
    int most = 0; ///< At the same time; to be read when all are answered.

private:
    std::mutex mutex_;
    int open_ = 0;
    std::latch answered_{1};
};

class CancellationTest : public FileTest {
protected:
    SlowQuestions slow;
    Cancellation cancellation;
};

TEST_F(CancellationTest, AnAnswerThatIsFalseOrEmptyCancels) {
    cancellation.ask([] { return true; });
    finishBackground();
    EXPECT_FALSE(cancellation.isCancelled());
    for (const std::optional<bool> answer : {std::optional(false), std::optional<bool>()}) {
        const Cancellation other;
        const Cancellation copy = other;
        other.ask([answer] { return answer; });
        finishBackground();
        EXPECT_TRUE(copy.isCancelled());
    }
    EXPECT_FALSE(cancellation.isCancelled());
}

TEST_F(CancellationTest, QuestionsThatAreNotAnsweredHoldUpNoOtherOperation) {
    std::vector<Cancellation> operations(30);
    for (const Cancellation& operation : operations) {
        for (int i = 0; i < 10; ++i) {
            operation.ask(slow.question(true));
        }
    }
    cancellation.ask([] { return false; });
    waitUntil([&] { return cancellation.isCancelled(); });
    slow.answer();
    EXPECT_EQ(slow.asked, 300);
}

TEST_F(CancellationTest, OneThatIsNotAnsweredHoldsUpNoOtherOfItsOperation) {
    cancellation.ask(slow.question(true));
    cancellation.ask([] { return false; });
    waitUntil([&] { return cancellation.isCancelled(); });
}

TEST_F(CancellationTest, OneOperationAsksFourQuestionsAtOnceAndTheOthersThen) {
    for (int i = 0; i < 500; ++i) {
        cancellation.ask(slow.question(i < 499));
    }
    waitUntil([&] { return slow.asked == Cancellation::kQuestionsAtOnce; });
    EXPECT_FALSE(cancellation.isCancelled());
    slow.answer();
    EXPECT_EQ(slow.asked, 500);
    EXPECT_EQ(slow.most, Cancellation::kQuestionsAtOnce);
    EXPECT_TRUE(cancellation.isCancelled());
}

TEST_F(CancellationTest, WhereThereIsRoomForOneThreadItAsksAllQuestions) {
    {
        const RoomForThreads room(1);
        for (int i = 0; i < 10; ++i) {
            cancellation.ask(slow.question(i < 9));
        }
    }
    slow.answer();
    EXPECT_EQ(slow.asked, 10);
    EXPECT_EQ(slow.most, 1);
    EXPECT_TRUE(cancellation.isCancelled());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(CancellationTest, WithoutAnyThreadAQuestionIsNotAskedAndTheSystemLogIsTold) {
    {
        const RoomForThreads room(0);
        cancellation.ask(slow.question(false));
    }
    slow.answer();
    EXPECT_EQ(slow.asked, 0);
    EXPECT_THAT(systemLogged(),
                testing::ElementsAre(testing::StartsWith("Unable to run in the background: ")));
    cancellation.ask([] { return true; });
    finishBackground();
    EXPECT_FALSE(cancellation.isCancelled());
}

} // namespace
} // namespace fw
