# Script: cpack runs it over the files of each package before it packs them. It does what Debian wants otherwise than an
# installation below one folder has it.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(epoch @$ENV{SOURCE_DATE_EPOCH})
else()
    set(epoch now)
endif()
execute_process(COMMAND date -uRd ${epoch} OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(tree ${CPACK_TEMPORARY_DIRECTORY}/${component})
    # Settings belong to the machine, not below /usr.
    if(EXISTS ${tree}/usr/etc)
        file(RENAME ${tree}/usr/etc ${tree}/etc)
    endif()
    file(GLOB pages ${tree}/usr/share/man/*/*)
    if(pages)
        execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
    endif()
    set(folder ${tree}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    file(COPY ${CPACK_ORV_COPYRIGHT} DESTINATION ${folder})
    execute_process(COMMAND gzip -9nc ${CPACK_ORV_CHANGELOG} OUTPUT_FILE ${folder}/changelog.gz
        COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE ${folder}/changelog.Debian
"orvcomtypes (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=low

  * What changed stands in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
    execute_process(COMMAND gzip -9n ${folder}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
endforeach()
