# What the library and its tests use of the platform: the system's own libraries on Windows, elsewhere the port with
# what it is built on.
#   orvcomtypes_platform  headers and system libraries
#   ORV_PORT_OBJECTS      the port's objects, on Windows the few that have no Win32 name
#   ORV_PORT_SEAM         folders of the headers for what has no Win32 name: those of both sides and this side's own
add_library(orvcomtypes_platform INTERFACE)
set(ORV_PORT_OBJECTS $<TARGET_OBJECTS:orvport>)
set(ORV_PORT_SEAM ${PROJECT_SOURCE_DIR}/port/both)
if(WIN32)
    list(APPEND ORV_PORT_SEAM ${PROJECT_SOURCE_DIR}/port/windows/inline)
    target_link_libraries(orvcomtypes_platform INTERFACE ole32 oleaut32 shell32 shlwapi advapi32 user32 uuid)
else()
    list(APPEND ORV_PORT_SEAM ${PROJECT_SOURCE_DIR}/port/src/inline)
    find_package(ICU 72 REQUIRED COMPONENTS uc i18n data)
    find_package(Threads REQUIRED)
    target_include_directories(orvcomtypes_platform INTERFACE ${PROJECT_SOURCE_DIR}/port/include)
    target_link_libraries(orvcomtypes_platform INTERFACE ICU::i18n ICU::uc ICU::data Threads::Threads ${CMAKE_DL_LIBS})
endif()
