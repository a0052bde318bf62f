#!/usr/bin/python3
"""A parent of OxbowGlint in Python: starts a scan and prints what it reports.

    examples/parent.py [--scanner PATH] MOVIE

It needs the packages python3-gi and gir1.2-glib-2.0. docs/parent-protocol.md describes what
passes between the two. Exit status: 0 no faults, 1 faults, 2 the scan was not completed, 3 it
could not be started.
"""

import argparse
import fcntl
import hashlib
import os
import socket
import stat
import subprocess
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

INTERFACE = "com.fernwick.Oxbow.Parent"
INTRODUCTION = f"""
<node>
  <interface name="{INTERFACE}">
    <method name="callback"><arg type="s" name="note" direction="in"/></method>
    <method name="frameProcessed"><arg type="a{{sv}}" name="report" direction="in"/></method>
    <method name="frameProcessingFailedWithError">
      <arg type="a{{sv}}" name="error" direction="in"/>
    </method>
    <method name="frameProcessingFinished"/>
  </interface>
</node>
"""
LONGEST_SOCKET_PATH = 107
SETTINGS = {
    "start frame": "0",
    "end frame": "2147483647",
    "reserved": "0",
    "check luma": "1",
    "black level": "16",
    "white level": "235",
    "bit depth": "8",
    "check flash frames": "1",
    "flash frame length": "4",
    "flash frame sensitivity": "5",
    "enforce aspect ratio": "0",
    "aspect ratio": "1.0",
}


def refuse(reason):
    print(reason, file=sys.stderr)
    sys.exit(3)


def is_private_folder(path):
    """A folder, not a link to one, that is ours and closed to everybody else."""
    try:
        facts = os.lstat(path)
    except OSError:
        return False
    return (stat.S_ISDIR(facts.st_mode) and facts.st_uid == os.geteuid()
            and stat.S_IMODE(facts.st_mode) & 0o777 == 0o700)


def made_private(path):
    try:
        os.mkdir(path, 0o700)
    except OSError:
        pass  # What stands there is looked at next.
    return is_private_folder(path)


def runtime_folders():
    """Where the socket may lie, and whether we may make the folder, in order of preference."""
    user = os.geteuid()
    given = os.environ.get("XDG_RUNTIME_DIR", "")
    if given.startswith("/"):
        yield given.rstrip("/") or "/", False
    yield f"/run/user/{user}", False
    yield f"/tmp/oxbow-{user}", True


def socket_path(movie):
    """The path that belongs to a movie's name, in the first folder that will do."""
    name = b"Oxbow - " + os.fsencode(movie)
    stem = hashlib.sha256(name).hexdigest()[:40]
    for folder, is_made_by_us in runtime_folders():
        path = f"{folder}/oxbow/{stem}.sock"
        if len(os.fsencode(path)) > LONGEST_SOCKET_PATH:
            continue
        is_usable = made_private(folder) if is_made_by_us else is_private_folder(folder)
        if is_usable and made_private(f"{folder}/oxbow"):
            return path
    refuse("No folder for the socket belongs to this user alone.")


def is_still_named(file, path):
    """Whether a path still names the file that is open."""
    try:
        return os.path.samestat(os.fstat(file.fileno()), os.stat(path))
    except FileNotFoundError:
        return False


def is_served(path):
    """Whether somebody accepts connections there, a parent without a lock file for instance."""
    with socket.socket(socket.AF_UNIX) as probe:
        try:
            probe.connect(path)
        except OSError:
            return False
    return True


