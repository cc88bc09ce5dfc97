#!/usr/bin/env python3
"""Writes what others' code is in the binaries: an SPDX 2.3 document, and the licences in words.

    packaging/spdx.py DEPS VERSION OUT.spdx.json LICENSES    DEPS: build/deps; LICENSES: folder for the texts

The versions are those of the headers and packages that were built with. Dated by SOURCE_DATE_EPOCH, so that the same build gives the same bytes.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tarfile
import time


def debian(package):
    version = subprocess.run(["dpkg-query", "-W", "-f=${Version}", package], check=True, capture_output=True, text=True).stdout
    return version, {f"{package}.txt": pathlib.Path(f"/usr/share/doc/{package}/copyright").resolve().read_bytes()}


def source(deps, tarball, header, pattern, texts):
    """A library built from its source: the version that its header tells, and the texts beside its source."""
    version = re.search(pattern, (deps / "host" / "include" / header).read_text(encoding="utf-8"))[1]
    (path,) = (deps / "src").glob(tarball)
    with tarfile.open(path) as archive:
        top = archive.getnames()[0].split("/")[0]
        found = {f"{top}-{text}.txt": archive.extractfile(f"{top}/{text}").read() for text in texts}
    return version, found


def contained(deps):
    """(name, SPDX licence, which files contain it, (version, texts))"""
    everywhere = "every DLL and program"
    gcc = "GPL-3.0-or-later WITH GCC-exception-3.1"
    return [
        ("libjpeg-turbo", "IJG AND BSD-3-Clause AND Zlib", "ocellus.dll, devicekit.dll",
         source(deps, "libjpeg-turbo_*.tar.*", "jconfig.h", r"LIBJPEG_TURBO_VERSION\s+([\d.]+)", ["LICENSE.md", "README.ijg"])),
        ("libpng", "libpng-2.0", "ocellus.dll", source(deps, "libpng*.tar.*", "png.h", r'PNG_LIBPNG_VER_STRING\s+"([\d.]+)"', ["LICENSE"])),
        ("zlib", "Zlib", "ocellus.dll", source(deps, "zlib_*.tar.*", "zlib.h", r'ZLIB_VERSION\s+"([\d.]+)"', ["LICENSE"])),
        ("libstdc++ and libgcc for Windows", gcc, everywhere + " for x64 and x86", debian("gcc-mingw-w64-base")),
        ("mingw-w64 runtime", "ZPL-2.1 AND MIT", everywhere + " for x64 and x86", debian("mingw-w64-common")),
        ("libstdc++ and libgcc for ARM", gcc, everywhere + " for ce-armv4", debian("libstdc++-arm-none-eabi-newlib")),
        ("CLI11", "BSD-3-Clause", "camctl.exe", debian("libcli11-dev")),
        ("nlohmann-json", "MIT", "camctl.exe, devicekit.dll, Imvoxa.dll", debian("nlohmann-json3-dev")),
    ]


def main():
    if len(sys.argv) != 5:
        print(__doc__, file=sys.stderr)
        return 2
    deps, version, out, licenses = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3]), pathlib.Path(sys.argv[4])
    licenses.mkdir(parents=True, exist_ok=True)

    def package(name, version, license, comment):
        return {"SPDXID": "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", name), "name": name, "versionInfo": version, "licenseDeclared": license,
                "licenseConcluded": license, "copyrightText": "NOASSERTION", "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
                "comment": comment}

    own = package("ocellus", version, "MIT", "All files of this package")
    others = []
    for name, license, where, (found, texts) in contained(deps):
        others.append(package(name, found, license, "Contained in " + where))
        for file, text in texts.items():
            (licenses / file).write_bytes(text)
    created = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"])))
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", own["SPDXID"])] + [(own["SPDXID"], "CONTAINS", other["SPDXID"]) for other in others]
    document = {
        "spdxVersion": "SPDX-2.3", "SPDXID": "SPDXRef-DOCUMENT", "dataLicense": "CC0-1.0", "name": f"ocellus-{version}",
        "documentNamespace": f"urn:ocellus:{version}:{created}", "creationInfo": {"created": created, "creators": ["Tool: packaging/spdx.py"]},
        "packages": [own, *others],
        "relationships": [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b} for a, kind, b in relations],
    }
    out.write_text(json.dumps(document, indent=2) + "\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
