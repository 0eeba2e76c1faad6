#!/usr/bin/env python3
"""Shows the headers' comments and the README to Doxygen as they are written.

    python3 docs/doxygen_filter.py include/kel/KelString.h
    python3 docs/doxygen_filter.py README.md

Doxygen runs it on every input file (FILTER_PATTERNS in docs/Doxyfile.in) and
reads its output instead of the file. Comments and the README stay plain
text; the filter changes only what Doxygen would read differently, line for
line, so that Doxygen's messages keep the files' line numbers.

Headers: in /// and ///< comments, outside @code blocks,

- the characters Doxygen reads as markup are escaped, so that comments show
  as written: a backslash would start a command (Software\\Norvane), a "%"
  before a word is dropped (%s), <...> is taken for HTML and #name for a
  link;
- a "quoted text" is left as it is, even across lines: Doxygen shows it
  literally, and a dot inside it does not end the first sentence. Only one
  that ends in a backslash ("c:\\"), which Doxygen would read as an escaped
  quote, is written with &quot; and escaped like the rest;
- `code` becomes <tt>code</tt> with the same escapes, since Doxygen's own
  code spans end early at a backslash before a quote or a back-quote;
- the Doxygen commands the headers use (@file, @code, @copydoc, @see, ...)
  and Markdown lists pass unchanged, and so do the lines of the commands
  that name a file or a declaration ("@copydoc setAt(int, const wchar_t&)").

README.md, which stays plain GitHub-flavoured Markdown:

- every heading gets the anchor a Markdown renderer derives from it
  ("## Building for Windows" -> {#building-for-windows}), so that the
  README's links to its own sections resolve; back-quotes in a heading are
  dropped (Doxygen would show them as markup);
- inside `code`, a "%" before a letter is doubled (Doxygen drops a single
  one there); table cells keep theirs, since Doxygen does not drop it there.

(One difference stays: a "|" escaped as "\\|" inside `code` in a table cell
shows with its backslash; Doxygen 1.9 has no other way to put a bar there.)

Code, // comments, @code blocks and fenced code blocks pass unchanged.
"""

import re
import sys

# The commands the headers use; any other "@" is text.
COMMANDS = ("file", "brief", "code", "endcode", "copydoc", "copybrief", "copydetails", "see",
            "class", "par", "note", "name", "n", "{", "}")
COMMAND = re.compile(r"@(?:" + "|".join(re.escape(c) for c in COMMANDS) + r")(?![\w])")
# Commands whose argument names a file or a declaration: the line stays as it is.
REFERENCE = re.compile(r"@(?:file|class|typedef|copydoc|copybrief|copydetails)\b")


ENTITIES = {"&": "&amp;", '"': "&quot;", "<": "&lt;", ">": "&gt;"}


def escape_char(ch, nxt):
    """One character of plain comment text as Doxygen shows it literally."""
    if ch in ENTITIES:
        return ENTITIES[ch]
    if ch in "\\#$@":
        return "\\" + ch
    if ch == "%" and (nxt.isalpha() or nxt == "_"):
        return "%%"  # Doxygen drops a "%" before a word
    return ch


def escape_text(text):
    """Plain comment text as Doxygen shows it literally."""
    return "".join(escape_char(ch, text[i + 1:i + 2]) for i, ch in enumerate(text))


