"""The work of scripts/coverage: adds up what gcov counted in all objects, for gcovr to show.

Usage: coverage.py BUILD TRACEFILE      with the path of the build's folder, from the tree's root

A source may be compiled into several objects. gcovr can't tell the branches of exceptions in an object
that never ran the line, so it would count them as missed. gcov's own report tells them always.

Prints each unreached line, and each line with unreached branches, that scripts/unreached.txt doesn't
name with a reason. Ends with 1 if there is one. The branches of a line with new or delete aren't
counted unless the line has a condition: the compiler makes them, to test for null and to clean up.
"""

import json
import os
import re
import subprocess
import sys
from pathlib import Path

FOLDERS = ('include', 'frame', 'threads', 'ini', 'handles', 'queues', 'files', 'strings')
NAMED = Path('scripts/unreached.txt')
ALLOCATION = re.compile(r'\b(new|delete)\b')
CONDITION = re.compile(r'\b(if|for|while)\b|\?|&&|\|\|')
COMMON = re.compile(r'\}|return\b[^?(]*;')  # a file may have several of them


class Line:
    """What all objects counted for one line. Each function that has the line counts its own branches,
    because the line may belong to a template."""

    def __init__(self, text):
        self._text = text
        self.count = 0
        self._functions = {}

    def add(self, entry):
        self.count += entry['count']
        branches = [branch['count'] for branch in entry['branches'] if not branch['throw']]
        if len(branches) < 2 or ALLOCATION.search(self._text) and not CONDITION.search(self._text):
            return
        function = entry.get('function_name')
        self._functions[function] = _sum(self._functions.get(function, []), branches)

    def branches(self):
        total = []
        for branches in self._functions.values():
            total = _sum(total, branches)
        return total


def _sum(left, right):
    """Adds the counts of the same branches. A compiler may leave out the last ones in one place."""
    longer, shorter = sorted((left, right), key=len, reverse=True)
    return [count + (shorter[i] if i < len(shorter) else 0) for i, count in enumerate(longer)]


def collect(build):
    """Returns the lines by their numbers, by their files."""
    root = Path.cwd()
    texts, files = {}, {}
    for counts in sorted(build.rglob('*.gcda')):
        report = subprocess.run(
            ['gcov', '--json-format', '--stdout', '--branch-probabilities', counts.absolute()],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True, cwd=build).stdout
        for document in map(json.loads, filter(None, report.splitlines())):
            for file in document['files']:
                path = Path(os.path.normpath(Path(document['current_working_directory']) / file['file']))
                if not any(path.is_relative_to(root / folder) for folder in FOLDERS):
                    continue
                name = str(path.relative_to(root))
                text = texts.setdefault(name, path.read_text().splitlines())
                lines = files.setdefault(name, {})
                for entry in file['lines']:
                    number = entry['line_number']
                    lines.setdefault(number, Line(text[number - 1])).add(entry)
    return files, texts


def write_tracefile(files, path):
    tracefile = {'gcovr/format_version': '0.3', 'files': [
        {'file': name, 'functions': [], 'lines': [
            {'line_number': number, 'count': line.count, 'gcovr/noncode': False, 'gcovr/excluded': False,
             'branches': [{'count': count, 'fallthrough': False, 'throw': False}
                          for count in line.branches()]}
            for number, line in sorted(lines.items())]}
        for name, lines in sorted(files.items())]}
    path.write_text(json.dumps(tracefile))


def name_of(lines, number):
    """The line's text. A common line has the line before it in front."""
    text = lines[number - 1].strip()
    return f'{lines[number - 2].strip()} {text}' if COMMON.fullmatch(text) else text


def read_named():
    """The lines that are named with a reason: see the head of the file."""
    named = {}
    for block in NAMED.read_text().split('\n\n'):
        rows = [row for row in block.splitlines() if not row.startswith('#')]
        if rows:
            named.update({(rows[0], row[2:]): False for row in rows if row.startswith('- ')})
    return named


def main():
    build, tracefile = map(Path, sys.argv[1:])
    files, texts = collect(build)
    write_tracefile(files, tracefile)
    named, is_complete = read_named(), True
    for name, lines in sorted(files.items()):
        for number, line in sorted(lines.items()):
            branches = line.branches() if line.count else []
            missed = branches.count(0)
            text = name_of(texts[name], number)
            if (name, text) in named:
                named[name, text] = True
            elif not line.count or missed:
                is_complete = False
                what = f'{missed} of {len(branches)} branches' if line.count else 'the line'
                print(f'{name}:{number}: {what} unreached: {text}')
    for (name, text), found in named.items():
        if not found:
            print(f'{NAMED} names a line that is no more: {name}: {text}')
    sys.exit(not is_complete)


main()
