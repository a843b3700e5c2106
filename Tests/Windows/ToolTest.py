"""The tool twice, of this system and, by Wine, for Windows, at the same cameras in networks of their own: its words, its
JSON, its exit status and each file must be the same. What differs for a reason is made equal by `plain`, which says why.

Usage: ToolTest.py CASE BUILD-OF-THIS-SYSTEM BUILD-FOR-WINDOWS
"""

import difflib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).parents[2]
BY_WINE = ROOT / "scripts/windows/by-wine"
LONGEST = 120  # seconds of one run
STRANGE = "Kamera-\u00e4\u4f1a-\U0001f600"  # outside ASCII, outside the basic plane
CAMERA = "10.77.1.11"
SILENT = "10.77.1.98"  # what is sent there is lost: nobody refuses, nor says that there is no way
FOUND_TWICE = "Found Korva with MAC MAC more than once, ignoring.."

# What the cameras are told, and the command lines; None in the place of the cameras: no lab is needed.
CASES = {
    "search": (
        [f"1 --room {STRANGE}"],
        ["discover", "discover --json", f"capture --all --json --output {STRANGE}/", "capture --all --output {room}.png",
         f"discover --watch --timeout 2 {CAMERA}", "doctor"],
    ),
    # On two networks, and so twice in a search.
    "twice": (["1,2"], ["discover --log info"]),
    # Windows asks ARP by an operation that Wine has not: two cameras are the same to a search (FOUND_TWICE).
    "two": (["1", "1"], ["capture 10.77.1.11 10.77.1.12 --json --output all --contact-sheet sheet.png",
                         "health 10.77.1.11 10.77.1.12 10.77.1.99 --json"]),
    "camera": (
        [f"1 --model M615 --room {STRANGE} --scene noise --seed 7"],
        [f"identify {CAMERA}", f"identify {CAMERA} --json", f"describe {CAMERA}", f"describe {CAMERA} --json",
         f"health {CAMERA}", f"health {CAMERA} --json", f"doctor {CAMERA} --json",
         f"capture {CAMERA} --output {STRANGE}.png", f"capture {CAMERA} --json --output {STRANGE}/{{room}}-{{exposure}}.png",
         f"capture {CAMERA} --count 2 --exposure 0.5,2 --output a-{{number}}.png",
         f"capture {CAMERA} --log trace --diagnostics {STRANGE} --output a.png",
         f"capture {CAMERA} --output nowhere.jpg", f"capture {CAMERA} --output -"],
    ),
    "failures": (
        ["1 --fault get:reset", "1 --fault take:error=7", "1 --fault get:truncate-close=1000", "1 --fault get:garbage-picture",
         "1 --scene black", "1 --binary refused", "1 --fault version:close", "1 --fault version:hostile"],
        [f"{command} 10.77.1.{number}" for command in ("capture", "health", "identify") for number in range(11, 19)]
        # Nobody there, refused, no way, no name.
        + [f"{command} {place}" for command in ("identify", "capture --json") for place in
           ("10.77.1.99", "10.77.1.1", "203.0.113.1", "no-such-name.invalid")]
        + [f"{command} --max-time 3 {SILENT}" for command in ("identify", "identify --json", "capture")],
    ),
    # Each is interrupted while the camera holds it.
    "ctrl-c": (
        ["1 --hardware X900 --size 40x30 --fault get:drip=1/200"],
        [f"{command} {CAMERA}" for command in ("identify", "identify --json", "describe", "health", "health --watch",
                                               "discover", "discover --watch", "capture", "doctor")],
    ),
    "usage": (
        None,
        ["--help", "--version", *(f"{command} --help" for command in
                                  ("discover", "identify", "describe", "capture", "health", "doctor")),
         "", "discov", f"--{STRANGE}", f"identify {CAMERA} --plugin {STRANGE}.dll", f"capture --from {STRANGE}.xml",
         f"identify {CAMERA} --log-config {STRANGE}", f"identify {CAMERA} --setting {STRANGE}=1 --json",
         "capture 1.2.3.4 --exposure 99", "identify 10.77.1.256"],
    ),
}


def without_times(file):
    """A picture file without the text that says when it was taken; any other as it is."""
    if not file.startswith(b"\x89PNG"):
        return file
    at, rest = 8, file[:8]
    while at < len(file):
        end = at + 12 + int.from_bytes(file[at : at + 4], "big")
        if file[at + 4 : at + 21] != b"iTXtCreation Time":
            rest += file[at:end]
        at = end
    return rest


