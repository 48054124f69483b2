# Installs the library in three parts: what programs run with, what they are built with, and the tools. A CMake package
# (find_package(OrvComTypes)) and a pkg-config file find it.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OrvComTypes)
set(header_sets FILE_SET HEADERS COMPONENT development)
set(ORV_PC_CFLAGS "-I\${includedir}")
if(WIN32)
    install(FILES ${ORV_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    if(ORVCOMTYPES_LLVM_DLLTOOL)
        install(FILES ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/OrvComTypes.lib DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT development)
    endif()
else()
    # The headers name types and functions of windows.h, so the port's goes along, in a folder of its own.
    set(port_dir ${CMAKE_INSTALL_INCLUDEDIR}/orvcomtypes/port)
    list(APPEND header_sets FILE_SET port DESTINATION ${port_dir} COMPONENT development)
    string(APPEND ORV_PC_CFLAGS " -I\${includedir}/orvcomtypes/port")
endif()
install(TARGETS orvcomtypes EXPORT OrvComTypes
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    ${header_sets})
install(EXPORT OrvComTypes NAMESPACE OrvComTypes:: DESTINATION ${package_dir} FILE OrvComTypesTargets.cmake
    COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvComTypesConfigVersion.cmake COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH ORV_PC_UP /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)  # the package may be moved as a whole
configure_file(${CMAKE_CURRENT_LIST_DIR}/orvcomtypes.pc.in ${PROJECT_BINARY_DIR}/orvcomtypes.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/OrvComTypesConfigVersion.cmake ${CMAKE_CURRENT_LIST_DIR}/OrvComTypesConfig.cmake
    ${CMAKE_CURRENT_LIST_DIR}/OrvComTypesLanguages.cmake DESTINATION ${package_dir} COMPONENT development)
list(TRANSFORM ORV_LANGUAGES REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/resources/orvcomtypes.\\1.rc" OUTPUT_VARIABLE scripts)
install(FILES ${scripts} DESTINATION ${package_dir}/resources COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/orvcomtypes.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
# What shows the library's types in debuggers. GDB looks for it below its auto-load folder, at the library's own path (the
# prefix is known when that is installed), or beside the library.
if(WIN32)
    set(gdb_dir ${CMAKE_INSTALL_BINDIR})
else()
    set(gdb_dir ${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR})
endif()
install(FILES ${PROJECT_SOURCE_DIR}/resources/debuggers/orvcomtypes-gdb.py DESTINATION ${gdb_dir}
    RENAME $<TARGET_FILE_NAME:orvcomtypes>-gdb.py COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/resources/debuggers/orvcomtypes.natvis
    DESTINATION ${CMAKE_INSTALL_DATADIR}/orvcomtypes COMPONENT development)
if(NOT WIN32)
    # Where the log viewer lnav looks for the formats of programs.
    install(FILES ${PROJECT_SOURCE_DIR}/resources/lnav/orvcomtypes.json
        DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/lnav/formats/orvcomtypes COMPONENT tools)
endif()
