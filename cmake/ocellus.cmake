# Compile options, and the two functions with which the modules and the tests are declared.

set(OCELLUS_DEPS ${PROJECT_SOURCE_DIR}/build/deps CACHE PATH "Where scripts/setup.sh puts third-party libraries")

add_compile_options(-Wall -Wextra -Wshadow)
if(NOT WIN32)  # COM interfaces have no virtual destructor
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
endif()
if(OCELLUS_CE)
    # The compiler calls an option deprecated that the record layout needs, in a warning that has no name and would be an error with -Werror; all that
    # have one are made errors by it: those asked for, and those that are on by themselves.
    foreach(name IN ITEMS all extra shadow attributes builtin-declaration-mismatch cpp deprecated deprecated-declarations div-by-zero endif-labels
                          free-nonheap-object ignored-attributes int-to-pointer-cast overflow pragmas return-local-addr shift-count-negative
                          shift-count-overflow stringop-overread switch-unreachable unused-result varargs)
        add_compile_options(-Werror=${name})
    endforeach()
    foreach(name IN ITEMS conversion-null delete-incomplete narrowing terminate virtual-move-assign)
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Werror=${name}>)
    endforeach()
    add_compile_options(-Wno-non-virtual-dtor)
    include(${PROJECT_SOURCE_DIR}/ce/toolchain/ce.cmake)
else()
    add_compile_options(-Werror)
endif()
if(WIN32 AND NOT OCELLUS_CE)
    add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX NO_DSHOW_STRSAFE WINVER=0x0601
                            _WIN32_WINNT=0x0601)
    add_compile_options(-gdwarf-4 -Wno-unknown-pragmas)
    if(OCELLUS_CHECK_THREADS)
        add_compile_definitions(OCELLUS_CHECK_THREADS)
    endif()
    # GCC keeps the Win64 stack aligned to 16 bytes only: spills of wider vectors must be unaligned moves.
    add_compile_options(-Wa,-muse-unaligned-vector-move)
    # The same sources give the same bytes: no time of linking in the headers.
    add_link_options(-static -Wl,--no-insert-timestamp)
endif()
if(OCELLUS_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

# Third-party libraries cross-built by scripts/setup.sh: include/ and lib/ below the target's folder.
if(OCELLUS_CE)
    set(OCELLUS_THIRD_PARTY ${OCELLUS_DEPS}/ce)
elseif(WIN32 AND CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    set(OCELLUS_THIRD_PARTY ${OCELLUS_DEPS}/host)
elseif(WIN32)
    set(OCELLUS_THIRD_PARTY ${OCELLUS_DEPS}/host32)
endif()
# Header-only libraries (doctest, CLI11, nlohmann-json), staged alone: the build machine's own include folder would break a
# cross build.
set(OCELLUS_HEADERS ${OCELLUS_DEPS}/headers)

# ocellus_system_headers(TARGETS...)
# The desktop's system headers, compiled once for all who are named: most of a Windows file's time of compilation is theirs. Each file includes
# what it uses all the same; a build with CMAKE_DISABLE_PRECOMPILE_HEADERS shows it.
function(ocellus_system_headers)
    if(NOT WIN32 OR OCELLUS_CE)
        return()
    endif()
    if(NOT TARGET system_headers)
        file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/system_headers.cpp CONTENT "")
        add_library(system_headers OBJECT ${CMAKE_BINARY_DIR}/system_headers.cpp)
        target_precompile_headers(system_headers PRIVATE <windows.h> <objbase.h> <strmif.h> <uuids.h> <vfwmsgs.h> <atomic> <functional> <memory>
                                                         <optional> <string> <vector>)
    endif()
    foreach(target IN LISTS ARGN)
        target_precompile_headers(${target} REUSE_FROM system_headers)
        # GCC 12 sees copies beyond short strings' bounds where they come from headers that are precompiled; the other builds keep this warning.
        target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overread)
    endforeach()
endfunction()

# ocellus_runs_once(FILES...)
# Files that read JSON or the command line with other people's templates: optimising them took longer than optimising the library.
function(ocellus_runs_once)
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -O1 -g1)
endfunction()

