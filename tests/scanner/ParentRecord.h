#pragma once

#include "platform/connection/ParentConnection.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fw::test {

/// A parent that writes down every message as one line of text.
class ParentRecord {
public:
    /// In order: "responds OPERATION", "callback NOTE", "frame ...", "failed ...", "finished".
    std::vector<std::string> events;
    /// The names under which a connection was looked up.
    std::vector<std::string> names;
    /// The event of this index, and every later one, is not written down but throws
    /// PlatformException("The parent is gone.").
    std::optional<std::size_t> goneAt;
    /// Called with each event before it is written down.
    std::function<void(const std::string& event)> onEvent;

    /// Finds a connection to this record, which must outlive it.
    std::function<std::shared_ptr<ParentConnection>(const std::string&)> finder();

    /// The events that begin with a word, without it.
    std::vector<std::string> eventsOf(const std::string& word) const;

    void add(const std::string& event);
};

/// Finds no parent.
std::shared_ptr<ParentConnection> noParent(const std::string& name);

/// "3" for a clean frame, otherwise "3 TIMECODE VAL/TIMESCALE [message; message] {info}".
std::string describe(const FrameReport& report);

} // namespace fw::test
