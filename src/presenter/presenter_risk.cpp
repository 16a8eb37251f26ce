#include "data_query.h"
#include "log.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/velmar_msg_type.h"

// The versions of the server's product data, and what is requested when they change. A request that
// fails is logged where it is sent.

namespace {

/// The version in a row; 0, with a warning, when it is not a number.
int dataVersionOf(const QVariantMap& row) {
    bool isNumber = false;
    const QString value = row.value(System::dataVersion).toString();
    // Not by QVariant::toInt(), which cuts a large number to 32 bits.
    const int version = value.toInt(&isNumber);
    if (!isNumber) {
        qCWarning(lcPresenter) << "the version of" << row.value(System::dataKey).toString()
                               << "is not a number:" << value;
        return 0;
    }
    return version;
}

}  // namespace

void VelmarBusinessDataManagerPresenterClass::checkProductDataVersion() {
    const QString& key = OwnKeys::riskInfoItem;
    const ServerReply reply = queryRows(this, Velmar_MsgType::queryProductDataVersionRequest,
                                        {{System::dataKey, key}}, QueryDataMode::VersionOnly);
    for (const QVariantMap& row : reply.rows) {
        if (row.value(System::dataKey).toString() != key) {
            continue;
        }
        const int version = dataVersionOf(row);
        if (version > m_dataVersionMap.value(key) && !isClosing() && queryRiskNotices()) {
            m_dataVersionMap.insert(key, version);
        }
        return;
    }
}

bool VelmarBusinessDataManagerPresenterClass::queryRiskNotices() {
    const ServerReply reply = queryPages(this, Velmar_MsgType::queryProductRiskInfoRequest, {});
    if (reply.rows.isEmpty()) {
        return false;
    }
    emit signalNoticeSymbolChanged(reply.rows);
    return true;
}
