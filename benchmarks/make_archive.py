#!/usr/bin/env python3
"""Makes a seeded archive for measurements: the same arguments give the same bytes.

Usage: make_archive.py DIR --shape half|whole|mixed --files N --size BYTES [--gzip] [--features N] [--seed N]
A mixed archive has a half-hour file among four, four files of eight packed.
Files lie under DIR/quorvel2/2024/3/D/, at most 1000 in a day, of about BYTES each before compression.
"""
import argparse
import gzip
import os
import random

DAY = 1709251200  # 2024-03-01 00:00 GMT


def poll_file(rng, log_time, size, features):
    """Twelve polls, five minutes apart, the first five minutes behind the log time."""
    users = ["user%03d" % n for n in range(200)]
    out = ["@quorvel.log.time=%d" % log_time, "@polling.interval=300", "@poller.name=benchmark", "10:3:1"]
    target = size / 12
    handles = rng.randrange(1, 10**6)
    running = []
    for poll in range(1, 13):
        out.append("@polling.start=%d" % (log_time + poll * 300 + rng.randrange(0, 20)))
        written = 0
        while written < target:
            feature = rng.randrange(features)
            place = "vendor%d:feature%04d:%d.%d" % (feature % 7, feature, 2000 + feature % 24, feature % 3)
            lines = []
            kind = rng.random()
            if kind < 0.15:
                lines.append("%d:0:%s" % (feature % 9, place))
            elif kind < 0.25:
                lines.append("%d:1:%s" % (feature % 9, place))
            if running and rng.random() < 0.3:
                old = running.pop(rng.randrange(len(running)))
                lines.append(old[0] + ":0:" + old[1])
            handles += 1
            level = 2 if 0.15 <= kind < 0.25 else rng.choice((0, 0, 0, 1, 2))
            head = "%d:%d:%s:%d" % (feature % 9, level, place, 20 + feature % 80)
            user = rng.choice(users)
            tail = "%d:%s:ws%s.site.example:pts/%d:%d:%d:h%d:project-%d:0:" % (
                rng.randrange(3), user, user[4:], rng.randrange(9), rng.randrange(1000, 60000),
                log_time - rng.randrange(9000), handles, feature % 13)
            lines.append(head + ":%d:" % rng.randrange(1, 9) + tail)
            if len(running) < 500:
                running.append((head, tail))
            out += lines
            written += sum(len(line) + 1 for line in lines)
        out.append("")
    out.append("%032x" % rng.getrandbits(128))
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("dir")
    parser.add_argument("--shape", choices=("half", "whole", "mixed"), default="half")
    parser.add_argument("--files", type=int, default=1)
    parser.add_argument("--size", type=int, default=1000000)
    parser.add_argument("--gzip", action="store_true")
    parser.add_argument("--features", type=int, default=500)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    rng = random.Random(arguments.seed)
    for number in range(arguments.files):
        day, hour = number // 1000, number % 23
        mixed = arguments.shape == "mixed"
        half = number % 4 == 0 if mixed else arguments.shape == "half"
        packed = number % 8 < 4 if mixed else arguments.gzip
        log_time = DAY + day * 86400 + hour * 3600 + (1800 if half else 0)
        directory = os.path.join(arguments.dir, "quorvel2", "2024", "3", str(day + 1))
        os.makedirs(directory, exist_ok=True)
        text = poll_file(rng, log_time, arguments.size, arguments.features).encode()
        path = os.path.join(directory, "site-%s%05d.in" % ("half" if half else "whole", number))
        if packed:
            with open(path + ".gz", "wb") as raw, gzip.GzipFile("", "wb", 6, raw, 0) as file:
                file.write(text)
        else:
            with open(path, "wb") as file:
                file.write(text)


main()
