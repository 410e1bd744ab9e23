#!/usr/bin/env python3
"""A plain script that splits half-hour poll files as the program does, for a comparison side by side.

Usage: reference.py ARCHIVE-DIR START END      START and END are yyyy-mm-dd; the server's zone is GMT.
It takes records by their positions, so odd lines with empty positions are beyond it.
"""
import datetime
import fnmatch
import gzip
import os
import re
import sys

HEX = re.compile(r"[0-9a-f]{32}")
HEADER, LOG, POLL, VERSION, SHORT_RECORD, LONG_RECORD, ZERO, OTHER, HEXLINE, CHILD = range(10)
LOG_PREFIX = "@quorvel.log.time="
POLL_PREFIX = "@polling.start="
INTERVAL_PREFIX = "@polling.interval="


def number(text):
    digits = re.match(r"[0-9]*", text).group()
    return int(digits) if digits else 0


def read_lines(path):
    if path.lower().endswith(".gz"):
        with gzip.open(path, "rt", encoding="latin-1", newline="\n") as file:
            text = file.read()
    else:
        with open(path, "r", encoding="latin-1", newline="\n") as file:
            text = file.read()
        if text.endswith("\n"):
            text = text[:-1]
        elif not text:
            return []
    return text.split("\n")


def write_lines(path, lines):
    opener = gzip.open if path.lower().endswith(".gz") else open
    with opener(path, "wt", encoding="latin-1", newline="\n") as file:
        for line in lines:
            file.write(line)
            file.write("\n")


def is_half_hour(path):
    polls = set()
    interval = 0
    for line in read_lines(path):
        if line.startswith(INTERVAL_PREFIX):
            interval = number(line[len(INTERVAL_PREFIX):])
        elif line.startswith(POLL_PREFIX):
            poll = number(line[len(POLL_PREFIX):])
            polls.add(poll - poll % interval if interval else poll)
    if not polls:
        return False
    first = min(polls)
    boundary = first - first % 3600
    if boundary < first - 1800:
        boundary += 3600
    return first < boundary < max(polls)


class Line:
    __slots__ = ("kind", "text", "fields", "children")

    def __init__(self, kind, text):
        self.kind, self.text, self.fields, self.children = kind, text, (), None

    def identity(self):
        f = self.fields
        if self.kind == SHORT_RECORD:
            return (f[2], f[3], f[4], 0)
        return (f[2], f[3], f[4], 1, f[8], f[9], f[13], f[14])


def classify(lines):
    result = []
    split_index, split_time, log_hour, parent = 0, 0, -1, None
    for index, text in enumerate(lines):
        line = Line(OTHER, text)
        result.append(line)
        if text.startswith(LOG_PREFIX):
            line.kind, line.text = LOG, text[len(LOG_PREFIX):]
            log_hour = number(line.text) // 3600
            continue
        if text.startswith(POLL_PREFIX):
            line.kind, line.text = POLL, text[len(POLL_PREFIX):]
            if split_index == 0 and number(line.text) // 3600 > log_hour:
                split_index, split_time = index, number(line.text)
            continue
        if text.startswith("@"):
            line.kind = HEADER
            continue
        if text.startswith("10:") or (text.startswith("9") and len(text) <= 9):
            line.kind = VERSION
            continue
        parts = text.split(":")
        level = int(parts[1]) if len(parts) > 1 and parts[1] in ("0", "1", "2") else None
        if level is not None and len(parts) >= 17 and all(parts[:16]):
            kind = LONG_RECORD
        elif level is not None and len(parts) >= 5 and all(parts[:5]):
            kind = SHORT_RECORD
        else:
            level = None
        if level is None:
            if HEX.fullmatch(text):
                line.kind = HEXLINE
            elif text == "0":
                line.kind = ZERO
            continue
        line.kind, line.fields = kind, [part for part in parts[:-1] if part] + parts[-1:]
        if level == 1:
            parent = index
        elif level == 2 and parent is not None and not (kind == SHORT_RECORD and parent == 0):
            child = Line(kind, text)
            child.fields = line.fields
            if result[parent].children is None:
                result[parent].children = {}
            result[parent].children.setdefault(child.identity(), child)
            line.kind = CHILD
    return result, split_index, split_time


def fold(usage, record):
    key = record.identity()
    if key not in usage:
        usage[key] = record
        return
    del usage[key]
    if len(record.fields) > 6 and number(record.fields[6]) != 0:
        usage[key] = record


def text_of(line):
    if line.kind == LOG:
        return LOG_PREFIX + line.text
    if line.kind == POLL:
        return POLL_PREFIX + line.text
    return line.text


def first_file(lines, split_index):
    yield "@quorvel.split=1"
    for index, line in enumerate(lines):
        if index < split_index:
            if index != split_index - 1 or line.kind != OTHER:
                yield text_of(line)
        elif line.kind == HEXLINE:
            yield line.text


def second_file(lines, split_index, split_time):
    yield "@quorvel.split=2"
    index = 0
    while index < len(lines) and lines[index].kind not in (SHORT_RECORD, LONG_RECORD, ZERO):
        if lines[index].kind in (LOG, POLL):
            lines[index].text = str(split_time)
        yield text_of(lines[index])
        index += 1
    table = {}
    while index < len(lines):
        line = lines[index]
        if line.kind == POLL and index > split_index:
            for key in sorted(table):
                first, records, usage = table[key]
                if records:
                    yield from (records[k].text for k in sorted(records))
                else:
                    yield first
                yield from (usage[k].text for k in sorted(usage))
            yield ""
            break
        if line.kind in (SHORT_RECORD, LONG_RECORD):
            key = ":".join(line.fields[2:5])
            if key not in table:
                table[key] = [line.text if line.kind == SHORT_RECORD else "", {}, {}]
            if line.kind == LONG_RECORD:
                fold(table[key][1], line)
            children = line.children or {}
            for child in sorted(children):
                fold(table[key][2], children[child])
        index += 1
    yield from (text_of(line) for line in lines[index:])


def split_file(directory, name):
    base, _, suffix = name.rpartition(".")
    source = "splitsrc"
    if suffix.lower() == "gz":
        base, _, suffix = base.rpartition(".")
        suffix, source = suffix + ".gz", "splitsrc.gz"
    if suffix == source:
        suffix = "in.gz" if source.endswith(".gz") else "in"
    else:
        target = os.path.join(directory, base + "." + source)
        if os.path.exists(target):
            return
        os.rename(os.path.join(directory, name), target)
    lines, split_index, split_time = classify(read_lines(os.path.join(directory, base + "." + source)))
    write_lines(os.path.join(directory, base + ".split1." + suffix), first_file(lines, split_index))
    write_lines(os.path.join(directory, base + ".split2." + suffix), second_file(lines, split_index, split_time))


def split_day(directory):
    names = set()
    for name in os.listdir(directory):
        if any(fnmatch.fnmatchcase(name, glob) for glob in ("*-*.in*", "*-*.splitsrc", "*-*.splitsrc.gz")):
            names.add(name)
    for name in sorted(names):
        if not fnmatch.fnmatchcase(name, "*.split?.in*") and is_half_hour(os.path.join(directory, name)):
            split_file(directory, name)


def main():
    archive, start, end = sys.argv[1], *(datetime.date.fromisoformat(day) for day in sys.argv[2:4])
    while start <= end:
        directory = os.path.join(archive, "quorvel2", str(start.year), str(start.month), str(start.day))
        if os.path.isdir(directory):
            split_day(directory)
        start += datetime.timedelta(days=1)


main()
