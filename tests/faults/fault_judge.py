"""What is wrong with what came of a run: nothing may be lost unless somebody says so, and nothing may be left half."""

import io
import os
import re
import subprocess
import tempfile
import zipfile
import zlib

import fault_job
from fault_job import CONFIGURATIONS, ENTRIES, OLD_TARGET, PASSWORD

HANG, CRASH, LOSS, BROKEN, LEFT, CLAIM = "hang", "crash", "loss", "broken", "left", "claim"
KINDS = (HANG, CRASH, LOSS, BROKEN, LEFT, CLAIM)

MADE, NOT_MADE, INCOMPLETE = 0, 1, 3
SUMMARY = "summary.txt"
NOT_PACKED = "not-packed.txt"

# The columns of the table of what was left out: id, file name, description, reason.
WIDTHS = (17, 28, 40, 50)
OMITTED = "Files Omitted from Bundle:\n"
INCLUDED = "Files Included in Bundle:\n"
LAST_LINE = "No instruction found in any config for the following file ID's from request:\n"


def without_blanks(text):
    """A cell is cut at any character when it holds no blank; what is looked for is compared without blanks, too."""
    return re.sub(r"\s+", "", text)


def rows(text, title, widths):
    """The rows of the tables with a title: cells by column, without blanks."""
    found = []
    for part in text.split(title)[1:]:
        for line in part.split("\n")[2:]:
            if not line.strip() or line.startswith("-"):
                break
            cells = []
            start = 0
            for width in widths:
                cells.append(without_blanks(line[start:start + width]))
                start += width + 2
            if cells[0]:
                found.append(cells)
            elif found:
                found[-1] = [old + new for old, new in zip(found[-1], cells)]
    return found


class Bundle:
    """The archive at the target, read back by other programs. A file that was another when it was read once more can't be
    unpacked with a password; that is all right if the archive itself says so.
    @throws ValueError if they can't read it."""

    def __init__(self, content, password):
        try:
            with zipfile.ZipFile(io.BytesIO(content)) as archive:
                if password:
                    archive.setpassword(PASSWORD)
                self.files = {}
                self.damaged = []
                for info in archive.infolist():
                    self.read(archive, info)
                open_ones = [info.filename for info in archive.infolist() if not info.flag_bits & 1 and info.file_size]
        except Exception as error:  # what zipfile raises for a broken archive has no common base
            raise ValueError("Python can't read it: %s" % error) from None
        if password and open_ones:
            raise ValueError("not encrypted: " + ", ".join(open_ones))
        untold = [name for name in self.damaged if not Said("", self.text(NOT_PACKED), "").by_name(name)]
        if untold:
            raise ValueError("can't be unpacked, and nothing says so: " + ", ".join(untold))
        if not self.damaged:
            self.unzip(content)

    def read(self, archive, info):
        if info.is_dir():
            return
        try:
            self.files[info.filename] = archive.read(info)
        except (zipfile.BadZipFile, RuntimeError, zlib.error):
            self.damaged.append(info.filename)

    @staticmethod
    def unzip(content):
        with tempfile.NamedTemporaryFile(suffix=".zip") as copy:
            copy.write(content)
            copy.flush()
            done = subprocess.run(["unzip", "-tqq", "-P", PASSWORD.decode(), copy.name], stdin=subprocess.DEVNULL,
                                  capture_output=True, check=False)
        if done.returncode:
            raise ValueError("unzip can't read it: " + done.stdout.decode(errors="replace").strip())

    def text(self, name):
        return self.files.get(name, b"").decode(errors="replace")


def holds(name, content, entry):
    """A tool's captured output stands below a banner."""
    if entry.item == "captured":
        return content.endswith(entry.content) and b" output:\n" in content
    return content == entry.content


