#include "platform/connection/WireText.h"
#include "platform/connection/Bus.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace fw {
namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";

std::string encoded(char32_t c) {
    if (c < 0x800) {
        return {static_cast<char>(0xC0 | (c >> 6)), static_cast<char>(0x80 | (c & 0x3F))};
    }
    if (c < 0x10000) {
        return {static_cast<char>(0xE0 | (c >> 12)), static_cast<char>(0x80 | ((c >> 6) & 0x3F)),
                static_cast<char>(0x80 | (c & 0x3F))};
    }
    return {static_cast<char>(0xF0 | (c >> 18)), static_cast<char>(0x80 | ((c >> 12) & 0x3F)),
            static_cast<char>(0x80 | ((c >> 6) & 0x3F)), static_cast<char>(0x80 | (c & 0x3F))};
}

TEST(WireText, GoodTextIsUnchanged) {
    for (const std::string text : {"", "plain", "Füße", "日本語", "a\nb\t\"'@%", "\U0001F600"}) {
        EXPECT_EQ(wireText(text), text);
    }
}

TEST(WireText, IllFormedBytesAreReplaced) {
    EXPECT_EQ(wireText("a\xFF"
                       "b"),
              std::string("a") + kReplacement + "b");
}

TEST(WireText, AZeroByteIsReplacedAndCutsNothingOff) {
    EXPECT_EQ(wireText(std::string_view("a\0b", 3)), std::string("a") + kReplacement + "b");
}

TEST(WireText, NoncharactersAreReplaced) {
    for (const char32_t c :
         {0xFDD0U, 0xFDEFU, 0xFFFEU, 0xFFFFU, 0x1FFFEU, 0x1FFFFU, 0xFFFFFU, 0x10FFFEU, 0x10FFFFU}) {
        EXPECT_EQ(wireText(encoded(c)), kReplacement) << std::hex << static_cast<unsigned>(c);
    }
    for (const char32_t c : {0xFDCFU, 0xFDF0U, 0xFFFDU, 0x10000U, 0x1FFFDU, 0x20000U, 0x10FFFDU}) {
        EXPECT_EQ(wireText(encoded(c)), encoded(c)) << std::hex << static_cast<unsigned>(c);
    }
}

TEST(WireText, EveryCodePointCanBeAppendedToAMessage) {
    sd_bus* rawBus = nullptr;
    ASSERT_GE(sd_bus_new(&rawBus), 0);
    const BusHandle bus(rawBus);
    std::array<int, 2> sockets = {};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()), 0);
    ASSERT_GE(sd_bus_set_fd(bus.get(), sockets[0], sockets[0]), 0);
    ASSERT_GE(sd_bus_start(bus.get()), 0);
    int refused = 0;
    MessageHandle message;
    for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
        if (!message || c % 0x400 == 0) {
            sd_bus_message* raw = nullptr;
            ASSERT_GE(sd_bus_message_new_method_call(bus.get(), &raw, nullptr, "/", "a.b", "c"), 0);
            message.reset(raw);
        }
        const std::string text = wireText(encoded(c));
        refused += sd_bus_message_append_basic(message.get(), 's', text.c_str()) < 0 ? 1 : 0;
    }
    EXPECT_EQ(refused, 0);
    ::close(sockets[1]);
}

} // namespace
} // namespace fw
