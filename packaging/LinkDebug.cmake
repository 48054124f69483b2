# Script: cpack runs it over the installed Windows files before it packs them. It leaves in each stripped program the
# name and checksum of its debug file, which is how debuggers find that.
file(GLOB debug_files ${CPACK_TEMPORARY_DIRECTORY}/debug/bin/.debug/*.debug)
foreach(debug IN LISTS debug_files)
    get_filename_component(name ${debug} NAME_WLE)
    file(GLOB program ${CPACK_TEMPORARY_DIRECTORY}/*/bin/${name})
    execute_process(COMMAND ${CPACK_ORV_OBJCOPY} --add-gnu-debuglink=${debug} ${program} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
