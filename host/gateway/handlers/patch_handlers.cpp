#include "handler_families.h"
#include "patch_offers.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kExcluded = QStringLiteral("1");
constexpr int kMostReported = 1000;

/// The request's user, or the one who logged in on its session. Empty with a text for an unknown
/// one.
QString userOf(const ServerCall& call, QString* refusal) {
    const QString named = call.text(UserAccount::userID);
    QString userId = named.isEmpty() ? call.subscriptions.user(call.session) : named;
    if (!findUser(call.store, userId)) {
        *refusal = QStringLiteral("用户%1不存在").arg(userId);
        return {};
    }
    return userId;
}

/// Patches of every version, since the client chooses those of its own.
HandlerAnswer offeredPatches(const ServerCall& call) {
    HandlerAnswer answer;
    const QString userId = userOf(call, &answer.refusal);
    if (userId.isEmpty()) {
        return answer;
    }
    const bool withoutApplied = call.text(ClientPatch::ExcludeUpdated) == kExcluded;
    return PatchOffers(call.store, call.state).read(userId, withoutApplied, &answer.rows)
               ? answer
               : HandlerAnswer::storeFailed();
}

/// Records which patches the user has applied, all of them or none.
HandlerAnswer appliedPatches(const ServerCall& call) {
    HandlerAnswer answer;
    const QString action = call.text(System::alterType);
    if (action != AlterType::Update) {
        return HandlerAnswer::refused(QStringLiteral("补丁的操作类型不支持：\"%1\"").arg(action));
    }
    if (call.rows.isEmpty() || call.rows.size() > kMostReported) {
        return HandlerAnswer::refused(QStringLiteral("补丁数量无效：%1").arg(call.rows.size()));
    }
    const QString userId = userOf(call, &answer.refusal);
    if (userId.isEmpty()) {
        return answer;
    }
    QStringList patchIds;
    for (const QVariantMap& row : call.rows) {
        patchIds.append(row.value(ClientPatch::PatchId).toString());
    }
    PatchOffers(call.store, call.state).markApplied(userId, patchIds, &answer.refusal);
    return answer;
}

}  // namespace

void addPatchHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::QueryClientPatchInfoRequest, offeredPatches);
    handlers.insert(Velmar_MsgType::AlterClientPatchInfoRequest, appliedPatches);
}
