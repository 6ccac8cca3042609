# The 64-bit Windows build: MinGW-w64, everything but Windows' own DLLs linked in. Its programs run
# under Wine, through script/wine, also when CTest starts them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(PLEXUM_MINGW x86_64-w64-mingw32)
set(PLEXUM_MANIFEST_ARCHITECTURE amd64)
set(PLEXUM_MINGW_FLAGS "")
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
