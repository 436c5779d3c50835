#!/usr/bin/env python3
"""Compares what tessivo reads from every .eml file of the corpus with Python's
standard `email` package, an independent MIME parser:

- the raw values of Subject, Date and Message-ID (`tessivo dump`), unfolded
  the reader's way: the first line's value trimmed, continuation lines
  appended as they stand;
- the number of leaf parts (parts whose type is not multipart/*) inside the
  message, against the parts of "MailContent";
- the set of attachment file names, lower-cased, part by part;
- the bytes `tessivo attachments` saves for each named part, against the bytes
  email decodes for the same part.

Where the reader's rules differ from standard MIME, a difference passes only
when one of the RULES below accounts for it, and it is printed with the rule's
name. Any other difference fails.

Usage: email_conformance.py TESSIVO CORPUS_DIR
Exits 77 (skipped) when the corpus has no .eml files.
"""
import email
import json
import os
import re
import subprocess
import sys
import tempfile

SKIP = 77
HEADERS = ("Subject", "Date", "Message-ID")
RULES = {
    "first-line": "the first line of a message is never read, so a header written there is missing",
    "epilogue-part": "the piece after a closing boundary is read like any other piece: a body line there "
    "makes it a part (email keeps that text as the multipart's epilogue)",
    "disposition-tail": 'a "fileName" from Content-Disposition is everything after "filename=" to the end '
    "of the value, later parameters included",
    "description-name": "Content-Description names a part that has no file name",
    "type-name": "the name parameter of Content-Type names no part (email falls back to it)",
}
LINE_BREAK = re.compile(r"\r\n|\n|\r")


def run(tessivo, *args):
    done = subprocess.run([tessivo, *args], capture_output=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"tessivo {' '.join(args)}: exit {done.returncode}: {done.stderr.decode(errors='replace')}")
    return done.stdout.decode("utf-8")


def text_of(raw):
    """A header value as text: email keeps 8-bit bytes as surrogate escapes."""
    data = raw.encode("utf-8", "surrogateescape")
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return data.decode("cp1252", errors="replace")


def unfolded(raw):
    first, *rest = LINE_BREAK.split(text_of(raw))
    return first.strip() + "".join(rest)


def leaves(part):
    """Parts whose type is not multipart/*; an attached message is one leaf."""
    if part.get_content_maintype() != "multipart":
        yield part
    elif part.is_multipart():
        for inner in part.get_payload():
            yield from leaves(inner)


def epilogues(message):
    for part in message.walk():
        if part.is_multipart() and part.epilogue:
            yield LINE_BREAK.sub("\n", part.epilogue)


class Check:
    def __init__(self, name):
        self.name = name
        self.failures = []
        self.notes = []

    def fail(self, what):
        self.failures.append(what)

    def rule(self, rule, what):
        self.notes.append(f"{what} [{rule}]")


def check_headers(check, message, data, ours):
    first_line = data.split(b"\n", 1)[0]
    for header in HEADERS:
        found = [h for h in message._headers if h[0].lower() == header.lower()]
        if found and message._headers and found[0] is message._headers[0] and \
                first_line.lower().startswith(header.lower().encode() + b":"):
            check.rule("first-line", f"{header} on line 1")
            found = found[1:]
        expected = {}
        for name, value in found:
            expected[name] = unfolded(value)  # a repeated header keeps its last value
        got = {k: v for k, v in ours.items() if k.lower() == header.lower()}
        if got != expected:
            check.fail(f"{header}: email {expected!r}, tessivo {got!r}")


def our_leaves(check, message, ours):
    parts = [p for p in ours.get("MailContent", []) if p.get("contentType") != "multipart"]
    kept = []
    epilogue_texts = list(epilogues(message))
    for part in parts:
        body = part.get("uaContent", "")[2:].strip()
        if set(part) <= {"content", "uaContent"} and body and any(body in e for e in epilogue_texts):
            check.rule("epilogue-part", f"part {body[:20]!r}...")
            continue
        kept.append(part)
    return kept


def check_name(check, theirs, ours):
    """Whether the part's file names agree, or a rule accounts for the difference."""
    expected = theirs.get_filename()
    expected = expected.lower() if expected else None
    got = ours.get("fileName")
    if got == expected:
        return
    if expected and got and got.startswith(expected + ";"):
        check.rule("disposition-tail", f"{got!r} for {expected!r}")
    elif expected is None and got and (theirs.get("Content-Description") or "").strip().strip('"').lower() == got:
        check.rule("description-name", f"{got!r}")
    elif got is None and expected and theirs.get_param("filename", header="content-disposition") is None and \
            (theirs.get_param("name") or "").lower() == expected:
        check.rule("type-name", f"{expected!r}")
    else:
        check.fail(f"file name: email {expected!r}, tessivo {got!r}")


def check_attachments(check, tessivo, path, ours, pairs):
    named = [p for p in ours.get("MailContent", []) if "fileName" in p]
    if "MailContent" not in ours and "fileName" in ours:
        named.append(ours)
    with tempfile.TemporaryDirectory() as out:
        saved = run(tessivo, "attachments", "--out", out, path).splitlines()
        if len(saved) != len(named):
            check.fail(f"{len(saved)} files saved for {len(named)} named parts")
            return
        for part, file in zip(named, saved):
            theirs = next((t for t, o in pairs if o is part), None)
            if theirs is None:
                check.fail(f"saved {part['fileName']!r}, which is no leaf part to email")
                continue
            with open(file, "rb") as f:
                data = f.read()
            expected = theirs.get_payload(decode=True)
            if data != expected:
                check.fail(f"bytes of {part['fileName']!r}: {len(data)} saved, {len(expected or b'')} decoded by email")


def check_file(tessivo, path):
    check = Check(path)
    with open(path, "rb") as f:
        data = f.read()
    message = email.message_from_bytes(data)
    ours = json.loads(run(tessivo, "dump", path))["dictionary"]
    check_headers(check, message, data, ours)

    theirs = list(leaves(message)) if message.is_multipart() else []
    mine = our_leaves(check, message, ours)
    if len(theirs) != len(mine):
        check.fail(f"leaf parts: email {len(theirs)}, tessivo {len(mine)}")
        return check
    pairs = list(zip(theirs, mine))
    for t, o in pairs:
        check_name(check, t, o)
    check_attachments(check, tessivo, path, ours, pairs)
    return check


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    tessivo, corpus = sys.argv[1], sys.argv[2]
    files = sorted(os.path.join(d, f) for d, _, names in os.walk(corpus) for f in names if f.endswith(".eml"))
    if not files:
        print(f"no .eml files under {corpus}: skipped")
        return SKIP
    failed = 0
    used = set()
    for path in files:
        check = check_file(tessivo, path)
        status = "FAIL" if check.failures else "ok"
        print(f"{status} {os.path.relpath(path, corpus)}")
        for note in check.notes:
            print(f"  differs by rule: {note}")
            used.add(note.rsplit("[", 1)[1].rstrip("]"))
        for failure in check.failures:
            print(f"  {failure}")
        failed += bool(check.failures)
    print(f"\n{len(files) - failed} of {len(files)} messages agree with email where the rules allow.")
    for rule in sorted(used):
        print(f"  {rule}: {RULES[rule]}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
