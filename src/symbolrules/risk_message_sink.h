#pragma once

#include <QString>

/// Raises the business messages of risk flags.
class RiskMessageSink {
public:
    virtual ~RiskMessageSink() = default;

    /// Called with no lock held.
    virtual void raiseRiskMessage(const QString& text) = 0;
};
