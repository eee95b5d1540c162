"""Where scripts/mutants alters the sources, and how: the rows of every table of the station, and the conditions of its
cores. Reads text, not C++: it relies on the spaces that clang-format puts around operators that take two sides."""
import re
from collections import namedtuple
from pathlib import Path

# edits: (begin, end, new text) in the file; kind: "table" or "condition".
Mutant = namedtuple("Mutant", "path line column kind what edits")

MACRO_TABLE = re.compile(r"^#define (SORVANE_\w+)\(X\)", re.MULTILINE)
ARRAY_TABLE = re.compile(r"\bconst(?:expr)?\b[^;={}()]*[\s*&](k[A-Z]\w*|rows)(?:\[\w*\])? = \{")
# Their order is what the operator sees; elsewhere two rows in another order are the same table.
ORDERED = {"telemetry/panel_rows.cpp"}
OPPOSITES = [("true", "false"), ("kSaved", "kKept"), ("ServoMode::kFrame", "ServoMode::kGyro")]
LITERAL = re.compile(r'"(?:[^"\\\n]|\\.)*"|(?<![\w.])\d+(?:\.\d+)?F?(?![\w.])|!?\bkNewGroup\b|[A-Za-z_][\w:]*')
OPERATORS = {"<": ("<=", ">"), "<=": ("<", ">="), ">": (">=", "<"), ">=": (">", "<="), "==": ("!=",), "!=": ("==",),
             "&&": ("||",), "||": ("&&",)}
OPERATOR = re.compile(r"(?<= )(<=|>=|==|!=|&&|\|\||<|>)(?=[ \n])")
STARTS_OPERAND = re.compile(r"&&|\|\||[?:;,={}]|\breturn\b")
ENDS_OPERAND = re.compile(r"&&|\|\||[?:;,{}]")


def masked(text):
    """The same length, with comments and what stands between quotes blanked."""
    pattern = r'//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|(?<!\w)\'(?:[^\'\\\n]|\\.)+\''

    def blank(match):
        found = match.group()
        if found[0] == "/":
            return re.sub(r"[^\n]", " ", found)
        return found[0] + "_" * (len(found) - 2) + found[-1]

    return re.sub(pattern, blank, text, flags=re.DOTALL)


def closing(mask, at):
    """Where the bracket at `at` is closed."""
    depth = 0
    for i in range(at, len(mask)):
        depth += (mask[i] in "([{") - (mask[i] in ")]}")
        if depth == 0:
            return i
    return len(mask)


def opening(mask, at):
    """Where the bracket that is closed at `at` is opened."""
    depth = 0
    for i in range(at, -1, -1):
        depth += (mask[i] in ")]}") - (mask[i] in "([{")
        if depth == 0:
            return i
    return -1


def trimmed(mask, begin, end):
    while begin < end and mask[begin].isspace():
        begin += 1
    while begin < end and mask[end - 1].isspace():
        end -= 1
    return begin, end


def elements(mask, begin, end):
    """What stands between the commas of [begin, end), as ranges."""
    found, at, i = [], begin, begin
    while i < end:
        if mask[i] in "([{":
            i = closing(mask, i)
        elif mask[i] == ",":
            found.append(trimmed(mask, at, i))
            at = i + 1
        i += 1
    found.append(trimmed(mask, at, end))
    return [r for r in found if r[0] < r[1]]


def parts(mask, row):
    """The fields of a row: what its brackets hold, or the row itself."""
    match = re.match(r"[A-Za-z_]?\w*[({]", mask[row[0]:row[1]])
    if match and not mask.startswith("QT_TRANSLATE_NOOP", row[0]):
        bracket = row[0] + match.end() - 1
        if closing(mask, bracket) == row[1] - 1:
            return elements(mask, bracket + 1, row[1] - 1)
    return [row]


