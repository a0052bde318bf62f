#!/usr/bin/env python3
"""make_seeds.py FOLDER: writes sound inputs for the fuzzers of formats, in FOLDER/NAME.

From them the fuzzers make the damaged ones; without them they would take hours to find out what a
movie looks like. The folder appears when it is complete.
"""

import datetime
import pathlib
import plistlib
import subprocess
import sys
import tempfile
import zipfile

# Container and codec of each movie, a few small frames and a moment of sound.
PICTURE = ["-f", "lavfi", "-i", "testsrc=size=32x32:rate=25", "-frames:v", "3"]
SOUND = ["-f", "lavfi", "-i", "sine=frequency=440:sample_rate=8000", "-t", "0.1"]
MOVIES = {
    "prores.mov": PICTURE + ["-c:v", "prores_ks", "-timecode", "01:00:00:00"],
    "v210.mov": PICTURE + ["-c:v", "v210"],
    "h264.mp4": PICTURE + ["-c:v", "libx264"],
    "mjpeg.avi": PICTURE + ["-c:v", "mjpeg"],
    "ffv1.mkv": PICTURE + ["-c:v", "ffv1", "-timecode", "01:00:00:00"],
    "mpeg2.mxf": PICTURE + ["-c:v", "mpeg2video", "-timecode", "01:00:00:00"],
    "mpeg2.ts": PICTURE + ["-c:v", "mpeg2video"],
    "mpeg2.mpg": PICTURE + ["-c:v", "mpeg2video"],
    "flv1.flv": PICTURE + ["-c:v", "flv1"],
    "theora.ogv": PICTURE + ["-c:v", "libtheora"],
    "plain.y4m": PICTURE + ["-pix_fmt", "yuv420p"],
    "pcm.wav": SOUND + ["-c:a", "pcm_s16le"],
    "flac.flac": SOUND + ["-c:a", "flac"],
    "pcm.aiff": SOUND,
}
SAMPLE_ENTRIES = ["prores.mov", "v210.mov", "h264.mp4"]


def write_movies(folder):
    for name, arguments in MOVIES.items():
        command = ["ffmpeg", "-v", "error", "-nostdin", "-y"] + arguments + ["-fflags", "+bitexact"]
        subprocess.run(command + [str(folder / name)], check=True)


def write_property_lists(folder):
    value = {
        "text": "\u00e4 & <b>",
        "numbers": [0, -1, 2**63 - 1, 2**64 - 1, 0.1, 1e300],
        "flags": {"yes": True, "no": False},
        "date": datetime.datetime(2024, 3, 1, 17, 5, 9),
        "data": bytes(range(40)),
        "reference": plistlib.UID(3),
        "none": [[], {}, "", b""],
    }
    (folder / "binary").write_bytes(plistlib.dumps(value, fmt=plistlib.FMT_BINARY))
    (folder / "references").write_bytes(
        b'<plist version="1.0"><!-- c --><dict><key>&#65;&lt;</key><string><![CDATA[<x>]]></string>'
        b"<key>n</key><integer>0x1F</integer><key>e</key><array/></dict></plist>"
    )
    del value["reference"]  # Only binary lists have them.
    (folder / "xml").write_bytes(plistlib.dumps(value))


def entry(name, mode):
    information = zipfile.ZipInfo(name, (2024, 3, 1, 17, 5, 8))
    information.create_system = 3  # Unix.
    information.external_attr = mode << 16
    return information


def write_archives(folder):
    for name, method in {"stored": zipfile.ZIP_STORED, "deflated": zipfile.ZIP_DEFLATED}.items():
        with zipfile.ZipFile(folder / name, "w") as archive:
            archive.writestr(entry("folder/", 0o40755), b"")
            archive.writestr(entry("folder/file", 0o100644), b"contents " * 20, method)
            archive.writestr(entry("folder/link", 0o120777), b"file")
            archive.writestr(entry("\u00e4", 0o100600), b"", method)
    (folder / "empty").write_bytes(b"PK\5\6" + bytes(18))


def main():
    seeds = pathlib.Path(sys.argv[1])
    with tempfile.TemporaryDirectory(dir=seeds.parent) as unfinished:
        new = pathlib.Path(unfinished) / "seeds"
        for name in ("Movie", "MovSampleEntries", "PropertyList", "ZipArchive"):
            (new / name).mkdir(parents=True)
        write_movies(new / "Movie")
        for name in SAMPLE_ENTRIES:
            (new / "MovSampleEntries" / name).write_bytes((new / "Movie" / name).read_bytes())
        write_property_lists(new / "PropertyList")
        write_archives(new / "ZipArchive")
        new.rename(seeds)


main()
