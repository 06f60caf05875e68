#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// Node id of a pen of plotter 1, which records the analog input of the pen's number.
inline std::string penTagName(std::size_t pen) {
    const std::string number = std::to_string(pen);
    std::string name = "R1_P";
    return name.append(number).append(".VA_").append(number);
}

}  // namespace bench
