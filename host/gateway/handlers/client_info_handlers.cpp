#include "gateway_log.h"
#include "handler_families.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr int kMostMeasurements = 5000;

/// The client's items about itself are only counted here. A client that is not logged in reports
/// too, with an empty user.
HandlerAnswer takeItems(const ServerCall& call) {
    qCDebug(lcGateway) << "client information of" << call.text(UserAccount::userID) << "with"
                       << call.rows.size() << "rows under" << call.msgType;
    return {};
}

HandlerAnswer takeMeasurements(const ServerCall& call) {
    if (call.rows.size() > kMostMeasurements) {
        return HandlerAnswer::refused(QStringLiteral("一次最多上报%1条性能数据，实有%2条")
                                          .arg(kMostMeasurements)
                                          .arg(call.rows.size()));
    }
    return takeItems(call);
}

}  // namespace

void addClientInfoHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::ClientInfoUploadRequest, takeItems);
    handlers.insert(Velmar_MsgType::ClientInfoUploadAPMRequest, takeMeasurements);
}
