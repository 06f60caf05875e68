#include "lib/rolling2/rol_arg.h"

#include <array>
#include <bit>
#include <cstring>

// A long is cut to its first four bytes, and records are read in memory order.
static_assert(std::endian::native == std::endian::little);

std::size_t RolNumberSize(TRolArgType type) {
    static constexpr std::array<std::uint8_t, 13> kSizes{
        0, 1, 1, 2, 2, 4, 4, 4, 8, 0, 0, 4, 4,  // by TRolArgType
    };
    return type < kSizes.size() ? kSizes[type] : 0;
}

CRolArg::CRolArg(TRolArgType type, const void* value) : type_(type), size_(RolNumberSize(type)) {
    std::memcpy(number_, value, size_);
}

CRolArg::CRolArg(const char* textCp866)
    : type_(RT_STR), text_(textCp866 != nullptr ? textCp866 : "") {
    size_ = std::strlen(text_) + 1;
}

const void* CRolArg::data() const {
    return type_ == RT_STR ? static_cast<const void*>(text_) : number_;
}
