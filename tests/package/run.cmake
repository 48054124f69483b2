# Script: packs the library, unpacks the packages into a fresh folder, builds programs against that alone, as its users
# would, and runs them.
#   BUILD  the project's build tree    WORK  the folder to work in, emptied first    TOOLCHAIN  file, may be empty
#   CC, CXX  the compilers    MACHINE  the processor they compile for
#   OBJECT  the extension of objects    SUFFIX  of programs    EMULATOR  runs them, may be empty    SOURCES  the library's
cmake_minimum_required(VERSION 3.25)
set(here ${CMAKE_CURRENT_LIST_DIR})
file(REMOVE_RECURSE ${WORK} ${BUILD}/packages ${BUILD}/_CPack_Packages)
file(MAKE_DIRECTORY ${WORK})

function(run)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The programs stand beside the DLLs, as Windows wants it. The search path of Linux programs is in the program.
function(build folder source target)
    run(${CMAKE_COMMAND} -G Ninja -S ${source} -B ${folder} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
        -D OrvComTypes_DIR=${prefix}/lib/cmake/OrvComTypes -D CMAKE_RUNTIME_OUTPUT_DIRECTORY=${prefix}/bin ${ARGN})
    run(${CMAKE_COMMAND} --build ${folder} --target ${target})
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
    run(${as_root} unshare --mount ${here}/install.sh ${WORK} ${packages})
endif()

# By CMake.
build(by-cmake ${here} consumer)
run(${EMULATOR} ${prefix}/bin/consumer${SUFFIX})
if(NOT TOOLCHAIN)
    build(by-cmake-with-clang ${here} consumer -D CMAKE_CXX_COMPILER=clang++)
    run(${prefix}/bin/consumer)
endif()
# As a part of the program's own project: to build the library once more takes long and says nothing new, so that the
# compiler finds all it needs is enough. (scripts/package.sh --check builds and runs it.)
build(by-sources ${here} CMakeFiles/consumer.dir/main.cpp${OBJECT} -D SOURCES=${SOURCES})

# By pkg-config.
set(ENV{PKG_CONFIG_LIBDIR} ${prefix}/lib/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs orvcomtypes
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
if(TOOLCHAIN)
    set(compiler ${CXX})
else()
    set(compiler clang++) # install.sh has the other
    list(APPEND flags -Wl,-rpath,${prefix}/lib)
endif()
run(${compiler} -std=c++20 ${here}/main.cpp ${flags} -o ${prefix}/bin/by-pkg-config${SUFFIX})
run(${EMULATOR} ${prefix}/bin/by-pkg-config${SUFFIX})

# From C, and on Windows from the compiler and linker that others use, which share only the plain functions with ours.
run(${CC} -std=c11 -Wall -Wextra -Wpedantic -Werror ${here}/plain.c ${flags} -o ${prefix}/bin/plain${SUFFIX})
run(${EMULATOR} ${prefix}/bin/plain${SUFFIX})
if(TOOLCHAIN)
    # The system's headers are MinGW's, which take this compiler for gcc as long as it does not say that it is MSVC.
    set(system /usr/${MACHINE}-w64-mingw32)
    run(clang --target=${MACHINE}-pc-windows-msvc -fmsc-version=0 -fno-ms-compatibility -fdeclspec -D_X86_ -std=c11 -Wall
        -Wextra -Werror -isystem ${system}/include -I${prefix}/include -c ${here}/plain.c ${here}/start.c)
    run(lld-link /nologo /entry:Start /subsystem:console /safeseh:no /out:${prefix}/bin/others.exe plain.o start.o
        ${prefix}/lib/OrvComTypes.lib ${system}/lib/libkernel32.a)
    run(${EMULATOR} ${prefix}/bin/others.exe)
    # MinGW's linker takes that library too.
    run(${CC} ${here}/plain.c -I${prefix}/include ${prefix}/lib/OrvComTypes.lib -o ${prefix}/bin/plain.exe)
    run(${EMULATOR} ${prefix}/bin/plain.exe)
endif()

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

build(order ${here}/../../examples/languages order)
execute_process(COMMAND ${EMULATOR} ${prefix}/bin/order${SUFFIX} en hu-HU fr
    OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\r" "" text "${text}")
set(english "Order PX-7 has 12 lines.\nThere is not enough memory for this operation.\n")
set(hungarian "A(z) PX-7 rendelés 12 tételből áll.\nNincs elég memória ehhez a művelethez.\n")
if(NOT text STREQUAL "${english}${hungarian}${english}")
    message(FATAL_ERROR "order said: ${text}")
endif()
