#include "zncore/zn_core.h"

#include "application_object.h"
#include "data_log.h"
#include "data_stores.h"
#include "message_totals.h"
#include "never_destroyed.h"
#include "reference_table.h"
#include "request_broker.h"
#include "suspend_watch.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// All settings are in one file of this user; a group is the first part of the key.
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
    return &neverDestroyed([] { return new ZnCore; });
}

void ZnCore::setCommonInfo(QString key, QVariant value) {
    DataStores::board().set(key, value);
}

QVariant ZnCore::getCommonInfo(QString key) const {
    if (key == ClientErrorType::ComputerResume || key == ClientErrorType::ComputerSuspend) {
        SuspendWatch::instance().check();
    }
    QVariant value;
    if (!DataStores::board().get(key, value)) {
        value = MessageTotals::instance().value(key);
    }
    return value;
}

QVariant ZnCore::settings(const QString& key, const QString& group, const QString& file,
                          QSettings::Scope scope) const {
    const QString full = fullKey(key, group, file, scope);
    const QVariant saved = DataStores::settings().value(full);
    // What the user never saved has the value of the system settings, if they name it.
    return saved.isValid()
               ? saved
               : ReferenceTable::of(ReferenceKind::Setting).record(full).value(System::itemValue);
}

void ZnCore::saveSetting(const QString& key, const QVariant& value, const QString& group,
                         const QString& file, QSettings::Scope scope) {
    DataStores::settings().setValue(fullKey(key, group, file, scope), value);
}

QString ZnCore::getCurrentSkinId() const {
    return settings(QStringLiteral("skin")).toString();
}

QString ZnCore::getCurrentConnectIP() const {
    return RequestBroker::instance().linkAddress();
}

bool ZnCore::isClosing() const {
    return RequestBroker::instance().isClosing();
}
