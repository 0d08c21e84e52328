#!/usr/bin/python3
"""Times whole programs that make the frames between those of a clip, and prints tables.

    programs.py PROGRAM [--clip FOLDER] [--rounds N]

PROGRAM is velorin. Every other frame of the clip is taken away; the programs compute it from its
neighbours, and are told by what is true how well they did. Without --clip one is drawn. All programs
run by turns, N times, and medians count. What is not installed is named and left out.
"""

import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

PAIRS = 8  # of source frames; a shorter clip is run through forwards and backwards
RATE = 24
OPENCV = "OpenCV's DIS"
MCI = "ffmpeg's minterpolate"
DIS_PROGRAM = pathlib.Path(__file__).with_name("dis_flow.py")


class Clip:
    """True frames, of which the even ones are a program's sources."""

    def __init__(self, scratch, folder):
        self.true = scratch / "true"
        self.sources = scratch / "sources"
        self.true.mkdir()
        self.sources.mkdir()
        if folder:
            self.copy(folder)
        else:
            self.draw()
        for pair in range(PAIRS + 1):
            (self.sources / f"{pair:04d}.ppm").symlink_to(self.name(2 * pair))

    def name(self, number):
        return self.true / f"{number:04d}.ppm"

    def draw(self):
        """A detail of a fractal that turns and slides: smooth parts and very dense ones."""
        still = self.true / "still.png"
        ffmpeg("-f", "lavfi", "-i", "mandelbrot=size=3200x1800:start_scale=0.004:maxiter=600:"
               "outer=normalized_iteration_count", "-frames:v", "1", still)
        ffmpeg("-loop", "1", "-i", still, "-frames:v", str(2 * PAIRS + 1), "-start_number", "0",
               "-vf", "rotate=0.006*n,crop=1920:1080:400+7*n:300+3*n", self.true / "%04d.ppm")
        self.title = "a drawn clip of 1920x1080"

    def copy(self, folder):
        files = sorted(path for path in pathlib.Path(folder).iterdir() if path.is_file())
        files = files[:len(files) - 1 + len(files) % 2]  # the last is a source
        if len(files) < 3:
            sys.exit(f"programs.py: {folder}: three frames are needed")
        for number in range(2 * PAIRS + 1):
            place = number % (2 * len(files) - 2)
            ffmpeg("-i", files[min(place, 2 * len(files) - 2 - place)], self.name(number))
        size = self.name(0).read_bytes()[:20].split()[1:3]
        self.title = "a clip of " + b"x".join(size).decode()


def ffmpeg(*words):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *map(str, words)], check=True,
                   stdin=subprocess.DEVNULL)


def has_opencv():
    code = "import cv2; cv2.DISOpticalFlow_create"
    return subprocess.run(["/usr/bin/python3", "-c", code], stderr=subprocess.DEVNULL).returncode == 0


def has_minterpolate():
    if not shutil.which("ffmpeg"):
        return False
    filters = subprocess.run(["ffmpeg", "-v", "error", "-filters"], capture_output=True, text=True)
    return " minterpolate " in filters.stdout


def instruction_sets(program):
    """Those that the program has kernels for and this processor runs."""
    text = subprocess.run([program, "--version"], capture_output=True, text=True, check=True).stdout
    line = next(line for line in text.splitlines() if line.startswith("instructions:"))
    return line.partition(", of ")[2].split()


class Bench:
    """Commands by name, and what they took."""

    def __init__(self, program, clip, scratch):
        self.program = program
        self.clip = clip
        self.scratch = scratch
        self.commands = {}
        self.cpu = {}
        self.wall = {}

    def output(self, name):
        return self.scratch / name

    def add(self, name, words, processors=None, **environment):
        self.output(name).mkdir()
        self.commands[name] = (list(map(str, words)), processors, environment)

    def add_velorin(self, name, *options, threads=1, **environment):
        self.add(name, [self.program, "retime", self.clip.sources / "%04d.ppm", "-o",
                        self.output(name) / "%04d.ppm", "--threads", threads, "--overwrite", "-q",
                        "--progress", "none", *options], **environment)

    def add_ffmpeg(self, name, *options):
        # Named by their times, since the filter leaves frames out at the end.
        self.add(name, ["ffmpeg", "-v", "error", "-y", "-threads", "1", "-framerate", RATE, "-i",
                        self.clip.sources / "%04d.ppm", "-threads", "1", "-filter_threads", "1",
                        *options, "-frame_pts", "1", self.output(name) / "%04d.ppm"])

    def add_dis(self, name, *options):
        self.add(name, ["/usr/bin/python3", DIS_PROGRAM, self.clip.sources, self.output(name),
                        *options])

    def run(self, rounds):
        taken = {name: [] for name in self.commands}
        for _ in range(rounds):
            for name, command in self.commands.items():
                taken[name].append(time_of(*command))
        for name, times in taken.items():
            self.cpu[name] = statistics.median(cpu for cpu, _ in times)
            self.wall[name] = statistics.median(wall for _, wall in times)

    def computed(self, name):
        """The frames between those of the clip that a program wrote: some leave out the last."""
        return sum((self.output(name) / f"{number:04d}.ppm").exists()
                   for number in range(1, 2 * PAIRS, 2))

    def a_frame(self, name, less, frames=None):
        """Milliseconds of processor time that a computed frame takes."""
        return 1000 * (self.cpu[name] - self.cpu[less]) / (frames or self.computed(name))

    def after_start(self, name):
        """Milliseconds by the clock from the libraries loaded to the last frame written."""
        return 1000 * (self.wall[name] - self.wall["start"])


