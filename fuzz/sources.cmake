# For the fuzzers and for the tests that replay their corpora: the sources, fuzzers, of the readers that this target
# has, and what a program NAME needs besides the library.
set(folder ${PROJECT_SOURCE_DIR}/fuzz)
file(GLOB fuzzers CONFIGURE_DEPENDS ${folder}/*_fuzz.cpp)
if(NOT WIN32)
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/posix/*_fuzz.cpp)
    list(APPEND fuzzers ${sources})
endif()

function(orv_add_fuzzer_parts name)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/fuzz)
    if(name MATCHES "^registrytext_")
        target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/port/src)
    elseif(name MATCHES "^ingestline_")
        set(ingest ${PROJECT_SOURCE_DIR}/examples/ingest)
        target_include_directories(${name} PRIVATE ${ingest})
        target_sources(${name} PRIVATE ${ingest}/packagelog.cpp ${ingest}/statementlogreader.cpp ${ingest}/utf8.cpp)
    endif()
endfunction()
