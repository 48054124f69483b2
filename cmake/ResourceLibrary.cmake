# Adds the resource library NAME from the script SOURCE, beside the programs: on Windows a DLL without code, elsewhere
# the compiled script (.res), which the port maps. ORV_RESOURCE_SUFFIX is how its file name ends.
if(WIN32)
    enable_language(RC)
    set(ORV_RESOURCE_SUFFIX .dll)
else()
    find_program(ORV_WINDRES NAMES x86_64-w64-mingw32-windres i686-w64-mingw32-windres llvm-windres REQUIRED)
    set(ORV_RESOURCE_SUFFIX .res)
endif()

function(orv_add_resource_library name source)
    if(WIN32)
        add_library(${name} MODULE ${source})
        set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ${ORV_RESOURCE_SUFFIX} LINKER_LANGUAGE C
            LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
        target_link_options(${name} PRIVATE
            $<IF:$<BOOL:${MSVC}>,/NOENTRY,-nostdlib;-nostartfiles;-Wl$<COMMA>-e$<COMMA>0>)
    else()
        set(output ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}${ORV_RESOURCE_SUFFIX})
        add_custom_command(OUTPUT ${output}
            COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
            COMMAND ${ORV_WINDRES} -O res -i ${CMAKE_CURRENT_SOURCE_DIR}/${source} -o ${output}
            DEPENDS ${source} VERBATIM)
        add_custom_target(${name} ALL DEPENDS ${output})
    endif()
endfunction()
