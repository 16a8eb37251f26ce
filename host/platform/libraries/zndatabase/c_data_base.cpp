#include "zndatabase/c_data_base.h"

#include "data_stores.h"
#include "never_destroyed.h"

CDataBase* CDataBase::GetInstance() {
    return &neverDestroyed([] { return new CDataBase; });
}

QString CDataBase::GetStaticCfgValue(const QString& section, const QString& key) const {
    return DataStores::staticDatabase().value(section, key);
}

QMap<QString, QString> CDataBase::GetStaticValuesBySection(const QString& section) const {
    return DataStores::staticDatabase().section(section);
}
