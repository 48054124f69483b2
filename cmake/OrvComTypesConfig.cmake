include(${CMAKE_CURRENT_LIST_DIR}/OrvComTypesTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/OrvComTypesLanguages.cmake)
