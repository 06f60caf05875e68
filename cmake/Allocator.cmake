# The server allocates and frees many small pieces of few sizes, for which the C library's allocator is slow
# (docs/performance.md). If gperftools' tcmalloc is installed as a static library, it replaces that allocator
# in the whole process, as the target opcuasrv_tcmalloc. Not with a sanitizer or with coverage counters,
# whose run-time libraries have their own allocator or hooks.
option(OPCUASRV_ALLOCATOR "Link tcmalloc into the server, where it is installed" ON)

if(OPCUASRV_ALLOCATOR AND NOT OPCUASRV_SANITIZE AND NOT OPCUASRV_COVERAGE)
    find_library(OPCUASRV_TCMALLOC_LIBRARY libtcmalloc_minimal.a)
    find_path(OPCUASRV_TCMALLOC_INCLUDE_DIR gperftools/malloc_extension_c.h)
    mark_as_advanced(OPCUASRV_TCMALLOC_LIBRARY OPCUASRV_TCMALLOC_INCLUDE_DIR)
endif()
if(OPCUASRV_TCMALLOC_LIBRARY AND OPCUASRV_TCMALLOC_INCLUDE_DIR
        AND OPCUASRV_ALLOCATOR AND NOT OPCUASRV_SANITIZE AND NOT OPCUASRV_COVERAGE)
    add_library(opcuasrv_tcmalloc STATIC IMPORTED)
    set_target_properties(opcuasrv_tcmalloc PROPERTIES
        IMPORTED_LOCATION ${OPCUASRV_TCMALLOC_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${OPCUASRV_TCMALLOC_INCLUDE_DIR})
    message(STATUS "Allocator: ${OPCUASRV_TCMALLOC_LIBRARY}")
else()
    message(STATUS "Allocator: the C library's")
endif()
