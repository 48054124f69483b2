set(mingw_processor i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
# SSE2 arithmetic, so that doubles round as on x64; callers may come in with a 4-byte aligned stack.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
