# Builds for Windows CE: the run-time support, and the functions with which a DLL or a program is linked twice and converted.

enable_language(ASM)
find_program(OCELLUS_WINDRES x86_64-w64-mingw32-windres REQUIRED)  # its .res files are the same for every machine
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(WIN32 TRUE)  # what asks for it wants the Windows sources; the platform itself is bare metal to CMake
set(OCELLUS_CE_FOLDER ${CMAKE_CURRENT_LIST_DIR})
set(OCELLUS_CE_RUNTIME ${CMAKE_CURRENT_LIST_DIR}/../runtime)
set(OCELLUS_CE_IMPORTS ${OCELLUS_CE_FOLDER}/imports/coredll.def ${OCELLUS_CE_FOLDER}/imports/ole32.def
                       ${OCELLUS_CE_FOLDER}/imports/oleaut32.def)
# The preferred base, and the one of the second link. They differ in every byte of an address but the lowest, whose bits are offsets within a page.
set(ceBase 0x10000000)
set(ceOtherBase 0x21430000)
# A program has the process's address space to itself, and stands where the system puts it.
set(ceProgramBase 0x00010000)

# Last on every link line, behind the third-party libraries that need them.
set(CMAKE_CXX_STANDARD_LIBRARIES "-lsupc++ -lgcc")

# ce_runtime(): what every image is linked with. The linker's collection leaves of it what is used.
function(ce_runtime)
    set(folder ${OCELLUS_CE_RUNTIME})
    add_library(ce_runtime OBJECT ${folder}/startup.cpp ${folder}/exceptions.cpp ${folder}/memory.cpp ${folder}/system.cpp
                                  ${folder}/atomics.cpp ${folder}/text.cpp ${folder}/clib.cpp ${folder}/identifiers.cpp ${folder}/setjmp.S)
    add_library(ce_dll_runtime OBJECT ${folder}/dll.cpp)
    # A library, so that of the ways to begin a program the linker takes those that the program leaves open.
    add_library(ce_program_runtime STATIC ${folder}/program.cpp ${folder}/main_wide.cpp ${folder}/main_narrow.cpp
                                          ${folder}/main_window.cpp)
    # Their functions are called by the compiler, and have the names and shapes that this gives them.
    foreach(library IN ITEMS ce_runtime ce_dll_runtime ce_program_runtime)
        target_compile_options(${library} PRIVATE -fno-builtin $<$<COMPILE_LANGUAGE:CXX>:-w>)
    endforeach()
endfunction()

# ocellus_ce_dll(NAME SOURCES files... EXPORTS file.def IMPORTS files.def... LINK libraries... DESCRIPTION text)
# bin/NAME.dll and, for those who watch it run, bin/NAME.sym. With a DESCRIPTION it has a version resource.
function(ocellus_ce_dll name)
    ce_image(${name} ${name}.dll DllMainCRTStartup ${ARGN})
endfunction()

# ocellus_ce_exe(NAME SOURCES files... IMPORTS files.def... LINK libraries... EXPORTS file.def DESCRIPTION text)
# bin/NAME.exe and bin/NAME.sym. The program begins with wWinMain, wmain, main or WinMain, whichever it has; in C++ wmain is extern "C". IMPORTS lists
# what it calls of DLLs other than the system's, such as src/ocellus.def.
function(ocellus_ce_exe name)
    ce_image(${name} ${name}.exe WinMainCRTStartup ${ARGN})
endfunction()

