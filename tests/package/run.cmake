# Script: installs the library into a fresh folder, builds the consumer against that alone and runs it.
#   BUILD  the project's build tree    WORK  the folder to work in, emptied first    TOOLCHAIN  file, may be empty
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
# The program stands beside the DLLs, as Windows wants it. The search path of Linux programs is in the program.
run(${CMAKE_COMMAND} -G Ninja -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/build -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -D OrvComTypes_DIR=${prefix}/lib/cmake/OrvComTypes -D CMAKE_RUNTIME_OUTPUT_DIRECTORY=${prefix}/bin)
run(${CMAKE_COMMAND} --build ${WORK}/build --target consumer)
run(${EMULATOR} ${prefix}/bin/consumer${SUFFIX})

if(NOT TOOLCHAIN)
    set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
    execute_process(COMMAND pkg-config --cflags --libs orvcomtypes
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    run(c++ -std=c++20 ${CMAKE_CURRENT_LIST_DIR}/main.cpp ${flags} -Wl,-rpath,${prefix}/lib -o ${WORK}/by-pkg-config)
    run(${WORK}/by-pkg-config)
endif()
