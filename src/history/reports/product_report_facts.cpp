#include "product_report_facts.h"

#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kDashedDay = QStringLiteral("yyyy-MM-dd");
inline const QString kPlainDay = QStringLiteral("yyyyMMdd");

}  // namespace

const ProductReportFacts& appraisement() {
    static const ProductReportFacts facts{
        QStringLiteral("ZnBusinessDataManager::GetHistoryAppraisementInfo"),
        Velmar_MsgType::queryHistoryAppraisementRequest,
        AppraisementInfo::ProductRecord,
        System::queryDate,
        kDashedDay,
        true,
        true,
        HeldUnder::OwnProduct};
    return facts;
}

const ProductReportFacts& appraisementProfit() {
    static const ProductReportFacts facts{
        QStringLiteral("ZnBusinessDataManager::GetHistoryAppraisementProfitInfo"),
        Velmar_MsgType::queryHistoryProfitRequest,
        AppraisementInfo::ProductRecord,
        System::endTime,
        kDashedDay,
        true,
        false,
        HeldUnder::AnswerProduct};
    return facts;
}

const ProductReportFacts& panfenFlow() {
    static const ProductReportFacts facts{
        QStringLiteral("ZnBusinessDataManager::GetHistoryPanfenFlowInfo"),
        Velmar_MsgType::QueryPanfenFlowRequest,
        PanfenEquityFlowInfo::ProductRecord,
        PanfenEquityFlowInfo::OccurredDate,
        kPlainDay,
        false,
        false,
        HeldUnder::OwnProduct};
    return facts;
}