# What is a matter of the run, of Wine or of the system, and what stands for it.
DIFFERENCES = [(re.compile(pattern), word) for pattern, word in (
    (r"\r\n", "<CRLF>\n"),  # which must not be
    (r'"(milliseconds|seconds)":[0-9.]+', r'"\1":T'),
    (r"\d{4}-\d\d-\d\d[ T]\d\d:\d\d:\d\d(\.\d+)?Z?", "TIME"),
    (r"\b\d+(\.\d+)?(e-\d+)? ?m?s\b", "T s"),
    (r"KorvaImage [\w ]+-\d\d-\d\d \d{4}", "KorvaImage TIME"),
    # Wine does not ask ARP for programs, but answers 50.
    (r"02-4b(-[0-9a-f]{2}){4}|00-00-00-00-00-00", "MAC"),
    (r"WARN \S+ - Couldn't retrieve MAC address with ARP call: error: 50\n", ""),
    # And who has no MAC address is asked once more, by itself.
    (r"(more than once, ignoring\.\.\n)(INFO .*\n)+", r"\1"),
    (r'"macAddress":""', '"macAddress":"MAC"'),
    (r"(MAC address +)-", r"\1MAC"),
    # Nor does Windows let programs speak ARP themselves.
    (r'{"code":"own-address","status":"note","seen":"[^"]*this system does not let programs ask","address":""},', ""),
    (r"note +own-address .*this system does not let programs ask\n", ""),
    # Each system's own words.
    (r"(cannot be loaded: )\S+: cannot open shared object file: ", r"\1"),
    (r"%LOCALAPPDATA%", "$XDG_STATE_HOME or ~/.local/state"),
    (r"  simulate  .*\n", ""),
    (r'as administrator: netsh interface ipv4 set interface \\?"(\w+)\\?" dhcpstaticipcoexistence=enabled; '
     r'netsh interface ipv4 add address \\?"\1\\?" (\S+) 255\.255\.255\.0', r"sudo ip addr add \2/24 dev \1"),
)]


def plain(text):
    for pattern, word in DIFFERENCES:
        text = pattern.sub(word, text)
    return text


def await_hold(number):
    """Until the lab's camera has been held so many times."""
    log = pathlib.Path(os.environ["KORVA_LAB"]) / "camera-1.log"
    for _ in range(LONGEST * 20):
        if log.read_text(encoding="utf-8").count("fault get:drip") >= number:
            return
        time.sleep(0.05)  # for another program
    raise TimeoutError("the camera holds nobody")


def outcome(command, folder, interrupted_at=0):
    """Exit status, words and files of a run in a folder of its own, interrupted once the camera holds it."""
    folder.mkdir()
    streams = [folder.with_suffix(suffix) for suffix in (".output", ".errors")]
    with open(streams[0], "wb") as output, open(streams[1], "wb") as errors:
        run = subprocess.Popen([str(word) for word in command], cwd=folder, stdin=subprocess.DEVNULL, stdout=output,
                               stderr=errors, env={**os.environ, "XDG_STATE_HOME": str(folder / "state")})
        with run:
            try:
                if interrupted_at:
                    await_hold(interrupted_at)
                    run.send_signal(signal.SIGINT)
                status = run.wait(LONGEST)
            finally:
                run.kill()
    said = [plain(without_times(stream.read_bytes()).decode("utf-8", "backslashreplace")) for stream in streams]
    files = {plain(str(file.relative_to(folder))): without_times(file.read_bytes())
             for file in sorted(folder.rglob("*")) if file.is_file()}
    return status, *said, files


def compare(name, here, windows, folder):
    subprocess.run([ROOT / "Tests/Windows/start-wine"], timeout=LONGEST, check=True)
    subprocess.run(["ip", "neighbour", "add", SILENT, "lladdr", "02:4b:00:00:00:98", "dev", "net1"], timeout=LONGEST, check=True)
    errors = []
    if name == "two":
        said = "".join(outcome([BY_WINE, windows / "bin/korva.exe", *"discover --log info".split()], folder / "search")[1:3])
        if said.count(FOUND_TWICE) != 1:
            errors.append(f"a search by Wine: {said}")
    for number, line in enumerate(CASES[name][1], 1):
        words = line.split()
        interrupts = [2 * number - 1, 2 * number] if name == "ctrl-c" else [0, 0]
        native = outcome([here / "bin/korva", *words], folder / f"native-{number}", interrupts[0])
        by_wine = outcome([BY_WINE, windows / "bin/korva.exe", *words], folder / f"windows-{number}", interrupts[1])
        if native == by_wine:
            continue
        errors.append(f"korva {line}")
        for what, one, other in zip(("exit status", "output", "errors"), native, by_wine):
            if one != other:
                errors += difflib.unified_diff(str(one).splitlines(), str(other).splitlines(), f"{what} of this system",
                                               f"{what} for Windows", n=0, lineterm="")
        if native[3] != by_wine[3]:
            errors.append(f"  files {list(native[3])} and {list(by_wine[3])}")
    return "\n".join(errors)


def main():
    name, here, windows = sys.argv[1], *(pathlib.Path(folder).absolute() for folder in sys.argv[2:4])
    if len(sys.argv) > 4:
        sys.exit(compare(name, here, windows, pathlib.Path(sys.argv[4])) or 0)
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        cameras = folder / "cameras"
        cameras.write_text("".join(f"{line}\n" for line in CASES[name][0] or []))
        environment = {**os.environ, "KORVA_WINE": os.environ.get("KORVA_WINE_LAB", str(ROOT / "build/wine-lab"))}
        networks = 2 if name == "twice" else 1
        lab = [ROOT / "Lab/run", "--korva", here / "bin/korva", "--networks", networks, "--set", cameras, "--", sys.executable, *sys.argv, folder]
        sys.exit(subprocess.run([str(word) for word in lab], env=environment, check=False).returncode)


main()