def judge(run):
    """@return pairs of a kind and a text; none if all is well."""
    if run.status is None:
        return [(HANG, "the job did not end in %d s" % fault_job.LIMIT_SECONDS)]
    found = []
    if run.status < 0 or run.status >= 128:
        found.append((CRASH, "the program ended with %d: %s" % (run.status, run.errors.strip()[-300:])))
    elif run.status in (MADE, INCOMPLETE):
        found += judge_bundle(run)
    elif run.target != (OLD_TARGET if run.old_target else None):
        found.append((CLAIM, "exit status %d, but the target is not as it was" % run.status))
    found += [(LEFT, "%s stays behind" % path) for path in run.leavings if path not in run.errors]
    found += [(LEFT, "a process stays behind: " + line) for line in run.processes]
    return found


def judge_bundle(run):
    if run.target is None or run.target == OLD_TARGET:
        return [(CLAIM, "exit status %d, but there is no bundle" % run.status)]
    try:
        bundle = Bundle(run.target, run.password)
    except ValueError as error:
        return [(BROKEN, str(error))]
    summary = bundle.text(SUMMARY)
    said = Said(summary, bundle.text(NOT_PACKED), run.errors)
    found = []
    for name, entry in ENTRIES.items():
        content = bundle.files.get(name)
        if (content is None or not holds(name, content, entry)) and not said.about(name, entry):
            found.append((LOSS, "%s is %s, and nothing says so" % (name, "missing" if content is None else "cut")))
    if not is_whole(summary, said) and not said.by_name(SUMMARY):
        found.append((LOSS, "%s is %s, and nothing says so" % (SUMMARY, "cut" if summary else "missing")))
    if (NOT_PACKED in bundle.files) != (run.status == INCOMPLETE):
        found.append((CLAIM, "exit status %d, and %s is %s" % (
            run.status, NOT_PACKED, "there" if NOT_PACKED in bundle.files else "missing")))
    return found


class Said:
    """All that the user is told of what was lost."""

    def __init__(self, summary, not_packed, errors):
        self.omitted = rows(summary, OMITTED, WIDTHS)
        self.not_packed = [line.partition(": ")[0] for line in not_packed.split("\n") if ": " in line]
        self.errors = errors
        self.failed = summary.partition("MEROEngine failed to parse or use the following configuration files:\n")[2]

    def by_name(self, name):
        """A folder stands for all that is below it."""
        return name in self.errors or any(
            listed in (name, "./") or listed.endswith("/") and name.startswith(listed) for listed in self.not_packed)

    def about(self, name, entry):
        if self.by_name(name):
            return True
        return self.about_configuration("other.xml" if entry.item == "other" else "job.xml") or any(cells[0] == entry.item and self.speaks_of(entry, cells) for cells in self.omitted)

    def about_configuration(self, name):
        """The block of failed configurations holds the path of a file or of the folder, or the titles of the groups of a
        file. The choice of items tells on standard error what it could not read."""
        failed = any("/%s\n" % place in self.failed or "/%s'" % place in self.errors for place in (name, "xml/config/"))
        return failed or CONFIGURATIONS[name][0] + "\n" in self.failed

    @staticmethod
    def speaks_of(entry, cells):
        """A row names the file, or a folder or pattern that it belongs to."""
        if os.path.basename(entry.source) in cells[1] or os.path.basename(entry.source) in cells[3]:
            return True
        if entry.item in ("captured", "launched"):
            return "Failedtoexecute" in cells[3] or "couldnotbekept" in cells[3]
        folder = os.path.dirname(entry.source)
        text = cells[1] + " " + cells[3]
        while folder.startswith(fault_job.SOURCE + "/"):
            if re.search(re.escape(folder) + r"(?:/?(?: |$|:|could)|/[^/]*\*)", text):
                return True
            folder = os.path.dirname(folder)
        return False


def is_whole(summary, said):
    """Whether a summary holds all its blocks."""
    if not summary.startswith("MERO BUNDLE SUMMARY\n") or not summary.endswith(LAST_LINE):
        return False
    return all("\n%s:\n\n%s" % (title, INCLUDED) in summary or said.about_configuration(name)
               for name, (title, _) in CONFIGURATIONS.items())
