#pragma once

/// Called when a load of the cage has ended, on the loading thread, with no lock held.
class PriceCageSink {
public:
    virtual ~PriceCageSink() = default;
    virtual void priceCageInfoFinishInit() = 0;
};
