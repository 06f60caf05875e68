#pragma once

#include <cstddef>

#include "jxotr/opchda.h"
#include "jxotr/settings.h"

/// Reads the configuration of the trend system: its plotters and their pens.
///
/// Every operation returns 0 on success and leaves its results untouched otherwise. All results,
/// records as well as error arrays, belong to the library: callers never free them and use them
/// before the next call of the same object. One thread at a time.
class IHDA_BrowseConfig {
  public:
    IHDA_BrowseConfig();
    ~IHDA_BrowseConfig();
    IHDA_BrowseConfig(const IHDA_BrowseConfig&) = delete;
    IHDA_BrowseConfig& operator=(const IHDA_BrowseConfig&) = delete;

    HRESULT GetConfigAll(bool flag, jxo::CTrendsControlSettingsExt** settings);

    /// @param items  plotters, with pen 0
    HRESULT GetConfigPlotters(unsigned int itemCount, OPCHDAITEMDEF* items, bool flag,
                              jxo::CPlotterSettingsExt** settings, HRESULT** itemErrors);

    HRESULT GetConfigPens(unsigned int itemCount, OPCHDAITEMDEF* items,
                          jxo::CPenSettingsExt** settings, HRESULT** itemErrors);

  private:
    // Callers reserve the memory and the library's constructor fills it. The size of the library's
    // own object is not published; 4 KiB are taken as a wide margin.
    [[maybe_unused]] alignas(std::max_align_t) std::byte storage_[4096];
};
