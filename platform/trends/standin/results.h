#pragma once

#include "jxotr/opchda.h"

/// The stand-in's results; the codes are those that OPC servers use.
namespace trends {

inline constexpr HRESULT kOk = 0;
inline constexpr HRESULT kNoArchive = static_cast<HRESULT>(0x80004005U);  // missing, damaged
inline constexpr HRESULT kNotImplemented =
    static_cast<HRESULT>(0x80004001U);  // not in the stand-in
inline constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057U);
inline constexpr HRESULT kOutOfMemory = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT kUnknownItem =
    static_cast<HRESULT>(0xC0040007U);  // no such plotter or pen

}  // namespace trends
