"""The work of scripts/mutate: tries each fault on a copy of the tree.

Usage: mutate.py FAMILY FILE COUNT SEED BUILD...

FILE: the only source that gets faults, or nothing. COUNT 0: all faults. BUILD: see BUILDS; a fault that the
tests of one don't notice is tried in the next. Standard input has the names of the tree's files, with a zero
byte after each.
"""

import os
import random
import resource
import select
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

from mutate_faults import faults_of

LEAST_LIMIT_SECONDS = 5
MOST_LIMIT_SECONDS = 60  # a busy machine mustn't let a hang last for long
TIMES_SOUND = 5  # how much longer than in the sound library a test may stay silent
SOUND_RUNS = 2
MEMORY_BYTES = 4 << 30
EQUIVALENT = Path('scripts/mutate_equivalent.txt')
EXCEPTIONS = Path('tests/exceptions.txt')
# The flags of each build.
BUILDS = {'plain': '-O0', 'asan': '-O1 -fsanitize=address,undefined -fno-sanitize-recover=all',
          'tsan': '-O1 -fsanitize=thread'}


@dataclass
class Family:
    """The tests of a family. Those of families that stand on it come last, because a fault that its own
    tests catch doesn't get there."""
    programs: list  # of googletest
    fuzz: list  # targets, as far as they have seeds
    failures: tuple = ()  # groups of tests/failures/table.txt
    soak: bool = True  # two seconds of it, because dropped locks show when threads meet
    extra: tuple = ()  # sources outside the family's folder


FAMILIES = {
    'strings': Family(['strings_test', 'ini_test', 'files_test'], ['text', 'ini'], soak=False),
    'frame': Family(['frame_test', 'misuse_test', 'time_test', 'win32_test', 'handles_test',
                     'queues_test', 'threads_test', 'files_test'], ['timers'],
                    failures=('objects', 'threads')),
    'threads': Family(['threads_test', 'time_test', 'timer_clock_test'], ['timers'],
                      failures=('threads', 'timers')),
    'ini': Family(['ini_test', 'strings_test'], ['ini', 'text'], failures=('ini',),
                  extra=('include/verrick/ini_file_lock.h',)),
    'handles': Family(['handles_test', 'misuse_test', 'frame_test', 'win32_test', 'queues_test'], [],
                      failures=('objects',)),
    'queues': Family(['queues_test', 'handles_test'], ['queues'], failures=('objects',)),
    'files': Family(['files_test'], ['text'], failures=('files',)),
}


class Copy:
    """A copy of the tree."""

    def __init__(self, folder, names):
        self.tree = folder / 'tree'
        for name in names:
            self.put(name, Path(name).read_bytes())
        self._remove_strangers(names)

    def put(self, name, content):
        """Writes the file unless it has this content, because a new date makes it compile anew."""
        path = self.tree / name
        if path.is_file() and path.read_bytes() == content:
            return
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        shutil.copymode(name, path)

    def _remove_strangers(self, names):
        known = {self.tree / name for name in names}
        for path in list(self.tree.rglob('*')):
            if path.is_file() and path not in known:
                path.unlink()


