#!/usr/bin/env python3
"""Shows public headers and guides to Doxygen: writes each FILE into FOLDER in Doxygen's terms, line by line.

  filter.py FOLDER FILE...      FILE is relative; it keeps its name there

The headers are written to be read in an editor. Here

- the comment that a header begins with becomes that of the file, and of the class that its first words name
- "Ownership:" and its like become headings of paragraphs
- quoted texts with signs in them become code, and no sign of prose is taken for a command
- what is protected counts as private: it is read in the header
- a rule with a title, "// ---- Search: a position, or -1 ----", becomes the title of the members below it, and one of
  several words the comment of those that have none
- a comment covers what stands below it up to the next comment or empty line: overloads, and the rest of a family
- copying, moving and destroying need no comment

In guides only code with backslashes is changed.
"""
import pathlib
import re
import sys

LABEL = re.compile("(Ownership|Lifetime|Thread safety|Errors|Units|Fork|Null, empty, zero|The end|Room|What fits|"
                   "Stable within a major): ")
COMMENT = re.compile(r" *///[^<]| *///$")
DECLARATION = re.compile(r" *(?!#|//|[{}:]|public:|private:|protected:)\S")
TITLE = re.compile(r"^( *)// -{4,} ?(.*?)( ----)?$")
NAME = re.compile(r"(operator\s*\W{1,3}|operator [\w:]+(?: ?\w+)*[*&]?|~?\w+)\s*\(")
FINAL_LETTER = re.compile(r"(?<=[a-z8])[AW]$")


def indentation(line):
    return len(line) - len(line.lstrip())


def prose(text):
    """A paragraph in which backquotes hold code and everything else is words."""
    pieces = re.split(r"(`[^`]*`|\"[^\"]*\"|\\p \w+)", text)
    for i, piece in enumerate(pieces):
        if i % 2 and piece[0] == '"' and re.search(r"[^\w ,.;:()'…/-]", piece[1:-1]):
            pieces[i] = f"`{piece[1:-1]}`"
        elif i % 2 == 0 or piece[0] == '"':
            pieces[i] = re.sub(r"([\\@<>#%&*]|::" + ("" if i % 2 else '|"') + ")", r"\\\1", piece)
    return "".join(pieces)


def translated(lines):
    """The lines of a comment, without its slashes, in Doxygen's terms."""
    result, paragraph = [], []

    def flush():
        if paragraph:
            text = " ".join(line.strip() for line in paragraph)
            label = LABEL.match(text)
            if label:
                result.append(f"\\par {label[1]}")
                text = text[label.end():]
                text = text[0].upper() + text[1:]
            result.extend([prose(text), ""] if label else [prose(text)])
            paragraph.clear()

    after_blank, code = True, False
    for line in lines:
        indent = indentation(line)
        if code and line and indent < code:
            result.append("~~~")
            code = False
        if code:
            result.append(line[code:])
        elif not line:
            flush()
            result.append("")
        elif after_blank and indent >= 2 and not line.lstrip().startswith("- "):
            flush()
            code = indent
            result += ["~~~{.cpp}" if indent >= 4 else "~~~{.txt}", line[code:]]
        elif line.startswith("|"):
            flush()
            result.append(line)
        else:
            if LABEL.match(line) or line.startswith("- "):
                flush()
            if line.startswith("- "):
                result.append("- ")
                paragraph.append(line[2:])
            else:
                paragraph.append(line)
        after_blank = not line
    flush()
    if code:
        result.append("~~~")
    # A bullet and its text stand on one line.
    return "\n".join(result).replace("- \n", "- ").split("\n")


