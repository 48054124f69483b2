# Script: makes the import libraries of a DLL whose plain functions are exported by undecorated name.
#   MSVC_LIBRARY    for programs that can use the plain functions alone: MSVC, or any compiler with its linker
#   MINGW_LIBRARY   x86 only: offers callers the decorated symbols (Name@8, @Name@8) and imports the bare ones
#   MACHINE         what llvm-dlltool calls the DLL's
#   LISTED          the definition file of the plain functions
#   EXPORTED        what the DLL exports, as the linker wrote it
cmake_minimum_required(VERSION 3.25)

get_filename_component(name ${DLL} NAME)
if(MINGW_LIBRARY)
    execute_process(COMMAND ${NM} ${DLL} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL " T (_|@)[A-Za-z0-9_]+@[0-9]+\n" symbols "${symbols}")
    foreach(symbol IN LISTS symbols)
        string(REGEX MATCH " T (_|@)([A-Za-z0-9_]+)(@[0-9]+)" _ ${symbol})
        set(prefix ${CMAKE_MATCH_1})
        if(prefix STREQUAL "_")  # of every C symbol; definition files leave it out
            set(prefix "")
        endif()
        set(decorated_${CMAKE_MATCH_2} ${prefix}${CMAKE_MATCH_2}${CMAKE_MATCH_3})
    endforeach()

    file(STRINGS ${EXPORTED} lines REGEX "@[0-9]+")
    set(definition "EXPORTS\n")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "^ +([^ ]+) @[0-9]+" "\\1" line ${line})
        if(DEFINED decorated_${line})
            string(APPEND definition "${decorated_${line}} == ${line}\n")
        else()
            string(APPEND definition "${line}\n")
        endif()
    endforeach()
    file(WRITE ${EXPORTED}.import "${definition}")
    file(REMOVE ${MINGW_LIBRARY})
    # The library's members are named after its path as it is given here.
    cmake_path(GET MINGW_LIBRARY PARENT_PATH folder)
    cmake_path(GET MINGW_LIBRARY FILENAME library)
    execute_process(COMMAND ${DLLTOOL} --dllname ${name} --input-def ${EXPORTED}.import --output-lib ${library}
        WORKING_DIRECTORY ${folder} COMMAND_ERROR_IS_FATAL ANY)
endif()

if(LLVM_DLLTOOL)
    file(STRINGS ${LISTED} lines REGEX "^[A-Za-z_]")
    list(POP_FRONT lines)
    set(definition "EXPORTS\n")
    foreach(line IN LISTS lines)
        if(DEFINED decorated_${line})
            set(line ${decorated_${line}})
        endif()
        string(APPEND definition "${line}\n")
    endforeach()
    file(WRITE ${MSVC_LIBRARY}.def "${definition}")
    execute_process(COMMAND ${LLVM_DLLTOOL} -m ${MACHINE} -k -D ${name} -d ${MSVC_LIBRARY}.def -l ${MSVC_LIBRARY}
        COMMAND_ERROR_IS_FATAL ANY)
endif()
