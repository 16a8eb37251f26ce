#pragma once

/// Is told when the cage is loaded, on the loading thread, with no lock held.
class PriceCageSink {
public:
    virtual ~PriceCageSink() = default;
    virtual void priceCageInfoFinishInit() = 0;
};
