"""See scripts/apps."""

import argparse
import collections
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

from programs import PROGRAMS

HERE = pathlib.Path(__file__).resolve().parent
VERDICTS = ["right", "near", "wrong", "none", "twice", "late"]
SECONDS_FOR_A_PROGRAM = 240


def run_inside(name, options):
    """One program on a desktop of its own."""
    with tempfile.NamedTemporaryFile(suffix=".json") as answer:
        command = [HERE.parent.parent / "scripts/with-desktop", "--screen", options.screen, sys.executable,
                   HERE / "session.py", name, "--zqlog", options.zqlog, "--scale", str(options.scale), "--answer", answer.name]
        try:
            subprocess.run([str(part) for part in command], check=False, timeout=SECONDS_FOR_A_PROGRAM,
                           stdout=None if options.verbose else subprocess.DEVNULL,
                           stderr=None if options.verbose else subprocess.DEVNULL)
        except subprocess.TimeoutExpired:
            pass
        lines = pathlib.Path(answer.name).read_text(encoding="utf-8").splitlines()
        return [json.loads(line) for line in lines]


def print_table(results):
    print(f"{'program':<14}" + "".join(f"{verdict:>7}" for verdict in VERDICTS) + f"{'of':>5}{'median':>9}{'worst':>9}")
    for name, steps in results.items():
        counts = collections.Counter(step["verdict"] for step in steps)
        delays = [step["delay"] for step in steps if step.get("delay") is not None] or [0]
        total = sum(counts[verdict] for verdict in VERDICTS)
        print(f"{name:<14}" + "".join(f"{counts[verdict]:>7}" for verdict in VERDICTS) +
              f"{total:>5}{statistics.median(delays):>6.0f} ms{max(delays):>6.0f} ms")
    for name, steps in results.items():
        for step in steps:
            if step["verdict"] != "right":
                print(f"{name}: {step['step']}: {step['verdict']}" + "".join(f"\n    {each}" for each in step["details"]))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", nargs="*", choices=[*PROGRAMS, []], metavar="PROGRAM")
    parser.add_argument("--zqlog", default=str(HERE.parent.parent / "build/dev/tools/zqlog/zqlog"))
    parser.add_argument("--scale", type=float, default=1)
    parser.add_argument("--screen", default="1600x1200")
    parser.add_argument("--json", help="also write every step with its differences to this file")
    parser.add_argument("--least", type=float, help="fail when less than this share of the steps is right, or any is wrong")
    parser.add_argument("--verbose", action="store_true", help="show what the programs print")
    options = parser.parse_args()
    results = {name: run_inside(name, options) for name in options.programs or PROGRAMS}
    print_table(results)
    if options.json:
        pathlib.Path(options.json).write_text(json.dumps(results, indent=1), encoding="utf-8")
    if options.least is None:
        return 0
    steps = [step for each in results.values() for step in each if step["verdict"] in VERDICTS]
    right = sum(step["verdict"] in ("right", "late") for step in steps)
    is_false = any(step["verdict"] == "wrong" for step in steps)
    return 0 if steps and all(results.values()) and right >= options.least * len(steps) and not is_false else 1


sys.exit(main())
