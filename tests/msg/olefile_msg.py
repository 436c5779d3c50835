#!/usr/bin/env python3
"""Compares `tessivo dump` and `tessivo attachments` with an independent
reading of every .msg file of the corpus by olefile (Debian python3-olefile):

- "Subject": the first line of property 0x0037;
- "MessageType": the message class (0x001A) through the class table;
- "Date": the delivery time 0x0E06 of the property stream, "dd MMM  yyyy 'at'
  HH:mm" in UTC, "-" when missing or outside 1970-01-01 00:00:01 to 2099;
- "To": every recipient storage, in storage order, with a Unicode name
  (3001001F) and an address (3003001F, else 39FE001F; "" when the last one
  tried is present but not an address);
- "AttachmentList" (e-mail and calendar messages): every attachment storage,
  in storage order, named by 3707, 3704 or 3001 (the Unicode stream when it
  exists, else the 8-bit one), attached messages (method 5) without data, the
  others with "size" equal to their 0x3701 stream in whole sectors, as the
  stream layer hands it out;
- "Body" (1000) and "HTML" (1013 as UTF-8, else a Body that is an HTML page);
- `tessivo attachments` saves each attachment with data as exactly its 0x3701
  stream cut to the declared size, in order;
- contact messages: every contact field, field by field, from its properties
  in order (8-bit first for direct ones); the e-mail addresses are named
  properties, whose stream is 0x8000 plus the property index of their
  numerically named entry in the "__nameid_version1.0" entry stream (Unicode
  first). A field absent and one that is empty after cleaning are alike.

Usage: olefile_msg.py TESSIVO CORPUS_DIR
Exits 77 (skipped) when the corpus or the olefile module is missing.

Text is compared after the cleaning both readings share: NULs and white space
trimmed at both ends. 8-bit strings are read with tessivo's fallbacks (ASCII,
else UTF-8, else Windows-1252), and an HTML made from RTF text is not checked.
Two rules of the text cleaning every decoded property goes through
(zapGremlins) make tessivo's text differ on purpose; such a difference is
reported as explained, with its rule, and does not fail the check:
- percent escapes are decoded ("mailto%3aa%40b" becomes "mailto:a@b");
- a text is cut where characters above U+3000 begin its tail (8-bit bytes
  read as UTF-16 look like that; so do emoji), the cut counting only the
  ordinary characters before it.
"""
import datetime
import json
import os
import re
import subprocess
import sys
import tempfile
import urllib.parse

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from cli_check import olefile_and_corpus_messages  # noqa: E402
UNNAMED = "Untitled Attachment"
CLASSES = [("IPM.StickyNote", "Sticky"), ("IPM.Note.EnterpriseVault.Shortcut", "Vault"), ("IPM.Contact", "Contact"),
           ("IPM.Appointment", "Calendar"), ("IPM.Note", "Email")]
# An addr-spec with a dotted domain (what tessivo's address check accepts, for the corpus).
ADDRESS = re.compile(r"^[A-Za-z0-9!#$%&'*+/=?^_`{|}~.-]+@[A-Za-z0-9-]+(\.[A-Za-z0-9-]+)+$")
MONTHS = ["Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"]


class Storage:
    """The streams of one storage, by name, read with olefile."""

    def __init__(self, ole, path):
        self.ole, self.path = ole, path

    def stream(self, name):
        entry = self.path + [name]
        return self.ole.openstream(entry).read() if self.ole.exists(entry) else None

    def has(self, name):
        return self.ole.exists(self.path + [name])

    def children(self, prefix):
        """Child storages whose names begin with prefix (any case), in directory order."""
        names = {e[len(self.path)] for e in self.ole.listdir(streams=True, storages=True)
                 if len(e) > len(self.path) and e[:len(self.path)] == self.path}
        found = [n for n in names if n.lower().startswith(prefix)]
        return sorted(found, key=lambda n: (len(n), n.upper()))

    def whole_sectors(self, name):
        """The length of a stream as the stream layer hands it out."""
        size = len(self.stream(name))
        unit = self.ole.minisectorsize if size < self.ole.minisectorcutoff else self.ole.sectorsize
        return (size + unit - 1) // unit * unit


def clean(text):
    return text.replace("\0", " ").strip()


def decode8(data):
    for codec in ("ascii", "utf-8", "cp1252", "latin-1"):
        try:
            return data.decode(codec)
        except UnicodeDecodeError:
            pass
    return ""


def string(storage, prop, prefer="001F"):
    """A string property with the fallback between the two string types."""
    order = ["001F", "001E"] if prefer == "001F" else ["001E", "001F"]
    for kind in order:
        data = storage.stream(f"__substg1.0_{prop}{kind}")
        if data:
            return clean(data.decode("utf-16-le", "replace") if kind == "001F" else decode8(data))
    return ""


