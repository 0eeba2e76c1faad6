#!/usr/bin/env python3
"""Turns the plain `//` comments of public headers into Doxygen comments.

    python3 scripts/doxygen-comments.py include/kel/KelFoo.h [more headers...]

What it changes (comments only, never code):

- The comment that opens the header becomes the file's documentation:
  "/// @file KelFoo.h", its first paragraph (without the "KelFoo.h - "
  prefix, filled again) as the brief description, the rest as it was. Indented lines
  (the usage example) are wrapped in @code ... @endcode; an indented
  XML example gets @code{.xml}, an indented block that is not code (a
  table of a wire format) @code{.unparsed}; an indented numbered list
  stays a list.
- A comment block directly above a declaration (no blank line between)
  becomes a `///` block, at file, namespace and class scope; comments
  inside function bodies stay as they are.
- A trailing comment after a data member or an enumerator becomes `///<`.
- Section dividers ("// ----- name -----"), comments followed by a blank
  line, "clang-format" switches and comments above #include/#if lines stay
  plain `//` comments.

- Where one comment stands above several overloads of one function, each
  overload after the first gets "/// @copydoc name(parameter types)", so
  that every one of them is documented in its own place; the same for the
  free functions under one comment (kelstrcpy, kelwcscpy6, kelwcscpy8),
  which get "/// @copydoc kelstrcpy".

Where one comment stands above several declarations that are not
overloads (toUpper and toLower, a copy constructor and an assignment), the
script does not guess what the comment covers; it lists the place ("covers
N declarations") to be settled by hand: a "/// @copydoc first(...)" above
each declaration the comment covers, or a "///@{ ... ///@}" group around a
long run of alike declarations (the group is listed after the class's other
members). It also lists the classes of the header that lack a class
comment: the class the header is named after takes "/// @copydoc KelFoo.h",
so that its page shows the header's description and example.

Running it again on a converted header changes nothing. Run clang-format
afterwards and build the `docs` target: Doxygen reports whatever is still
undocumented.
"""

import os
import re
import sys
import textwrap

DIVIDER = re.compile(r"^\s*//\s*-{3,}")
CLASS_KEY = re.compile(r"\b(class|struct|union|enum|namespace)\b|extern\s*\"(C)?\"")
ACCESS = re.compile(r"^\s*(public|private|protected)\s*:")


def code_part(line):
    """The line without string and character literals and without its // comment."""
    s = re.sub(r'"(\\.|[^"\\])*"', '""', line)
    s = re.sub(r"'(\\.|[^'\\])*'", "''", s)
    i = s.find("//")
    return s if i < 0 else s[:i]


def is_comment(line):
    return line.lstrip().startswith("//")


def comment_text(line):
    """The text of a full-line comment, without the comment marker."""
    s = line.lstrip()
    if s.startswith("///<"):
        return s[4:]
    if s.startswith("///"):
        return s[3:]
    return s[2:]


def scopes(lines):
    """For each line: True when it lies inside a function body (or an
    initialiser), where comments are left alone."""
    in_body = []
    stack = []
    stmt = ""
    for line in lines:
        in_body.append("body" in stack)
        if line.lstrip().startswith("#"):
            continue
        s = code_part(line)
        if ACCESS.match(s):
            stmt = ""
            s = ACCESS.sub("", s)
        for ch in s:
            if ch == "{":
                decl = (
                    CLASS_KEY.search(stmt)
                    and "(" not in stmt
                    and not stmt.rstrip().endswith("=")
                )
                stack.append("decl" if decl else "body")
                stmt = ""
            elif ch == "}":
                if stack:
                    stack.pop()
                stmt = ""
            elif ch == ";":
                stmt = ""
            else:
                stmt += ch
        stmt += " "
    return in_body


def wrap_examples(texts):
    """Doxygen text for the lines of a comment: runs of indented lines become
    @code blocks (or stay a numbered list)."""
    out = []
    i = 0
    while i < len(texts):
        t = texts[i]
        if re.match(r"^ {2}\d+\.", t):
            # A numbered list: its item lines and their indented continuations.
            out.append(t[1:])
            i += 1
            while i < len(texts) and re.match(r"^ {3,}\S", texts[i]):
                out.append(texts[i][1:])
                i += 1
            continue
        if re.match(r"^ {3,}\S", t) or (re.match(r"^ {2}\S", t) and not re.match(r"^ {2}\d+\.", t)):
            j = i
            while j < len(texts) and (texts[j].startswith("   ") or texts[j].strip() == ""):
                j += 1
            while j > i and texts[j - 1].strip() == "":
                j -= 1
            block = texts[i:j]
            if block[0].strip().startswith("<"):
                opening, closing = " @code{.xml}", " @endcode"
            elif not any(re.search(r"[;(){}]", t) for t in block):
                opening, closing = " @code{.unparsed}", " @endcode"  # a layout, not code
            else:
                opening, closing = " @code", " @endcode"
            out.append(opening)
            out.extend(block)
            out.append(closing)
            i = j
        else:
            out.append(t)
            i += 1
    return out