# ocellus_module(NAME PURE files... WINDOWS files... NEEDS modules... LIBRARIES libs...)
# One folder below src/ as the static library ocellus_NAME. PURE files need no Windows and are in every build, WINDOWS files only in
# builds for Windows.
function(ocellus_module name)
    cmake_parse_arguments(MODULE "" "" "PURE;WINDOWS;NEEDS;LIBRARIES" ${ARGN})
    set(sources ${MODULE_PURE})
    if(WIN32)
        list(APPEND sources ${MODULE_WINDOWS})
    endif()
    if(sources)
        add_library(ocellus_${name} STATIC ${sources})
        set(scope PUBLIC)
    else()
        add_library(ocellus_${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_include_directories(ocellus_${name} ${scope} ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
    foreach(needed IN LISTS MODULE_NEEDS)
        target_link_libraries(ocellus_${name} ${scope} ocellus_${needed})
    endforeach()
    if(OCELLUS_CE)
        # The system's own functions come through the import lists; what is left are third-party files and other modules.
        list(FILTER MODULE_LIBRARIES INCLUDE REGEX "/|^ocellus_")
    endif()
    if(WIN32)
        target_link_libraries(ocellus_${name} ${scope} ${MODULE_LIBRARIES})
    endif()
    if(MODULE_WINDOWS)
        ocellus_system_headers(ocellus_${name})
        set_source_files_properties(${MODULE_PURE} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
endfunction()

# ocellus_vector_kernels(OUT SSE2 files... AVX2 files...)
# Sets OUT to the files, each compiled for its instruction set, or to nothing where processors have none of them. Which kernels run is decided on the
# machine; see src/base/processor.h.
function(ocellus_vector_kernels out)
    cmake_parse_arguments(KERNELS "" "" "SSE2;AVX2" ${ARGN})
    set(${out} "" PARENT_SCOPE)
    if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
        return()
    endif()
    set(files ${KERNELS_SSE2} ${KERNELS_AVX2})
    set_source_files_properties(${KERNELS_SSE2} PROPERTIES COMPILE_OPTIONS -msse2)
    set_source_files_properties(${KERNELS_AVX2} PROPERTIES COMPILE_OPTIONS -mavx2)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "i[3-6]86")
        # Callers on 32-bit Windows align the stack to 4 bytes only.
        set_property(SOURCE ${files} APPEND PROPERTY COMPILE_OPTIONS -mstackrealign)
    endif()
    set(${out} ${files} PARENT_SCOPE)
endfunction()

# ocellus_version_file(OUT TARGET FILE DESCRIPTION)
# Sets OUT to the resource source that says of a program or DLL, which is to be called FILE, what it is and of which version.
function(ocellus_version_file out target file description)
    string(REPLACE "." "," versionNumbers ${PROJECT_VERSION})
    set(versionType VFT_APP)
    if(file MATCHES "dll$")
        set(versionType VFT_DLL)
    endif()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}-version.rc @ONLY)
    set(${out} ${CMAKE_CURRENT_BINARY_DIR}/${target}-version.rc PARENT_SCOPE)
endfunction()

# ocellus_version(TARGET DESCRIPTION)
# Gives a program or DLL for the desktop its version resource. Those for Windows CE have it from DESCRIPTION in ocellus_ce_dll and ocellus_ce_exe.
function(ocellus_version target description)
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    get_target_property(type ${target} TYPE)
    if(type STREQUAL EXECUTABLE)
        set(suffix exe)
    else()
        set(suffix dll)
    endif()
    ocellus_version_file(source ${target} ${name}.${suffix} ${description})
    target_sources(${target} PRIVATE ${source})
endfunction()

# ocellus_undecorated_exports(TARGET DEF)
# Lets a DLL export its WINAPI functions under their plain names, which on 32-bit x86 differ from those that callers ask the import library for.
function(ocellus_undecorated_exports target def)
    target_link_options(${target} PRIVATE -Wl,--enable-stdcall-fixup)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${PROJECT_SOURCE_DIR}/cmake/import_library.sh ${CMAKE_NM} $<TARGET_FILE:${target}> ${def}
                    $<TARGET_LINKER_FILE:${target}> ${CMAKE_DLLTOOL})
    endif()
endfunction()

# Tests of all builds run in one ctest, where fixtures and their order go by name; so each bears its build's: host.tiff_test.
get_filename_component(buildName ${CMAKE_BINARY_DIR} NAME)
set(testPrefix ${buildName}.)

# ocellus_test(NAME files... MODULES modules... LIBRARIES libs... [LABELS labels...])
# A doctest program, run natively or by scripts/host.sh. It counts as passed only when doctest's closing line is seen.
function(ocellus_test name)
    cmake_parse_arguments(TEST "" "" "MODULES;LIBRARIES;LABELS" ${ARGN})
    if(NOT TARGET ocellus_test_main)
        add_library(ocellus_test_main OBJECT ${PROJECT_SOURCE_DIR}/tests/main.cpp)
        target_include_directories(ocellus_test_main SYSTEM PUBLIC ${OCELLUS_HEADERS})
        # Asserts that compile several times faster; an exception in one ends its test case all the same.
        target_compile_definitions(ocellus_test_main PUBLIC DOCTEST_CONFIG_SUPER_FAST_ASSERTS)
    endif()
    add_executable(${name} ${TEST_UNPARSED_ARGUMENTS})
    # Tables of what applications can see are shared with the conformance program: "camverify/tables/...".
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/tools)
    target_link_libraries(${name} PRIVATE ocellus_test_main)
    foreach(module IN LISTS TEST_MODULES)
        target_link_libraries(${name} PRIVATE ocellus_${module})
    endforeach()
    target_link_libraries(${name} PRIVATE ${TEST_LIBRARIES})
    ocellus_system_headers(${name})
    add_test(NAME ${testPrefix}${name} COMMAND ${name})
    set_tests_properties(${testPrefix}${name} PROPERTIES PASS_REGULAR_EXPRESSION "Status: SUCCESS!" SKIP_RETURN_CODE 77 TIMEOUT 900
                                            LABELS "${TEST_LABELS}")
endfunction()
