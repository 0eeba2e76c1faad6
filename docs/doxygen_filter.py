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
  as written: a backslash ("Software\\Norvane", "\\n") would start a
  command, a "%" before a word is dropped ("%s"), <...> is taken for HTML,
  "#name" for a link, and a double quote opens a span in which Doxygen
  handles backslashes its own way;
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


def escape_text(text):
    """Plain comment text as Doxygen shows it literally."""
    out = []
    for i, ch in enumerate(text):
        nxt = text[i + 1] if i + 1 < len(text) else ""
        if ch == "&":
            out.append("&amp;")
        elif ch == "\\":
            out.append("\\\\")
        elif ch == '"':
            out.append("&quot;")
        elif ch == "<":
            out.append("&lt;")
        elif ch == ">":
            out.append("&gt;")
        elif ch in "#$":
            out.append("\\" + ch)
        elif ch == "%" and (nxt.isalpha() or nxt == "_"):
            out.append("%%")
        else:
            out.append(ch)
    return "".join(out)


def escape_comment(text):
    """The text of one /// comment line: commands kept, `code` as <tt>."""
    out = []
    pos = 0
    for m in re.finditer(r"`([^`]+)`|" + COMMAND.pattern, text):
        out.append(escape_text(text[pos:m.start()]).replace("@", "\\@"))
        if m.group(1) is not None:
            out.append("<tt>" + escape_text(m.group(1)).replace("@", "\\@") + "</tt>")
        else:
            out.append(m.group(0))
        pos = m.end()
    out.append(escape_text(text[pos:]).replace("@", "\\@"))
    return "".join(out)


def filter_header(lines):
    in_code = False
    for line in lines:
        m = re.match(r"^(.*?)(///<?)(.*?)(\r?\n?)$", line)
        if not m or '"' in m.group(1) and m.group(1).count('"') % 2 == 1:
            yield line  # no doc comment (or "///" inside a string literal)
            continue
        head, marker, text, end = m.groups()
        if head.strip() and marker != "///<":
            yield line
            continue
        stripped = text.strip()
        if stripped.startswith("@code"):
            in_code = True
        elif stripped.startswith("@endcode"):
            in_code = False
        elif not in_code and not REFERENCE.match(stripped):
            text = escape_comment(text)
        yield head + marker + text + end


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
