# For Debian's cross compiler of one architecture; included by the toolchain files, which set
# debian_architecture, triplet and emulator.
#
# The libraries of that architecture lie in a root of their own below build/, which scripts/sysroot.sh fills.
# The tests run by user-mode emulation, which finds the same root.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH CMAKE_SYSROOT)
string(APPEND CMAKE_SYSROOT /build/sysroot-${debian_architecture})
if(NOT IS_DIRECTORY ${CMAKE_SYSROOT}/usr/lib/${triplet})
    message(FATAL_ERROR "${CMAKE_SYSROOT} has no libraries yet: scripts/test-arm.sh sees to that")
endif()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${CMAKE_SYSROOT})
