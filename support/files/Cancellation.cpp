#include "support/files/Cancellation.h"

#include "support/files/backgroundQueue.h"
#include "support/files/guardedCall.h"

#include <utility>

namespace fw {

void Cancellation::ask(Question question) const {
    runInBackground([question = std::move(question), flag = flag_] {
        std::optional<bool> answer;
        guardedCall([&] { answer = question(); });
        if (!answer.value_or(false)) {
            *flag = true;
        }
    });
}

} // namespace fw
