# What cpack makes: Debian packages on Linux, zip files for Windows. Programs are stripped; what a debugger needs to know
# about them goes into a package of its own. Two builds give the same bytes when SOURCE_DATE_EPOCH is set.
set(CPACK_PACKAGE_VENDOR Orvanex)
set(CPACK_PACKAGE_CONTACT "Orvanex <lumatrek@orvanex.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "common types of the suite Lumatrek")
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL runtime development tools debug)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/SplitDebug.cmake)
set(CPACK_ORV_OBJCOPY ${CMAKE_OBJCOPY})
set(CPACK_ORV_READELF ${CMAKE_READELF})
# The debug package has nothing but what is split off the others.
install(CODE "" COMPONENT debug EXCLUDE_FROM_ALL)

if(WIN32)
    math(EXPR bits "${CMAKE_SIZEOF_VOID_P} * 8")
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME OrvComTypes-${PROJECT_VERSION}-win${bits})
    set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
    set(CPACK_COMPONENT_RUNTIME_GROUP library)
    set(CPACK_COMPONENT_DEVELOPMENT_GROUP library)
    set(CPACK_COMPONENT_TOOLS_GROUP library)
    set(CPACK_ARCHIVE_LIBRARY_FILE_NAME ${CPACK_PACKAGE_FILE_NAME})
    set(CPACK_ARCHIVE_DEBUG_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-debug)
    include(CPack)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
list(APPEND CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/FinishDebian.cmake)
set(CPACK_ORV_CHANGELOG ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
set(CPACK_ORV_COPYRIGHT ${PROJECT_SOURCE_DIR}/packaging/copyright)

# Describes the package NAME of COMPONENT.
macro(orv_debian_package component name section summary)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "common types of the suite Lumatrek - ${summary}
 Reference-counted UTF-16 strings, containers, times and zones, settings,
 logs with a writer thread, messages and errors, and a builder for SQL.")
    if(NOT ${component} STREQUAL runtime)
        set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS
            "liborvcomtypes${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
    endif()
endmacro()
orv_debian_package(runtime liborvcomtypes${PROJECT_VERSION_MAJOR} libs "library")
orv_debian_package(development liborvcomtypes-dev libdevel "development files")
orv_debian_package(tools orvcomtypes-tools utils "tools")
set(CPACK_DEBIAN_DEBUG_PACKAGE_SHLIBDEPS OFF)
orv_debian_package(debug liborvcomtypes${PROJECT_VERSION_MAJOR}-dbgsym debug "debug symbols")
# The linker's cache learns of the library, and forgets it.
file(WRITE ${PROJECT_BINARY_DIR}/packaging/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/packaging/triggers)
# A program's settings that the administrator may change.
file(WRITE ${PROJECT_BINARY_DIR}/packaging/conffiles "/etc/lnav/formats/orvcomtypes/orvcomtypes.json\n")
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/packaging/conffiles)
include(CPack)
