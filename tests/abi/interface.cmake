# Script: compares the interface of the built library with the one that programs of this major version were built
# against, which stands in FOLDER (functions, types by layout; of types only those that the public headers define).
# What is added since breaks nobody. A break needs a new major version, which then gets a record of its own.
#   LIBRARY  with debug information    INCLUDE  the public headers    FOLDER  of the records    WORK  a folder of ours
#   RENEW    if true, the record is written anew instead    COMPILER  of C++
cmake_minimum_required(VERSION 3.25)
file(STRINGS ${INCLUDE}/orvcomtypes/orvversion.h line REGEX "^#define ORVCOMTYPES_VERSION_MAJOR ")
string(REGEX MATCH "[0-9]+$" major "${line}")
set(record ${FOLDER}/interface-${major}.abi)
file(MAKE_DIRECTORY ${WORK})

if(RENEW)
    # Neither machine nor lines of sources are in it: the same interface is the same record.
    execute_process(COMMAND abidw --exported-interfaces-only --drop-undefined-syms --no-corpus-path --no-comp-dir-path
        --no-elf-needed --no-parameter-names --no-write-default-sizes --short-locs --out-file ${record} ${LIBRARY}
        COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND gzip -9nf ${record} COMMAND_ERROR_IS_FATAL ANY)
    return()
endif()

if(NOT EXISTS ${record}.gz)
    message(FATAL_ERROR "version ${major} has no record of its interface; see CONTRIBUTING.md")
endif()
set(recorded ${WORK}/recorded.abi)
execute_process(COMMAND gzip -dc ${record}.gz OUTPUT_FILE ${recorded} COMMAND_ERROR_IS_FATAL ANY)

# Sets OUT to what abidiff makes of OLDER and NEWER: 0, or bits that say what differs or failed.
function(compare older newer out)
    execute_process(COMMAND abidiff --exported-interfaces-only --no-added-syms --no-show-locs --headers-dir1 ${INCLUDE}
        --headers-dir2 ${INCLUDE} ${older} ${newer} OUTPUT_VARIABLE text ERROR_VARIABLE text RESULT_VARIABLE result)
    set(${out} ${result} PARENT_SCOPE)
    set(text "${text}" PARENT_SCOPE)
endfunction()

compare(${recorded} ${LIBRARY} result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "programs built against version ${major} break (${result}); see CONTRIBUTING.md\n${text}")
endif()

# It does see a break: a function gone, a class grown, a library of another name.
file(READ ${recorded} interface)
foreach(edit "name='IsFinalRelease'/name='IsTheFinalRelease'/12"
        "name='COrvTime' size-in-bits='32'/name='COrvTime' size-in-bits='64'/4"
        "soname='libOrvComTypes.so.${major}'/soname='libOrvComTypes.so.0'/12")
    string(REGEX MATCH "^([^/]+)/([^/]+)/(.+)$" _ "${edit}")
    string(REPLACE "${CMAKE_MATCH_1}" "${CMAKE_MATCH_2}" edited "${interface}")
    set(expected ${CMAKE_MATCH_3})
    file(WRITE ${WORK}/edited.abi "${edited}")
    compare(${WORK}/edited.abi ${recorded} result)
    if(NOT result EQUAL expected)
        message(FATAL_ERROR "not seen (${result}): ${edit}\n${text}")
    endif()
endforeach()

# A unique symbol, as a static member of an exported template makes one, would pin the library: it could never be
# unloaded.
function(find_unique library out)
    execute_process(COMMAND readelf --wide --dyn-syms ${library} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL " UNIQUE [^\n]*" found "${symbols}")
    set(${out} "${found}" PARENT_SCOPE)
endfunction()

find_unique(${LIBRARY} unique)
if(unique)
    message(FATAL_ERROR "symbols that pin the library: ${unique}")
endif()
file(WRITE ${WORK}/pinned.cpp "template <class T> struct S { static int n; };\ntemplate <class T> int S<T>::n = 1;\n"
    "int* Use() { return &S<int>::n; }\n")
execute_process(COMMAND ${COMPILER} -shared -fPIC -o ${WORK}/pinned.so ${WORK}/pinned.cpp COMMAND_ERROR_IS_FATAL ANY)
find_unique(${WORK}/pinned.so unique)
if(NOT unique)
    message(FATAL_ERROR "a unique symbol is not seen")
endif()
