#include "jxotr/IHDA_BrowseConfig.h"

// Declares the interface without an archive behind it yet: every question is answered with an
// error.

static constexpr HRESULT kNotImplemented = static_cast<HRESULT>(0x80004001U);

IHDA_BrowseConfig::IHDA_BrowseConfig() = default;
IHDA_BrowseConfig::~IHDA_BrowseConfig() = default;

HRESULT IHDA_BrowseConfig::GetConfigAll(bool /*flag*/, jxo::CTrendsControlSettingsExt** /*out*/) {
    return kNotImplemented;
}

HRESULT IHDA_BrowseConfig::GetConfigPlotters(unsigned int /*itemCount*/, OPCHDAITEMDEF* /*items*/,
                                             bool /*flag*/, jxo::CPlotterSettingsExt** /*settings*/,
                                             HRESULT** /*itemErrors*/) {
    return kNotImplemented;
}

HRESULT IHDA_BrowseConfig::GetConfigPens(unsigned int /*itemCount*/, OPCHDAITEMDEF* /*items*/,
                                         jxo::CPenSettingsExt** /*settings*/,
                                         HRESULT** /*itemErrors*/) {
    return kNotImplemented;
}
