#include "zncore/zn_core.h"

#include "application_object.h"
#include "data_log.h"
#include "data_stores.h"
#include "request_broker.h"

namespace {

/// There is one settings file, for this user; a group is the first part of the key.
QString fullKey(const QString& key, const QString& group, const QString& file,
                QSettings::Scope scope) {
    if (!file.isEmpty() || scope != QSettings::UserScope) {
        qCDebug(lcPlatformSettings) << "setting" << key << ": file" << file << "and scope" << scope
                                    << "make no difference here";
    }
    return group.isEmpty() ? key : group + QLatin1Char('/') + key;
}

}  // namespace

ZnCore::ZnCore() {
    moveToApplicationThread(this);
}

ZnCore::~ZnCore() = default;

ZnCore* ZnCore::instance() {
    // Never destroyed: plug-ins still ask while static objects go.
    static auto* const core = new ZnCore;
    return core;
}

void ZnCore::setCommonInfo(QString key, QVariant value) {
    DataStores::board().set(key, value);
}

QVariant ZnCore::getCommonInfo(QString key) const {
    QVariant value;
    DataStores::board().get(key, value);
    return value;
}

QVariant ZnCore::settings(const QString& key, const QString& group, const QString& file,
                          QSettings::Scope scope) const {
    return DataStores::settings().value(fullKey(key, group, file, scope));
}

void ZnCore::saveSetting(const QString& key, const QVariant& value, const QString& group,
                         const QString& file, QSettings::Scope scope) {
    DataStores::settings().setValue(fullKey(key, group, file, scope), value);
}

bool ZnCore::isClosing() const {
    return RequestBroker::instance().isClosing();
}
