"""The host of Docs/Integration.md twice, as a program of this system and, by Wine, as one for Windows, at the same
cameras in networks of their own: what both say, how they end and each pixel must be the same.

Usage: HostTest.py CASE BUILD-OF-THIS-SYSTEM BUILD-FOR-WINDOWS
"""

import os
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).parents[2]
PICTURES = ROOT / "Tests/NativeCameraKorva/Pictures"
BY_WINE = ROOT / "scripts/windows/by-wine"
LONGEST = 120  # seconds of one run

# What each camera is told, and what the picture's line must say; None for no line at all.
GOOD = "health 2\n"
BAD = "health 1032\nno picture:\n"
CASES = {
    # By a search: the host finds the one that there is.
    "search": [("--model M615", GOOD)],
    "pictures": [("--model M61", GOOD), ("--model M615 --scene noise", GOOD), ("--model M62 --scene ramp", GOOD),
                 ("--fault get:checksum --fault get:drip=100000/1", GOOD)],
    # By the library's own function; a file that cannot be decoded is a picture of no pixels.
    "png": [("--scene noise", "1676 x 1266, 8 bits"), ("--scene file:{folder}/whole.png", "19 x 13, 8 bits"),
            ("--scene file:{folder}/cut.png", "0 x 0"), ("--scene file:{folder}/broken.png", "0 x 0"),
            ("--scene file:{folder}/no-header.png", "0 x 0"), ("--fault get:garbage-picture", "0 x 0"),
            ("--fault get:truncate-close", "no picture: "), ("--binary refused", "no picture: ")],
    "pictures-that-fail": [("--scene file:{folder}/whole.sgi", BAD), ("--scene file:{folder}/cut.sgi", BAD),
                           ("--scene file:{folder}/no-header.sgi", BAD), ("--scene file:{folder}/other-kind.png", BAD),
                           ("--fault get:garbage-picture", BAD), ("--fault get:empty-picture", BAD)],
    "exchanges-that-fail": [("--fault get:reset", BAD), ("--fault get:truncate-close", BAD), ("--fault take:error=7", BAD),
                            ("--fault configure:wrong-response", BAD),
                            ("--fault get:huge-image", BAD), ("--binary refused", BAD), ("--fault version:close", None),
                            ("--fault version:missing-key=--SW", None)],
}
# Wine knows no hardware addresses: its SendARP answers 50, where Windows asks the network.
NO_ADDRESS = "  WARN Couldn't retrieve MAC address with ARP call: error: 50\n"
# And to it a connection that was reset was closed.
RESET, CLOSED = "Connection reset by peer", "Connection closed by the peer"


def scenes(folder):
    """Pictures that cameras serve: one that is too small, what is left of it, and one of the other kind."""
    whole = (PICTURES / "rgb16-verbatim.sgi").read_bytes()
    (folder / "whole.sgi").write_bytes(whole)
    (folder / "cut.sgi").write_bytes(whole[: len(whole) * 2 // 3])
    (folder / "no-header.sgi").write_bytes(whole[:20])
    png = (PICTURES / "rgb16.png").read_bytes()
    at = png.index(b"IDAT") + 100
    for name, kept in (("other-kind", png), ("whole", png), ("cut", png[: len(png) * 2 // 3]), ("no-header", png[:20]),
                       ("broken", png[:at] + bytes([png[at] ^ 0xFF]) + png[at + 1 :])):
        (folder / f"{name}.png").write_bytes(kept)


def outcome(command, folder):
    """Exit status, words and pictures of a host's run in a folder of its own."""
    folder.mkdir()
    done = subprocess.run([str(word) for word in command], cwd=folder, capture_output=True, timeout=LONGEST, check=False)
    words = done.stdout.decode("utf-8", "backslashreplace").replace("\r\n", "\n")
    return done.returncode, words, {file.name: file.read_bytes() for file in sorted(folder.iterdir())}


def compare(name, here, windows, folder):
    """Within the networks."""
    errors = []
    for number, (arguments, due) in enumerate(CASES[name], 1):
        address = [] if name == "search" else [f"10.77.1.{10 + number}"]
        hosts = ([here / "tests/SmallHost", here / "bin/libNativeCameraKorva.so"],
                 [BY_WINE, windows / "tests/SmallHost.exe", windows / "bin/NativeCameraKorva.dll"])
        if name == "png":
            hosts = [here / "tests/PngHost"], [BY_WINE, windows / "tests/PngHost.exe"]
        native = outcome([*hosts[0], *address], folder / f"native-{number}")
        by_wine = outcome([*hosts[1], *address], folder / f"windows-{number}")
        words = by_wine[1].replace(NO_ADDRESS, "")
        if (words == by_wine[1]) != (due == GOOD or name == "png"):
            errors.append(f"{arguments}: Wine's SendARP is another one than it was")
        by_wine = by_wine[0], words, by_wine[2]
        if "get:reset" in arguments and RESET in native[1] and CLOSED in words:
            by_wine = by_wine[0], words.replace(CLOSED, RESET), by_wine[2]
        if native != by_wine:
            errors.append(f"{arguments}: of this system\n{native[:2]}\nfor Windows\n{by_wine[:2]}")
            if native[:2] == by_wine[:2]:
                errors.append("the pictures differ")
        if (due or "no picture:") not in by_wine[1]:
            errors.append(f"{arguments}: {due!r} is due, and there is\n{by_wine[1]}")
        if name != "png" and (due == GOOD) != (len(by_wine[2]) == 1 and by_wine[0] == 0):
            errors.append(f"{arguments}: exit status {by_wine[0]}, pictures {list(by_wine[2])}")
    return "\n".join(errors)


def main():
    name, here, windows = sys.argv[1], *(pathlib.Path(folder).absolute() for folder in sys.argv[2:4])
    if len(sys.argv) > 4:
        sys.exit(compare(name, here, windows, pathlib.Path(sys.argv[4])) or 0)
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        scenes(folder)
        cameras = folder / "cameras"
        cameras.write_text("".join(f"1 {arguments.format(folder=folder)}\n" for arguments, _ in CASES[name]))
        environment = {**os.environ, "KORVA_WINE": os.environ.get("KORVA_WINE_LAB", str(ROOT / "build/wine-lab"))}
        lab = [ROOT / "Lab/run", "--korva", here / "bin/korva", "--set", cameras, "--", sys.executable, *sys.argv, folder]
        sys.exit(subprocess.run([str(word) for word in lab], env=environment, check=False).returncode)


main()
