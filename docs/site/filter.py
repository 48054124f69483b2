#!/usr/bin/env python3
"""Shows a public header or a guide to Doxygen: prints FILE in Doxygen's terms.

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

LABELS = "Ownership|Lifetime|Thread safety|Errors|Units|Fork|Null, empty, zero|The end|Room|What fits|Stable within a major"
LABEL = re.compile(rf"({LABELS}): ")
TITLE = re.compile(r"^( *)// -{4,} ?(.*?)( ----)?$")
NAME = re.compile(r"(operator\s*\W{1,3}|operator [\w:]+(?: ?\w+)*[*&]?|~?\w+)\s*\(")
FINAL_LETTER = re.compile(r"(?<=[a-z8])[AW]$")


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
        indent = len(line) - len(line.lstrip())
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
    def __init__(self, text):
        self.lines = text.split("\n")
        self.out = []
        self.group = None  # the indentation of the open group of members
        self.depth = self.group_depth = 0  # in how many namespaces a line, and the open group, stands
        self.title_words = None  # of the open group, when they say more than a word

    def comment(self, indent, lines):
        self.out += [f"{indent}/// {line}".rstrip() for line in lines]

    def end_group(self):
        if self.group is not None:
            self.out.append(" " * self.group + "///@}")
            self.group = self.title_words = None

    def run(self):
        i = 0
        top = []
        while i < len(self.lines) and self.lines[i].startswith("///"):
            top.append(self.lines[i][4:])
            i += 1
        self.top = translated(top)
        # The first two paragraphs name what the header is about.
        self.names = set(re.findall(r"`(?:OCT::)?(C\w+|I\w+)", "\n".join(top[:12])))
        self.comment("", ["\\file"] + self.top)
        covered = None  # indentation and name of the documented declaration that was last
        while i < len(self.lines):
            line = self.lines[i]
            indent = len(line) - len(line.lstrip())
            if line.startswith("namespace ") and not line.endswith(";"):
                self.depth += 1
            elif line.startswith("} // namespace"):
                self.depth -= 1
            if self.group is not None and line.strip() and (indent < self.group or self.depth < self.group_depth):
                self.end_group()
            title = TITLE.match(line)
            if title:
                i = self.title(i, title)
                covered = None
                continue
            if re.match(r" *///[^<]|  *///$", line):
                block = []
                while re.match(r" *///(?!<)", self.lines[i]):
                    block.append(self.lines[i].strip()[4:])
                    i += 1
                self.comment(" " * indent, translated(block))
                name = self.name_at(i)
                covered = (indent, name) if name and not name.startswith("class ") else None
                i = self.declaration(i)
                continue
            macro = re.match(r"#define (\w+)", line)
            if macro and macro[1].endswith("_"):
                self.out += ["/// \\cond", line]
                while line.endswith("\\"):
                    i += 1
                    line = self.lines[i]
                    self.out.append(line)
                self.out.append("/// \\endcond")
                i += 1
                continue
            if line.strip() and (macro or not line.lstrip().startswith(("#", "//"))) and not line.lstrip().startswith(("{", "}", "public:", "private:", "protected:", ":")):
                if covered is None or indent <= covered[0]:
                    said = self.said_of(i, indent, covered)
                    if not said and self.title_words and indent == self.group and self.name_at(i):
                        said = prose(self.title_words) + "."
                        covered = (indent, self.name_at(i))
                    if said:
                        self.out.append(" " * indent + "/// " + said)
                    else:
                        covered = None
                    i = self.declaration(i)
                    continue
            elif not line.strip() and covered:
                covered = None
            self.out.append(self.trailing(line.replace("protected:", "private:")))
            i += 1
        self.end_group()
        return "\n".join(self.out)

    def trailing(self, line):
        head, mark, text = line.partition("///< ")
        return head + mark + prose(text) if mark else line

    def title(self, i, match):
        self.end_group()
        words = [match[2]]
        while not self.lines[i].rstrip().endswith("----") and self.lines[i + 1].lstrip().startswith("// ") and not match[3] \
                and self.lines[i + 1].rstrip().endswith("----"):
            i += 1
            words.append(self.lines[i].strip()[3:].removesuffix(" ----"))
        text = " ".join(words)
        self.group, self.group_depth = len(match[1]), self.depth
        self.title_words = text[0].upper() + text[1:] if " " in text else None
        self.comment(match[1], ["\\name " + prose(text[0].upper() + text[1:]), "@{"])
        self.out.append("")
        return i + 1

    def name_at(self, i):
        """The name that the declaration at line I is of."""
        text = ""
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

    def said_of(self, i, indent, covered):
        """What is said of a declaration without a comment; None when nothing is."""
        name = self.name_at(i)
        if name is None:
            return None
        if name.startswith("class "):
            if name[6:] in self.names and not self.lines[i].rstrip().endswith(";"):
                self.names.discard(name[6:])
                return "\n" + "\n".join(f"/// {line}".rstrip() for line in self.top)
            return None
        if covered and covered[1] and indent == covered[0]:
            last = covered[1]
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
        indent = len(self.lines[i]) - len(self.lines[i].lstrip())
        if self.lines[i].startswith("#define"):
            while self.lines[i].endswith("\\"):
                self.out.append(self.lines[i])
                i += 1
            self.out.append(self.lines[i])
            return i + 1
        first = True
        while i < len(self.lines):
            line = self.lines[i]
            if not first and line.strip() and len(line) - len(line.lstrip()) <= indent and not line.lstrip().startswith(
                    ("{", "}", ":", "requires")) and not re.match(r" *(template\b|requires\b)", self.lines[i - 1]):
                return i
            if not line.strip() and not first:
                return i
            self.out.append(self.trailing(line))
            i += 1
            if re.match(r" *(class|struct|union|enum|namespace)\b[^;]*$", line) or line.rstrip().endswith((";", "}")) \
                    and len(line) - len(line.lstrip()) <= indent:
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


path = pathlib.Path(sys.argv[1])
content = path.read_text(encoding="utf-8")
if path.suffix == ".h":
    sys.stdout.write(Header(content).run())
else:
    # The readme of a folder is its page.
    sys.stdout.write(guide(content, (path.parent.name if path.stem == "README" else path.stem).lower()))
