#!/usr/bin/env python3
"""Checks the tests of a folder with mutants: small faults put into its C++ sources one at a time.

A mutant is killed when a test fails, crashes or exceeds the time limit. A mutant that survives shows behaviour
that no test checks, or a change that makes no difference.

  Testing/mutants.py Logging                        20 random mutants of Logging
  Testing/mutants.py Platform --count 60 --seed 7 --save before.json
  Testing/mutants.py --replay before.json           the same mutants on the code as it is now

The mutants are built in a git worktree of its own (--work), never in the checkout; uncommitted changes are copied into
it. It is kept, so that the next run builds incrementally; remove it with `git worktree remove --force DIR`. Each
mutant builds and runs only the test programs that depend on the mutated file, the fastest first.
"""

import argparse
import json
import os
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time

MEMORY_LIMIT = 6 << 30  # bytes of address space of a test program; a mutant may allocate without end
FILE_LIMIT = 16 << 30   # bytes of a file that it writes


# --- Finding mutants -------------------------------------------------------------------------------------------------

NOT_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/'
    r'|R"(?P<raw>\w*)\(.*?\)(?P=raw)"|"(?:\\.|[^"\\\n])*"'
    r"|\b(?:L|u8?|U)'(?:\\.|[^'\\\n])+'|(?<!\w)'(?:\\.|[^'\\\n])+'"
    r'|^[ \t]*#(?:[^\n\\]|\\.|\\\n)*',
    re.S | re.M)
NOT_MUTATED = re.compile(
    r'\bstatic_assert\b[^;]*;|\[\[[^\]]*\]\]|\btemplate <[^\n]*>|\boperator\S+'
    r'|\)(?: const)?(?: noexcept)? = 0;|\bMK_[A-Z_]+\([^()]*\)')

SWAPS = {
    'relation': {'<': '<=', '<=': '<', '>': '>=', '>=': '>', '==': '!=', '!=': '=='},
    'arithmetic': {'+': '-', '-': '+', '*': '+', '/': '*', '%': '/', '<<': '>>', '>>': '<<', '&': '|', '|': '&',
                   '+=': '-=', '-=': '+=', '|=': '&=', '&=': '|='},
    'logic': {'&&': '||', '||': '&&'},
}
# The tree is formatted: a binary operator has spaces around it, a template's bracket or a reference has not.
BINARY = re.compile(r'(?<= )([<>=!+\-*/%&|]{1,2})(?=[ \n])')
NUMBER = re.compile(r"(?<![\w.'])(\d[\d']*)([uUlL]*)(?![\w.'])")
STATEMENT = re.compile(r'(?:[\w:.>\-\[\]()*&<]+\(.*\)|\*?[\w:.>\-\[\]()]+ (?:[+\-*/%|&^]|<<|>>)?= .*|\+\+.*|--.*|.*\+\+|.*--)$',
                       re.S)
DECLARATION = re.compile(r'^[\w:<>,*& ]+[>*& ][*&]?\w+(?:[({;\[]|$| = )')
NO_STATEMENT = re.compile(r'^(?:return|using|case|default|break|continue|const|auto|static|constexpr|friend|virtual|'
                          r'explicit|namespace|template|struct|class|enum|public|private|protected|qz_log|assert|'
                          r'QZLog|if|for|while|do|switch|else)\b|.*= (?:default|delete)$')


def blank(match):
    return re.sub(r'[^\n]', ' ', match.group())


def mask(text):
    """The text with all that is not to be mutated replaced by spaces."""
    return NOT_MUTATED.sub(blank, NOT_CODE.sub(blank, text))


def closing(code, opening):
    """The position of the parenthesis that closes the one at `opening`, or -1."""
    depth = 0
    for i in range(opening, len(code)):
        depth += (code[i] == '(') - (code[i] == ')')
        if depth == 0:
            return i
    return -1


