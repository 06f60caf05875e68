#include "jxotr/IHDA_SyncRead.h"

// Declares the interface without an archive behind it yet: every read is answered with an error.

static constexpr HRESULT kNotImplemented = static_cast<HRESULT>(0x80004001U);

IHDA_SyncRead::IHDA_SyncRead() = default;
IHDA_SyncRead::~IHDA_SyncRead() = default;

HRESULT IHDA_SyncRead::ReadRaw(timeval* /*start*/, timeval* /*end*/, unsigned int /*valueCount*/,
                               bool /*bounds*/, unsigned int /*itemCount*/,
                               OPCHDAITEMDEF* /*items*/, OPCHDAITEM** /*results*/,
                               HRESULT** /*itemErrors*/) {
    return kNotImplemented;
}
