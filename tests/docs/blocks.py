"""The code blocks of a document: where they stand and what they hold.

In Markdown these are the fenced blocks and those indented by four blanks, both also inside list items; in a
manual page what stands between `.Bd` and `.Ed`. Any other way to show code is refused, so that no block is
overlooked.
"""

import re

kFence = re.compile(r"(?P<margin>(?: |[-*+] |\d+[.)] )*)(?P<fence>`{3,}|~{3,})(?P<kind>[^`]*)$")
kListItem = re.compile(r" *(?:[-*+]|\d+[.)]) +")
# Ways to show code in which no block is looked for.
kHidden = re.compile(r"```|~~~|^ *>|<pre")
kDisplay = re.compile(r"\.(Bd|Dl|D1)\b")
kCodeIndent = 4


class Block:
    """Lines of a document without their margin; `begin` is where the first one stands, from 0."""

    def __init__(self, begin, kind, margin=""):
        self.begin = begin
        self.kind = kind
        self.margin = margin
        self.lines = []

    @property
    def end(self):
        return self.begin + len(self.lines)

    def take(self, line):
        """Takes the document's next line as one of the block's."""
        width = len(self.margin)
        self.lines.append(line[width:] if line[:width] == self.margin else line.lstrip(" "))

    def written(self, lines):
        """Lines of the block as the document holds them."""
        return [(self.margin + line).rstrip(" ") if self.margin else line for line in lines]


class ManBlock(Block):
    """The same in a manual page, where some characters are spelt in other ways."""

    def take(self, line):
        if line.startswith("."):
            raise ValueError(f"line {self.end + 1}: a macro inside a display")
        self.lines.append(line.replace("\\&", "").replace("\\-", "-").replace("\\e", "\\"))

    def written(self, lines):
        return [roff(line) for line in lines]


def roff(text):
    """Text as a line of a manual page."""
    escaped = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + escaped if escaped.startswith((".", "'")) else escaped


def indentOf(line):
    return len(line) - len(line.lstrip(" "))


class ListDepth:
    """How far the text of the innermost list item is indented."""

    def __init__(self):
        self.indents = [0]

    @property
    def indent(self):
        return self.indents[-1]

    def pass_(self, line):
        """Takes note of a line that is not in a block."""
        while self.indent > indentOf(line):
            self.indents.pop()
        if item := kListItem.match(line):
            self.indents.append(item.end())


def markdownBlocks(text):
    """Every block of a Markdown document."""
    found = []
    depth = ListDepth()
    fence = None  # of the block that is open
    indented = None  # the block that a further indented line belongs to
    afterText = False  # an indented line goes on with a paragraph
    for number, line in enumerate(text.splitlines()):
        if fence is not None:
            block = found[-1]
            if re.fullmatch(rf"[ >]*{fence[0]}{{{len(fence)},}} *", line):
                fence = None
            else:
                block.take(line)
        elif not line.strip():
            afterText = False
        elif indented is not None and indentOf(line) >= len(indented.margin):
            # Empty lines between two indented ones belong to the block.
            indented.lines += [""] * (number - indented.end)
            indented.take(line)
        elif not afterText and indentOf(line) >= depth.indent + kCodeIndent:
            indented = Block(number, "", " " * (depth.indent + kCodeIndent))
            indented.take(line)
            found.append(indented)
        else:
            indented = None
            afterText = not line.startswith("#")
            depth.pass_(line)
            if match := kFence.match(line):
                fence, afterText = match["fence"], False
                margin = re.sub(r"[-*+\d.)]", " ", match["margin"])
                found.append(Block(number + 1, match["kind"].strip(), margin))
            elif kHidden.search(line):
                raise ValueError(f"line {number + 1}: show code as a block, fenced or indented")
    if fence is not None:
        raise ValueError(f"line {found[-1].begin}: the block has no end")
    return found


def manBlocks(text):
    """Every display of a manual page."""
    found = []
    isOpen = False
    for number, line in enumerate(text.splitlines()):
        if isOpen and line == ".Ed":
            isOpen = False
        elif isOpen:
            found[-1].take(line)
        elif match := kDisplay.match(line):
            if match[1] != "Bd":
                raise ValueError(f"line {number + 1}: give it as .Bd and .Ed, where examples are looked for")
            found.append(ManBlock(number + 1, ""))
            isOpen = True
    if isOpen:
        raise ValueError(f"line {found[-1].begin}: the display has no end")
    return found