def conditions(code):
    for match in re.finditer(r'\b(?:if|while) \(', code):
        start, end = match.end(), closing(code, match.end() - 1)
        if end < 0:
            continue
        start += code[start:end].rfind(';') + 1
        start += len(code[start:end]) - len(code[start:end].lstrip())
        yield start, end


def statements(code):
    """Calls and assignments that can be left out, with their semicolon."""
    for match in re.finditer(r'(?:[;{})]|(?<!:):(?!:))\s*(?=\S)|\belse ', code):
        start = match.end()
        end = code.find(';', start)
        body = code[start:end]
        if end < 0 or body.count('\n') > 5 or body.count('(') != body.count(')') or '{' in body:
            continue
        if STATEMENT.match(body) and not NO_STATEMENT.match(body) and not DECLARATION.match(body.split('(')[0]):
            yield start, end + 1


def returns(code, text):
    for match in re.finditer(r'\breturn ([^;{}]+);', code):
        value = text[match.start(1):match.end(1)]
        if value in ('true', 'false', '*this') or value.startswith('nullptr'):
            continue
        if re.fullmatch(r'(?:E|VFW_E|STG_E)_\w+', value):
            other = 'S_OK'
        elif re.fullmatch(r'(?:S|VFW_S)_\w+', value):
            other = 'E_FAIL'
        elif re.search(r' (?:[<>=!]=|&&|\|\||<|>) ', value) and ' ? ' not in value:
            other = f'!({value})'
        else:
            other = '{}'
        yield match.start(1), match.end(1), other


def spans(text):
    """All (start, end, new text, operator) of a file."""
    code = mask(text)
    for match in BINARY.finditer(code):
        for operator, swap in SWAPS.items():
            if match.group() in swap:
                yield match.start(), match.end(), swap[match.group()], operator
    for match in NUMBER.finditer(code):
        line = code[code.rfind('\n', 0, match.start()) + 1:match.start()]
        if 'constexpr' in line or line.lstrip().startswith('case ') or re.search(r'\w<[^>]*$', line):
            continue
        value = int(match.group(1).replace("'", ''), 0 if match.group(1) == '0' else 10)
        for other in (value + 1, value - 1):
            if other >= 0:
                yield match.start(), match.end(), f'{other}{match.group(2)}', 'constant'
    for match in re.finditer(r'\b(?:true|false)\b', code):
        yield match.start(), match.end(), 'false' if match.group() == 'true' else 'true', 'constant'
    for start, end in conditions(code):
        yield start, end, f'!({text[start:end]})', 'condition'
    for match in re.finditer(r'(?<=[( ])!(?=[\w(:])', code):
        yield match.start(), match.end(), '', 'condition'
    for match in re.finditer(r'\b(break|continue);', code):
        yield match.start(1), match.end(1), 'continue' if match.group(1) == 'break' else 'break', 'jump'
    for start, end in statements(code):
        yield start, end, '{}', 'removal'
    for start, end, other in returns(code, text):
        yield start, end, other, 'return'


def mutants_of(root, file):
    """The mutants of a file: blocks of whole lines with their replacement, so that they can be found again."""
    with open(os.path.join(root, file), encoding='utf-8') as stream:
        text = stream.read()
    for start, end, new, operator in spans(text):
        first = text.rfind('\n', 0, start) + 1
        last = text.find('\n', end)
        old = text[first:last]
        block = [line.strip() for line in old.split('\n')]
        number = text.count('\n', 0, first)
        lines = [line.strip() for line in text.split('\n')]
        yield {'file': file, 'operator': operator, 'text': block,
               'occurrence': sum(lines[i:i + len(block)] == block for i in range(number)),
               'replacement': [line.strip() for line in (old[:start - first] + new + old[end - first:]).split('\n')]}


def choose(root, files, seed):
    """The mutants of the files in random order, each operator as often as the others, a line at most once."""
    rng = random.Random(seed)
    kinds = {}
    for file in files:
        for mutant in mutants_of(root, file):
            kinds.setdefault(mutant['operator'], []).append(mutant)
    for kind in kinds.values():
        rng.shuffle(kind)
    seen = set()
    while kinds:
        name = rng.choice(sorted(kinds))
        mutant = kinds[name].pop()
        if not kinds[name]:
            del kinds[name]
        place = (mutant['file'], tuple(mutant['text']), mutant['occurrence'])
        if place not in seen:
            seen.add(place)
            yield mutant


