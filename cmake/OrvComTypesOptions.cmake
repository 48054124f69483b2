# Compile options that every target of the project shares.
add_library(orvcomtypes_options INTERFACE)
target_compile_features(orvcomtypes_options INTERFACE cxx_std_20)
target_compile_options(orvcomtypes_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror)
target_compile_definitions(orvcomtypes_options INTERFACE
    $<$<PLATFORM_ID:Windows>:UNICODE;_UNICODE;NOMINMAX;WIN32_LEAN_AND_MEAN;_WIN32_WINNT=0x0A00;STRSAFE_NO_DEPRECATE>)
if(ORVCOMTYPES_SANITIZE)
    target_compile_options(orvcomtypes_options INTERFACE
        -fsanitize=${ORVCOMTYPES_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(orvcomtypes_options INTERFACE -fsanitize=${ORVCOMTYPES_SANITIZE})
endif()
