#!/usr/bin/env python3
"""An independent reference of the stored password forms, written from the algorithm and
reading the committed tables from ztcoreutil/adcrypttables.cpp. It wrote golden.txt, which
the tests compare the library against. Run from the top of the tree:

    python3 tests/data/adcrypt/reference.py > tests/data/adcrypt/golden.txt

Line format, fields separated by one blank:
    chars    -        -  <text>            -           <expected>
    password <charset> <separate> <user>    <password>  <expected>
    reverse  <charset> <version>  <text>    -           <expected>
A text is its UTF-16 code units as four hex digits each, "-" for the empty text.
"""
import re

TABLES = "ztcoreutil/adcrypttables.cpp"
# ICU names and Python codec names of the charsets used.
CODECS = {"UTF-8": "utf-8", "ISO-8859-1": "latin-1", "Shift_JIS": "shift_jis", "US-ASCII": "ascii"}


def load_tables():
    source = open(TABLES).read()
    addends_part = source.split("AdRandomNumbers[AdRandomNumbers_Count] = {")[1].split("};")[0]
    pad_part = source.split("AdCryptPad[AdPad_Count + 1] = {")[1].split("};")[0]
    addends = [int(v, 16) for v in re.findall(r"0x([0-9a-f]{8})u", addends_part)]
    pad = [int(v, 16) for v in re.findall(r"0x([0-9a-f]{2})", pad_part)]
    assert len(addends) == 2048 and len(pad) == 2561
    return addends, pad[:2560]


R, PAD = load_tables()


def units(text):
    data = text.encode("utf-16-le")
    return [data[i] | data[i + 1] << 8 for i in range(0, len(data), 2)]


def unit_hex(text):
    return "".join("%04x" % u for u in units(text)) or "-"


def checksum(values, extra=()):
    total = 0
    n = len(values)
    for i, v in enumerate(values):
        total += R[(v + i) % 2048]
    for j, v in enumerate(extra):
        total += R[(v + n + j) % 2048]
    total += R[(n + len(extra)) % 2048]
    return total % (1 << 32)


def password(user, pw, charset, separate):
    codec = CODECS[charset]
    if separate:
        value = checksum(list(user.encode(codec)), units(pw))
    else:
        value = checksum(list((user + pw).encode(codec)))
    return "%08x" % value


def reverse(text, charset, version):
    codec = "utf-8" if version >= 7 else CODECS[charset]
    data = list(text.encode(codec)) + [0]
    digits = "0123456789abcdef"
    out = []
    for i, b in enumerate(data):
        b ^= PAD[i % 2560]
        out.append(digits[b & 15] + digits[b >> 4])
    return "".join(out)


ASCII = "Ozymandias-1817"
LATIN1 = "Grüße, señor Ærø"
CJK = "日本語のパスワード"
NON_BMP = "\U0001F512key\U00020B9F"


def main():
    lines = []
    for text in ["", "a", ASCII, LATIN1, CJK, NON_BMP, "x" * 2048, "\uffff" * 3]:
        lines.append("chars - - %s - %08x" % (unit_hex(text), checksum(units(text))))
    password_cases = [
        ("US-ASCII", 0, "admin", "secret"),
        ("US-ASCII", 1, "admin", "secret"),
        ("ISO-8859-1", 1, "admin", ""),
        ("ISO-8859-1", 0, "jürgen", "Grüße"),
        ("ISO-8859-1", 1, "jürgen", "Grüße"),
        ("UTF-8", 0, "jürgen", "Grüße"),
        ("UTF-8", 1, "山田", CJK),
        ("Shift_JIS", 0, "山田", CJK),
        ("UTF-8", 0, "user\U0001F512", NON_BMP),
        ("UTF-8", 1, "user\U0001F512", NON_BMP),
        ("UTF-8", 1, "u" * 3000, "p" * 100),
    ]
    for charset, separate, user, pw in password_cases:
        lines.append("password %s %d %s %s %s" % (charset, separate, unit_hex(user), unit_hex(pw),
                                                  password(user, pw, charset, separate)))
    reverse_cases = [
        ("US-ASCII", 0, "a"),
        ("US-ASCII", 6, ASCII),
        ("ISO-8859-1", 6, LATIN1),
        ("ISO-8859-1", 7, LATIN1),
        ("UTF-8", 7, CJK),
        ("Shift_JIS", 6, CJK),
        ("UTF-8", 7, NON_BMP),
        # 2559 bytes and the zero fill the pad exactly; longer texts start it again.
        ("US-ASCII", 0, "L" * 2559),
        ("US-ASCII", 0, "M" * 2560),
        ("UTF-8", 7, "\u00e9" * 2000),
    ]
    for charset, version, text in reverse_cases:
        lines.append("reverse %s %d %s - %s" % (charset, version, unit_hex(text),
                                                reverse(text, charset, version)))
    print("\n".join(lines))


if __name__ == "__main__":
    main()
