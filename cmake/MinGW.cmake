# For Windows, by Debian's MinGW-w64 with POSIX threads: std::thread, std::mutex and std::future.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Windows aligns the stack to 16 bytes, and g++ believes that what it puts there for AVX stands at 32: it crashes
# where it moves such a vector by an instruction that insists.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
set(CMAKE_C_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")

# No times in what is linked, so that two builds of the same are equal.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,--no-insert-timestamp")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--no-insert-timestamp")

# So that tests run here.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/windows/by-wine")

# Where scripts/windows-libraries installs what Debian has not for Windows.
set(KORVA_WINDOWS_LIBRARIES "${CMAKE_CURRENT_LIST_DIR}/../build/windows-libraries/usr" CACHE PATH
  "The libraries for Windows")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORVA_WINDOWS_LIBRARIES)
set(CMAKE_FIND_ROOT_PATH "${KORVA_WINDOWS_LIBRARIES}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