# --- Putting them in -------------------------------------------------------------------------------------------------

def find_block(root, file, mutant):
    """The number of the first line of the mutant's text in the file, or None."""
    try:
        with open(os.path.join(root, file), encoding='utf-8') as stream:
            lines = [line.strip() for line in stream.read().split('\n')]
    except OSError:
        return None
    block = mutant['text']
    places = [i for i in range(len(lines)) if lines[i:i + len(block)] == block]
    return places[min(mutant['occurrence'], len(places) - 1)] if places else None


def locate(root, mutant, sources):
    """File and line of the mutant; another file only if it alone has the text."""
    line = find_block(root, mutant['file'], mutant)
    if line is not None:
        return mutant['file'], line
    found = [(file, find_block(root, file, mutant)) for file in sources]
    found = [place for place in found if place[1] is not None]
    return found[0] if len(found) == 1 else None


def apply(root, file, line, mutant):
    """Writes the mutated file; gives back the original text."""
    path = os.path.join(root, file)
    with open(path, encoding='utf-8') as stream:
        original = stream.read()
    lines = original.split('\n')
    lines[line:line + len(mutant['text'])] = mutant['replacement']
    write(path, '\n'.join(lines))
    return original


def write(path, text):
    with open(path, 'w', encoding='utf-8') as stream:
        stream.write(text)


# --- Building and running --------------------------------------------------------------------------------------------