function(ce_image name file entry)
    cmake_parse_arguments(IMAGE "" "EXPORTS;DESCRIPTION" "SOURCES;IMPORTS;LINK" ${ARGN})
    if(NOT TARGET ce_runtime)
        ce_runtime()
    endif()
    set(folder ${CMAKE_BINARY_DIR}/ce/${name})
    set(imports ${OCELLUS_CE_IMPORTS} ${IMAGE_IMPORTS})
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(
        OUTPUT ${folder}/imports.S ${folder}/imports.ld
        COMMAND Python3::Interpreter ${OCELLUS_CE_FOLDER}/import_thunks.py ${folder}/imports.S ${folder}/imports.ld ${imports}
        DEPENDS ${OCELLUS_CE_FOLDER}/import_thunks.py ${OCELLUS_CE_FOLDER}/module_definition.py ${imports}
        VERBATIM)

    # Everything exported is a root of the linker's collection, and so is what the unwinder only refers to weakly.
    set(roots __cxa_begin_cleanup __cxa_type_match __cxa_call_unexpected)
    if(IMAGE_EXPORTS)
        file(STRINGS ${IMAGE_EXPORTS} lines REGEX "@[0-9]+")
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${IMAGE_EXPORTS})
        foreach(line IN LISTS lines)
            string(REGEX MATCH "[A-Za-z_][A-Za-z0-9_]*" root "${line}")
            list(APPEND roots ${root})
        endforeach()
        set(exports --exports ${IMAGE_EXPORTS})
    endif()
    list(TRANSFORM roots PREPEND "-Wl,-u,")
    if(entry STREQUAL DllMainCRTStartup)
        set(bases ${ceBase} ${ceOtherBase})
        set(runtime $<TARGET_OBJECTS:ce_dll_runtime>)
    else()
        set(bases ${ceProgramBase} ${ceOtherBase})
        set(programRuntime ce_program_runtime)
        set(kind --program)
    endif()

    add_library(ce_${name}_objects OBJECT ${IMAGE_SOURCES} ${folder}/imports.S)
    target_link_libraries(ce_${name}_objects PRIVATE ${IMAGE_LINK})
    foreach(base IN LISTS bases)
        set(image ce_${name}_${base})
        add_executable(${image} $<TARGET_OBJECTS:ce_${name}_objects> $<TARGET_OBJECTS:ce_runtime> ${runtime})
        set_target_properties(${image} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder} OUTPUT_NAME ${base}.elf
                                                  LINKER_LANGUAGE CXX LINK_DEPENDS "${OCELLUS_CE_FOLDER}/image.ld;${folder}/imports.ld")
        target_link_libraries(${image} PRIVATE ${IMAGE_LINK} ${programRuntime})
        target_link_options(${image} PRIVATE -nostdlib -nostartfiles -march=armv4t -marm -mfloat-abi=soft
                            -Wl,-T,${OCELLUS_CE_FOLDER}/image.ld -Wl,-e,${entry} -L${folder} -Wl,--defsym,imageBase=${base}
                            -Wl,-z,muldefs -Wl,--gc-sections -Wl,--emit-relocs -Wl,--no-wchar-size-warning
                            -Wl,--no-enum-size-warning -Wl,--no-warn-mismatch -Wl,--target2=rel ${roots})
        list(APPEND images ${folder}/${base}.elf)
        list(APPEND imageTargets ${image})
    endforeach()

    if(IMAGE_DESCRIPTION)
        ocellus_version_file(version ${name} ${file} ${IMAGE_DESCRIPTION})
        set(compiled ${folder}/version.res)
        add_custom_command(OUTPUT ${compiled} COMMAND ${OCELLUS_WINDRES} -O res ${version} ${compiled} DEPENDS ${version} VERBATIM)
        set(resources --resources ${compiled})
    endif()

    set(output ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${file})
    set(symbols ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}.sym)
    list(TRANSFORM imports PREPEND "--imports=" OUTPUT_VARIABLE importArguments)
    file(GLOB converter ${OCELLUS_CE_FOLDER}/*.py)
    add_custom_command(
        OUTPUT ${output}
        BYPRODUCTS ${symbols}
        COMMAND Python3::Interpreter ${OCELLUS_CE_FOLDER}/elf2ce.py ${kind} --output ${output} --symbols ${symbols} ${exports}
                ${importArguments} ${resources} ${images}
        DEPENDS ${imageTargets} ${images} ${converter} ${compiled} ${IMAGE_EXPORTS} ${imports}
        COMMENT "Converting ${file}"
        VERBATIM)
    add_custom_target(${name} ALL DEPENDS ${output})
endfunction()
