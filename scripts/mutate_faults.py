"""The faults that scripts/mutate can put into a C++ source, one at a time."""

import re
from dataclasses import dataclass

from mutate_source import Source

# What one token becomes. A token with several entries makes several faults.
_OPERATORS = {
    '==': ['!='], '!=': ['=='],
    '<': ['<=', '>='], '<=': ['<', '>'], '>': ['>=', '<='], '>=': ['>', '<'],
    '&&': ['||'], '||': ['&&'],
    '+': ['-'], '-': ['+'], '+=': ['-='], '-=': ['+='], '++': ['--'], '--': ['++'],
}
_CONSTANTS = [
    ['true', 'false'],
    ['WAIT_RESULT_OK', 'WAIT_RESULT_TIMEOUT', 'WAIT_RESULT_FAILED'],
    ['WAIT_OBJECT_0', 'WAIT_TIMEOUT', 'WAIT_FAILED'],
    ['ETIMEDOUT', 'EINTR', 'EAGAIN', 'EINVAL', 'ENOENT', 'EBUSY', 'EDEADLK'],
    ['SEEK_SET', 'SEEK_CUR', 'SEEK_END'],
    ['min', 'max'],
]
_NEXT_CONSTANT = {
    name: group[(at + 1) % len(group)] for group in _CONSTANTS for at, name in enumerate(group)
}
_ASSIGNMENTS = {'=', '+=', '-=', '*=', '/=', '%=', '|=', '&=', '^=', '<<=', '>>='}
_NO_CALL = {
    'return', 'if', 'for', 'while', 'switch', 'do', 'case', 'default', 'goto', 'using', 'typedef',
    'static_assert', 'throw', 'else', 'struct', 'class', 'template', 'friend', 'public', 'private',
    'protected', 'constexpr', 'static', 'thread_local', 'co_return',
}


@dataclass(frozen=True)
class Fault:
    file: str
    line: int
    function: str
    kind: str
    before: str  # the text of the line
    after: str
    start: int  # what is replaced in the file, and by what
    end: int
    replacement: str

    @property
    def key(self):
        """What tells it from other faults also after the lines around it moved."""
        return self.file, self.function, self.before, self.after


def faults_of(name, text):
    """All faults for a file of this name with this text, in the order of its lines."""
    source = Source(text)
    found = list(_Maker(name, source).faults())
    return sorted(found, key=lambda fault: (fault.start, fault.end, fault.replacement))


