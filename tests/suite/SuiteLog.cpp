#include "tests/suite/SuiteLog.h"

#include "support/FWLog.h"
#include "tests/support/TestHome.h"

#include <fstream>

namespace fw::test {
namespace {

/// The log of the whole process.
class LogOfAllTests : public testing::Environment {
public:
    static std::vector<std::string> lines() {
        FWLog::finishWriting();
        std::vector<std::string> lines;
        std::ifstream log(home().file("Library/Logs/Fernwick/Tests.1.log"));
        for (std::string line; std::getline(log, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    void SetUp() override {
        home();
        FWLog::createNewLog("Tests");
    }

private:
    /// It goes at the end of the process, after the log.
    static const TestHome& home() {
        static const TestHome instance;
        return instance;
    }
};

const auto* const logOfAllTests = testing::AddGlobalTestEnvironment(new LogOfAllTests);

} // namespace

SuiteLog::SuiteLog() : before_(LogOfAllTests::lines().size()) {}

std::vector<std::string> SuiteLog::texts() const {
    const std::vector<std::string> lines = LogOfAllTests::lines();
    std::vector<std::string> texts;
    for (std::size_t i = before_; i < lines.size(); ++i) {
        const std::size_t dash = lines[i].find(" - ");
        texts.push_back(dash == std::string::npos ? lines[i] : lines[i].substr(dash + 3));
    }
    return texts;
}

} // namespace fw::test
