# What makes a fault in our programs hard to use: code at random addresses (position-independent), nothing to overwrite
# in the tables of the loader (full RELRO, bound at the start), guarded stacks that cannot be jumped over, the library's
# own bounds checks, and indirect jumps and returns only where the processor is told to expect them.
#
# The link options hold for every build. The compile options are for what is released: the sanitizers check the same
# more strictly in their way. scripts/check-hardening reads from programs whether all of it took effect.
add_link_options(-pie -Wl,-z,relro,-z,now,-z,noexecstack)

add_library(nivex-hardening INTERFACE)
target_compile_options(nivex-hardening INTERFACE
    -fPIE -fstack-protector-strong -fstack-clash-protection -D_GLIBCXX_ASSERTIONS)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
    target_compile_options(nivex-hardening INTERFACE -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    target_compile_options(nivex-hardening INTERFACE -mbranch-protection=standard)
endif()
string(TOUPPER "${CMAKE_BUILD_TYPE}" configuration)
set(NIVEX_FORTIFIED ON)
if("${CMAKE_CXX_FLAGS_${configuration}}" MATCHES "-O0") # the library checks sizes only in optimised code
    set(NIVEX_FORTIFIED OFF)
else()
    target_compile_options(nivex-hardening INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
endif()
