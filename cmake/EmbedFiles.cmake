# Writes a C++ source with the bytes of files, for tools/opcuaweb/http/asset.h.
#   cmake -D OUTPUT=assets.cpp -D "FILES=/path/in/page=/path/of/file;..." -P EmbedFiles.cmake
set(types
    html "text/html\; charset=utf-8" js "text/javascript\; charset=utf-8" css "text/css\; charset=utf-8"
    svg "image/svg+xml" png "image/png" json "application/json" ico "image/x-icon")
set(source "// Made by cmake/EmbedFiles.cmake; not to be edited.\n#include \"tools/opcuaweb/http/asset.h\"\n
#include <array>\n\nnamespace tools::opcuaweb {\n\nnamespace {\n\n")
set(rows "")
set(number 0)
foreach(pair IN LISTS FILES)
    string(FIND "${pair}" "=" equals)
    string(SUBSTRING "${pair}" 0 ${equals} path)
    math(EXPR equals "${equals} + 1")
    string(SUBSTRING "${pair}" ${equals} -1 file)
    get_filename_component(ending "${file}" LAST_EXT)
    string(SUBSTRING "${ending}" 1 -1 ending)
    list(FIND types "${ending}" place)
    if(place LESS 0)
        message(FATAL_ERROR "${file}: no type is known for .${ending}")
    endif()
    math(EXPR place "${place} + 1")
    list(GET types ${place} type)
    file(READ ${file} bytes HEX)
    file(SHA256 ${file} hash)
    string(SUBSTRING ${hash} 0 16 hash)
    string(LENGTH "${bytes}" length)
    math(EXPR length "${length} / 2")
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(REGEX REPLACE "(................................................................................)"
        "\\1\n    " bytes "${bytes}")
    string(APPEND source "constexpr std::array<unsigned char, ${length}> kFile${number}{\n    ${bytes}\n};\n\n")
    string(APPEND rows "    {\"${path}\", \"${type}\", \"\\\"${hash}\\\"\",\n     "
        "{reinterpret_cast<const char*>(kFile${number}.data()), kFile${number}.size()}},\n")
    math(EXPR number "${number} + 1")
endforeach()
string(APPEND source "}  // namespace\n\nstd::span<const Asset> assets() {\n"
    "    static const std::array<Asset, ${number}> kAssets{{\n${rows}    }};\n    return kAssets;\n}\n\n"
    "}  // namespace tools::opcuaweb\n")
file(WRITE ${OUTPUT} "${source}")
