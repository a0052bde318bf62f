#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace fw {

// Requests to the desktop. What they start runs on its own: in a session of its own, with nothing
// at its standard streams, unseen and reaped at its end, also when this process ends before it.
// Nobody waits for it, and what becomes of it is not told. Safe from any thread.

/// Opens a file with an application: starts the application with the absolute path of the file as
/// its only argument. The application is an executable file, or a folder NAME or NAME.app that
/// holds one: Contents/MacOS/NAME, else the only executable file in Contents/MacOS, else NAME right
/// in the folder. False when there is none or it does not start.
bool openFile(const std::string& file, const std::string& applicationPath);

/// Opens files, each given by its path or its "file://" URL, with the application of the desktop
/// entry IDENTIFIER.desktop in the user's or the machine's folders of applications. False when
/// there is no such entry, its program is not there or may not run, or there is nothing to open.
bool openUrls(const std::vector<std::string>& files, const std::string& bundleIdentifier);

/// An event for another application. Codes are four characters, the first one highest.
struct DesktopEvent {
    std::uint32_t eventClass = 0;
    std::uint32_t identifier = 0;
    std::uint32_t addressee = 0; ///< The application's signature.
    std::string path;            ///< The file that it is about.

    bool operator==(const DesktopEvent&) const = default;
};

/// Sends an event without waiting for a reply; 0, or why it was not taken. On this machine no
/// application is known by a signature: every event is taken, and reaches nobody.
std::int32_t sendDesktopEvent(const DesktopEvent& event);

/// Who does these requests; tests put others in place. An empty member is the machine's own.
struct WorkspaceServices {
    std::function<bool(const std::string& file, const std::string& applicationPath)> openFile;
    std::function<bool(const std::vector<std::string>& files, const std::string& bundleIdentifier)>
        openUrls;
    std::function<std::int32_t(const DesktopEvent& event)> sendDesktopEvent;
};

/// Puts other services in place and returns those before. It may be called from any thread; a
/// request on its way meanwhile may still reach the services before.
WorkspaceServices setWorkspaceServices(WorkspaceServices services);

} // namespace fw
