# What the shared library exports. src/OrvComTypes.def lists the plain functions; classes and overloaded functions
# follow from ORV_API. Everything else stays inside.

# Sets OUT to the names listed in the module definition file DEF.
function(orv_read_exports out def)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${def})
    file(STRINGS ${def} lines REGEX "^[^;]")
    list(POP_FRONT lines first)
    if(NOT first STREQUAL "EXPORTS")
        message(FATAL_ERROR "${def}: the first line that is no comment must be EXPORTS")
    endif()
    foreach(line IN LISTS lines)
        if(NOT line MATCHES "^[A-Za-z_][A-Za-z0-9_]*$")
            message(FATAL_ERROR "${def}: one undecorated name a line, not '${line}'")
        endif()
    endforeach()
    set(${out} ${lines} PARENT_SCOPE)
endfunction()

# Makes TARGET export the names of DEF and what ORV_API marks, and where there is no Windows those of PORT_DEF.
function(orv_export target def port_def)
    if(NOT WIN32)
        orv_read_exports(names ${def})
        orv_read_exports(port_names ${port_def})
        orv_export_elf(${target} "${names};${port_names}")
        return()
    endif()
    target_sources(${target} PRIVATE ${def})
    if(MSVC)
        return()
    endif()
    # Without this a library that marks nothing would export everything.
    target_link_options(${target} PRIVATE -Wl,--exclude-all-symbols)
    orv_import_libraries(${target} ${def})
endfunction()

# Visibility alone would let the standard library's templates out. C++ names are let through by our naming: classes
# begin with C (but for ParamNumToStr), the namespace is OCT, overloaded plain functions stand in the global namespace.
function(orv_export_elf target names)
    set(patterns ${names} "_Z[0-9]*" "_ZN13ParamNumToStr*" "_ZT[ISV][0-9]C*" "_ZT[ISV][0-9][0-9]C*")
    foreach(entity "" "T[ISV]" "Z" "GV" "GVZ")  # functions, type information, static variables and their guards
        foreach(scope "N" "NK")
            list(APPEND patterns "_Z${entity}${scope}[0-9]C*" "_Z${entity}${scope}[0-9][0-9]C*" "_Z${entity}${scope}3OCT*")
        endforeach()
    endforeach()
    list(JOIN patterns ";\n    " patterns)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/OrvComTypes.map)
    # A program that was linked with one major version refuses the library of another by name and not by luck.
    file(CONFIGURE OUTPUT ${script} CONTENT "ORVCOMTYPES_${PROJECT_VERSION_MAJOR} {\nglobal:\n    @patterns@;\nlocal:\n    *;\n};\n" @ONLY)
    target_link_options(${target} PRIVATE -Wl,--version-script=${script})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()

# x86: the linker resolves a listed name to its stdcall or fastcall symbol and exports it bare. Its own import library
# would then know the bare symbols only, which no caller asks for; one with the decorated symbols takes its place.
# Everywhere another one serves MSVC's linker, with the plain functions alone.
function(orv_import_libraries target def)
    find_program(ORVCOMTYPES_LLVM_DLLTOOL llvm-dlltool)
    if(NOT ORVCOMTYPES_LLVM_DLLTOOL)
        message(STATUS "No llvm-dlltool, so no import library for MSVC")
    endif()
    set(exported ${CMAKE_CURRENT_BINARY_DIR}/exported.def)
    set(machine i386:x86-64)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        set(machine i386)
        target_link_options(${target} PRIVATE -Wl,--enable-stdcall-fixup -Wl,--output-def=${exported})
        set(mingw_library -D MINGW_LIBRARY=$<TARGET_LINKER_FILE:${target}>)
    endif()
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
        COMMAND ${CMAKE_COMMAND} -D DLL=$<TARGET_FILE:${target}> -D EXPORTED=${exported} -D LISTED=${def}
                -D NM=${CMAKE_NM} -D DLLTOOL=${CMAKE_DLLTOOL} -D LLVM_DLLTOOL=${ORVCOMTYPES_LLVM_DLLTOOL}
                -D MACHINE=${machine} ${mingw_library}
                -D MSVC_LIBRARY=${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/OrvComTypes.lib
                -P ${PROJECT_SOURCE_DIR}/cmake/MakeImportLibraries.cmake)
endfunction()
