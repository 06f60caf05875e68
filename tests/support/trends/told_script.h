#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One value as it lies in the library's answers.
#pragma pack(push, 1)
struct ToldValue {
    std::uint16_t code;     //  0
    char reserved[6];       //  2
    char value[8];          //  8
    std::int64_t seconds;   // 16
    std::int64_t micros;    // 24
    std::uint32_t quality;  // 32
    std::uint32_t padding;  // 36
};
#pragma pack(pop)
static_assert(sizeof(ToldValue) == 40);

struct ToldPen {
    std::int16_t type = 0;
    std::int32_t kind = 0;
    std::uint16_t number = 0;
};

/// What the library shall answer. Each line of the file is one of
///
///     plotters COUNT               number of plotters; none at all without this line
///     plotter P PENS               a plotter that exists, with so many pens
///     pen P K TYPE KIND NUMBER     a pen that exists: type code, kind and number of its variable
///     pens P FIRST LAST TYPE KIND  many of them; the number is the pen's
///     value P K CODE VALUE SECONDS MICROS QUALITY      an archived value
///     ramp P K FIRST_SECOND COUNT  floats 0, 1, 2 ... of good quality, one a second
///     whole                        reads answer everything, whatever range and number they ask
///     status S                     reads return S, with their answer
///     missing                      reads give no answer at all
///     claim COUNT                  reads claim to have so many values
///     delay MICROS                 reads take so long
///     fixed                        the file is not looked at again
///
/// An unknown line is an error, told on standard error, and ends the process: a test must not pass
/// because of a slip.
struct ToldScript {
    using PenKey = std::pair<std::uint32_t, std::uint32_t>;

    std::optional<std::uint64_t> plotters;
    std::map<std::uint32_t, std::uint64_t> pensOfPlotter;
    std::map<PenKey, ToldPen> pens;
    std::map<PenKey, std::vector<ToldValue>> values;
    bool whole = false;
    int status = 0;
    bool missing = false;
    std::optional<std::uint32_t> claim;
    unsigned delayMicros = 0;
    bool fixed = false;
};

/// The script that TOLD_TRENDS names, read again when the file has changed.
const ToldScript& toldScript();