class WorkCopy:
    def __init__(self, root, options):
        self.path = os.path.abspath(options.work or os.path.join(root, 'build', 'mutants'))
        self.build = os.path.join(self.path, 'build', options.preset)
        self.command = shlex.split(options.build) if options.build else [
            'cmake', '--build', '--preset', options.preset, '-j', str(options.jobs), '--target']
        self.environment = dict(os.environ)
        if shutil.which('ccache'):
            self.environment.setdefault('CMAKE_CXX_COMPILER_LAUNCHER', 'ccache')
        self.update(root)
        self.run(['cmake', '--preset', options.preset])

    def run(self, command):
        done = subprocess.run(command, cwd=self.path, env=self.environment, text=True, capture_output=True)
        if done.returncode != 0:
            sys.exit(f'mutants: {shlex.join(command)} failed\n{done.stdout}{done.stderr}')
        return done.stdout

    def update(self, root):
        """Makes the copy equal to the checkout, uncommitted changes included; touches only files that differ."""
        if not os.path.exists(os.path.join(self.path, '.git')):
            git(root, 'worktree', 'prune')
            git(root, 'worktree', 'add', '--quiet', '--detach', self.path, 'HEAD')
        listed = ('ls-files', '--cached', '--others', '--exclude-standard')
        wanted = {file for file in git(root, *listed).splitlines() if os.path.isfile(os.path.join(root, file))}
        for file in set(git(self.path, *listed).splitlines()) - wanted:
            if os.path.isfile(os.path.join(self.path, file)):
                os.remove(os.path.join(self.path, file))
        for file in wanted:
            source, target = os.path.join(root, file), os.path.join(self.path, file)
            if os.path.isfile(target) and open(source, 'rb').read() == open(target, 'rb').read():
                continue
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copyfile(source, target)
            shutil.copymode(source, target)

    def compile(self, target):
        return subprocess.run(self.command + [target], cwd=self.path, env=self.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def programs(self, pattern):
        """The test programs, as paths relative to the build folder."""
        targets = self.run(['ninja', '-C', self.build, '-t', 'targets', 'all'])
        return [name for name in re.findall(r'^(bin/\w+_test): ', targets, re.M) if re.search(pattern, name)]

    def dependencies(self, programs):
        """For each program the sources and headers that it is built from, relative to the work copy."""
        headers, current = {}, None
        for line in self.run(['ninja', '-C', self.build, '-t', 'deps']).splitlines():
            if line.startswith('    '):
                current.append(line.strip())
            elif ': #deps' in line:
                current = headers.setdefault(line.split(':')[0], [])
        files = {}
        for program in programs:
            inputs = self.run(['ninja', '-C', self.build, '-t', 'inputs', program]).split('\n')
            paths = set(inputs).union(*(headers.get(item, []) for item in inputs))
            files[program] = {os.path.relpath(os.path.join(self.build, path), self.path) for path in paths}
        return files


class Result:
    def __init__(self):
        self.failed = []
        self.seconds = 0.0


def run_program(build, program, limit, all_tests):
    """Runs a test program; the names of the tests that failed, none when it passed."""
    command = [os.path.join(build, program)] + ([] if all_tests else ['--gtest_fail_fast'])
    result = Result()
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryFile('w+', errors='replace') as output:
        started = time.monotonic()
        process = subprocess.Popen(command, cwd=build, stdout=output, stderr=subprocess.STDOUT, start_new_session=True,
                                   env={**os.environ, 'TMPDIR': folder}, preexec_fn=set_limits)
        try:
            status = process.wait(max(limit, 1))
        except subprocess.TimeoutExpired:
            status = None
        kill_group(process)
        result.seconds = time.monotonic() - started
        output.seek(0)
        text = output.read()
    if status == 0:
        return result
    result.failed = list(dict.fromkeys(re.findall(r'^\[  FAILED  \] ([\w/]+\.[\w/]+)', text, re.M)))
    begun = re.findall(r'^\[ RUN      \] (\S+)', text, re.M)
    if not result.failed or status is None or status < 0:
        why = 'time limit' if status is None else f'signal {-status}' if status < 0 else f'status {status}'
        result.failed.append(f'{begun[-1] if begun else program} ({why})')
    return result


def set_limits():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_LIMIT, FILE_LIMIT))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def kill_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def try_mutant(copy, programs, times, options):
    """The tests that fail, or None when the mutant does not compile."""
    killers = []
    left = options.limit
    for program in programs:
        if not copy.compile(program):
            return None
        result = run_program(copy.build, program, min(left, 20 + 10 * times[program]), options.all)
        left -= result.seconds
        killers += result.failed
        if killers and not options.all:
            break
    return killers


# --- The whole run ---------------------------------------------------------------------------------------------------

def git(folder, *arguments):
    return subprocess.run(['git', *arguments], cwd=folder, check=True, text=True, stdout=subprocess.PIPE).stdout


def sources_in(root, folders):
    files = git(root, 'ls-files', '--cached', '--others', '--exclude-standard', '--', *folders).splitlines()
    return [file for file in files if re.search(r'(?<!_test)\.(?:cpp|h)$', file)
            and os.path.isfile(os.path.join(root, file))]


def measure(copy, programs, options):
    """The seconds that each program takes without a mutant; all must pass."""
    times = {}
    for program in programs:
        if not copy.compile(program):
            sys.exit(f'mutants: {program} does not build without a mutant')
        result = run_program(copy.build, program, options.limit, False)
        if result.failed:
            sys.exit(f'mutants: {program} fails without a mutant: {", ".join(result.failed)}')
        times[program] = result.seconds
    return times


def show(number, mutant, outcome):
    print(f'{number:4} {mutant["operator"]:10} {mutant["file"]}')
    for old, new in zip(mutant['text'], mutant['replacement']):
        if old != new:
            print(f'       - {old}\n       + {new}')
    print(f'       {outcome}', flush=True)


