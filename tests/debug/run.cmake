# Script: GDB shows the fixtures as expected.txt has them: the stripped program with the stripped library that is
# installed, debug files apart, and the printers found by GDB itself; its core file; and the files as they were built.
#   BUILD  the project's build tree    WORK  the folder to work in, emptied first    PROGRAM, OBJCOPY, GDB  files
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/stripped)
file(REAL_PATH ${WORK} WORK)
set(here ${CMAKE_CURRENT_LIST_DIR})
set(debuggers ${here}/../../resources/debuggers)
set(prefix ${WORK}/installed)
set(stripped ${WORK}/stripped/fixtures)

function(run)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Runs GDB in the manner NAME and compares what it wrote.
function(show name)
    run(${CMAKE_COMMAND} -E env LC_ALL=C.UTF-8 ORV_PRINTED=${WORK}/${name}.txt
        ORV_NATVIS=${debuggers}/orvcomtypes.natvis DEBUGINFOD_URLS=
        ${GDB} -nx -batch -iex "set startup-with-shell off" ${ARGN})
    execute_process(COMMAND diff -u ${here}/expected.txt ${WORK}/${name}.txt COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component development debug)
    run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --component ${component})
endforeach()
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --component runtime --strip)
run(${OBJCOPY} --only-keep-debug ${PROGRAM} ${stripped}.debug)
run(${OBJCOPY} --strip-all --add-gnu-debuglink=${stripped}.debug ${PROGRAM} ${stripped})

set(installed -iex "add-auto-load-scripts-directory ${prefix}/share/gdb/auto-load"
    -iex "add-auto-load-safe-path ${prefix}" -iex "set debug-file-directory ${prefix}/lib/debug")
set(ENV{ORV_CORE} ${WORK}/core)
show(stripped ${installed} -iex "set environment LD_LIBRARY_PATH ${prefix}/lib" -x ${here}/print.py ${stripped})
show(core ${installed} -x ${here}/print.py ${stripped} ${WORK}/core)
unset(ENV{ORV_CORE})
show(whole -ex "source ${debuggers}/orvcomtypes-gdb.py" -x ${here}/print.py ${PROGRAM})
