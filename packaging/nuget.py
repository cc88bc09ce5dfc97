#!/usr/bin/env python3
"""Makes the NuGet package of an SDK: the C# file as source, and the library for each width that the SDK has.

    packaging/nuget.py SDK VERSION OUT.nupkg

Dated by SOURCE_DATE_EPOCH.
"""

import pathlib
import shutil
import sys
import tempfile

from archive import pack

HERE = pathlib.Path(__file__).resolve().parent / "nuget"
TYPES = """<?xml version="1.0" encoding="utf-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
  <Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
  <Default Extension="nuspec" ContentType="application/octet"/>
  <Default Extension="cs" ContentType="application/octet"/>
  <Default Extension="dll" ContentType="application/octet"/>
  <Default Extension="targets" ContentType="application/octet"/>
  <Default Extension="txt" ContentType="application/octet"/>
</Types>
"""
RELATIONS = """<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
  <Relationship Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/Ocellus.nuspec" Id="R1"/>
</Relationships>
"""


def main():
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    sdk, version, out = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
    with tempfile.TemporaryDirectory() as work:
        work = pathlib.Path(work)

        def add(source, target):
            (work / target).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, work / target)

        for width in ("x64", "x86"):
            if (sdk / "bin" / width).is_dir():
                add(sdk / "bin" / width / "ocellus.dll", f"runtimes/win-{width}/native/ocellus.dll")
        add(sdk / "bindings" / "csharp" / "Ocellus.cs", "contentFiles/cs/any/Ocellus.cs")
        for folder in ("build", "buildTransitive"):
            add(HERE / "Ocellus.targets", f"{folder}/Ocellus.targets")
        for text in (sdk / "LICENSES").iterdir():
            add(text, f"LICENSES/{text.name}")
        nuspec = (HERE / "Ocellus.nuspec.in").read_text(encoding="utf-8").replace("@VERSION@", version)
        for name, text in (("Ocellus.nuspec", nuspec), ("[Content_Types].xml", TYPES), ("_rels/.rels", RELATIONS)):
            (work / name).parent.mkdir(exist_ok=True)
            (work / name).write_text(text, encoding="utf-8")
        pack(out, work)
    return 0


if __name__ == "__main__":
    sys.exit(main())
