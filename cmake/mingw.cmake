# What both mingw-w64 toolchains share; toolPrefix names the target.
set(CMAKE_C_COMPILER ${toolPrefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${toolPrefix}-g++-posix)
set(CMAKE_RC_COMPILER ${toolPrefix}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${toolPrefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
