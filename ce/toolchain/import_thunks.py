#!/usr/bin/env python3
"""Writes the assembler source of all import thunks and the linker-script fragment that groups their slots.

    import_thunks.py OUT.S OUT.ld DEFINITION.def...

Each function that a .def lists becomes a thunk in a section of its own, so that the linker keeps those that are called. A function that
is in no list stays undefined, and the link fails with its name: the lists are the proof that only what the system has is called.
"""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
import module_definition

THUNK = """
    .section .text.import.{name},"ax",%progbits
    .global {name}
    .type {name}, %function
{name}:
    ldr ip, 1f
    ldr ip, [ip]
    bx ip
1:  .word __imp_{name}
    .size {name}, . - {name}
    .section .import.{library}.{name},"aw",%progbits
    .global __imp_{name}
    .type __imp_{name}, %object
    .size __imp_{name}, 4
__imp_{name}:
    .word 0
"""


def main(arguments):
    if len(arguments) < 3:
        sys.exit(__doc__)
    source, script, *paths = arguments
    definitions = [module_definition.read(path) for path in paths]
    seen = {}
    with open(source, "w", encoding="ascii") as file:
        file.write("    .syntax unified\n    .arm\n")
        for definition in definitions:
            library = definition.library.split(".")[0].lower()
            for entry in definition.entries:
                if entry.name in seen:
                    sys.exit(f"import_thunks: {entry.name} is listed for {seen[entry.name]} and for {library}")
                seen[entry.name] = library
                file.write(THUNK.format(name=entry.name, library=library))
    with open(script, "w", encoding="ascii") as file:
        for definition in definitions:
            library = definition.library.split(".")[0].lower()
            # The loader wants each library's slots in one piece, with a zero behind.
            file.write(f"    *(.import.{library}.*)\n    LONG(0)\n")


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except (module_definition.DefinitionError, OSError) as error:
        sys.exit(f"import_thunks: {error}")
