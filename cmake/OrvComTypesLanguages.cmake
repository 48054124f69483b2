# Language libraries: string tables in one language, which the resource handler finds beside the module whose texts
# they are. On Windows a DLL without code, elsewhere the compiled script (.res).
#
#   orvcomtypes_add_language_library(<name> <language> <script.rc> VERSION <major>.<minor>[...]
#       [CODE_PAGE <number>]            of the script; default 65001, UTF-8
#       [OUTPUT_DIRECTORY <folder>]     default: where programs of this directory go
#       [INSTALL <folder>])             installs it there, below the prefix, in the default component
#
# makes the target <name>_<language>, which builds <name>.<language>.dll or <name>.<language>.res. Name and version are
# what the program gives CResourceHandler::SetOwner. The script may include orvcomtypes.<language>.rc, which holds the
# library's own messages. docs/languages.md goes through it.

if(WIN32)
    enable_language(RC)
endif()

# Ends the configuration where the script would be read wrongly without a word by the compilers: bytes that are no UTF-8
# become letters of 1252, and in L"…" even UTF-8 does.
function(orvcomtypes_check_script script code_page)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${script})
    foreach(byte 128 191 194 223 224 239 240 244 255)
        string(ASCII ${byte} b${byte})
    endforeach()
    set(next "[${b128}-${b191}]")
    file(READ ${script} text)
    if(text MATCHES "L\"[^\"\n]*[${b128}-${b255}]")
        message(FATAL_ERROR "${script}: letters beyond ASCII belong into \"…\", not into L\"…\"")
    endif()
    string(REGEX REPLACE
        "[${b194}-${b223}]${next}|[${b224}-${b239}]${next}${next}|[${b240}-${b244}]${next}${next}${next}" "" text "${text}")
    if(code_page EQUAL 65001 AND text MATCHES "[${b128}-${b255}]")
        message(FATAL_ERROR "${script}: this is no UTF-8; say which CODE_PAGE it is written in")
    endif()
endfunction()

function(orvcomtypes_add_language_library name language script)
    cmake_parse_arguments(PARSE_ARGV 3 arg "" "VERSION;CODE_PAGE;OUTPUT_DIRECTORY;INSTALL" "")
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_VERSION MATCHES "^([0-9]+)\\.([0-9]+)")
        message(FATAL_ERROR "orvcomtypes_add_language_library(${name} ${language}): wrong arguments, or no VERSION")
    endif()
    string(REGEX REPLACE "^([0-9]+)\\.([0-9]+).*" "\\1,\\2,0,0" version ${arg_VERSION})
    string(TOLOWER ${language} language)  # as the resource handler asks for it
    set(code_page 65001)
    if(arg_CODE_PAGE)
        set(code_page ${arg_CODE_PAGE})
    endif()
    set(folder ${CMAKE_CURRENT_BINARY_DIR})
    foreach(candidate "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}" "${arg_OUTPUT_DIRECTORY}")
        if(candidate)
            set(folder ${candidate})
        endif()
    endforeach()
    get_filename_component(script ${script} ABSOLUTE)
    orvcomtypes_check_script(${script} ${code_page})

    set(target ${name}_${language})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.${language}.rc)
    file(CONFIGURE OUTPUT ${source} @ONLY CONTENT [[
#pragma code_page(@code_page@)
1 VERSIONINFO FILEVERSION @version@ PRODUCTVERSION @version@
BEGIN
END
#include "@script@"
]])
    # The library's own messages stand beside this file where it is installed, beside its folder in the source tree.
    set(texts ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/resources)
    if(NOT EXISTS ${texts})
        set(texts ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../resources)
    endif()
    if(WIN32)
        set(file ${folder}/${name}.${language}.dll)
        orvcomtypes_link_language_library(${target} ${source} ${script} ${texts} ${folder} ${name}.${language})
    else()
        set(file ${folder}/${name}.${language}.res)
        orvcomtypes_compile_language_library(${target} ${source} ${script} ${texts} ${file})
    endif()
    if(arg_INSTALL)
        install(FILES ${file} DESTINATION ${arg_INSTALL})
    endif()
endfunction()

function(orvcomtypes_link_language_library target source script texts folder file_name)
    get_property(languages GLOBAL PROPERTY ENABLED_LANGUAGES)
    set(linker C)
    if(NOT C IN_LIST languages)
        set(linker CXX)
    endif()
    add_library(${target} MODULE ${source})
    set_source_files_properties(${source} PROPERTIES OBJECT_DEPENDS ${script})
    target_include_directories(${target} PRIVATE ${texts})
    set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${file_name} SUFFIX .dll
        LINKER_LANGUAGE ${linker} LIBRARY_OUTPUT_DIRECTORY ${folder})
    target_link_options(${target} PRIVATE
        $<IF:$<BOOL:${MSVC}>,/NOENTRY,-nostdlib;-nostartfiles;-Wl$<COMMA>-e$<COMMA>0>)
endfunction()

# The compiler of scripts comes with a compiler for Windows, which need not be there: ours preprocesses.
function(orvcomtypes_compile_language_library target source script texts file)
    find_program(ORV_WINDRES NAMES x86_64-w64-mingw32-windres i686-w64-mingw32-windres)
    if(NOT ORV_WINDRES)
        message(FATAL_ERROR "language libraries need windres (Debian: binutils-mingw-w64-x86-64)")
    endif()
    get_filename_component(folder ${file} DIRECTORY)
    add_custom_command(OUTPUT ${file} VERBATIM
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND ${ORV_WINDRES} --preprocessor=${CMAKE_CXX_COMPILER} --preprocessor-arg=-E --preprocessor-arg=-xc
            --preprocessor-arg=-DRC_INVOKED -I ${texts} -O res -i ${source} -o ${file}
        DEPENDS ${source} ${script})
    add_custom_target(${target} ALL DEPENDS ${file})
endfunction()
