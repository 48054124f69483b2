# Script, part of an installation: writes what a debugger needs to know of each of the `programs` where it looks for that.
#   Linux    lib/debug/.build-id, found by the program's build id
#   Windows  bin/.debug/PROGRAM.debug, found beside the program
foreach(program IN LISTS programs)
    get_filename_component(name ${program} NAME)
    set(debug bin/.debug/${name}.debug)
    if(NOT name MATCHES "\\.(dll|exe)$")
        execute_process(COMMAND ${readelf} -n ${program} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
        if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
            message(FATAL_ERROR "${program} has no build id")
        endif()
        set(debug lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug)
    endif()
    set(debug $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${debug})
    cmake_path(GET debug PARENT_PATH folder)
    file(MAKE_DIRECTORY ${folder})
    execute_process(COMMAND ${objcopy} --only-keep-debug --compress-debug-sections ${program} ${debug}
        COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD ${debug} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
