# The build's identity, which the server reports to its clients: version, number and date. Each build runs
# this (cmake -P), so that it matches the current sources; the header changes only with them.
#   -D SOURCE_DIR=...  -D VERSION=...  -D NUMBER=...  -D HEADER=...
# The number is NUMBER or else the commit; the date is SOURCE_DATE_EPOCH or else the commit's. Unknown
# values are 0, so that two builds of the same sources are equal.
set(number "${NUMBER}")
set(date "$ENV{SOURCE_DATE_EPOCH}")
find_package(Git QUIET)
# A source folder that is not a repository may be inside another repository.
if(GIT_FOUND AND EXISTS ${SOURCE_DIR}/.git)
    execute_process(COMMAND ${GIT_EXECUTABLE} -C ${SOURCE_DIR} log -1 --abbrev=12 --format=%h,%ct
        OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(commit MATCHES "^([0-9a-f]+),([0-9]+)$")
        set(commit_number ${CMAKE_MATCH_1})
        set(commit_date ${CMAKE_MATCH_2})
    endif()
endif()
foreach(what number date)
    if("${${what}}" STREQUAL "")
        set(${what} "${commit_${what}}")
    endif()
    if("${${what}}" STREQUAL "")
        set(${what} 0)
    endif()
endforeach()
if(NOT date MATCHES "^[0-9]+$")
    message(FATAL_ERROR "SOURCE_DATE_EPOCH is ${date}; it must be seconds since 1970")
endif()
file(CONFIGURE OUTPUT ${HEADER} @ONLY CONTENT [[
// Made by cmake/BuildIdentity.cmake; not to be edited.
#pragma once

#include <cstdint>

inline constexpr const char* kBuildVersion = "@VERSION@";
inline constexpr const char* kBuildNumber = "@number@";
inline constexpr std::int64_t kBuildUnixTime = @date@;  // s, 0: unknown
]])
