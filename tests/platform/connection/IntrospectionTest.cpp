#include "platform/connection/Introspection.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

constexpr const char* kDocument =
    R"(<node><interface name="org.freedesktop.DBus.Peer"><method name="Ping"/></interface>)"
    R"( <interface name="com.fernwick.Oxbow.Parent">)"
    R"(<method name="callback"><arg type="s" direction="in"/></method>)"
    R"(<method name='frameProcessed'/></interface>)"
    R"(<interface name="other"><method name="frameProcessingFinished"/></interface></node>)";

TEST(Introspection, FindsTheMethodsOfTheParentsInterface) {
    EXPECT_TRUE(introspectionOffersMethod(kDocument, "callback"));
    EXPECT_TRUE(introspectionOffersMethod(kDocument, "frameProcessed"));
}

TEST(Introspection, DoesNotCountTheMethodsOfOtherInterfaces) {
    EXPECT_FALSE(introspectionOffersMethod(kDocument, "Ping"));
    EXPECT_FALSE(introspectionOffersMethod(kDocument, "frameProcessingFinished"));
}

TEST(Introspection, APartOfANameIsNotTheName) {
    EXPECT_FALSE(introspectionOffersMethod(kDocument, "frame"));
    EXPECT_FALSE(introspectionOffersMethod(kDocument, "frameProcessedTwice"));
}

TEST(Introspection, WhatIsNotADocumentOffersNothing) {
    EXPECT_FALSE(introspectionOffersMethod("", "callback"));
    EXPECT_FALSE(introspectionOffersMethod("<<<", "callback"));
    EXPECT_FALSE(introspectionOffersMethod("<method name=\"callback\"/>", "callback"));
}

} // namespace
} // namespace fw
