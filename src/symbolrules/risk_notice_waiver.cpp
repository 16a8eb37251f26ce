#include "risk_notice_waiver.h"

#include <QStringList>

#include "clock.h"
#include "log.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"

void RiskNoticeWaiver::open(QObject* owner) {
    if (!m_riskNoticeSettings) {
        m_riskNoticeSettings = new SharedSettings(
            VelmarUtils::GetUserCfgFileDir() + QStringLiteral("riskNoticeSymbol.cfg"), owner);
    }
}

void RiskNoticeWaiver::load() {
    if (!m_riskNoticeSettings) {
        qCWarning(lcSymbolRules) << "waived risk symbols requested before their file was opened";
        return;
    }
    const QString& format = DateTimeFormatString::TRANS_DATE_FROMAT;
    const QDate today = m_clock.today();
    const QDate ignoreDate = QDate::fromString(
        m_riskNoticeSettings->lockedValue(OwnKeys::ignoreDate).toString(), format);
    QSet<QString> symbols;
    if (ignoreDate.isValid() && ignoreDate >= today) {
        const QStringList saved = m_riskNoticeSettings->lockedValue(OwnKeys::symbol)
                                      .toString()
                                      .split(QLatin1Char('|'), Qt::SkipEmptyParts);
        symbols = QSet<QString>(saved.cbegin(), saved.cend());
    } else {
        m_riskNoticeSettings->lockedSetValues(
            {{OwnKeys::symbol, QString()}, {OwnKeys::ignoreDate, today.toString(format)}});
    }
    const auto tables = m_ignoreRiskLock.write();
    tables->m_ignoreRiskSymbols = symbols;
}

QSet<QString> RiskNoticeWaiver::ignoreRiskSymbols() const {
    const auto tables = m_ignoreRiskLock.read();
    return tables->m_ignoreRiskSymbols;
}
