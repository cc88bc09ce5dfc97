# Builds for Windows CE: the run-time support, and the function with which a DLL is linked twice and converted.

enable_language(ASM)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(WIN32 TRUE)  # what asks for it wants the Windows sources; the platform itself is bare metal to CMake
set(OCELLUS_CE_FOLDER ${CMAKE_CURRENT_LIST_DIR})
set(OCELLUS_CE_RUNTIME ${CMAKE_CURRENT_LIST_DIR}/../runtime)
set(OCELLUS_CE_IMPORTS ${OCELLUS_CE_FOLDER}/imports/coredll.def ${OCELLUS_CE_FOLDER}/imports/ole32.def
                       ${OCELLUS_CE_FOLDER}/imports/oleaut32.def)
# The preferred base, and the one of the second link. They differ in every byte of an address but the lowest, whose bits are offsets within a page.
set(ceBase 0x10000000)
set(ceOtherBase 0x21430000)

# Last on every link line, behind the third-party libraries that need them.
set(CMAKE_CXX_STANDARD_LIBRARIES "-lsupc++ -lgcc")

# ocellus_ce_runtime(): what every DLL is linked with. The linker's collection leaves of it what is used.
function(ocellus_ce_runtime)
    set(folder ${OCELLUS_CE_RUNTIME})
    add_library(ce_runtime OBJECT ${folder}/startup.cpp ${folder}/exceptions.cpp ${folder}/memory.cpp ${folder}/system.cpp
                                  ${folder}/atomics.cpp ${folder}/text.cpp ${folder}/clib.cpp ${folder}/identifiers.cpp ${folder}/setjmp.S)
    # Its functions are called by the compiler, and have the names and shapes that this gives them.
    target_compile_options(ce_runtime PRIVATE -fno-builtin $<$<COMPILE_LANGUAGE:CXX>:-w>)
endfunction()

# ocellus_ce_dll(NAME SOURCES files... EXPORTS file.def IMPORTS files.def... LINK libraries...)
# bin/NAME.dll and, for those who watch it run, bin/NAME.sym.
function(ocellus_ce_dll name)
    cmake_parse_arguments(DLL "" "EXPORTS" "SOURCES;IMPORTS;LINK" ${ARGN})
    if(NOT TARGET ce_runtime)
        ocellus_ce_runtime()
    endif()
    set(folder ${CMAKE_BINARY_DIR}/ce/${name})
    set(imports ${OCELLUS_CE_IMPORTS} ${DLL_IMPORTS})
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(
        OUTPUT ${folder}/imports.S ${folder}/imports.ld
        COMMAND Python3::Interpreter ${OCELLUS_CE_FOLDER}/import_thunks.py ${folder}/imports.S ${folder}/imports.ld ${imports}
        DEPENDS ${OCELLUS_CE_FOLDER}/import_thunks.py ${OCELLUS_CE_FOLDER}/module_definition.py ${imports}
        VERBATIM)

    # Everything exported is a root of the linker's collection, and so is what the unwinder only refers to weakly.
    file(STRINGS ${DLL_EXPORTS} lines REGEX "@[0-9]+")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${DLL_EXPORTS})
    set(roots __cxa_begin_cleanup __cxa_type_match __cxa_call_unexpected)
    foreach(line IN LISTS lines)
        string(REGEX MATCH "[A-Za-z_][A-Za-z0-9_]*" root "${line}")
        list(APPEND roots ${root})
    endforeach()
    list(TRANSFORM roots PREPEND "-Wl,-u,")

    add_library(ce_${name}_objects OBJECT ${DLL_SOURCES} ${folder}/imports.S)
    target_link_libraries(ce_${name}_objects PRIVATE ${DLL_LINK})
    foreach(base IN ITEMS ${ceBase} ${ceOtherBase})
        set(image ce_${name}_${base})
        add_executable(${image} $<TARGET_OBJECTS:ce_${name}_objects> $<TARGET_OBJECTS:ce_runtime>)
        set_target_properties(${image} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder} OUTPUT_NAME ${base}.elf
                                                  LINKER_LANGUAGE CXX LINK_DEPENDS "${OCELLUS_CE_FOLDER}/image.ld;${folder}/imports.ld")
        target_link_libraries(${image} PRIVATE ${DLL_LINK})
        target_link_options(${image} PRIVATE -nostdlib -nostartfiles -march=armv4t -marm -mfloat-abi=soft
                            -Wl,-T,${OCELLUS_CE_FOLDER}/image.ld -L${folder} -Wl,--defsym,imageBase=${base}
                            -Wl,-z,muldefs -Wl,--gc-sections -Wl,--emit-relocs -Wl,--no-wchar-size-warning
                            -Wl,--no-enum-size-warning -Wl,--no-warn-mismatch -Wl,--target2=rel ${roots})
        list(APPEND images ${folder}/${base}.elf)
        list(APPEND imageTargets ${image})
    endforeach()

    set(output ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
    list(TRANSFORM imports PREPEND "--imports=" OUTPUT_VARIABLE importArguments)
    file(GLOB converter ${OCELLUS_CE_FOLDER}/*.py)
    add_custom_command(
        OUTPUT ${output}.dll
        BYPRODUCTS ${output}.sym
        COMMAND Python3::Interpreter ${OCELLUS_CE_FOLDER}/elf2ce.py --output ${output}.dll --symbols ${output}.sym
                --exports ${DLL_EXPORTS} ${importArguments} ${images}
        DEPENDS ${imageTargets} ${images} ${converter} ${DLL_EXPORTS} ${imports}
        COMMENT "Converting ${name}.dll"
        VERBATIM)
    add_custom_target(${name} ALL DEPENDS ${output}.dll)
endfunction()
