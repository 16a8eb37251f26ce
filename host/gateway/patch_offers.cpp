#include "patch_offers.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QSqlQuery>
#include <QUrl>

#include "exchange_clock.h"
#include "market_store.h"
#include "server_state.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"

namespace {

inline const QString kOffered = QStringLiteral("patch_offered");
inline const QString kApplied = QStringLiteral("patch_applied");
constexpr int kLongestId = 200;

/// User ids do not contain a slash, so no user's keys are a prefix of another user's.
QString appliedKey(const QString& userId, const QString& patchId) {
    return userId + QLatin1Char('/') + patchId;
}

bool isId(const QString& patchId, QString* error) {
    if (patchId.isEmpty() || patchId.size() > kLongestId) {
        *error = QStringLiteral("补丁编号无效：\"%1\"").arg(patchId.left(kLongestId));
        return false;
    }
    return true;
}

/// Which field is missing or unknown; empty when the record is sound.
QString faultOf(const QVariantMap& fields) {
    static const QStringList known{ClientPatch::PatchId, ClientPatch::PatchUrl, ClientPatch::Remark,
                                   System::dataVersion, System::timeStamp};
    for (auto field = fields.cbegin(); field != fields.cend(); ++field) {
        if (!known.contains(field.key())) {
            return QStringLiteral("补丁没有字段%1").arg(field.key());
        }
    }
    return fields.value(ClientPatch::Remark).toString().isEmpty()
               ? QStringLiteral("补丁缺少%1").arg(ClientPatch::Remark)
               : QString();
}

}  // namespace

bool PatchOffers::readMarket(QList<QVariantMap>* patches) const {
    const QDir folder = QFileInfo(m_store.file()).absoluteDir();
    return m_store.select(
        QStringLiteral("SELECT patch_id, file, remark, data_version, time_stamp FROM client_patch"
                       " ORDER BY patch_id"),
        {}, [&](const QSqlQuery& query) {
            const QString file = folder.filePath(query.value(1).toString());
            patches->append({{ClientPatch::PatchId, query.value(0).toString()},
                             {ClientPatch::PatchUrl, QUrl::fromLocalFile(file).toString()},
                             {ClientPatch::Remark, query.value(2).toString()},
                             {System::dataVersion, query.value(3).toString()},
                             {System::timeStamp, query.value(4).toString()}});
        });
}

bool PatchOffers::read(const QString& userId, bool withoutApplied,
                       QList<QVariantMap>* patches) const {
    QList<QVariantMap> ofMarket;
    if (!readMarket(&ofMarket)) {
        return false;
    }
    QMap<QString, QVariantMap> byId;
    for (const QVariantMap& patch : qAsConst(ofMarket)) {
        byId.insert(patch.value(ClientPatch::PatchId).toString(), patch);
    }
    const auto offered = m_state.records(kOffered);
    for (const auto& [patchId, patch] : offered) {
        byId.insert(patchId, patch);
    }
    if (withoutApplied) {
        const QString prefix = appliedKey(userId, QString());
        const auto applied = m_state.records(kApplied, prefix);
        for (const auto& one : applied) {
            byId.remove(one.first.mid(prefix.size()));
        }
    }
    *patches = byId.values();
    return true;
}

bool PatchOffers::publish(const QVariantMap& fields, QVariantMap* patch, QString* error) {
    *error = faultOf(fields);
    const QString patchId = fields.value(ClientPatch::PatchId).toString();
    if (!error->isEmpty() || !isId(patchId, error)) {
        return false;
    }
    QVariantMap record = fields;
    if (!record.contains(ClientPatch::PatchUrl)) {
        QList<QVariantMap> ofMarket;
        if (!readMarket(&ofMarket) || ofMarket.isEmpty()) {
            *error = QStringLiteral("补丁缺少%1").arg(ClientPatch::PatchUrl);
            return false;
        }
        record.insert(ClientPatch::PatchUrl, ofMarket.first().value(ClientPatch::PatchUrl));
    }
    if (!record.contains(System::dataVersion)) {
        record.insert(System::dataVersion, VelmarUtils::GetAppVersion());
    }
    if (!record.contains(System::timeStamp)) {
        record.insert(System::timeStamp, exchangeNow().toString(QStringLiteral("yyyyMMddHHmmss")));
    }
    if (!m_state.write(kOffered, patchId, record, error)) {
        return false;
    }
    *patch = record;
    return true;
}

bool PatchOffers::markApplied(const QString& userId, const QStringList& patchIds, QString* error) {
    QList<QPair<QString, QVariantMap>> records;
    for (const QString& patchId : patchIds) {
        if (!isId(patchId, error)) {
            return false;
        }
        records.append({appliedKey(userId, patchId), {{ClientPatch::PatchId, patchId}}});
    }
    return m_state.writeAll(kApplied, records, error);
}
