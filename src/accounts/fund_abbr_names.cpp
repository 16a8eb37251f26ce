#include "fund_abbr_names.h"

#include <QVariantMap>

#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"

void FundAbbrNames::open(QObject* owner) {
    if (!m_fundAbbrSettings) {
        m_fundAbbrSettings = new SharedSettings(
            VelmarUtils::GetUserCfgFileDir() + QStringLiteral("fundAbbr.cfg"), owner);
    }
}

QString FundAbbrNames::abbrName(const QString& tradingAccount) const {
    const SharedSettings* const settings = m_fundAbbrSettings;
    return settings ? settings->lockedValue(tradingAccount).toString() : QString();
}

void FundAbbrNames::setAbbrNames(const QMap<QString, QString>& abbrMap) {
    SharedSettings* const settings = m_fundAbbrSettings;
    if (!settings || abbrMap.isEmpty()) {
        return;
    }
    QVariantMap values;
    for (auto it = abbrMap.cbegin(); it != abbrMap.cend(); ++it) {
        values.insert(it.key(), it.value());
    }
    settings->lockedSetValues(values);
}
