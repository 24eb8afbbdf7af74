# Compiles through ccache where it is installed. Objects are shared between the presets and between checkouts: paths
# below the checkout count relative to the build folder, and the folder itself does not count.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}
        CCACHE_NOHASHDIR=1
        # What ccache asks for to share objects that use a precompiled header.
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${CCACHE_PROGRAM})
endif()
