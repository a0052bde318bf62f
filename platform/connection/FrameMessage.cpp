#include "platform/connection/FrameMessage.h"

#include "platform/connection/WireText.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <variant>

namespace fw {
namespace {

/// Far more than one frame can have; a peer shall not make us hold millions of texts.
constexpr std::size_t kMaximumErrors = 4096;

const char* signatureOf(const FrameReport::Value& value) {
    struct {
        const char* operator()(std::int64_t) const { return "x"; }
        const char* operator()(std::int32_t) const { return "i"; }
        const char* operator()(const std::string&) const { return "s"; }
        const char* operator()(const std::vector<std::string>&) const { return "as"; }
    } const signature;
    return std::visit(signature, value);
}

void check(int result) {
    checkedBusCall(result, "A message to the parent cannot be made");
}

class ValueAppender {
public:
    explicit ValueAppender(sd_bus_message* message) : message_(message) {}

    void operator()(std::int64_t number) const {
        check(sd_bus_message_append_basic(message_, 'x', &number));
    }
    void operator()(std::int32_t number) const {
        check(sd_bus_message_append_basic(message_, 'i', &number));
    }
    void operator()(const std::string& text) const {
        check(sd_bus_message_append_basic(message_, 's', wireText(text).c_str()));
    }
    void operator()(const std::vector<std::string>& texts) const {
        check(sd_bus_message_open_container(message_, 'a', "s"));
        for (const std::string& text : texts) {
            (*this)(text);
        }
        check(sd_bus_message_close_container(message_));
    }

private:
    sd_bus_message* message_;
};

void appendDictionary(sd_bus_message* message, const FrameReport::Dictionary& dictionary) {
    check(sd_bus_message_open_container(message, 'a', "{sv}"));
    for (const auto& [key, value] : dictionary) {
        check(sd_bus_message_open_container(message, 'e', "sv"));
        check(sd_bus_message_append_basic(message, 's', key.c_str()));
        check(sd_bus_message_open_container(message, 'v', signatureOf(value)));
        std::visit(ValueAppender(message), value);
        check(sd_bus_message_close_container(message));
        check(sd_bus_message_close_container(message));
    }
    check(sd_bus_message_close_container(message));
}

int checkRead(int result) {
    return checkedBusCall(result, "A message of the scanner cannot be read");
}

template <typename Number>
void readNumber(sd_bus_message* message, char type, Number& into) {
    checkRead(sd_bus_message_read_basic(message, type, &into));
}

void readValue(sd_bus_message* message, std::int64_t& into) {
    readNumber(message, 'x', into);
}

void readValue(sd_bus_message* message, std::int32_t& into) {
    readNumber(message, 'i', into);
}

void readValue(sd_bus_message* message, std::string& into) {
    const char* text = nullptr;
    checkRead(sd_bus_message_read_basic(message, 's', &text));
    into = text;
}

void readValue(sd_bus_message* message, std::vector<std::string>& into) {
    checkRead(sd_bus_message_enter_container(message, 'a', "s"));
    const char* text = nullptr;
    while (checkRead(sd_bus_message_read_basic(message, 's', &text)) > 0) {
        if (into.size() == kMaximumErrors) {
            throw PlatformException("A message of the scanner has too many errors");
        }
        into.emplace_back(text);
    }
    checkRead(sd_bus_message_exit_container(message));
}

/// A variant that holds the type of `into`; nothing else is taken.
template <typename Value>
void readVariant(sd_bus_message* message, Value& into) {
    Value value = {};
    if (checkRead(sd_bus_message_enter_container(message, 'v',
                                                 signatureOf(FrameReport::Value(value)))) == 0) {
        throw PlatformException("A message of the scanner ends too early");
    }
    readValue(message, value);
    checkRead(sd_bus_message_exit_container(message));
    into = std::move(value);
}

template <typename Value>
void readVariant(sd_bus_message* message, std::optional<Value>& into) {
    Value value = {};
    readVariant(message, value);
    into = std::move(value);
}

/// Calls `readEntry` for each key; it reads the variant and tells that, or leaves it alone.
void readDictionary(sd_bus_message* message,
                    const std::function<bool(std::string_view key)>& readEntry) {
    checkRead(sd_bus_message_enter_container(message, 'a', "{sv}"));
    while (checkRead(sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
        const char* key = nullptr;
        checkRead(sd_bus_message_read_basic(message, 's', &key));
        if (!readEntry(key)) {
            checkRead(sd_bus_message_skip(message, "v"));
        }
        checkRead(sd_bus_message_exit_container(message));
    }
    checkRead(sd_bus_message_exit_container(message));
}

} // namespace

void appendFrameReport(sd_bus_message* message, const FrameReport& report) {
    appendDictionary(message, report.dictionary());
}

void appendError(sd_bus_message* message, const Error& error) {
    appendDictionary(
        message,
        {{"domain", error.domain}, {"code", error.code}, {"description", error.description}});
}

FrameReport readFrameReport(sd_bus_message* message) {
    FrameReport report;
    bool hasFrame = false;
    readDictionary(message, [&](std::string_view key) {
        if (key == "frame") {
            readVariant(message, report.frame);
            hasFrame = true;
        } else if (key == "timecode") {
            readVariant(message, report.timecode);
        } else if (key == "val") {
            readVariant(message, report.val);
        } else if (key == "timescale") {
            readVariant(message, report.timescale);
        } else if (key == "errors") {
            readVariant(message, report.errors);
        } else if (key == "info") {
            readVariant(message, report.info);
        } else {
            return false;
        }
        return true;
    });
    if (!hasFrame) {
        throw PlatformException("A frame report of the scanner has no frame number");
    }
    return report;
}

Error readError(sd_bus_message* message) {
    Error error;
    readDictionary(message, [&](std::string_view key) {
        if (key == "domain") {
            readVariant(message, error.domain);
        } else if (key == "code") {
            readVariant(message, error.code);
        } else if (key == "description") {
            readVariant(message, error.description);
        } else {
            return false;
        }
        return true;
    });
    return error;
}

} // namespace fw
