# The 32-bit Windows build: MinGW-w64, everything but Windows' own DLLs linked in. Its programs run
# under Wine, through script/wine, also when CTest starts them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(PLEXUM_MINGW i686-w64-mingw32)
set(PLEXUM_MANIFEST_ARCHITECTURE x86)
# The x87 computes with the precision that the host has set, and some hosts align the stack to 4
# bytes: SSE gives the results of the 64-bit build, behind a stack that is aligned on entry.
# Functions stay in one piece: g++ 12 may move a catch into a section of seldom used code, where the
# unwinder of this system doesn't always find it.
set(PLEXUM_MINGW_FLAGS "-msse2 -mfpmath=sse -mstackrealign -fno-reorder-blocks-and-partition")
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
