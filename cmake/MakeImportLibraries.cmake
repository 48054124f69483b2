# Script: makes the import library of an x86 DLL whose plain functions are exported by undecorated name, so that it
# offers callers the decorated symbols (Name@8, @Name@8) and imports the bare ones.
#   EXPORTED  what the DLL exports, as the linker wrote it
cmake_minimum_required(VERSION 3.25)

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
get_filename_component(name ${DLL} NAME)
file(WRITE ${EXPORTED}.import "${definition}")
file(REMOVE ${IMPORT_LIBRARY})
execute_process(COMMAND ${DLLTOOL} --dllname ${name} --input-def ${EXPORTED}.import --output-lib ${IMPORT_LIBRARY}
    COMMAND_ERROR_IS_FATAL ANY)