def convert_opening(lines, name):
    """The header's opening comment as the file's documentation."""
    end = 0
    while end < len(lines) and is_comment(lines[end]):
        end += 1
    texts = [comment_text(l) for l in lines[:end]]
    if texts and texts[0].strip().startswith("@file"):
        return lines[:end]  # converted already
    first = texts[0]
    prefix = re.match(r"^\s*" + re.escape(name) + r"\s+-\s+", first)
    if prefix:
        rest = first[prefix.end():]
        texts[0] = " " + rest[:1].upper() + rest[1:]
        # The first paragraph, now shorter by the prefix, filled again.
        end_of_first = next((k for k, t in enumerate(texts) if not t.strip()), len(texts))
        words = " ".join(t.strip() for t in texts[:end_of_first])
        texts[:end_of_first] = [" " + line for line in textwrap.wrap(words, width=76)]
    out = ["/// @file " + name]
    for t in wrap_examples(texts):
        out.append(("///" + t).rstrip())
    return out


def is_data_or_enumerator(code):
    c = code.strip()
    if not c or c.startswith("#") or c.startswith("}") or "(" in c:
        return False
    if c.endswith(";"):
        return not re.match(r"^(typedef|using|friend|class|struct|return)\b", c)
    return bool(re.match(r"^\w+\s*(=\s*[^,]+)?,?$", c))


def convert(path):
    name = os.path.basename(path)
    if name.endswith(".in"):  # a header configured by the build
        name = name[:-3]
    lines = open(path, encoding="utf-8").read().split("\n")
    opening = convert_opening(lines, name)
    start = 0
    while start < len(lines) and is_comment(lines[start]):
        start += 1
    body = lines[start:]
    in_body = scopes(body)
    out = list(opening)
    notes = []
    i = 0
    while i < len(body):
        line = body[i]
        if in_body[i]:
            out.append(line)
            i += 1
            continue
        if is_comment(line):
            j = i
            while j < len(body) and is_comment(body[j]) and not in_body[j]:
                j += 1
            block = body[i:j]
            if block[0].lstrip().startswith("///"):
                out.extend(block)  # converted already
                i = j
                continue
            nxt = body[j].strip() if j < len(body) else ""
            attached = (
                nxt != ""
                and not DIVIDER.match(block[0])
                and "clang-format" not in block[0]
                and not re.match(r"#\s*(include|if|else|elif|endif|pragma)\b", nxt)
            )
            if nxt.startswith("#ifndef") and j + 1 < len(body):
                macro = nxt.split()[1] if len(nxt.split()) > 1 else ""
                attached = body[j + 1].strip().startswith("#define " + macro)
            if attached:
                indent = re.match(r"^\s*", block[0]).group(0)
                texts = wrap_examples([comment_text(l) for l in block])
                out.extend((indent + "///" + t).rstrip() for t in texts)
                decls = declarations(body, j)
                if len(decls) > 1:
                    family = copydoc_family(decls, indent)
                    if family:
                        out.extend(family)
                        i = j + sum(len(d) for d in decls)
                        continue
                    notes.append(f"{path}:{len(out) + 1}: a comment covers {len(decls)} declarations")
            else:
                out.extend(block)
            i = j
            continue
        m = re.match(r"^(.*?\S)(\s+)//(?!/)\s?(.*)$", line)
        if m and is_data_or_enumerator(code_part(line)):
            out.append(f"{m.group(1)}{m.group(2)}///< {m.group(3)}")
        else:
            out.append(line)
        cm = re.match(r"^\s*(?:template\s*<.*>\s*)?(class|struct)\s+(?:KEL_API\s+)?(\w+)\s*[:{]", line)
        if cm:
            above = len(out) - 2
            # Over a template header, which may take several lines.
            while above > 0 and out[above].strip() and not is_comment(out[above]) \
                    and not out[above].rstrip().endswith((";", "}", "{")):
                above -= 1
            documented = above >= 0 and out[above].lstrip().startswith("///")
            if not documented:
                notes.append(f"{path}:{len(out)}: {cm.group(1)} {cm.group(2)} has no class comment")
        i += 1
    text = "\n".join(out)
    if text != "\n".join(lines):
        open(path, "w", encoding="utf-8").write(text)
    return notes