class Build:
    """A build of the copy, with the tests of a family."""

    def __init__(self, name, folder, tree, family):
        self.name = name
        self._folder = folder / name
        self._scratch = folder / 'scratch'
        self._configure(tree)
        programs, fuzz, seeds = self._folder / 'tests', self._folder / 'fuzz', tree / 'fuzz/seeds'
        targets = [target for target in family.fuzz if (seeds / target).is_dir()]
        self._programs = family.programs + [f'fuzz_{target}' for target in targets]
        self._commands = [[fuzz / f'fuzz_{target}', seeds / target] for target in targets]
        self._commands += [[programs / program, '--gtest_fail_fast', self._without_exceptions()]
                           for program in family.programs]
        if family.failures:
            self._programs.append('failing_calls')
        self._commands += [[tree / 'tests/failures/check_failures.py', group, programs / 'failing_calls']
                           for group in family.failures]
        if family.soak:
            self._programs.append('soak')
            self._commands.append([tree / 'tests/soak/run_briefly.sh', programs / 'soak'])
        self._limits = [None] * len(self._commands)

    def _configure(self, tree):
        command = ['cmake', '-S', tree, '-B', self._folder, '-G', 'Ninja', '-DCMAKE_BUILD_TYPE=Debug',
                   f'-DCMAKE_C_FLAGS_DEBUG={BUILDS[self.name]}',
                   f'-DCMAKE_CXX_FLAGS_DEBUG={BUILDS[self.name]}',
                   '-DVERRICK_TEST_INTERFACE=OFF', '-DVERRICK_BUILD_EXAMPLES=OFF',
                   # A fault must not stop the build, neither in a link nor in a list of tests.
                   '-DCMAKE_LINK_DEPENDS_NO_SHARED=ON',
                   '-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST']
        if shutil.which('ccache'):
            command += ['-DCMAKE_C_COMPILER_LAUNCHER=ccache', '-DCMAKE_CXX_COMPILER_LAUNCHER=ccache']
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)

    def _without_exceptions(self):
        lines = [line.split() for line in EXCEPTIONS.read_text().splitlines()]
        return '--gtest_filter=-' + ':'.join(line[1] for line in lines if line[0] == self.name)

    def make(self):
        """Returns what the compiler says if it fails, or None."""
        command = ['cmake', '--build', self._folder, '--parallel', str(os.cpu_count()),
                   '--target', 'Verrick', *self._programs]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.stdout if done.returncode else None

    def measure(self):
        """Builds the sound library, runs its tests, and notes how long each is silent."""
        failure = self.make()
        if failure:
            sys.exit(failure)
        for _ in range(SOUND_RUNS):
            for index, command in enumerate(self._commands):
                failure, silence = self._run(command, None)
                if failure:
                    sys.exit(f'{command[0].name} {failure} without a fault; mend that first')
                limit = max(LEAST_LIMIT_SECONDS, TIMES_SOUND * silence, self._limits[index] or 0)
                self._limits[index] = min(limit, MOST_LIMIT_SECONDS)

    def failure(self):
        """Returns what a test says of the fault that is in the library now, or None."""
        for command, limit in zip(self._commands, self._limits):
            failure, _ = self._run(command, limit)
            if failure:
                return f'{command[0].name} {failure}'
        return None

    def _run(self, command, limit):
        """Returns how the command failed, or None, and the longest time without output."""
        shutil.rmtree(self._scratch, ignore_errors=True)
        self._scratch.mkdir(parents=True)
        environment = dict(os.environ, TMPDIR=str(self._scratch))
        process = subprocess.Popen(
            [str(part) for part in command], cwd=self._scratch, env=environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            start_new_session=True, preexec_fn=self._limit_resources)
        try:
            silence, is_over = _listen(process, limit)
        finally:
            _end_group(process.pid)
            process.wait()
            process.stdout.close()
        if not is_over:
            return 'hangs', silence
        return (f'ends with {process.returncode}' if process.returncode else None), silence

    def _limit_resources(self):
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if self.name == 'plain':  # a sanitizer reserves more addresses than that
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_BYTES, MEMORY_BYTES))



def _listen(process, limit):
    """Reads the output until the process ends, or until it hangs: it was silent for longer than the limit,
    and that is no matter of a busy machine."""
    silence, last, used = 0, time.monotonic(), 0
    while True:
        readable, _, _ = select.select([process.stdout], [], [], 0.05)
        now = time.monotonic()
        silence = max(silence, now - last)
        if readable:
            last, used = now, _processor_seconds(process.pid)
            if not os.read(process.stdout.fileno(), 1 << 16):
                process.wait()
                return silence, True
            if limit is not None and used > 10 * limit:
                return silence, False  # it prints for ever
        elif process.poll() is not None:
            return silence, True
        if limit is not None and now - last > limit:
            if _is_asleep(process.pid) or _processor_seconds(process.pid) - used > limit / 2:
                return silence, False


