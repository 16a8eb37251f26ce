#include "risk_notice_waiver.h"

#include <QStringList>

#include "clock.h"
#include "log.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"

namespace {

constexpr QLatin1Char kSeparator('|');

}  // namespace

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
    const QDate today = m_clock.today();
    const QDate ignoreDate =
        QDate::fromString(m_riskNoticeSettings->lockedValue(OwnKeys::ignoreDate).toString(),
                          DateTimeFormatString::TRANS_DATE_FROMAT);
    if (!ignoreDate.isValid() || ignoreDate < today) {
        beginDay(today);
        return;
    }
    const QStringList saved = m_riskNoticeSettings->lockedValue(OwnKeys::symbol)
                                  .toString()
                                  .split(kSeparator, Qt::SkipEmptyParts);
    const auto tables = m_ignoreRiskLock.write();
    tables->m_ignoreDate = ignoreDate;
    tables->m_lastDay = today;
    tables->m_ignoreRiskSymbols = QSet<QString>(saved.cbegin(), saved.cend());
}

QSet<QString> RiskNoticeWaiver::ignoreRiskSymbols() const {
    const auto tables = m_ignoreRiskLock.read();
    return tables->m_ignoreRiskSymbols;
}

QSet<QString> RiskNoticeWaiver::symbolsOn(const QDate& today) {
    {
        const auto tables = m_ignoreRiskLock.write();
        if (tables->m_ignoreDate.isValid() && tables->m_ignoreDate >= today &&
            tables->m_lastDay >= today) {
            tables->m_lastDay = today;
            return tables->m_ignoreRiskSymbols;
        }
    }
    beginDay(today);
    return {};
}

void RiskNoticeWaiver::addSymbols(const QSet<QString>& symbols) {
    QStringList all;
    {
        const auto tables = m_ignoreRiskLock.write();
        tables->m_ignoreRiskSymbols.unite(symbols);
        all = tables->m_ignoreRiskSymbols.values();
    }
    all.sort();
    save({{OwnKeys::symbol, all.join(kSeparator)}});
}

void RiskNoticeWaiver::beginDay(const QDate& today) {
    {
        const auto tables = m_ignoreRiskLock.write();
        tables->m_ignoreDate = today;
        tables->m_lastDay = today;
        tables->m_ignoreRiskSymbols.clear();
    }
    save({{OwnKeys::symbol, QString()},
          {OwnKeys::ignoreDate, today.toString(DateTimeFormatString::TRANS_DATE_FROMAT)}});
}

void RiskNoticeWaiver::save(const QVariantMap& values) {
    if (!m_riskNoticeSettings) {
        qCWarning(lcSymbolRules) << "waived risk symbols not saved: their file is not open";
        return;
    }
    m_riskNoticeSettings->lockedSetValues(values);
}