def declarations(body, j):
    """The declarations (each a list of lines) from line j to the next blank
    line or comment."""
    decls = []
    current = []
    depth = 0
    k = j
    while k < len(body) and body[k].strip() and not is_comment(body[k]):
        current.append(body[k])
        s = code_part(body[k])
        if s.lstrip().startswith("#"):
            if s.lstrip().startswith("#define"):
                decls.append(current)
            current = [] if s.lstrip().startswith("#define") else current
        else:
            depth += s.count("{") - s.count("}")
            if depth == 0 and (s.rstrip().endswith(";") or s.rstrip().endswith("}")):
                decls.append(current)
                current = []
        k += 1
    if current:
        decls.append(current)
    return decls


def signature(decl):
    """(name, "name(parameter types) const") of a function declaration, or None."""
    d = " ".join(code_part(line) for line in decl)
    d = " ".join(d.split())
    d = re.sub(r"\b(KEL_API|static|virtual|inline|constexpr|explicit)\b\s*", "", d)
    m = re.search(r"(operator\s*(?:\(\)|\[\]|[^\s(]+)|~?\w+)\s*\(", d)
    if not m:
        return None
    start = m.end() - 1
    depth = 0
    end = None
    for k in range(start, len(d)):
        depth += {"(": 1, ")": -1}.get(d[k], 0)
        if depth == 0:
            end = k
            break
    if end is None:
        return None
    params = []
    for param in split_top_level(d[start + 1:end]):
        param = re.sub(r"\s*=.*$", "", param.strip())
        pointer = re.match(r"^(.*?)\(\s*\*\s*\w+\s*\)(.*)$", param)
        named = re.match(r"^(.*?[\s*&>])(\w+)(\s*\[[^\]]*\])?$", param)
        if pointer:
            param = f"{pointer.group(1).strip()} (*){pointer.group(2).strip()}"
        elif named and named.group(1).strip() and named.group(2) not in TYPE_WORDS:
            param = named.group(1).strip() + (named.group(3) or "")
        params.append(param.replace(" *", "*").replace(" &", "&"))
    const = " const" if re.match(r"\s*const\b", d[end + 1:]) else ""
    name = m.group(1).replace(" ", "")
    return name, f"{name}({', '.join(params)}){const}"


TYPE_WORDS = {"int", "char", "long", "short", "unsigned", "signed", "double", "float", "bool",
              "const", "void", "wchar_t", "size_t", "__int64"}


def split_top_level(text):
    parts = []
    depth = 0
    current = ""
    for ch in text:
        depth += {"(": 1, "<": 1, "[": 1, ")": -1, ">": -1, "]": -1}.get(ch, 0)
        if ch == "," and depth == 0:
            parts.append(current)
            current = ""
        else:
            current += ch
    if current.strip():
        parts.append(current)
    return parts


def copydoc_family(decls, indent):
    """The lines of overloads of one function, each after the first with a
    @copydoc of the first; None when the declarations are not such a family
    or Doxygen could not name the first in one line."""
    signatures = [signature(d) for d in decls]
    if None in signatures:
        return None
    names = [name for name, _ in signatures]
    if len(set(names)) == 1:
        reference = signatures[0][1]
    elif indent == "" and len(set(names)) == len(names):
        # Free functions under one comment: the forms of one routine
        # (kelstrcpy, kelwcscpy6, kelwcscpy8), each name its own.
        reference = names[0]
    else:
        return None
    line = f"{indent}/// @copydoc {reference}"
    if "..." in reference or len(line) > 100:  # Doxygen cannot resolve those
        return None
    out = list(decls[0])
    for decl in decls[1:]:
        out.append(line)
        out.extend(decl)
    return out


def main():
    if len(sys.argv) < 2:
        print(__doc__.strip().split("\n\n")[1], file=sys.stderr)
        return 2
    for path in sys.argv[1:]:
        for note in convert(path):
            print(note)
    return 0


if __name__ == "__main__":
    sys.exit(main())