def _stat_fields(path):
    """The fields of a stat file after the name, the state first; none if the process is gone."""
    try:
        return path.read_text().rpartition(')')[2].split()
    except OSError:
        return []


def _processor_seconds(pid):
    fields = _stat_fields(Path(f'/proc/{pid}/stat'))
    return sum(map(int, fields[11:13])) / os.sysconf('SC_CLK_TCK')


def _is_asleep(pid):
    """Whether all threads sleep, and go on sleeping."""
    for _ in range(20):
        states = [_stat_fields(task / 'stat')[:1] for task in Path(f'/proc/{pid}/task').glob('*')]
        if any(state in (['R'], ['D']) for state in states):
            return False
        time.sleep(0.02)
    return True


def _end_group(group):
    try:
        os.killpg(group, signal.SIGKILL)
    except ProcessLookupError:
        pass


def read_equivalent():
    """The faults that no caller can see, by their keys: see the head of the file."""
    known = {}
    blocks = EQUIVALENT.read_text().split('\n\n')
    for block in blocks:
        lines = [line for line in block.splitlines() if not line.startswith('#')]
        if not lines:
            continue
        place, before, *after = lines
        file, _, function = place.partition(' ')
        for line in after:
            if line.startswith('+ '):
                known[file, function, before[2:], line[2:]] = False
    return known


def all_faults(folder, extra):
    names = sorted(str(path) for path in Path(folder).iterdir() if path.suffix in ('.cpp', '.h'))
    return [fault for name in [*names, *extra] for fault in faults_of(name, Path(name).read_text())]


def show(result, fault, detail=''):
    print(f'{result:9} {fault.file}:{fault.line} {fault.before}  ->  {fault.after}{detail}', flush=True)


def try_fault(fault, copy, builds):
    """Returns 'caught', 'survived' or 'refused' (by the compiler), and a detail to show."""
    sound = Path(fault.file).read_text()
    copy.put(fault.file, (sound[:fault.start] + fault.replacement + sound[fault.end:]).encode())
    try:
        for build in builds:
            if build.make():
                return 'refused', ''
            failure = build.failure()
            if failure:
                return 'caught', f'  [{build.name}: {failure}]'
        return 'survived', ''
    finally:
        copy.put(fault.file, sound.encode())


def main():
    name, file, count, seed, *build_names = sys.argv[1:]
    count, seed = int(count), int(seed)
    family = FAMILIES[name]
    names = [file for file in sys.stdin.read().split('\0') if file and Path(file).is_file()]
    folder = Path('build/mutate').absolute() / name
    copy = Copy(folder, names)
    builds = [Build(build, folder, copy.tree, family) for build in build_names]
    for build in builds:
        build.measure()

    equivalent = read_equivalent()
    faults = all_faults(name, family.extra)
    for fault in faults:
        if fault.key in equivalent:
            equivalent[fault.key] = True
    faults = [fault for fault in faults if fault.key not in equivalent and file in ('', fault.file)]
    print(f'{name}: {len(faults)} faults, besides {sum(equivalent.values())} that no caller can see',
          flush=True)
    if count:
        random.Random(seed).shuffle(faults)
    survivors, caught, refused = [], 0, 0
    for fault in faults:
        if count and caught + len(survivors) == count:
            break
        result, detail = try_fault(fault, copy, builds)
        show(result, fault, detail)
        caught += result == 'caught'
        refused += result == 'refused'
        if result == 'survived':
            survivors.append(fault)

    print()
    for fault in sorted(survivors, key=lambda fault: (fault.file, fault.line)):
        show('survived', fault)
    for (file, function, before, after), found in equivalent.items():
        if not found and file.startswith(name + '/'):
            print(f'{EQUIVALENT} names a fault that is no more: {file} {function}: {before}')
    tried = caught + len(survivors)
    print(f'{name}: {caught} of {tried} faults caught, {100 * caught / max(tried, 1):.1f} %;'
          f' the compiler refused {refused} more')


main()
