# Options that every target of the project shares.
add_library(orvcomtypes_options INTERFACE)
target_compile_features(orvcomtypes_options INTERFACE cxx_std_20)
# Narrowing is warned about; a change of signedness alone is not: the interface's types (LONG, DWORD, int, size_t) mix
# the two throughout, and casts at every turn would hide the narrowing ones.
if(MSVC)
    target_compile_options(orvcomtypes_options INTERFACE /utf-8 /permissive- /Zc:preprocessor /Zc:__cplusplus /EHsc /W4)
else()
    target_compile_options(orvcomtypes_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        -Wno-sign-conversion -Wundef -Wnon-virtual-dtor -Woverloaded-virtual
        $<$<BOOL:${ORVCOMTYPES_WARNINGS_ARE_ERRORS}>:-Werror>)
    # A thread's own block is read at an offset of a segment, which gcc 12 takes for an array at address zero.
    target_compile_options(orvcomtypes_options INTERFACE
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<PLATFORM_ID:Windows>>:--param=min-pagesize=0>)
endif()
target_compile_definitions(orvcomtypes_options INTERFACE
    $<$<PLATFORM_ID:Windows>:UNICODE;_UNICODE;NOMINMAX;_WIN32_WINNT=0x0A00;STRSAFE_NO_DEPRECATE>)
if(ORVCOMTYPES_SANITIZE)
    target_compile_options(orvcomtypes_options INTERFACE
        -fsanitize=${ORVCOMTYPES_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(orvcomtypes_options INTERFACE -fsanitize=${ORVCOMTYPES_SANITIZE})
endif()

# Windows: the runtime DLLs stand beside ours, in the build tree as where it is installed. An exception crosses from
# the library to its caller only when both use the same ones.
if(MINGW)
    set(ORV_RUNTIME_DLLS "")
    foreach(name libstdc++-6.dll libgcc_s_dw2-1.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        if(IS_ABSOLUTE "${path}")  # a runtime of the other architecture's unwinder comes back as a bare name
            # Stripped: the debug information in them is ten times their size.
            set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
            execute_process(COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
                COMMAND_ERROR_IS_FATAL ANY)
            execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded ${path} -o ${copy} COMMAND_ERROR_IS_FATAL ANY)
            list(APPEND ORV_RUNTIME_DLLS ${copy})
        endif()
    endforeach()
    # The same sources make the same bytes.
    add_link_options(-Wl,--no-insert-timestamp)
endif()