def escape_comment(text):
    """Comment text (lines joined by newlines) as Doxygen shows it literally.

    A "quoted text" stays in real quotes, which Doxygen shows as they are
    and within which a dot does not end the first sentence; only one that
    ends in a backslash ("c:\\"), where Doxygen would take the backslash and
    the quote for an escaped quote, is written with &quot; and escapes.
    `code` becomes <tt>; the commands the headers use pass unchanged.
    """
    out = []
    pos = 0
    while pos < len(text):
        command = COMMAND.match(text, pos)
        if command:
            out.append(command.group(0))
            pos = command.end()
            continue
        ch = text[pos]
        if ch == "`":
            close = text.find("`", pos + 1)
            if close > pos + 1 and "\n" not in text[pos:close]:
                out.append("<tt>" + escape_text(text[pos + 1:close]) + "</tt>")
                pos = close + 1
                continue
        if ch == '"':
            close = text.find('"', pos + 1)
            if close > pos:
                quoted = text[pos + 1:close]
                if quoted.endswith("\\"):
                    out.append("&quot;" + escape_text(quoted) + "&quot;")
                else:
                    out.append('"' + quoted + '"')
                pos = close + 1
                continue
        out.append(escape_char(ch, text[pos + 1:pos + 2]))
        pos += 1
    return "".join(out)


def comment_line(line):
    """(head, marker, text, end) of a line with a /// or ///< comment, else None."""
    m = re.match(r"^(.*?)(///<?)(.*?)(\r?\n?)$", line)
    if not m or m.group(1).count('"') % 2 == 1:
        return None  # no doc comment, or "///" inside a string literal
    head, marker = m.group(1), m.group(2)
    if head.strip() and marker != "///<":
        return None
    return m.groups()


def filter_header(lines):
    """The header with its comment blocks escaped, line for line."""
    out = []
    block = []  # (head, marker, text, end) of the comment lines in a row

    def flush():
        chunk = []  # texts that are escaped together (quotes may span lines)
        in_code = False

        def flush_chunk():
            if chunk:
                joined = escape_comment("\n".join(text for _, _, text, _ in chunk))
                for (head, marker, _, end), text in zip(chunk, joined.split("\n")):
                    out.append(head + marker + text + end)
                chunk.clear()

        for parts in block:
            head, marker, text, end = parts
            stripped = text.strip()
            if in_code or stripped.startswith(("@code", "@endcode")) or REFERENCE.match(stripped):
                flush_chunk()
                out.append(head + marker + text + end)
                if stripped.startswith("@code"):
                    in_code = True
                elif stripped.startswith("@endcode"):
                    in_code = False
            elif marker == "///<":
                flush_chunk()
                chunk.append(parts)
                flush_chunk()
            else:
                chunk.append(parts)
        flush_chunk()
        block.clear()

    for line in lines:
        parts = comment_line(line)
        if parts is None or parts[1] == "///<":
            flush()
            if parts is None:
                out.append(line)
            else:
                block.append(parts)
                flush()
        else:
            block.append(parts)
    flush()
    return out


def slug(text, seen):
    """The anchor a GitHub-style renderer gives a heading with this text."""
    plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", text)  # links keep their text
    s = re.sub(r"[^\w\- ]", "", plain.lower()).replace(" ", "-")
    count = seen.get(s, 0)
    seen[s] = count + 1
    return s if count == 0 else f"{s}-{count}"


def code_spans(line, change):
    """The line with `change` applied to the inside of each `code` span."""
    return re.sub(r"`([^`]+)`", lambda m: "`" + change(m.group(1)) + "`", line)


def filter_markdown(lines):
    seen = {}
    fenced = False
    for line in lines:
        if line.lstrip().startswith("```"):
            fenced = not fenced
        elif fenced:
            pass
        elif re.match(r"^#{1,6}\s", line):
            hashes, text = line.rstrip().split(None, 1)
            line = f"{hashes} {text.replace('`', '')} {{#{slug(text, seen)}}}\n"
        elif not line.lstrip().startswith("|"):
            line = code_spans(line, lambda code: re.sub(r"%(?=[A-Za-z])", "%%", code))
        yield line


def main():
    if len(sys.argv) != 2:
        print("usage: doxygen_filter.py FILE", file=sys.stderr)
        return 2
    path = sys.argv[1]
    with open(path, encoding="utf-8", newline="") as source:
        lines = source.readlines()
    convert = filter_markdown if path.endswith(".md") else filter_header
    sys.stdout.buffer.write("".join(convert(lines)).encode("utf-8"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
