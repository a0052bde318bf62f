# Compiler settings of every target of this project, on one interface target.
add_library(fw_options INTERFACE)
target_compile_features(fw_options INTERFACE cxx_std_20)
target_include_directories(fw_options INTERFACE "${PROJECT_SOURCE_DIR}")
# Thresholds are single precision at named steps; a fused multiply-add would change results.
target_compile_options(fw_options INTERFACE -ffp-contract=off)
if(PROJECT_IS_TOP_LEVEL) # A project that embeds this one has warnings of its own.
    target_compile_options(fw_options INTERFACE
        -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor)
endif()
if(FW_WARNINGS_AS_ERRORS)
    target_compile_options(fw_options INTERFACE -Werror)
endif()
if(FW_BUILD_FUZZERS AND NOT FW_SANITIZE)
    set(FW_SANITIZE address,undefined) # Much of what fuzzers find only the sanitizers see.
endif()
if(FW_SANITIZE)
    target_compile_options(fw_options INTERFACE
        -fsanitize=${FW_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(fw_options INTERFACE -fsanitize=${FW_SANITIZE})
endif()
if(FW_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "FW_BUILD_FUZZERS needs Clang, whose libFuzzer drives the fuzzers. Use "
            "\"cmake --preset fuzz\", or CMAKE_CXX_COMPILER=clang++ in a build folder of its own.")
    endif()
    # The fuzzers see which branches of every room an input reaches.
    target_compile_options(fw_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
set(CMAKE_CXX_EXTENSIONS OFF)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()
