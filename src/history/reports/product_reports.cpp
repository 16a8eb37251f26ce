#include "product_reports.h"

#include "held_product_rows.h"
#include "product_query.h"
#include "product_report_facts.h"

namespace {

bool isNothingAsked(const QStringList& accounts, const QDate& date) {
    return accounts.isEmpty() && !date.isValid();
}

}  // namespace

QList<QVariantMap> ProductReports::GetHistoryAppraisementInfo(ZnPresenterClass* presenter,
                                                              const QStringList& accounts,
                                                              const QDate& date,
                                                              const QDate& currentDate) {
    if (isNothingAsked(accounts, date)) {
        return {};
    }
    HeldProductRowsIn held(m_appraisementLock, &AppraisementTables::m_appraisementCache);
    if (currentDate == date) {
        held.clear();
    }
    return queryProducts(presenter, appraisement(), held, accounts, date);
}

QList<QVariantMap> ProductReports::GetHistoryAppraisementProfitInfo(ZnPresenterClass* presenter,
                                                                    const QStringList& accounts,
                                                                    const QDate& date,
                                                                    const QDate& currentDate) {
    HeldProductRowsIn held(m_appraisementProfitLock, &ProfitTables::m_appraisementProfitCache);
    if (currentDate == date) {
        held.clear();
    }
    return queryProducts(presenter, appraisementProfit(), held, accounts, date);
}

QList<QVariantMap> ProductReports::GetHistoryPanfenFlowInfo(ZnPresenterClass* presenter,
                                                            const QStringList& accounts,
                                                            const QDate& date) {
    if (isNothingAsked(accounts, date)) {
        return {};
    }
    HeldProductRowsIn held(m_panfenFlowLock, &PanfenTables::m_panfenFlowCache);
    return queryProducts(presenter, panfenFlow(), held, accounts, date);
}