def time_of(words, processors, environment):
    """Processor time of all its threads, and time by the clock, in seconds."""
    allowed = os.sched_getaffinity(0)
    os.sched_setaffinity(0, sorted(allowed)[:processors])
    begin = time.monotonic()
    process = os.posix_spawnp(words[0], words, {**os.environ, **environment},
                              file_actions=[(os.POSIX_SPAWN_OPEN, 0, "/dev/null", os.O_RDONLY, 0),
                                            (os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
    _, status, usage = os.wait4(process, 0)
    wall = time.monotonic() - begin
    os.sched_setaffinity(0, allowed)
    if status != 0:
        sys.exit(f"programs.py: failed: {' '.join(words)}")
    return usage.ru_utime + usage.ru_stime, wall


def add_commands(bench, peers):
    bench.add_velorin("start", "--speed", "1", "--frames", "0")
    bench.add_velorin("copy", "--speed", "1")
    bench.add_velorin("half", "--speed", "0.5")
    bench.add_velorin("half, full", "--speed", "0.5", "--quality", "full")
    bench.add_velorin("quarter", "--speed", "0.25")
    bench.add_velorin("half, 1 processor", "--speed", "0.5", processors=1)
    bench.add_velorin("half, 2 threads", "--speed", "0.5", threads=2)
    for name in instruction_sets(bench.program):
        bench.add_velorin(f"half, {name}", "--speed", "0.5", VELORIN_INSTRUCTION_SET=name)
    bench.add("version", [bench.program, "--version"])
    if MCI in peers:
        bench.add_ffmpeg("mci, copy")
        bench.add_ffmpeg("mci", "-vf", f"minterpolate=fps={2 * RATE}:mi_mode=mci")
    if OPENCV in peers:
        bench.add_dis("dis, copy", "--copy")
        bench.add_dis("dis")


def compared(what, ours, theirs, unit="ms"):
    cells = [f"{value:.3g} {unit}" for value in (ours, theirs)] + [f"{theirs / ours:.2f}"]
    return f"| {what} | " + " | ".join(cells) + " |"


def print_times(bench, peers):
    default = bench.a_frame("half", "copy")
    full = bench.a_frame("half, full", "copy")
    print("| a computed frame, processor time on 1 thread | velorin | other | times |")
    print("|---|---:|---:|---:|")
    for peer, name in ((MCI, "mci"), (OPENCV, "dis")):
        if peer in peers:
            theirs = bench.a_frame(name, f"{name}, copy")
            print(compared(f"default choices, against {peer}", default, theirs))
            print(compared(f"`--quality full`, against {peer}", full, theirs))
    for name in instruction_sets(bench.program):
        less = bench.a_frame(f"half, {name}", "copy")
        print(compared(f"default choices, against instruction set {name}", default, less))
    further = bench.a_frame("quarter", "half", 2 * PAIRS)
    print(compared("a further frame of a pair, against the first", further, default))
    print("\n| a whole render by the clock, libraries loaded | 2 threads | other | times |")
    print("|---|---:|---:|---:|")
    two = bench.after_start("half, 2 threads")
    print(compared("against 1 thread, whose reading and writing go beside it", two,
                   bench.after_start("half")))
    print(compared("against 1 thread on 1 processor", two, bench.after_start("half, 1 processor")))
    print(f"\nLoading the libraries and copying one frame takes {1000 * bench.wall['start']:.0f} ms, "
          f"`velorin --version` {1000 * bench.wall['version']:.1f} ms.")


def errors(bench, name, numbers):
    """Mean absolute error in steps of 8 bits, and the signal to noise ratio in decibels."""
    import numpy

    def samples(path):
        # The samples are at the end, whatever is said before them.
        size = tuple(int(number) for number in path.read_bytes()[:20].split()[1:3])
        return numpy.fromfile(path, numpy.uint8)[-3 * size[0] * size[1]:].astype(numpy.float64)

    off = [samples(bench.output(name) / f"{number:04d}.ppm") - samples(bench.clip.name(number))
           for number in numbers]
    square = numpy.mean([numpy.mean(picture**2) for picture in off])
    ratio = 10 * numpy.log10(255**2 / square) if square > 0 else float("inf")
    return numpy.mean([numpy.mean(abs(picture)) for picture in off]), ratio


def print_errors(bench, peers):
    rows = [("velorin, default choices", "half"), ("velorin, `--quality full`", "half, full")]
    rows += [(MCI, "mci")] if MCI in peers else []
    rows += [(OPENCV, "dis")] if OPENCV in peers else []
    numbers = [number for number in range(1, 2 * PAIRS, 2)
               if all((bench.output(name) / f"{number:04d}.ppm").exists() for _, name in rows)]
    print(f"\n| over {len(numbers)} computed frames | mean error, of 255 | PSNR |")
    print("|---|---:|---:|")
    for title, name in rows:
        mean, ratio = errors(bench, name, numbers)
        print(f"| {title} | {mean:.2f} | {ratio:.2f} dB |")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--clip")
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    found = {MCI: has_minterpolate(), OPENCV: has_opencv()}
    peers = [name for name, there in found.items() if there]
    with tempfile.TemporaryDirectory() as folder:
        scratch = pathlib.Path(folder)
        clip = Clip(scratch, options.clip)
        bench = Bench(options.program, clip, scratch)
        add_commands(bench, peers)
        bench.run(options.rounds)
        print(f"{clip.title}, {PAIRS} pairs of frames, medians of {options.rounds} runs\n")
        print_times(bench, peers)
        print_errors(bench, peers)
        for name in sorted(set(found) - set(peers)):
            print(f"\n{name} is not installed and left out.")


if __name__ == "__main__":
    main()
