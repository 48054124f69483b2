# Script: builds the documentation site and looks at it in a browser.
#   TREE  the source tree    WORK  the folder to work in    PYTHON  python3
cmake_minimum_required(VERSION 3.25)
foreach(command "${TREE}/scripts/docs.sh;${WORK}" "${PYTHON};${CMAKE_CURRENT_LIST_DIR}/check_site.py;${WORK}/html;${TREE}")
    execute_process(COMMAND ${command} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endforeach()
