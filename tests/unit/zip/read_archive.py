"""Prints what zipfile finds in an archive, one line an entry, for the tests to compare.

Usage: read_archive.py ARCHIVE [PASSWORD]
Fields: name and content in hex, flags, method, version to extract, external attributes, date and time.
An entry that can't be read has "error" and the reason in place of its content. The check byte of an encrypted entry lets
one wrong password of 256 through, and then it is the data that can't be read.
"""

import sys
import zipfile
import zlib


def main():
    password = sys.argv[2].encode("utf-8", "surrogateescape") if len(sys.argv) > 2 else None
    with zipfile.ZipFile(sys.argv[1]) as archive:
        for info in archive.infolist():
            name = info.orig_filename.encode("utf-8" if info.flag_bits & 0x800 else "cp437")
            try:
                content = archive.read(info, pwd=password).hex()
            except (RuntimeError, zipfile.BadZipFile, zlib.error) as error:
                content = f"error {error}"
            print(name.hex(), content, info.flag_bits, info.compress_type, info.extract_version,
                  info.external_attr, "%d-%d-%d %d:%d:%d" % info.date_time, sep="\t")


main()