class Header:
    """Goes through a header; its methods print a part of it from line I on and give the line behind."""

    def __init__(self, text):
        self.lines = text.split("\n")
        self.out = []
        self.covered = None  # indentation and name of the declaration whose comment covers what follows
        self.group = None  # the indentation of the open group of members
        self.depth = self.group_depth = 0  # in how many namespaces a line, and the open group, stands
        self.group_says = None  # the title of the open group, when it is more than a word

    def run(self):
        i = self.file_comment()
        while i < len(self.lines):
            i = self.part(i)
        self.end_group()
        return "\n".join(self.out)

    def file_comment(self):
        end = next(i for i, line in enumerate(self.lines) if not line.startswith("///"))
        lines = [line[4:] for line in self.lines[:end]]
        self.top = translated(lines)
        # The first lines name what the header is about.
        self.subjects = set(re.findall(r"`(?:OCT::)?(C\w+|I\w+)", "\n".join(lines[:12])))
        self.comment("", ["\\file"] + self.top)
        return end

    def part(self, i):
        line = self.lines[i]
        self.enter_and_leave(line)
        title = TITLE.match(line)
        macro = re.match(r"#define (\w+)", line)
        if title:
            return self.title(i, title)
        if COMMENT.match(line):
            return self.documented(i)
        if macro and macro[1].endswith("_"):
            return self.hidden(i)
        if (macro or DECLARATION.match(line)) and (self.covered is None or indentation(line) <= self.covered[0]):
            return self.undocumented(i)
        if not line.strip():
            self.covered = None
        self.out.append(self.trailing(line.replace("protected:", "private:")))
        return i + 1

    def comment(self, indent, lines):
        self.out += [f"{indent}/// {line}".rstrip() for line in lines]

    def trailing(self, line):
        head, mark, text = line.partition("///< ")
        return head + mark + prose(text) if mark else line

    def enter_and_leave(self, line):
        if line.startswith("namespace ") and not line.endswith(";"):
            self.depth += 1
        elif line.startswith("} // namespace"):
            self.depth -= 1
        if self.group is not None and line.strip() and (indentation(line) < self.group or self.depth < self.group_depth):
            self.end_group()

    def end_group(self):
        if self.group is not None:
            self.out.append(" " * self.group + "///@}")
            self.group = self.group_says = None

    def title(self, i, match):
        self.end_group()
        text = match[2]
        if not match[3] and self.lines[i + 1].endswith(" ----"):
            i += 1
            text += " " + self.lines[i].strip()[3:].removesuffix(" ----")
        text = text[0].upper() + text[1:]
        self.group, self.group_depth = len(match[1]), self.depth
        self.group_says = text if " " in text else None
        self.comment(match[1], ["\\name " + prose(text), "@{"])
        self.out.append("")
        self.covered = None
        return i + 1

    def documented(self, i):
        indent, block = indentation(self.lines[i]), []
        while COMMENT.match(self.lines[i]):
            block.append(self.lines[i].strip()[4:])
            i += 1
        self.comment(" " * indent, translated(block))
        name = self.name_at(i)
        self.covered = (indent, name) if name and not name.startswith("class ") else None
        return self.declaration(i)

    def undocumented(self, i):
        indent = indentation(self.lines[i])
        said = self.said_of(i, indent)
        if not said and self.group_says and indent == self.group and self.name_at(i):
            said = prose(self.group_says) + "."
            self.covered = (indent, self.name_at(i))
        if said:
            self.out.append(" " * indent + "/// " + said)
        else:
            self.covered = None
        return self.declaration(i)

    def hidden(self, i):
        """A macro that only others use."""
        self.out.append("/// \\cond")
        i = self.declaration(i)
        self.out.append("/// \\endcond")
        return i

    def name_at(self, i):
        """The name that the declaration at line I is of."""
        while re.match(r" *(template\b|requires\b)", self.lines[i]):
            i += 1
        text = " ".join(line.strip() for line in self.lines[i:i + 3])
        named = re.match(r" *(?:#define|using) (\w+)", self.lines[i])
        if named:
            return named[1]
        text = re.sub(r"\[\[.*?\]\]", "", text.split(";")[0])
        if re.match(r"(enum|namespace)\b", text):
            return None
        found = re.match(r"(?:class|struct|union)\s+(?:ORV_\w+\s+)?(\w+)", text)
        if found:
            return "class " + found[1]
        text = re.sub(r"\b(alignas|explicit|requires|decltype|noexcept)\s*\([^()]*\)", "", text)
        found = NAME.search(text) or re.search(r"(\w+)(?:\[\w*\])?(?: = .*)?$", text)
        return found[1].replace(" ", "") if found else None

    def said_of(self, i, indent):
        """What is said of a declaration without a comment; None when nothing is."""
        name = self.name_at(i)
        if name is None:
            return None
        if name.startswith("class "):
            if name[6:] in self.subjects and not self.lines[i].rstrip().endswith(";"):
                self.subjects.discard(name[6:])
                return "\n" + "\n".join(f"/// {line}".rstrip() for line in self.top)
            return None
        if self.covered and self.covered[1] and indent == self.covered[0]:
            last = self.covered[1]
            if name == last or name.startswith("operator") and last.startswith("operator"):
                return "The same for these operands." if name.startswith("operator") else "The same for these arguments."
            if FINAL_LETTER.sub("", name) == FINAL_LETTER.sub("", last) and FINAL_LETTER.search(name):
                return "The same with " + ("wide" if name[-1] == "W" else "narrow") + " text."
            return self.special_member(i, name) or f"Described with `{last}`, above."
        return self.special_member(i, name)

    def special_member(self, i, name):
        text = re.split(r"[;{]| : ", " ".join(line.strip() for line in self.lines[i:i + 2]))[0]
        if name.startswith("~"):
            return "Gives up what the object holds."
        if re.match(rf"(constexpr |consteval )?{re.escape(name)}\(\)", text) and name[0] in "CO":
            return "Constructs the default value."
        if re.search(r"\) *(noexcept)? *= delete;", self.lines[i]):
            return "Not possible."
        found = re.search(r"(\w+|operator=)\(((const )?(\w+)(<[\w, ]+>)?(&&?))( \w+)?\)", text)
        if not found or found[1] not in (found[4], "operator="):
            return None
        if found[1] == "operator=" and not re.search(rf"\b{found[4]}(<[\w, ]+>)?& operator=", text):
            return None
        made = "Assigns" if found[1] == "operator=" else "Constructs"
        return f"{made} by move." if found[6] == "&&" else f"{made} a copy."

    def declaration(self, i):
        """Prints the declaration at line I up to its end; gives the line behind it."""
        indent = indentation(self.lines[i])
        if self.lines[i].startswith("#define"):
            while self.lines[i].endswith("\\"):
                self.out.append(self.lines[i])
                i += 1
            self.out.append(self.lines[i])
            return i + 1
        first = True
        while i < len(self.lines):
            line = self.lines[i]
            if not first and line.strip() and indentation(line) <= indent and not line.lstrip().startswith(
                    ("{", "}", ":", "requires")) and not re.match(r" *(template\b|requires\b)", self.lines[i - 1]):
                return i
            if not line.strip() and not first:
                return i
            self.out.append(self.trailing(line))
            i += 1
            if re.match(r" *(class|struct|union|enum|namespace)\b[^;]*$", line) or line.rstrip().endswith((";", "}")) \
                    and indentation(line) <= indent:
                return i
            if line.rstrip().endswith(";") and not line.startswith(" " * (indent + 4) + " ") and first:
                return i
            first = False
        return i


