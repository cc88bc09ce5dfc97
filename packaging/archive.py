#!/usr/bin/env python3
"""Makes a .zip of a folder's contents whose bytes depend on these alone: sorted names, one date for all, no owner.

    packaging/archive.py OUT.zip FOLDER [NAME [LEVEL]]    NAME: the folder that everything stands in when it is unpacked; LEVEL of compression, 1 to 9

The date is SOURCE_DATE_EPOCH's, in seconds since 1970.
"""

import os
import pathlib
import sys
import time
import zipfile


def pack(out, folder, top="", level=6):
    # The format begins in 1980.
    date = max(time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6], (1980, 1, 1, 0, 0, 0))
    with zipfile.ZipFile(out, "w") as archive:
        for path in sorted(path for path in folder.rglob("*") if path.is_file()):
            member = zipfile.ZipInfo(top + path.relative_to(folder).as_posix(), date)
            member.create_system = 3  # Unix, so that permissions are kept
            member.external_attr = (0o100755 if os.access(path, os.X_OK) else 0o100644) << 16
            member.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(member, path.read_bytes(), compresslevel=level)


def main():
    if len(sys.argv) not in (3, 4, 5):
        print(__doc__, file=sys.stderr)
        return 2
    top = sys.argv[3] + "/" if len(sys.argv) > 3 and sys.argv[3] else ""
    pack(sys.argv[1], pathlib.Path(sys.argv[2]), top, int(sys.argv[4]) if len(sys.argv) > 4 else 6)
    return 0


if __name__ == "__main__":
    sys.exit(main())
