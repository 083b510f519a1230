#!/usr/bin/env python3
"""Instructions per point of each array form and of its single-point call.

Runs viewgeo_array_instructions under qemu's user-mode emulator with one
guest instruction per translation block (-singlestep, which later qemu
releases also call -one-insn-per-tb) and each block's execution logged,
so that the log has one line per instruction executed. Each measurement is
the difference of two runs, one projecting and one not, so that start-up
and set-up cancel. The array form's cost per point is taken between N and
2N points of each view (the same single view stage in both), which is its
cost per point as n grows; the single-point call's the same way, and at
n = 1 both as they are. Unlike a time, a count is the same on every run and
does not depend on how the emulator weighs instructions, library calls and
branches. It includes the library calls (soft-float routines, libm).

    python3 bench/array_instructions.py EMULATOR... -- BINARY [--points N]

for example, for the soft-float target and for the host:

    python3 bench/array_instructions.py qemu-arm -L /usr/arm-linux-gnueabi -- \\
        build/bench-armel/bench/viewgeo_array_instructions
    python3 bench/array_instructions.py qemu-x86_64 -- build/bench/bench/viewgeo_array_instructions

N is 16 unless given; on two cores the target's run takes about ten minutes,
the host's about five.
"""
import concurrent.futures
import subprocess
import sys

FORMS = ["ToPixelF", "ToPtzF", "ToPtzFRel", "ToPixelX", "ToPtzX", "ToPtzXRel", "OvistaToPtzF", "OvistaToPixelF"]
VIEWS = 16  # the views of bench/array_forms.h


def instructions(emulator, binary, form, way, points, passes):
    """Instructions the driver executes, start-up and set-up included."""
    command = emulator + ["-singlestep", "-d", "exec,nochain", "-D", "/dev/stdout",
                          binary, form, way, str(points), str(passes)]
    trace = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    count = subprocess.run(["grep", "-c", "^Trace"], stdin=trace.stdout, capture_output=True, text=True)
    trace.stdout.close()
    if trace.wait() != 0:
        sys.exit(f"{' '.join(command)} failed")
    return int(count.stdout)


def work(emulator, binary, form, way, points):
    """Instructions of projecting the first `points` inputs of every view."""
    projecting, not_projecting = (instructions(emulator, binary, form, way, points, passes) for passes in (1, 0))
    return projecting - not_projecting


def main(argv):
    if "--" not in argv:
        sys.exit(__doc__)
    split = argv.index("--")
    emulator, rest = argv[:split], argv[split + 1:]
    binary, points = rest[0], 16
    if len(rest) == 3 and rest[1] == "--points":
        points = int(rest[2])
    jobs = [(form, way, n) for form in FORMS for way in ("single", "array") for n in (1, points, 2 * points)]
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        futures = {job: pool.submit(work, emulator, binary, *job) for job in jobs}
        done = {job: f.result() for job, f in futures.items()}

    def at_one(form, way):
        return done[(form, way, 1)] / VIEWS

    def as_n_grows(form, way):
        return (done[(form, way, 2 * points)] - done[(form, way, points)]) / (VIEWS * points)

    print("| Projection | n = 1: single / array | as n grows: single / array | ratio |")
    print("|---|---|---|---|")
    for form in FORMS:
        s1, a1 = at_one(form, "single"), at_one(form, "array")
        s, a = as_n_grows(form, "single"), as_n_grows(form, "array")
        print(f"| `{form}` | {s1:.0f} / {a1:.0f} | {s:.0f} / {a:.0f} | {a / s:.3f} |")


if __name__ == "__main__":
    main(sys.argv[1:])