def tables(mask):
    """(name, rows as ranges, whether they stand in a macro)"""
    for match in MACRO_TABLE.finditer(mask):
        end = re.compile(r"(?:[^\n]*\\\n)*[^\n]*").match(mask, match.end()).end()
        starts = [m.end() - 1 for m in re.compile(r"\bX\(").finditer(mask, match.end(), end)]
        yield match.group(1), [(at - 1, closing(mask, at) + 1) for at in starts], True
    for match in ARRAY_TABLE.finditer(mask):
        found = elements(mask, match.end(), closing(mask, match.end() - 1))
        if len(found) > 1:
            yield match.group(1), found, False


def position(text, at):
    return text.count("\n", 0, at) + 1, at - text.rfind("\n", 0, at)


def one_line(text):
    text = re.sub(r"\s+", " ", text)
    return text if len(text) <= 100 else text[:97] + "..."


def altered(word):
    """Another value than a literal, or None."""
    if word[0] == '"':
        return word[:-1] + 'x"'
    if re.fullmatch(r"\d+", word):
        return str(int(word) + 1)
    if word[0].isdigit():
        whole, _, rest = word.partition(".")
        return f"{int(whole.rstrip('F')) + 1}.{rest}" if rest else None
    if word.endswith("kNewGroup"):
        return word[1:] if word[0] == "!" else "!" + word
    for one, other in OPPOSITES:
        if word in (one, other):
            return other if word == one else one
    return None


def row_mutants(path, text, mask, name, rows, macro):
    def mutant(at, what, *edits):
        return Mutant(path, *position(text, at), "table", f"{name}: {what}", tuple(sorted(edits)))

    for i, (begin, end) in enumerate(rows):
        shown = one_line(text[begin:end])
        if macro:
            yield mutant(begin, f"row dropped: {shown}", (begin, end, ""))
        else:
            following = rows[i + 1][0] if i + 1 < len(rows) else closing(mask, opening_of(mask, begin))
            yield mutant(begin, f"row dropped: {shown}", (begin, following, ""))
        yield from literal_mutants(text, mask, (begin, end), mutant)
        if i + 1 == len(rows):
            break
        pairs = list(zip(parts(mask, rows[i]), parts(mask, rows[i + 1])))
        whole = [(rows[i], rows[i + 1])] if path in ORDERED and len(pairs) > 1 else []
        for (b1, e1), (b2, e2) in pairs + whole:
            one, other = text[b1:e1], text[b2:e2]
            if one != other and (len(pairs) > 1 or not one[0].isdigit()):
                yield mutant(b1, f"exchanged with the next row's: {one_line(one)} and {one_line(other)}",
                             (b1, e1, other), (b2, e2, one))


def opening_of(mask, at):
    """The brace that encloses `at`."""
    depth = 0
    for i in range(at - 1, -1, -1):
        depth += (mask[i] in ")]}") - (mask[i] in "([{")
        if depth < 0:
            return i
    return 0


def literal_mutants(text, mask, row, mutant):
    for match in LITERAL.finditer(text, row[0], row[1]):
        begin, end = match.span()
        in_comment = mask[begin] == " "
        context = text[:begin].endswith("QT_TRANSLATE_NOOP(")  # the macro leaves it out
        new = None if in_comment or context else altered(match.group())
        if new is not None:
            yield mutant(begin, f"{match.group()} becomes {new}", (begin, end, new))


def operand_before(mask, at):
    """Where what stands left of the operator at `at` begins."""
    i = at - 1
    while i >= 0:
        if mask[i] in ")]}":
            i = opening(mask, i)
        elif mask[i] in "([{":
            break
        else:
            match = STARTS_OPERAND.match(mask, i)
            # "==" and its like are no end; neither is "::".
            if match and not (match.group() in "=:" and (mask[i - 1] in "=!<>:" or mask[i + 1] in "=:")):
                return trimmed(mask, match.end(), at)
        i -= 1
    return trimmed(mask, i + 1, at)