def delivery_date(storage):
    props = storage.stream("__properties_version1.0") or b""
    for at in range(0, len(props) - 15, 16):
        kind, pid = int.from_bytes(props[at:at + 2], "little"), int.from_bytes(props[at + 2:at + 4], "little")
        if (kind, pid) == (0x0040, 0x0E06):
            seconds = int.from_bytes(props[at + 8:at + 16], "little", signed=True) // 10**7 - 11644473600
            if not 1 <= seconds <= 4102444799:
                return "-"
            d = datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)
            return f"{d.day:02d} {MONTHS[d.month - 1]}  {d.year} at {d.hour:02d}:{d.minute:02d}"
    return "-"


def recipients(root):
    out = []
    for name in root.children("__recip"):
        r = Storage(root.ole, root.path + [name])
        raw = r.stream("__substg1.0_3001001F")
        if not raw:
            continue
        address = None
        for prop in ("3003", "39FE"):
            data = r.stream(f"__substg1.0_{prop}001F")
            if not data:
                address = None
                continue
            text = clean(data.decode("utf-16-le", "replace"))
            address = text if ADDRESS.match(text) else ""
            if address:
                break
        if address is not None:
            out.append({"Name": clean(raw.decode("utf-16-le", "replace")), "Address": address})
    return out


def attachment_string(storage, prop):
    unicode = storage.has(f"__substg1.0_{prop}001F")
    data = storage.stream(f"__substg1.0_{prop}{'001F' if unicode else '001E'}")
    if not data:
        return None
    return clean(data.decode("utf-16-le", "replace") if unicode else decode8(data))


def attachments(root):
    """(name, size in whole sectors or None, exact bytes or None) per attachment storage."""
    out = []
    for name in root.children("__attach"):
        a = Storage(root.ole, root.path + [name])
        props = a.stream("__properties_version1.0") or b""
        method = 0
        for at in range(8, len(props) - 15, 16):
            if props[at:at + 4] == b"\x03\x00\x05\x37":
                method = int.from_bytes(props[at + 8:at + 12], "little")
                break
        title = next((t for t in (attachment_string(a, p) for p in ("3707", "3704", "3001")) if t), UNNAMED)
        data = a.stream("__substg1.0_37010102")
        if method == 5 or not data:
            out.append((title, None, None))
            continue
        if title == UNNAMED and b"MIME-Version: 1.0" in data:
            title += ".eml"
        out.append((title, a.whole_sectors("__substg1.0_37010102"), data))
    return out


# Contact fields and the properties that may hold them, in order; IDs from 0x8001 are named.
CONTACT_FIELDS = [
    ("Company Name", [0x3A16]), ("Contact Email 1", [0x801C, 0x8083, 0x8011, 0x802B]),
    ("Contact Email 2", [0x8093]), ("Contact Email 3", [0x80A4]), ("Department", [0x3A18]),
    ("Given Name", [0x3A06]), ("Home City", [0x3A59]), ("Home Country", [0x3A5A]), ("Home Fax", [0x3A25]),
    ("Home Phone", [0x3A09]), ("Home Postcode", [0x3A5B]), ("Home Province", [0x3A5C]),
    ("Home Street", [0x3A5D]), ("Homepage", [0x3A51]), ("Initials", [0x3A0A]), ("Middle Name", [0x3A44]),
    ("Mobile Phone", [0x3A1C]), ("Nickname", [0x3A4F]), ("PO Box", [0x3A2B]), ("Post Address", [0x3A15]),
    ("Profession", [0x3A46]), ("Spouse", [0x3A48]), ("Surname", [0x3A11]), ("Title", [0x3A17]),
    ("Work City", [0x3A19]), ("Work Country", [0x3A26]), ("Work Fax", [0x3A24]), ("Work Locality", [0x3A27]),
    ("Work Phone", [0x3A08]), ("Work Postcode", [0x3A2A]), ("Work State", [0x3A28]), ("Work Street", [0x3A29]),
]
CONTACT_KEYS = {name for name, _ in CONTACT_FIELDS}


def named_streams(root):
    """Numeric name to the ID of its stream, from the named-property map."""
    entries = Storage(root.ole, root.path + ["__nameid_version1.0"]).stream("__substg1.0_00030102") or b""
    out = {}
    for at in range(0, len(entries) - 7, 8):
        name, kind, index = (int.from_bytes(entries[at + a:at + b], "little") for a, b in ((0, 4), (4, 6), (6, 8)))
        if not kind & 1:
            out[name] = 0x8000 + index
    return out


def contact_fields(root):
    named, fields = named_streams(root), {}
    for name, props in CONTACT_FIELDS:
        for prop in props:
            if prop <= 0x8000:
                value = string(root, f"{prop:04X}", "001E")
                if name == "Post Address":
                    value = value.replace("\n", "\n\t\t\t\t\t")
            else:
                value = string(root, f"{named[prop]:04X}") if prop in named else ""
            if value:
                fields[name] = value
                break
    return fields


