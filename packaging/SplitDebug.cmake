# Script: cpack runs it over the installed files before it packs them. It moves what a debugger needs to know from each
# program and library to the tree of the component `debug`, and leaves the debugger's link to it.
#   Linux    usr/lib/debug/.build-id, found by the program's build id
#   Windows  bin/.debug/PROGRAM.debug, found beside the program
set(trees ${CPACK_TEMPORARY_DIRECTORY})
foreach(component runtime tools)
    file(GLOB_RECURSE files ${trees}/${component}/*.dll ${trees}/${component}/*.exe ${trees}/${component}/*.so.*
        ${trees}/${component}/usr/bin/*)
    foreach(file IN LISTS files)
        get_filename_component(name ${file} NAME)
        if(IS_SYMLINK ${file} OR name MATCHES "^lib(stdc|gcc|winpthread)")
            continue()
        endif()
        if(file MATCHES "\\.(dll|exe)$")
            cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${trees}/${component} OUTPUT_VARIABLE debug)
            cmake_path(GET debug PARENT_PATH folder)
            set(debug ${trees}/debug/${folder}/.debug/${name}.debug)
        else()
            execute_process(COMMAND ${CPACK_ORV_READELF} -n ${file} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
            if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
                message(FATAL_ERROR "${file} has no build id")
            endif()
            set(debug ${trees}/debug/usr/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug)
        endif()
        cmake_path(GET debug PARENT_PATH folder)
        file(MAKE_DIRECTORY ${folder})
        execute_process(COMMAND ${CPACK_ORV_OBJCOPY} --only-keep-debug --compress-debug-sections ${file} ${debug}
            COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND ${CPACK_ORV_OBJCOPY} --strip-unneeded --remove-section=.comment
            --add-gnu-debuglink=${debug} ${file} COMMAND_ERROR_IS_FATAL ANY)
        file(CHMOD ${debug} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endforeach()
endforeach()
