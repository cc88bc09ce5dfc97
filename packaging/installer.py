#!/usr/bin/env python3
"""Makes a Windows Installer package of the programs for one width.

    packaging/installer.py FOLDER x64|x86 user|machine VERSION OUT.msi    FOLDER: what is installed, all in one folder

The filters that Ocellus.Filters.manifest names are registered by the installer's own table, so that removing leaves nothing. All identifiers are made
of names: a later version replaces an earlier one of the same width and scope. Dated by SOURCE_DATE_EPOCH.
"""

import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import uuid
from xml.etree import ElementTree
from xml.sax.saxutils import quoteattr

NAMES = uuid.UUID("6a0d7f7c-5a1c-4c2b-9a52-3e4b1f4a6d10")
SCOPES = {"user": ("perUser", "HKCU"), "machine": ("perMachine", "HKLM")}
PROGRAM_FILES = {"x64": "ProgramFiles64Folder", "x86": "ProgramFilesFolder"}
SHORTCUTS = {"camview.exe": "Camera"}
MANIFEST = "Ocellus.Filters.manifest"
ASSEMBLY = "{urn:schemas-microsoft-com:asm.v1}"
# Property identifiers of the summary's times: created, last saved.
TIMES = (12, 13)


def identifier(*names):
    return str(uuid.uuid5(NAMES, "/".join(names))).upper()


def element(name, *children, **values):
    text = "".join(f" {key}={quoteattr(str(value))}" for key, value in values.items())
    return f"<{name}{text}>{''.join(children)}</{name}>" if children else f"<{name}{text}/>"


def registration(folder, root):
    for entry in ElementTree.parse(folder / MANIFEST).iter(ASSEMBLY + "comClass"):
        key = f"Software\\Classes\\CLSID\\{entry.get('clsid')}"
        server = key + "\\InprocServer32"
        yield element("RegistryValue", Root=root, Key=key, Type="string", Value=entry.get("description"))
        yield element("RegistryValue", Root=root, Key=server, Type="string", Value="[INSTALLDIR]ocellus.dll")
        yield element("RegistryValue", Root=root, Key=server, Name="ThreadingModel", Type="string", Value=entry.get("threadingModel"))


def description(folder, width, scope, version):
    components, features = [], []
    for path in sorted(folder.iterdir()):
        # Names become identifiers of the installer's tables.
        name = re.sub(r"[^A-Za-z0-9_]", "_", path.name)
        inner = [element("File", Id=name, Name=path.name, Source=path.name, KeyPath="yes")]
        if path.name == "ocellus.dll":
            inner += registration(folder, SCOPES[scope][1])
        if path.name in SHORTCUTS:
            inner.append(element("Shortcut", Id="shortcut_" + name, Directory="ProgramMenuFolder", Name=SHORTCUTS[path.name],
                                 WorkingDirectory="INSTALLDIR", Target=f"[INSTALLDIR]{path.name}"))
        components.append(element("Component", *inner, Id=name, Guid=identifier("component", path.name, width, scope),
                                  **({"Win64": "yes"} if width == "x64" else {})))
        features.append(element("ComponentRef", Id=name))
    installed = element("Directory", *components, Id="INSTALLDIR", Name="Ocellus")
    if scope == "user":
        place = element("Directory", element("Directory", installed, Id="UserPrograms", Name="Programs"), Id="LocalAppDataFolder")
    else:
        place = element("Directory", installed, Id=PROGRAM_FILES[width])
    upgrade = identifier("product", width, scope)
    product = element(
        "Product",
        element("Package", InstallerVersion="200", Compressed="yes", InstallScope=SCOPES[scope][0], Comments="Camera access library"),
        element("MajorUpgrade", DowngradeErrorMessage="A newer version is installed already; remove it first."),
        element("Media", Id="1", Cabinet="ocellus.cab", EmbedCab="yes"),
        element("Directory", place, element("Directory", Id="ProgramMenuFolder"), Id="TARGETDIR", Name="SourceDir"),
        element("Feature", *features, Id="Everything", Level="1"),
        Id=identifier("product", width, scope, version), Name=f"Ocellus ({width})", Manufacturer="Ocellus", Language="1033",
        UpgradeCode=upgrade, Version=".".join(version.split(".")[:3]))
    return '<?xml version="1.0" encoding="utf-8"?>\n' + element("Wix", product, xmlns="http://schemas.microsoft.com/wix/2006/wi") + "\n"


def set_times(path, seconds):
    """The moment of making stands in the summary of the package twice; in its place goes the date of the sources."""
    data = bytearray(path.read_bytes())
    # The property set: its format's identifier and place, then its size, the count, and an entry of identifier and place for each property.
    format_id = uuid.UUID("F29F85E0-4FF9-1068-AB91-08002B27B3D9").bytes_le
    at = data.index(format_id)
    section = at - 28 + struct.unpack_from("<I", data, at + 16)[0]
    changed = 0
    for index in range(struct.unpack_from("<I", data, section + 4)[0]):
        property_id, offset = struct.unpack_from("<II", data, section + 8 + 8 * index)
        if property_id in TIMES:
            struct.pack_into("<Q", data, section + offset + 4, (seconds + 11644473600) * 10**7)
            changed += 1
    if changed != len(TIMES):
        raise SystemExit(f"installer: the summary of {path} has {changed} times, not {len(TIMES)}")
    path.write_bytes(data)


def main():
    if len(sys.argv) != 6 or sys.argv[2] not in PROGRAM_FILES or sys.argv[3] not in SCOPES:
        print(__doc__, file=sys.stderr)
        return 2
    folder, width, scope, version, out = pathlib.Path(sys.argv[1]), *sys.argv[2:5], pathlib.Path(sys.argv[5])
    seconds = int(os.environ["SOURCE_DATE_EPOCH"])
    with tempfile.TemporaryDirectory() as work:
        wxs = pathlib.Path(work) / "ocellus.wxs"
        wxs.write_text(description(folder, width, scope, version), encoding="utf-8")
        subprocess.run(["wixl", "--arch", width, "--output", out.resolve(), wxs], cwd=folder, check=True)
    package = identifier("package", width, scope, version)
    architecture = {"x64": "x64", "x86": "Intel"}[width]
    subprocess.run(["msibuild", out, "-s", f"Ocellus ({width})", "Ocellus", f"{architecture};1033", f"{{{package}}}"], check=True)
    set_times(out, seconds)
    return 0


if __name__ == "__main__":
    sys.exit(main())