def operand_after(mask, at):
    i = at
    while i < len(mask):
        if mask[i] in "([{":
            i = closing(mask, i)
        elif mask[i] in ")]}":
            break
        else:
            match = ENDS_OPERAND.match(mask, i)
            if match and not (match.group() == ":" and ":" in (mask[i - 1], mask[i + 1])):
                break
        i += 1
    return trimmed(mask, at, i)


def skipped(mask):
    """Ranges in which no condition is altered: preprocessor lines and what the compiler itself asserts."""
    ranges = [m.span() for m in re.finditer(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", mask, re.MULTILINE)]
    for match in re.finditer(r"\bstatic_assert\(", mask):
        ranges.append((match.start(), closing(mask, match.end() - 1)))
    return ranges


def condition_mutants(path, text, mask):
    outside = skipped(mask)

    def mutant(at, what, *edits):
        source = text[text.rfind("\n", 0, at) + 1:text.find("\n", at)].strip()
        return Mutant(path, *position(text, at), "condition", f"{what} in: {one_line(source)}", tuple(sorted(edits)))

    def inside(at):
        return any(begin <= at < end for begin, end in outside)

    for match in OPERATOR.finditer(mask):
        if inside(match.start()):
            continue
        begin, end = match.span(1)
        if match.group(1) in ("&&", "||"):
            (b1, e1), (b2, e2) = operand_before(mask, begin), operand_after(mask, end)
            left, right = text[b1:e1], text[b2:e2]
            new = OPERATORS[match.group(1)][0]
            yield mutant(begin, f"{match.group(1)} becomes {new}", (b1, e2, f"(({left}) {new} ({right}))"))
            neutral = " || true" if match.group(1) == "&&" else " && false"
            for side, (b, e) in (("left", (b1, e1)), ("right", (b2, e2))):
                yield mutant(begin, f"{side} side of {match.group(1)} dropped", (b, e, f"(({text[b:e]}){neutral})"))
            continue
        for new in OPERATORS[match.group(1)]:
            yield mutant(begin, f"{match.group(1)} becomes {new}", (begin, end, new))
        number = re.match(r"\s*(\d+)(?![\w.])", mask[end:])
        if number:
            b, e = end + number.start(1), end + number.end(1)
            yield mutant(begin, f"{text[b:e]} becomes {int(text[b:e]) + 1}", (b, e, str(int(text[b:e]) + 1)))
    for match in re.finditer(r"(?<=[ (])!(?=[A-Za-z_(])", mask):
        if not inside(match.start()):
            yield mutant(match.start(), "! dropped", (match.start(), match.end(), ""))
    for match in re.finditer(r"\bif \(", mask):
        begin, end = match.end(), closing(mask, match.end() - 1)
        if not inside(match.start()) and not re.search(r";| = ", mask[begin:end]):
            for word, new in (("always", " || true"), ("never", " && false")):
                yield mutant(match.start(), word, (begin, end, f"({text[begin:end]}){new}"))


def is_core(target):
    return target == "base" or target.endswith("_core")


def is_station(target):
    return target != "podsim" and not target.startswith("sim_")


def mutants(root, owner):
    """Every mutant of a tree in the order of files and places; `owner`: file -> name of its target."""
    found = []
    for path in sorted(owner):
        if not path.endswith((".cpp", ".h")) or "_windows" in path or not is_station(owner[path]):
            continue
        text = (Path(root) / path).read_text(encoding="utf-8")
        mask = masked(text)
        of_file = [m for table in tables(mask) for m in row_mutants(path, text, mask, *table)]
        if is_core(owner[path]):
            of_file += condition_mutants(path, text, mask)
        found += sorted(set(of_file), key=lambda m: (m.line, m.column, m.edits, m.what))
    return found


def applied(text, mutant):
    for begin, end, new in sorted(mutant.edits, reverse=True):
        text = text[:begin] + new + text[end:]
    return text
