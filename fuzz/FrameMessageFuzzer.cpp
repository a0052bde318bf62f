#include "fuzz/check.h"
#include "platform/connection/Bus.h"
#include "platform/connection/FrameMessage.h"
#include "platform/connection/WireText.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/socket.h>

#include <array>
#include <string>
#include <vector>

namespace {

using namespace fw;
using fuzz::check;

/// A connection that nothing is sent on; messages need one to be made for.
sd_bus* anyBus() {
    static const BusHandle bus = [] {
        std::array<int, 2> ends = {};
        check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "a socket");
        sd_bus* raw = nullptr;
        checkedBusCall(sd_bus_new(&raw), "new");
        checkedBusCall(sd_bus_set_fd(raw, ends[0], ends[0]), "set_fd");
        checkedBusCall(sd_bus_start(raw), "start");
        return BusHandle(raw);
    }();
    return bus.get();
}

MessageHandle newMessage() {
    sd_bus_message* raw = nullptr;
    checkedBusCall(sd_bus_message_new_method_call(anyBus(), &raw, nullptr, kParentObjectPath,
                                                  kParentInterface, "frameProcessed"),
                   "new_method_call");
    return MessageHandle(raw);
}

/// As the other end gets it.
sd_bus_message* arrived(const MessageHandle& message) {
    checkedBusCall(sd_bus_message_seal(message.get(), 1, 0), "seal");
    checkedBusCall(sd_bus_message_rewind(message.get(), 1), "rewind");
    return message.get();
}

std::string anyText(FuzzedDataProvider& input) {
    return input.ConsumeRandomLengthString(64);
}

std::vector<std::string> anyTexts(FuzzedDataProvider& input) {
    std::vector<std::string> texts(input.ConsumeIntegralInRange<std::size_t>(0, 4));
    for (std::string& text : texts) {
        text = anyText(input);
    }
    return texts;
}

void repair(std::optional<std::string>& text) {
    text = text ? std::optional(wireText(*text)) : std::nullopt;
}

/// A report that is sent arrives as it was, its texts repaired.
void sendReport(FuzzedDataProvider& input) {
    FrameReport report;
    report.frame = input.ConsumeIntegral<std::int64_t>();
    report.timecode = input.ConsumeBool() ? std::optional(anyText(input)) : std::nullopt;
    report.val = input.ConsumeBool() ? std::optional(report.frame) : std::nullopt;
    report.timescale = input.ConsumeIntegral<std::int32_t>();
    report.errors = anyTexts(input);
    report.info = anyText(input);
    const MessageHandle message = newMessage();
    appendFrameReport(message.get(), report);
    repair(report.timecode);
    repair(report.info);
    for (std::string& text : *report.errors) {
        text = wireText(text);
    }
    check(readFrameReport(arrived(message)) == report, "a report arrives as it was sent");
}

void sendError(FuzzedDataProvider& input) {
    const Error error{anyText(input), input.ConsumeIntegral<std::int64_t>(), anyText(input)};
    const MessageHandle message = newMessage();
    appendError(message.get(), error);
    const Error repaired{wireText(error.domain), error.code, wireText(error.description)};
    check(readError(arrived(message)) == repaired, "an error arrives as it was sent");
}

/// A dictionary of a peer that knows some of our keys and types, and what ought to be read of it.
class StrangeReport {
public:
    explicit StrangeReport(FuzzedDataProvider& input) : message_(newMessage()) {
        open('a', "{sv}");
        while (input.remaining_bytes() > 0) {
            open('e', "sv");
            const std::string key = anyKey(input);
            append('s', key.c_str());
            appendVariant(input, key);
            close();
        }
        close();
    }

    const MessageHandle& message() const { return message_; }
    bool isSound() const { return isSound_ && hasFrame_; }
    const FrameReport& report() const { return report_; }

private:
    static std::string anyKey(FuzzedDataProvider& input) {
        constexpr std::array kKeys = {"frame", "timecode", "val", "timescale", "errors", "info"};
        return input.ConsumeBool() ? input.PickValueInArray(kKeys) : wireText(anyText(input));
    }

    void open(char type, const char* contents) {
        checkedBusCall(sd_bus_message_open_container(message_.get(), type, contents), "open");
    }
    void append(char type, const void* value) {
        checkedBusCall(sd_bus_message_append_basic(message_.get(), type, value), "append");
    }
    void close() { checkedBusCall(sd_bus_message_close_container(message_.get()), "close"); }

    void appendVariant(FuzzedDataProvider& input, const std::string& key) {
        constexpr std::array<const char*, 6> kTypes = {"x", "i", "s", "as", "d", "g"};
        const std::string type = input.PickValueInArray(kTypes);
        open('v', type.c_str());
        if (type == "x") {
            const auto number = input.ConsumeIntegral<std::int64_t>();
            append('x', &number);
            expect(key, number);
        } else if (type == "i") {
            const auto number = input.ConsumeIntegral<std::int32_t>();
            append('i', &number);
            expect(key, number);
        } else if (type == "s") {
            const std::string text = wireText(anyText(input));
            append('s', text.c_str());
            expect(key, text);
        } else if (type == "as") {
            const std::vector<std::string> texts = anyTexts(input);
            appendTexts(texts, key);
        } else if (type == "d") {
            const double number = input.ConsumeFloatingPoint<double>();
            append('d', &number);
            expect(key, number);
        } else {
            append('g', "a(iv)");
            expect(key, nullptr);
        }
        close();
    }

    void appendTexts(const std::vector<std::string>& texts, const std::string& key) {
        std::vector<std::string> sent;
        open('a', "s");
        for (const std::string& text : texts) {
            sent.push_back(wireText(text));
            append('s', sent.back().c_str());
        }
        close();
        expect(key, sent);
    }

    /// Under a key of ours only its own type is taken.
    template <typename Value>
    void expect(const std::string& key, const Value& value) {
        if (key == "frame") {
            hasFrame_ = true;
            take(report_.frame, value);
        } else if (key == "timecode") {
            take(report_.timecode, value);
        } else if (key == "val") {
            take(report_.val, value);
        } else if (key == "timescale") {
            take(report_.timescale, value);
        } else if (key == "errors") {
            take(report_.errors, value);
        } else if (key == "info") {
            take(report_.info, value);
        }
    }
    template <typename Member, typename Value>
    void take(Member& member, const Value& value) {
        if constexpr (std::is_same_v<Member, Value> ||
                      std::is_same_v<Member, std::optional<Value>>) {
            member = value;
        } else {
            isSound_ = false;
        }
    }

    MessageHandle message_;
    FrameReport report_;
    bool hasFrame_ = false;
    bool isSound_ = true;
};

void readStrange(FuzzedDataProvider& input) {
    const StrangeReport strange(input);
    std::optional<FrameReport> report;
    try {
        report = readFrameReport(arrived(strange.message()));
    } catch (const PlatformException&) {
        report.reset(); // Refused.
    }
    check(report.has_value() == strange.isSound(), "what is sound is read, all else refused");
    check(!report || *report == strange.report(), "known keys are read, others passed over");
}

} // namespace

/// The messages between scanner and parent.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string text = anyText(input);
    check(wireText(wireText(text)) == wireText(text), "a repaired text needs no repair");
    sendReport(input);
    sendError(input);
    readStrange(input);
    return 0;
}