class _Maker:
    def __init__(self, name, source):
        self._name = name
        self._source = source
        self._tokens = source.tokens
        self._skipped = self._find_skipped()

    def faults(self):
        for first, end in self._source.statements():
            if self._is_droppable(first, end):
                yield self._fault('dropped statement', first, end, '')
            elif self._is_guard(first, end):
                yield self._fault('dropped guard', first, end, '')
        for index, token in enumerate(self._tokens):
            if index not in self._skipped:
                yield from self._faults_at(index, token)

    def _find_skipped(self):
        """Tokens that say nothing about what the program does."""
        skipped = set()
        for index, token in enumerate(self._tokens):
            following = self._tokens[index + 1].text if index + 1 < len(self._tokens) else ''
            if token.text in ('static_assert', 'alignas', '__attribute__') and following == '(':
                skipped.update(range(index, self._tokens[index + 1].match))
            elif token.text == '[' and following == '[':
                skipped.update(range(index, token.match))
            elif token.text == 'ForwardOr':  # its first argument: no live object is without an implementation
                skipped.add(index + 2)
            elif token.text == 'extern' or token.text == 'operator':
                skipped.update((index, index + 1))
        return skipped

    def _fault(self, kind, first, last, replacement):
        text = self._source.text
        start, end = self._tokens[first].start, self._tokens[last].end
        line_start = text.rfind('\n', 0, start) + 1
        line_end = text.find('\n', start)
        before = text[line_start:line_end].strip()
        after = (text[line_start:start] + replacement + text[end:line_end]).strip() or '(dropped)'
        line = self._source.line_of(start)
        function = self._tokens[first].function
        return Fault(self._name, line, function, kind, before, after, start, end, replacement)

    def _faults_at(self, index, token):
        if token.kind == 'number':
            for replacement in _other_numbers(token.text):
                yield self._fault('constant', index, index, replacement)
        elif token.kind == 'char':
            yield self._fault('constant', index, index, _other_character(token.text))
        elif token.kind == 'string':
            yield self._fault('constant', index, index, _other_text(token.text))
        elif token.kind == 'name':
            yield from self._faults_at_name(index, token)
        elif token.text == '!':
            yield self._fault('negation', index, index, '')
        elif token.text == '|' and re.fullmatch('[A-Z][A-Z0-9_]+', self._tokens[index + 1].text):
            yield self._fault('constant', index, index + 1, '')
        elif token.text in _OPERATORS:
            if token.text in ('++', '--') or self._source.is_spaced(index):
                for replacement in _OPERATORS[token.text]:
                    yield self._fault('operator', index, index, replacement)

    def _faults_at_name(self, index, token):
        following = self._tokens[index + 1]
        if token.text in ('if', 'while') and following.text == '(':
            yield from self._negated_condition(index + 1)
        elif token.text in _NEXT_CONSTANT:
            if token.text in ('min', 'max') and self._tokens[index - 1].text != '::':
                return
            yield self._fault('constant', index, index, _NEXT_CONSTANT[token.text])

    def _negated_condition(self, opening):
        """Only of a condition without an operator that another fault changes."""
        closing = self._tokens[opening].match
        inside = range(opening + 1, closing)
        operators = set(_OPERATORS) - {'+', '-'} | {'!', ';', '='}
        if any(self._tokens[index].text in operators and self._depth(opening, index) == 1
               for index in inside):
            return
        text = self._source.text[self._tokens[opening].end:self._tokens[closing].start]
        if text not in ('true', 'false'):
            yield self._fault('negation', opening, closing, f'(!({text}))')

    def _depth(self, opening, index):
        inside = [token.text for token in self._tokens[opening:index]]
        return sum(text in '([{' for text in inside) - sum(text in ')]}' for text in inside)

    def _is_droppable(self, first, end):
        """Whether it is a call, an assignment, a step, or a jump without a value."""
        texts = [token.text for token in self._tokens[first:end]]
        if len(texts) == 1:
            return texts[0] in ('break', 'continue', 'return')
        if texts[0] == 'delete':
            return True
        if texts[0] in _NO_CALL:
            return False
        stop = self._end_of_operand(first, end)
        if stop == end:
            return self._tokens[end - 1].text in (')', '++', '--') or texts[0] in ('++', '--')
        return self._tokens[stop].text in _ASSIGNMENTS and self._tokens[end - 1].text != 'default'

    def _end_of_operand(self, index, end):
        """The index after an operand such as (*a.b)[c]->d(e)."""
        while index < end and self._tokens[index].text in ('*', '++', '--', '&', '::'):
            index += 1
        joined = True  # whether a name may follow
        while index < end:
            token = self._tokens[index]
            if token.text in ('::', '.', '->'):
                joined = True
            elif token.text in ('++', '--') or (token.text in '([' and token.match < end):
                index = max(index, token.match)
                joined = False
            elif token.text == '<' and not self._source.is_spaced(index):
                index = self._end_of_template(index)
            elif token.kind == 'name' and joined:
                joined = False
            else:
                return index
            index += 1
        return index

    def _end_of_template(self, index):
        depth = 0
        while True:
            depth += {'<': 1, '>': -1}.get(self._tokens[index].text, 0)
            if depth == 0:
                return index
            index += 1

    def _is_guard(self, first, end):
        """Whether it makes an object that works until its scope ends, and that nothing names later."""
        texts = [token.text for token in self._tokens[first:end]]
        if texts[0] in _NO_CALL or '=' in texts or len(texts) < 2:
            return False
        last = self._tokens[end - 1]
        name = last.match - 1 if last.text in (')', '}') else end - 1
        before = self._tokens[name - 1]
        is_declared = self._tokens[name].kind == 'name' and name > first
        if not is_declared or before.kind != 'name' and before.text not in ('>',):
            return False
        later = range(end, self._source.end_of_body(end))
        return all(self._tokens[index].text != self._tokens[name].text for index in later)


def _other_numbers(text):
    found = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d']+)([uUlLzZ]*)", text)
    if not found:
        return
    digits, suffix = found.groups()
    if digits.startswith(('0x', '0X')):
        value, form = int(digits.replace("'", ''), 16), '0x{:X}'
    elif digits.startswith('0') and digits != '0':
        value, form = int(digits.replace("'", ''), 8), '0{:o}'
    else:
        value, form = int(digits.replace("'", '')), '{}'
    for other in (value + 1, value - 1):
        if other >= 0:
            yield form.format(other) + suffix


def _other_character(text):
    prefix, quote, character = text.partition("'")
    return prefix + quote + ("Z'" if character != "Z'" else "Y'")


def _other_text(text):
    prefix, quote, characters = text.partition('"')
    if characters == '"':
        return prefix + quote + 'Z"'
    first = re.match(r'\\.|.', characters).group()
    return prefix + quote + characters[len(first):]
