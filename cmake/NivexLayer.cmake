# Settings that every target of NIVEX shares, and the function that declares one layer of the house.

add_library(nivex-settings INTERFACE)
target_include_directories(nivex-settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(nivex-settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ warns of designated initialisers that leave out fields with defaults, which the tables rely on.
    # Its analysis of values that may be uninitialised mistakes the inactive members of an inlined std::variant for some.
    target_compile_options(nivex-settings INTERFACE -Wno-missing-field-initializers -Wno-maybe-uninitialized)
else()
    target_compile_options(nivex-settings INTERFACE -Wno-missing-field-initializers -Wno-missing-braces)
endif()
if(NIVEX_SANITIZE)
    target_compile_options(nivex-settings INTERFACE
        -fsanitize=${NIVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(nivex-settings INTERFACE -fsanitize=${NIVEX_SANITIZE})
else()
    target_link_libraries(nivex-settings INTERFACE nivex-hardening)
endif()
if(NIVEX_FUZZERS)
    target_compile_options(nivex-settings INTERFACE -fsanitize=fuzzer-no-link)
endif()

# nivex_layer(<target> <folder> [USES <targets>...] [PRIVATE <third-party targets>...])
#
# A static library of every .cpp file in <folder> and its rooms. USES names the layers whose headers this one may
# include; PRIVATE names libraries that only its .cpp files see.
function(nivex_layer target folder)
    cmake_parse_arguments(LAYER "" "" "USES;PRIVATE" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${folder}/*.cpp)
    add_library(${target} STATIC ${sources})
    target_link_libraries(${target} PUBLIC nivex-settings ${LAYER_USES} PRIVATE ${LAYER_PRIVATE})
    if(NIVEX_SANITIZE)
        nivex_plain_layer(${target}-plain "${sources}" "${LAYER_USES}" "${LAYER_PRIVATE}")
    endif()
endfunction()

# The same layer without sanitizers, built only where something links it: a program whose address space is limited
# cannot have them.
function(nivex_plain_layer target sources uses private)
    add_library(${target} STATIC EXCLUDE_FROM_ALL ${sources})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC nivex-hardening)
    foreach(use IN LISTS uses)
        if(TARGET ${use}-plain)
            set(use ${use}-plain)
        endif()
        target_link_libraries(${target} PUBLIC ${use})
    endforeach()
    target_link_libraries(${target} PRIVATE ${private})
endfunction()
