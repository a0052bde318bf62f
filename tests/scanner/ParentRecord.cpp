#include "tests/scanner/ParentRecord.h"

#include "base/PlatformException.h"

#include <sstream>

namespace fw::test {
namespace {

class RecordProxy final : public ParentProxy {
public:
    explicit RecordProxy(ParentRecord& record) : record_(record) {}

    bool respondsTo(std::string_view operation) override {
        record_.add("responds " + std::string(operation));
        return false; // The answer must not matter.
    }
    void callback(const std::string& note) override { record_.add("callback " + note); }
    void frameProcessed(const FrameReport& report) override {
        record_.add("frame " + describe(report));
    }
    void frameProcessingFailedWithError(const Error& error) override {
        record_.add("failed " + error.domain + " " + std::to_string(error.code) + " " +
                    error.description);
    }
    void frameProcessingFinished() override { record_.add("finished"); }

private:
    ParentRecord& record_;
};

class RecordConnection final : public ParentConnection {
public:
    explicit RecordConnection(ParentRecord& record)
        : proxy_(std::make_shared<RecordProxy>(record)) {}
    std::shared_ptr<ParentProxy> rootProxy() override { return proxy_; }

private:
    std::shared_ptr<ParentProxy> proxy_;
};

} // namespace

std::function<std::shared_ptr<ParentConnection>(const std::string&)> ParentRecord::finder() {
    return [this](const std::string& name) {
        names.push_back(name);
        return std::make_shared<RecordConnection>(*this);
    };
}

std::vector<std::string> ParentRecord::eventsOf(const std::string& word) const {
    std::vector<std::string> found;
    for (const std::string& event : events) {
        if (event.starts_with(word + " ")) {
            found.push_back(event.substr(word.size() + 1));
        }
    }
    return found;
}

void ParentRecord::add(const std::string& event) {
    if (goneAt && events.size() >= *goneAt) {
        throw PlatformException("The parent is gone.");
    }
    if (onEvent) {
        onEvent(event);
    }
    events.push_back(event);
}

std::shared_ptr<ParentConnection> noParent(const std::string&) {
    return nullptr;
}

std::string describe(const FrameReport& report) {
    std::ostringstream text;
    text << report.frame;
    if (report.timecode) {
        text << ' ' << *report.timecode;
    }
    if (report.val) {
        text << ' ' << *report.val;
    }
    if (report.timescale) {
        text << '/' << *report.timescale;
    }
    if (report.errors) {
        text << " [";
        for (std::size_t i = 0; i < report.errors->size(); ++i) {
            text << (i == 0 ? "" : "; ") << (*report.errors)[i];
        }
        text << ']';
    }
    if (report.info) {
        text << " {" << *report.info << '}';
    }
    return text.str();
}

} // namespace fw::test
