# Script: packs the library, unpacks the packages into a fresh folder, builds the consumer and the example of languages
# against that alone and runs them.
#   BUILD  the project's build tree    WORK  the folder to work in, emptied first    TOOLCHAIN  file, may be empty
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK} ${BUILD}/packages ${BUILD}/_CPack_Packages)
file(MAKE_DIRECTORY ${WORK})

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The programs stand beside the DLLs, as Windows wants it. The search path of Linux programs is in the program.
function(build source target)
    run(${CMAKE_COMMAND} -G Ninja -S ${source} -B ${WORK}/${target} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
        -D OrvComTypes_DIR=${prefix}/lib/cmake/OrvComTypes -D CMAKE_RUNTIME_OUTPUT_DIRECTORY=${prefix}/bin)
    run(${CMAKE_COMMAND} --build ${WORK}/${target} --target ${target})
endfunction()

execute_process(COMMAND ${CMAKE_CPACK_COMMAND} --config ${BUILD}/CPackConfig.cmake WORKING_DIRECTORY ${BUILD}
    COMMAND_ERROR_IS_FATAL ANY)
if(TOOLCHAIN)
    set(prefix ${WORK}/unpacked)
    file(GLOB packages ${BUILD}/packages/*.zip)
    list(LENGTH packages count)
    if(NOT count EQUAL 2)
        message(FATAL_ERROR "not two zip files: ${packages}")
    endif()
    foreach(package IN LISTS packages)
        file(ARCHIVE_EXTRACT INPUT ${package} DESTINATION ${prefix})
    endforeach()
else()
    set(prefix ${WORK}/unpacked/usr)
    file(GLOB packages ${BUILD}/packages/*.deb)
    foreach(package IN LISTS packages)
        run(dpkg-deb -x ${package} ${WORK}/unpacked)
    endforeach()
    run(lintian --no-cfg --fail-on error --allow-root ${packages})
    # To install is the right of root; a developer's machine asks sudo, as the set-up does.
    execute_process(COMMAND id -u OUTPUT_VARIABLE user OUTPUT_STRIP_TRAILING_WHITESPACE)
    set(as_root sudo -n)
    if(user EQUAL 0)
        set(as_root)
    endif()
    run(${as_root} unshare --mount ${CMAKE_CURRENT_LIST_DIR}/install.sh ${WORK} ${packages})
endif()

build(${CMAKE_CURRENT_LIST_DIR} consumer)
execute_process(COMMAND ${EMULATOR} ${prefix}/bin/consumer${SUFFIX} WORKING_DIRECTORY ${WORK} COMMAND_ERROR_IS_FATAL ANY)
# The installed tool finds what it needs, and leaves no report behind.
file(MAKE_DIRECTORY ${WORK}/reports)
foreach(word --version check)
    run(${CMAKE_COMMAND} -E env ALLUSERSPROFILE=${WORK}/reports TEMP=${WORK}/reports
        ORVCOMTYPES_USER_HIVE=${WORK}/user.reg ORVCOMTYPES_MACHINE_HIVE=${WORK}/machine.reg
        ${EMULATOR} ${prefix}/bin/orvsettings${SUFFIX} ${word})
endforeach()
file(GLOB_RECURSE reports ${WORK}/reports/*)
if(reports)
    message(FATAL_ERROR "the tool reported: ${reports}")
endif()

build(${CMAKE_CURRENT_LIST_DIR}/../../examples/languages order)
execute_process(COMMAND ${EMULATOR} ${prefix}/bin/order${SUFFIX} en hu-HU fr
    OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\r" "" text "${text}")
set(english "Order PX-7 has 12 lines.\nThere is not enough memory for this operation.\n")
set(hungarian "A(z) PX-7 rendelés 12 tételből áll.\nNincs elég memória ehhez a művelethez.\n")
if(NOT text STREQUAL "${english}${hungarian}${english}")
    message(FATAL_ERROR "order said: ${text}")
endif()

if(NOT TOOLCHAIN)
    set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
    execute_process(COMMAND pkg-config --cflags --libs orvcomtypes
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    run(clang++ -std=c++20 ${CMAKE_CURRENT_LIST_DIR}/main.cpp ${flags} -Wl,-rpath,${prefix}/lib -o ${WORK}/by-pkg-config)
    execute_process(COMMAND ${WORK}/by-pkg-config WORKING_DIRECTORY ${WORK} COMMAND_ERROR_IS_FATAL ANY)
endif()