def is_html(text):
    t = text.strip()
    low = t.lower()
    if len(t) < 13:
        return False
    return (low.startswith("<html") and "</html>" in low[-19:]) or t.startswith("<!DOCTYPE") or \
        sum(tag in low for tag in ("<head", "<body", "<html")) >= 2


def expected(olefile, path):
    with olefile.OleFileIO(path) as ole:
        root = Storage(ole, [])
        klass = string(root, "001A", "001E")
        facts = {"MessageType": next((t for s, t in CLASSES if s in klass), "Email" if klass else None),
                 "Date": delivery_date(root), "To": recipients(root)}
        subject = string(root, "0037")
        if subject:
            facts["Subject"] = clean(re.split(r"[\n\r\x0b\x0c\x85\u2028\u2029]", subject)[0])
        body = string(root, "1000")
        if body:
            facts["Body"] = body
        html = root.stream("__substg1.0_10130102")
        if html:
            facts["HTML"] = clean(html.decode("utf-8", "replace"))
        elif body and is_html(body):
            facts["HTML"] = body
        if facts["MessageType"] == "Contact":
            facts.update({name: "" for name in CONTACT_KEYS}, **contact_fields(root))
        listed = attachments(root) if facts["MessageType"] in ("Email", "Calendar") else []
        return facts, listed


def explained(ours, theirs):
    """The cleaning rule that turns olefile's text into tessivo's, or None."""
    if not isinstance(ours, str) or not isinstance(theirs, str):
        return None
    if urllib.parse.unquote(theirs, errors="strict") == ours if "%" in theirs else False:
        return "percent escapes decoded"
    if len(ours) < len(theirs) and any(ord(c) > 0x3000 for c in theirs[len(ours) - 8:]) and \
            theirs.startswith(ours[:max(0, len(ours) - 8)]):
        return "cut where characters above U+3000 begin"
    return None


def run(tessivo, *args):
    r = subprocess.run([tessivo, *args], capture_output=True, check=False)
    if r.returncode != 0:
        raise RuntimeError(f"tessivo {' '.join(args)}: exit {r.returncode}: {r.stderr.decode(errors='replace')}")
    return r.stdout


def compare(tessivo, olefile, path, workdir):
    problems, notes = [], []
    facts, listed = expected(olefile, path)
    ours = json.loads(run(tessivo, "dump", path))["dictionary"]
    for key, value in facts.items():
        got = ours.get(key, "" if key in CONTACT_KEYS else None)
        if (key in ("Body", "HTML") or key in CONTACT_KEYS) and isinstance(got, str):
            got = clean(got)
        if got == value:
            continue
        rule = explained(got, value)
        (notes if rule else problems).append(
            f"{key}: {rule + ': ' if rule else ''}tessivo {str(got)[-60:]!r}, olefile {str(value)[-60:]!r}")
    if "HTML" in ours and "HTML" not in facts and "Body" in facts and "RTF" not in ours:
        problems.append("HTML: tessivo has one that neither 1013 nor the body gives")
    got_list = [(a["name"], a.get("size")) for a in ours.get("AttachmentList", [])]
    want_list = [(name, size) for name, size, _ in listed]
    if got_list != want_list:
        problems.append(f"AttachmentList: tessivo {got_list}, olefile {want_list}")
    out = os.path.join(workdir, str(abs(hash(path))))
    saved = run(tessivo, "attachments", "--out", out, path).decode().splitlines()
    exact = [data for _, _, data in listed if data is not None]
    contents = [open(p, "rb").read() for p in saved]
    if contents != exact:
        problems.append(f"saved attachments differ: {len(contents)} files, {len(exact)} expected")
    return problems, notes, len(exact), sum(1 for k, v in facts.items() if k in CONTACT_KEYS and v)


def main():
    found = olefile_and_corpus_messages(sys.argv, __doc__)
    if isinstance(found, int):
        return found
    tessivo, olefile, files = found
    os.environ["TZ"] = "UTC"
    failures, explainedFiles, saved, contacts = 0, 0, 0, 0
    with tempfile.TemporaryDirectory() as workdir:
        for path in files:
            problems, notes, count, fields = compare(tessivo, olefile, path, workdir)
            saved += count
            contacts += fields
            failures += 1 if problems else 0
            explainedFiles += 1 if notes and not problems else 0
            for kind, lines in (("MISMATCH", problems), ("explained", notes)):
                if lines:
                    print(f"{kind} {path}")
                    for line in lines:
                        print(f"  {line}")
    print(f"{len(files) - failures} of {len(files)} messages agree ({explainedFiles} through the cleaning rules above); "
          f"{saved} attachments saved byte for byte; {contacts} contact fields with text")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
