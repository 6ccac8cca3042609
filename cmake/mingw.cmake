# Common to both bitnesses; included by mingw-x86_64.cmake and mingw-i686.cmake.
# PLEXUM_THREADS is the thread model of the compiler's run-time library: "posix" has std::thread and
# std::mutex; "win32", for the control, brings nothing into its host that would support them.
set(PLEXUM_THREADS posix CACHE STRING "posix or win32")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PLEXUM_THREADS)
set(CMAKE_C_COMPILER ${PLEXUM_MINGW}-gcc-${PLEXUM_THREADS})
set(CMAKE_CXX_COMPILER ${PLEXUM_MINGW}-g++-${PLEXUM_THREADS})
set(CMAKE_RC_COMPILER ${PLEXUM_MINGW}-windres)
set(CMAKE_AR ${PLEXUM_MINGW}-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${PLEXUM_MINGW}-ranlib CACHE FILEPATH "")

# The headers offer what Windows 7 has: newer functions are to be looked up when run.
set(CMAKE_C_FLAGS_INIT "${PLEXUM_MINGW_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0601 -DWINVER=0x0601 ${PLEXUM_MINGW_FLAGS}")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/${PLEXUM_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../script/wine)
