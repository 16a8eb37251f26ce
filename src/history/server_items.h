#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

#include "guarded.h"

class ZnPresenterClass;

/// Single answers of the server: the announcement, the annual report, configuration values. Any
/// thread; blocks for a request and holds no lock meanwhile. Lock: m_sysConfigLock.
class ServerItems {
public:
    /// The system announcement; with `withValue` the request carries the item's value "1". Empty
    /// after a failure.
    QString GetSystemAnnoucement(ZnPresenterClass* presenter, bool withValue) const;
    /// The login's annual report, or an empty record with `error` set, which is cleared first.
    QVariantMap GetAnnualReport(ZnPresenterClass* presenter, QString& error) const;
    /// The value of a configuration item: held for good once it is not empty. Empty after a failure
    /// and without a presenter.
    QString getSysConfigValue(ZnPresenterClass* presenter, const QString& itemName);

private:
    struct Tables {
        QMap<QString, QString> m_sysConfigMap;  ///< item name to value
    };

    Guarded<Tables> m_sysConfigLock{"m_sysConfigLock", LockRank::Leaf};
};
