# Options for every target of this project. The helper functions below link them privately, so that they do
# not affect the OPC UA library or a consumer.
add_library(opcuasrv_options INTERFACE)
target_compile_features(opcuasrv_options INTERFACE cxx_std_20)
# Headers of the product are included relative to src ("lib/util/shmem.h"), all others relative to the
# project ("sim/options.h"), so that an include shows the file's place. A folder may include what its target
# links: tools/dev/includes checks it.
target_include_directories(opcuasrv_options INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
target_compile_options(opcuasrv_options INTERFACE -Wall -Wextra -Wconversion -Wshadow)
if(OPCUASRV_WERROR)
    target_compile_options(opcuasrv_options INTERFACE -Werror)
endif()

# The controller's char is unsigned. The order of sections and keys, and every CP866 byte, depends on it, so
# all machines build that way; the signed variant exists to show that only this order differs.
if(OPCUASRV_SIGNED_CHAR)
    target_compile_options(opcuasrv_options INTERFACE -fsigned-char)
else()
    target_compile_options(opcuasrv_options INTERFACE -funsigned-char)
endif()

if(OPCUASRV_ASSERTIONS)
    target_compile_definitions(opcuasrv_options INTERFACE _GLIBCXX_ASSERTIONS)
endif()

if(OPCUASRV_SANITIZE)
    target_compile_options(opcuasrv_options INTERFACE
        -fsanitize=${OPCUASRV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(opcuasrv_options INTERFACE -fsanitize=${OPCUASRV_SANITIZE})
    if(OPCUASRV_SANITIZE STREQUAL thread)
        target_compile_definitions(opcuasrv_options INTERFACE OPCUASRV_THREAD_SANITIZER)
    endif()
endif()

# The counters are in the mapped file itself, so that processes that are forked, killed or end with _exit
# count too.
if(OPCUASRV_COVERAGE)
    target_compile_options(opcuasrv_options INTERFACE
        -fprofile-instr-generate -fcoverage-mapping "SHELL:-mllvm -runtime-counter-relocation")
    target_link_options(opcuasrv_options INTERFACE -fprofile-instr-generate)
endif()

# With the compiler's own limits some files take many minutes. gcc 12 calls results that are built in place
# uninitialised, and takes operator new for one that returns a null pointer.
if(OPCUASRV_ANALYZER)
    target_compile_options(opcuasrv_options INTERFACE -fanalyzer -Wno-analyzer-use-of-uninitialized-value
        -Wno-analyzer-possible-null-argument -Wno-analyzer-possible-null-dereference
        --param=analyzer-max-enodes-per-program-point=2 --param=analyzer-bb-explosion-factor=2)
endif()

find_program(OPCUASRV_CCACHE ccache)
if(OPCUASRV_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${OPCUASRV_CCACHE})
endif()

# opcuasrv_library(<name> SOURCES <file>... [LINKS <target>...])
# A static library of one folder, which may include only what its LINKS reach.
function(opcuasrv_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE $<BUILD_INTERFACE:opcuasrv_options>)
endfunction()

# opcuasrv_optimise_across_files(<target>...)
# For the folders that a client's reads run through: their code is then optimised as a whole (bench/run --only
# history shows the effect). As with the OPC UA library, the objects also contain plain code for the tests,
# which are linked without this optimisation.
function(opcuasrv_optimise_across_files)
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE
            "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release,RelWithDebInfo>>:-flto=auto;-ffat-lto-objects>")
    endforeach()
endfunction()

# opcuasrv_build_identity(<target>)
# Lets the target include build_identity.h, see BuildIdentity.cmake.
function(opcuasrv_build_identity target)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_identity)
    add_custom_target(${target}_identity BYPRODUCTS ${folder}/build_identity.h VERBATIM
        COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${PROJECT_SOURCE_DIR} -D VERSION=${PROJECT_VERSION}
                -D NUMBER=${OPCUASRV_BUILD_NUMBER} -D HEADER=${folder}/build_identity.h
                -P ${PROJECT_SOURCE_DIR}/cmake/BuildIdentity.cmake)
    add_dependencies(${target} ${target}_identity)
    target_include_directories(${target} PRIVATE ${folder})
endfunction()

# opcuasrv_program(<name> SOURCES <file>... [LINKS <target>...])   -> <build>/bin/<name>
function(opcuasrv_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} opcuasrv_options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endfunction()

# opcuasrv_unit_test(<name> SOURCES <file>... [LINKS <target>...])
# One executable per suite, run in a private root, IPC and network namespace. The target unit_tests builds all.
add_custom_target(unit_tests)
function(opcuasrv_unit_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    add_dependencies(unit_tests ${name})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} opcuasrv_options
        GTest::gmock GTest::gtest GTest::gtest_main)
    # Optimising the OPC UA library into each suite would take more time than it saves.
    target_link_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-lto>)
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin/tests)
    add_test(NAME unit.${name}
        COMMAND ${PROJECT_SOURCE_DIR}/tools/dev/sandbox --private-net --
                ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}>)
    # The processes that tests fork end without waiting for their threads.
    set_tests_properties(unit.${name} PROPERTIES LABELS unit TIMEOUT 300
        ENVIRONMENT TSAN_OPTIONS=report_thread_leaks=0)
endfunction()