def guide(text, name):
    """The page NAME. Code with a backslash, which Doxygen takes for a command even there, in a form that it does not."""
    blocks = re.split(r"(^```.*?^```$|(?:^    [^\n]*\n)+)", text, flags=re.MULTILINE | re.DOTALL)
    for i in range(0, len(blocks), 2):
        blocks[i] = re.sub(r"`([^`]+)`", lambda span: f"<code>{plain(span[1])}</code>" if "\\" in span[1] else span[0],
                           blocks[i])
    return re.sub(r"^# .*", rf"\g<0> {{#{name}}}", "".join(blocks), count=1)


def plain(text):
    """Text in which no sign means anything."""
    for sign, written in (("\\", "\\\\"), ("&", "&amp;"), ("<", "&lt;"), (">", "&gt;"), ('"', "&quot;"), ("#", "\\#"),
                          ("%", "\\%"), ("@", "\\@")):
        text = text.replace(sign, written)
    return text


def main():
    folder = pathlib.Path(sys.argv[1])
    for path in map(pathlib.Path, sys.argv[2:]):
        content = path.read_text(encoding="utf-8")
        if path.suffix == ".h":
            content = Header(content).run()
        else:
            # The readme of a folder is its page.
            content = guide(content, (path.parent.name if path.stem == "README" else path.stem).lower())
        target = folder / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(content, encoding="utf-8")


main()