class Claim:
    """The lock file of a socket: whoever holds it may replace a socket file that is left over."""

    def __init__(self, path):
        self.path = path.removesuffix(".sock") + ".lock"
        while True:
            self.file = open(self.path, "a+", encoding="ascii")
            try:
                fcntl.flock(self.file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                self.file.seek(0)
                holder = self.file.read().strip()
                refuse(f"This movie is being scanned already (process {holder}).")
            # Its last holder may have taken it away before we had the lock.
            if is_still_named(self.file, self.path):
                break
        if is_served(path):
            self.give_up()
            refuse("This movie is being scanned already.")
        self.file.truncate(0)
        self.file.write(f"{os.getpid()}\n")
        self.file.flush()

    def give_up(self):
        os.unlink(self.path)
        self.file.close()


class Parent:
    """Publishes the connection of one movie and notes what the scanner says."""

    def __init__(self, path):
        self.loop = GLib.MainLoop()
        self.connections = []
        self.has_child_ended = False
        self.frames = 0
        self.faults = 0
        self.is_finished = False
        self.interface = Gio.DBusNodeInfo.new_for_xml(INTRODUCTION).interfaces[0]
        if os.path.lexists(path):
            os.unlink(path)
        # No bus daemon: we are the server, and only our own user may connect.
        self.server = Gio.DBusServer.new_sync(
            "unix:path=" + Gio.dbus_address_escape_value(path),
            Gio.DBusServerFlags.AUTHENTICATION_REQUIRE_SAME_USER,
            Gio.dbus_generate_guid(), None, None)
        self.server.connect("new-connection", self.take_connection)
        self.server.start()

    def take_connection(self, _server, connection):
        self.connections.append(connection)  # GDBus drops what nobody holds.
        connection.connect("closed", self.forget_connection)
        connection.register_object("/", self.interface, self.take_message, None, None)
        return True

    def forget_connection(self, connection, _is_remote, _error):
        self.connections.remove(connection)
        self.quit_when_over()

    def take_child_end(self, _process_id, _status):
        self.has_child_ended = True
        # What it sent before it ended is still on its way; that connection closes by itself.
        GLib.timeout_add(200, self.quit_when_over)

    def quit_when_over(self):
        if self.has_child_ended and not self.connections:
            self.loop.quit()
        return GLib.SOURCE_REMOVE

    def take_message(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        getattr(self, method)(*arguments.unpack())
        # The closing messages wait for their reply; for the others GDBus sends none.
        invocation.return_value(None)

    def callback(self, note):
        print("note:", note)

    def frameProcessed(self, report):
        is_flash = any(error.startswith("Flash frame") for error in report.get("errors", []))
        self.frames += 0 if is_flash else 1
        for error in report.get("errors", []):
            self.faults += 1
            print(f"frame {report['frame']}  {report['timecode']}  {error}")

    def frameProcessingFailedWithError(self, error):
        print("failed:", error.get("description"))

    def frameProcessingFinished(self):
        self.is_finished = True


def scanner_beside_us():
    here = os.path.dirname(os.path.abspath(__file__))
    return os.path.join(here, "..", "build", "release", "bin", "OxbowGlint")


def run_scan(path, movie, scanner):
    """Publishes, starts the scanner, and listens until it has ended. Gives the exit status."""
    parent = Parent(path)  # Before the scanner starts: it looks for us only once.
    try:
        child = subprocess.Popen([scanner, movie, *SETTINGS.values()],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    except OSError as error:
        print(f"{scanner}: {error.strerror}", file=sys.stderr)
        return 3
    GLib.child_watch_add(GLib.PRIORITY_DEFAULT, child.pid, parent.take_child_end)
    parent.loop.run()

    # A movie that cannot be scanned is one line "ERR:..." on its standard output.
    error_lines = child.stdout.read().decode(errors="replace")
    if error_lines:
        print(error_lines, end="", file=sys.stderr)
        return 3
    print(f"{parent.frames} frames, {parent.faults} faults"
          + ("" if parent.is_finished else ", not completed"))
    if not parent.is_finished:
        return 2
    return 1 if parent.faults else 0


def main():
    parser = argparse.ArgumentParser(description="Scans a movie and prints what is reported.")
    parser.add_argument("--scanner", default=scanner_beside_us(), help="path of OxbowGlint")
    parser.add_argument("movie")
    options = parser.parse_args()

    path = socket_path(options.movie)
    claim = Claim(path)
    try:
        return run_scan(path, options.movie, options.scanner)
    finally:
        if os.path.lexists(path):
            os.unlink(path)
        claim.give_up()


if __name__ == "__main__":
    sys.stdout.reconfigure(errors="replace")
    sys.exit(main())
