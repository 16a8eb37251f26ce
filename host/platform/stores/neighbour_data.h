#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>
#include <memory>

#include "platform_export.h"

class ZnPresenterClass;

/// What answers BusinessDataInterface and BaseBusinessDataInterface. Called on any thread, also
/// while the caller holds locks of its own: an implementation must not call the plug-in that asks,
/// and must not publish an event under a lock.
class NeighbourData {
public:
    virtual ~NeighbourData() = default;

    /// See BusinessDataInterface.
    virtual QList<QVariantMap> executions(const QVariantMap& filter, int start, int count,
                                          int* total) const = 0;
    virtual QList<QVariantMap> positions(const QVariantMap& filter) const = 0;
    virtual void requeryFunds(ZnPresenterClass* presenter) = 0;
    /// See BaseBusinessDataInterface; an empty account means all of them.
    virtual int positionCount(const QString& tradingAccount) const = 0;
    virtual int executionCount(const QString& tradingAccount) const = 0;
    virtual int orderCount(const QString& tradingAccount) const = 0;
};

/// The client's provider; null when it has none. Any thread. Each call holds a copy of the pointer,
/// so a provider that is replaced lives until the calls that use it have returned.
namespace NeighbourSlot {

PLATFORM_API std::shared_ptr<NeighbourData> get();
PLATFORM_API void set(std::shared_ptr<NeighbourData> provider);

}  // namespace NeighbourSlot
