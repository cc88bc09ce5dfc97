# Windows CE 5 on ARM: the bare-metal ARM compiler, the desktop's header files, and a converter to the system's file format (ce.cmake).
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_C_COMPILER arm-none-eabi-gcc)
set(CMAKE_CXX_COMPILER arm-none-eabi-g++)
set(CMAKE_ASM_COMPILER arm-none-eabi-gcc)

set(ceFolder ${CMAKE_CURRENT_LIST_DIR})
execute_process(COMMAND i686-w64-mingw32-g++-posix -print-file-name=include OUTPUT_VARIABLE mingwInclude
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND arm-none-eabi-gcc -print-file-name=include OUTPUT_VARIABLE armInclude
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
# The Windows headers are shared by all mingw compilers; this is where the compiler itself finds them.
get_filename_component(windowsInclude ${mingwInclude}/../../../../../i686-w64-mingw32/include REALPATH)
if(NOT EXISTS ${windowsInclude}/windows.h)
    message(FATAL_ERROR "windows.h of mingw-w64 was not found at ${windowsInclude}; run scripts/setup.sh ce")
endif()

# The calling convention, the record layout and the instruction set of the system. -mstructure-size-boundary is called deprecated by the compiler, but
# without it small records grow to whole words.
string(CONCAT ceFlags
       "-march=armv4t -mtune=xscale -marm -mabi=apcs-gnu -mthumb-interwork -mfloat-abi=soft -fshort-wchar -fsigned-char "
       "-mstructure-size-boundary=8 -Wa,-meabi=5 -ffunction-sections -fdata-sections -fno-common -fomit-frame-pointer "
       "-nostdinc -include ${ceFolder}/include/ocellus_ce_prefix.h -isystem ${ceFolder}/include ")
set(ceSystemFlags "-isystem ${windowsInclude} -isystem ${armInclude}")
set(CMAKE_C_FLAGS_INIT "${ceFlags} ${ceSystemFlags}")
string(CONCAT CMAKE_CXX_FLAGS_INIT
       "${ceFlags} -fno-rtti -fno-threadsafe-statics -fno-use-cxa-atexit -faligned-new=8 -D_GLIBCXX_EXTERN_TEMPLATE=0 "
       "-nostdinc++ -isystem ${mingwInclude}/c++ -isystem ${mingwInclude}/c++/i686-w64-mingw32 "
       "-isystem ${mingwInclude}/c++/backward ${ceSystemFlags}")
set(CMAKE_ASM_FLAGS_INIT "-march=armv4t -marm -mfloat-abi=soft -Wa,-meabi=5")
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG" CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG" CACHE STRING "")
set(CMAKE_FIND_ROOT_PATH ${ceFolder})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