def run_mutants(plan, copy, root, options):
    """Tries mutants until the count is reached; those that compiled, with their killers."""
    programs = copy.programs(options.tests)
    times = measure(copy, programs, options)
    programs.sort(key=times.get)
    dependencies = copy.dependencies(programs)
    everything = sources_in(root, ['.'])
    tried, unbuilt, lost = [], 0, []
    for mutant in plan:
        if len(tried) == options.count:
            break
        place = locate(copy.path, mutant, everything)
        if place is None:
            lost.append(mutant)
            show(len(tried) + 1, mutant, 'NO LONGER APPLIES')
            continue
        mutant['file'] = place[0]
        concerned = [program for program in programs if place[0] in dependencies[program]]
        original = apply(copy.path, *place, mutant)
        try:
            killers = try_mutant(copy, concerned, times, options)
        finally:
            write(os.path.join(copy.path, place[0]), original)
        if killers is None:
            unbuilt += 1
            continue
        tried.append({**mutant, 'before': mutant.get('killers'), 'killers': killers})
        show(len(tried), mutant, 'killed by ' + ', '.join(killers) if killers else 'SURVIVED')
    return tried, unbuilt, lost


def summarise(tried, unbuilt, lost):
    survivors = [mutant for mutant in tried if not mutant['killers']]
    print(f'\n{len(tried) - len(survivors)} killed, {len(survivors)} survived, {unbuilt} did not build'
          + (f', {len(lost)} no longer apply' if lost else ''))
    for title, mutants in (('Survivors', survivors), ('No longer apply', lost),
                           ('Killed before, not now', [m for m in survivors if m['before']])):
        if mutants:
            print(f'{title}:')
        for mutant in mutants:
            changed = [(old, new) for old, new in zip(mutant['text'], mutant['replacement']) if old != new]
            print(f'  {mutant["file"]}: {changed[0][0]}  ->  {changed[0][1]}')


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('folders', nargs='*', help='folders or files whose sources are mutated (tests never are)')
    parser.add_argument('--count', type=int, help='mutants that compile (20, or all of a replayed plan)')
    parser.add_argument('--seed', type=int, default=1, help='same seed, same sources: same mutants (%(default)s)')
    parser.add_argument('--save', metavar='FILE', help='write the mutants and their killers as a plan')
    parser.add_argument('--replay', metavar='FILE', help='take the mutants of a plan, found by the text of their lines')
    parser.add_argument('--all', action='store_true', help='list all tests that kill a mutant, not only the first')
    parser.add_argument('--limit', type=float, default=300, metavar='S', help='seconds of tests a mutant (%(default)s)')
    parser.add_argument('--tests', default='', metavar='REGEX', help='only the test programs whose name matches')
    parser.add_argument('--list', action='store_true', help='print the mutants without building them')
    parser.add_argument('--work', metavar='DIR', help='the work copy (build/mutants in the checkout)')
    parser.add_argument('--preset', default='dev', help='CMake preset (%(default)s)')
    parser.add_argument('--jobs', type=int, default=os.cpu_count(), help='parallel compilations (%(default)s)')
    parser.add_argument('--build', metavar='COMMAND', help='build command; the target is appended')
    options = parser.parse_args()
    if bool(options.folders) == bool(options.replay):
        parser.error('name folders or a plan to replay')
    return options


def main():
    options = parse_options()
    root = git('.', 'rev-parse', '--show-toplevel').strip()
    if options.replay:
        with open(options.replay, encoding='utf-8') as stream:
            plan = json.load(stream)
        options.count = options.count or len(plan)
    else:
        files = sources_in('.', options.folders)
        prefix = git('.', 'rev-parse', '--show-prefix').strip()
        plan = choose(root, [prefix + file for file in files], options.seed)
        options.count = options.count or 20
    if options.list:
        for number, mutant in enumerate(plan, 1):
            if number > options.count:
                break
            show(number, mutant, '')
        return
    tried, unbuilt, lost = run_mutants(plan, WorkCopy(root, options), root, options)
    summarise(tried, unbuilt, lost)
    if options.save:
        with open(options.save, 'w', encoding='utf-8') as stream:
            json.dump([{key: mutant[key] for key in mutant if key != 'before'} for mutant in tried], stream, indent=1)


if __name__ == '__main__':
    main()
