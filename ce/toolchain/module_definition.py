"""Reads the part of the module-definition format that is used here: LIBRARY, EXPORTS, names, ordinals and comments."""

from dataclasses import dataclass


class DefinitionError(Exception):
    """A line of a .def file cannot be understood; the text names file and line."""


@dataclass
class Entry:
    name: str
    ordinal: int  # 0: by name


@dataclass
class Definition:
    library: str
    entries: list


def read(path):
    """The definition at `path`; names and ordinals are unique."""
    library, entries, names, ordinals = None, [], set(), set()
    with open(path, encoding="ascii") as file:
        for number, line in enumerate(file, 1):
            words = line.split(";")[0].split()
            if not words:
                continue
            where = f"{path}:{number}"
            if words[0] == "LIBRARY" and len(words) == 2:
                library = words[1]
            elif words[0] == "EXPORTS":
                continue
            else:
                name, ordinal = words[0], 0
                for word in words[1:]:
                    if word.startswith("@") and word[1:].isdigit():
                        ordinal = int(word[1:])
                    elif word not in ("PRIVATE", "NONAME"):
                        raise DefinitionError(f"{where}: '{word}' is not understood")
                if name in names or (ordinal and ordinal in ordinals):
                    raise DefinitionError(f"{where}: {name} or its ordinal is listed twice")
                if not 0 <= ordinal <= 0xFFFF:
                    raise DefinitionError(f"{where}: ordinal {ordinal} is out of range")
                names.add(name)
                ordinals.add(ordinal)
                entries.append(Entry(name, ordinal))
    if library is None:
        raise DefinitionError(f"{path}: there is no LIBRARY line")
    return Definition(library, entries)
