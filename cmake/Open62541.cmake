# The OPC UA library, 1.5, as the target open62541::open62541, from the first of
#   1. an installed package (find_package; CMAKE_PREFIX_PATH as usual),
#   2. the source folder OPEN62541_SOURCE_DIR (CMake variable or environment),
#   3. the pinned crate open62541-sys, which contains the whole C source; fetched with cargo.
# 2 and 3 are built once per machine type into build/deps, Release and static, without the services by
# which an anonymous client could delete the controller's nodes. Nothing is written elsewhere.
set(OPEN62541_CRATE_VERSION 0.6.6)
set(OPEN62541_CRATE_SHA256 12fe6cb894630ce8b6d7f15c6c6ed7f457310d6cd318d563252e755a0fd4990e)

# The library contains the time of its compilation, in seconds since 1970; a fixed one makes two builds the
# same, byte for byte.
set(open62541_epoch 0)

set(OPEN62541_SOURCE_DIR "$ENV{OPEN62541_SOURCE_DIR}" CACHE PATH
    "Source of open62541 1.5, taken when no package is installed")
set(deps_dir ${PROJECT_SOURCE_DIR}/build/deps)

set(open62541_options
    -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DCMAKE_POSITION_INDEPENDENT_CODE=ON
    -DUA_NAMESPACE_ZERO=REDUCED -DUA_ENABLE_NODEMANAGEMENT=OFF -DUA_ENABLE_PUBSUB=OFF
    -DUA_ENABLE_DIAGNOSTICS=OFF -DUA_ENABLE_MALLOC_SINGLETON=ON)
# Optimised across its files if gcc links. The objects also contain plain code, because the presets that use
# clang link the same archive, and debug builds should link fast.
find_program(OPCUASRV_GCC gcc)
if(OPCUASRV_SANITIZE MATCHES fuzzer)
    # Instrumented for the fuzz targets: coverage and sanitizers. More than -O1 takes minutes to build.
    list(APPEND open62541_options -DCMAKE_C_COMPILER=${CMAKE_C_COMPILER}
        -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=OFF "-DCMAKE_C_FLAGS_RELEASE=-O1 -DNDEBUG"
        "-DCMAKE_C_FLAGS=-g -fno-omit-frame-pointer -fsanitize=${OPCUASRV_SANITIZE} -fno-sanitize-recover=all")
elseif(CMAKE_CROSSCOMPILING OR OPCUASRV_GCC)
    list(APPEND open62541_options -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=OFF
        "-DCMAKE_C_FLAGS=-flto=auto -ffat-lto-objects")
endif()
if(OPCUASRV_GCC AND NOT CMAKE_CROSSCOMPILING AND NOT OPCUASRV_SANITIZE MATCHES fuzzer)
    list(APPEND open62541_options -DCMAKE_C_COMPILER=${OPCUASRV_GCC})
endif()

# Other options or another source give a separate build, so that changes take effect at once.
string(MD5 open62541_variant
    "${open62541_options};${open62541_epoch};${OPEN62541_SOURCE_DIR};${OPEN62541_CRATE_VERSION}")
string(SUBSTRING ${open62541_variant} 0 8 open62541_variant)
set(open62541_prefix ${deps_dir}/open62541-${CMAKE_SYSTEM_PROCESSOR}-${open62541_variant})

function(opcuasrv_fetch_open62541 out_dir)
    set(crate_dir ${deps_dir}/open62541-sys-${OPEN62541_CRATE_VERSION})
    if(NOT EXISTS ${crate_dir}/open62541/CMakeLists.txt)
        execute_process(
            COMMAND ${PROJECT_SOURCE_DIR}/tools/dev/fetch-open62541 ${crate_dir}
                    ${OPEN62541_CRATE_VERSION} ${OPEN62541_CRATE_SHA256}
            RESULT_VARIABLE failed)
        if(failed)
            message(FATAL_ERROR "open62541 1.5 cannot be obtained; see the lines above.")
        endif()
    endif()
    set(${out_dir} ${crate_dir}/open62541 PARENT_SCOPE)
endfunction()

function(opcuasrv_build_open62541 source_dir)
    set(build_dir ${open62541_prefix}-build)
    message(STATUS "Building open62541 for ${CMAKE_SYSTEM_PROCESSOR}, once; it takes about a minute ...")
    set(toolchain)
    if(CMAKE_TOOLCHAIN_FILE)
        list(APPEND toolchain -DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE})
    endif()
    if(OPCUASRV_CCACHE)
        list(APPEND toolchain -DCMAKE_C_COMPILER_LAUNCHER=${OPCUASRV_CCACHE})
    endif()
    foreach(step configure build)
        if(step STREQUAL configure)
            set(command ${CMAKE_COMMAND} -S ${source_dir} -B ${build_dir} -G Ninja ${toolchain}
                ${open62541_options}
                -DCMAKE_INSTALL_PREFIX=${open62541_prefix} -DCMAKE_INSTALL_LIBDIR=lib)
        else()
            set(command ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=${open62541_epoch}
                ${CMAKE_COMMAND} --build ${build_dir} --target install)
        endif()
        execute_process(COMMAND ${command} RESULT_VARIABLE failed
            OUTPUT_FILE ${open62541_prefix}-${step}.log ERROR_FILE ${open62541_prefix}-${step}.log)
        if(failed)
            message(FATAL_ERROR "open62541: ${step} failed, see ${open62541_prefix}-${step}.log")
        endif()
    endforeach()
endfunction()

# A build that CMake remembers from an earlier run may be another variant.
if("${open62541_DIR}" MATCHES "^${deps_dir}/")
    unset(open62541_DIR CACHE)
endif()
# A package of the build machine must not be used for the target.
if(NOT CMAKE_CROSSCOMPILING)
    find_package(open62541 1.5 QUIET CONFIG)
endif()
if(NOT open62541_FOUND)
    # Two presets that are configured at the same time share the folder.
    file(MAKE_DIRECTORY ${deps_dir})
    file(LOCK ${deps_dir}/lock TIMEOUT 900)
    if(NOT EXISTS ${open62541_prefix}/lib/cmake/open62541/open62541Config.cmake)
        if(OPEN62541_SOURCE_DIR)
            set(open62541_source ${OPEN62541_SOURCE_DIR})
        else()
            opcuasrv_fetch_open62541(open62541_source)
        endif()
        if(NOT EXISTS ${open62541_source}/CMakeLists.txt)
            message(FATAL_ERROR "${open62541_source} (OPEN62541_SOURCE_DIR) holds no open62541 source")
        endif()
        opcuasrv_build_open62541(${open62541_source})
    endif()
    file(LOCK ${deps_dir}/lock RELEASE)
    find_package(open62541 1.5 REQUIRED CONFIG
        PATHS ${open62541_prefix} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Debug" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set_property(TARGET open62541::open62541 APPEND PROPERTY INTERFACE_LINK_OPTIONS -fno-lto)
endif()
message(STATUS "open62541 ${open62541_VERSION}: ${open62541_DIR}")
