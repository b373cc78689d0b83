"""Reads a C++ source as tokens, and knows of each token which function it stands in.

It serves scripts/mutate only. It knows as much of C++ as this library's formatted sources need.
"""

import re
from dataclasses import dataclass

_TOKEN = re.compile(
    r'''
      (?P<comment>//[^\n]*|/\*.*?\*/)
    | (?P<directive>^[ \t]*\#(?:[^\\\n]|\\.)*)
    | (?P<string>(?:u8|[LuU])?"(?:[^"\\\n]|\\.)*")
    | (?P<char>(?:u8|[LuU])?'(?:[^'\\\n]|\\.)+')
    | (?P<number>\d(?:[\w.]|'(?=\w))*)
    | (?P<name>[A-Za-z_]\w*)
    | (?P<operator>\.\.\.|<=>|->|::|\+\+|--|&&|\|\||<<=|>>=|[-+*/%&|^=!<>]=|<<|\S)
    ''',
    re.VERBOSE | re.DOTALL | re.MULTILINE)

_OPENERS = {'(': ')', '[': ']', '{': '}'}
_BEFORE_BODY = {')', ']', 'const', 'noexcept', 'override', 'final', 'mutable', 'else', 'do', 'try'}


@dataclass
class Token:
    kind: str
    text: str
    start: int
    end: int
    match: int = -1  # of a bracket: the index of its partner
    function: str = ''  # the function whose body or head it stands in
    scope: str = 'namespace'  # what the innermost braces around it are
    begins: bool = False  # whether a statement of a function begins with it


class Source:
    def __init__(self, text):
        self.text = text
        self.tokens = [
            Token(found.lastgroup, found.group(), found.start(), found.end())
            for found in _TOKEN.finditer(text)
            if found.lastgroup not in ('comment', 'directive')
        ]
        self._match_brackets()
        self._find_scopes()

    def line_of(self, position):
        return self.text.count('\n', 0, position) + 1

    def is_spaced(self, index):
        """The formatter puts spaces around a binary operator, and none around a template's brackets."""
        token = self.tokens[index]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def statements(self):
        """The statements in function bodies, each as the indices of its first token and its semicolon."""
        for index, token in enumerate(self.tokens):
            if token.begins:
                end = self._end_of_statement(index)
                if end is not None:
                    yield index, end

    def end_of_body(self, index):
        """The index of the brace that closes the innermost body around this token."""
        depth = 0
        for later in range(index, len(self.tokens)):
            text = self.tokens[later].text
            depth += (text == '{') - (text == '}')
            if depth < 0:
                return later
        return len(self.tokens)

    def _match_brackets(self):
        open_brackets = []
        for index, token in enumerate(self.tokens):
            if token.text in _OPENERS:
                open_brackets.append(index)
            elif token.text in _OPENERS.values():
                partner = open_brackets.pop()
                assert _OPENERS[self.tokens[partner].text] == token.text
                token.match = partner
                self.tokens[partner].match = index

    def _find_scopes(self):
        scopes = [('namespace', '')]
        head = []  # the tokens since the last statement or declaration ended
        saved = []
        for index, token in enumerate(self.tokens):
            token.scope, token.function = scopes[-1]
            token.begins = token.scope == 'function' and not head and token.text not in '{};'
            if token.text == '{':
                saved.append((head, self._is_lambda(index)))
                scopes.append(self._scope_at(index, head, scopes[-1]))
                head = []
            elif token.text == '}':
                kind, _ = scopes.pop()
                head, is_lambda = saved.pop()
                if kind != 'value' and not is_lambda:
                    head = []
            elif token.text == ';' and not self._is_in_parentheses(head):
                head = []
            elif token.text == ':' and head and head[0].text in ('case', 'default'):
                head = []
            elif token.text == 'else':
                head = []
            else:
                head = head + [token]

    def _is_lambda(self, brace):
        before = brace - 1
        if self.tokens[before].text in ('mutable', 'noexcept'):
            before -= 1
        if self.tokens[before].text == ')':
            before = self.tokens[before].match - 1
        return self.tokens[before].text == ']'

    @staticmethod
    def _is_in_parentheses(head):
        texts = [token.text for token in head]
        return texts.count('(') > texts.count(')')

    def _scope_at(self, brace, head, around):
        kind, function = around
        texts = [token.text for token in head]
        before = texts[-1] if texts else ''
        if kind in ('namespace', 'class'):
            if '(' not in texts:
                if {'namespace', 'extern'} & set(texts):
                    return 'namespace', ''
                named = {'class', 'struct', 'union'} & set(texts) and before != '='
                return ('class', '') if named else ('value', function)
            if before in _BEFORE_BODY or before == '}' or self.tokens[brace - 1].text == '}':
                return 'function', self._name_of(texts)
            return 'value', self._name_of(texts)
        if texts[:1] in (['struct'], ['class']) and len(texts) == 2:
            return 'class', function
        is_body = before in _BEFORE_BODY or before == '' or self._is_lambda(brace)
        return 'function' if is_body else 'value', function

    @staticmethod
    def _name_of(head):
        """The name ahead of the parameters, for example Name::Function."""
        at = head.index('(')
        while at and head[at - 1] in ('__attribute__', 'alignas', 'decltype', ')'):
            at = head.index('(', at + 1) if '(' in head[at + 1:] else 0
        first = at - 1
        if first and head[first - 1] == '~':
            first -= 1
        while first > 1 and head[first - 1] == '::':
            first -= 2
        return ''.join(head[first:at]).replace('operator', 'operator ').strip()

    def _end_of_statement(self, index):
        while index < len(self.tokens):
            token = self.tokens[index]
            if token.text == ';':
                return index
            if token.text == '{' and self.tokens[index + 1].scope == 'function' \
                    and not self._is_lambda(index):
                return None  # the body of a loop or a condition
            if token.text in ('}', ')'):
                return None
            index = token.match + 1 if token.text in _OPENERS else index + 1
        return None
