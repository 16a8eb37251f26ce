#include "handler_families.h"
#include "paged_query.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

/// The versions of all data, or of the key that the request names. An unknown key is a success
/// without rows.
HandlerAnswer dataVersions(const ServerCall& call) {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {{QStringLiteral("data_key"), System::dataKey},
                        {QStringLiteral("data_version"), System::dataVersion}};
        made.from = QStringLiteral("data_version");
        made.position = QStringLiteral("seq");
        made.filters = {{PagedFilter::Kind::Equal, System::dataKey, QStringLiteral("data_key")}};
        return made;
    }();
    return answerPaged(call, source);
}

/// The notices of all shares that have one.
HandlerAnswer riskNotices(const ServerCall& call) {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {{QStringLiteral("security_id"), Security::securityID},
                        {QStringLiteral("security_exchange"), UserAccount::securityExchange},
                        {QStringLiteral("st_flag"), Security::STFlag},
                        {QStringLiteral("delist_flag"), Security::delistFlag},
                        {QStringLiteral("delist_date"), Security::delistDate},
                        {QStringLiteral("remind_info"), Security::riskRemindInfo}};
        made.from = QStringLiteral("risk_notice");
        made.position = QStringLiteral("seq");
        return made;
    }();
    HandlerAnswer answer = answerPaged(call, source);
    for (QVariantMap& row : answer.rows) {
        for (const QString& flag : {Security::STFlag, Security::delistFlag}) {
            row.insert(flag, row.value(flag).toBool());
        }
    }
    return answer;
}

/// The request's user, who must exist; the text is empty then.
QString refusedUser(const ServerCall& call) {
    const QString userId = call.text(UserAccount::loginUserId);
    return findUser(call.store, userId) ? QString() : QStringLiteral("用户%1不存在").arg(userId);
}

/// Securities by type of risk; the same for every user.
HandlerAnswer riskTypes(const ServerCall& call) {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {{QStringLiteral("security_id"), Security::securityID},
                        {QStringLiteral("security_exchange"), UserAccount::securityExchange},
                        {QStringLiteral("risk_flag_type"), SymbolRiskType::riskFlagType}};
        made.from = QStringLiteral("risk_type");
        made.position = QStringLiteral("seq");
        return made;
    }();
    const QString refusal = refusedUser(call);
    return refusal.isEmpty() ? answerPaged(call, source) : HandlerAnswer::refused(refusal);
}

/// The securities that a user watches. Each row has the symbol, most also an id and its exchange.
HandlerAnswer monitoredSymbols(const ServerCall& call) {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {{QStringLiteral("security_id"), Security::securityID},
                        {QStringLiteral("security_exchange"), UserAccount::securityExchange},
                        {QStringLiteral("symbol"), Security::symbol}};
        made.from = QStringLiteral("(SELECT * FROM key_monitor WHERE user_id = ?)");
        made.position = QStringLiteral("seq");
        return made;
    }();
    const QString refusal = refusedUser(call);
    if (!refusal.isEmpty()) {
        return HandlerAnswer::refused(refusal);
    }
    HandlerAnswer answer = answerPaged(call, source, {call.text(UserAccount::loginUserId)});
    for (QVariantMap& row : answer.rows) {
        if (row.value(Security::securityID).toString().isEmpty()) {
            row.remove(Security::securityID);
            row.remove(UserAccount::securityExchange);
        }
    }
    return answer;
}

}  // namespace

void addRiskHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::queryProductDataVersionRequest, dataVersions);
    handlers.insert(Velmar_MsgType::queryProductRiskInfoRequest, riskNotices);
    handlers.insert(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest, riskTypes);
    handlers.insert(Velmar_MsgType::QueryMonitorSymbolsRequest, monitoredSymbols);
}
