#include "zndatabase/c_data_base.h"

#include "data_stores.h"

CDataBase* CDataBase::GetInstance() {
    static auto* const instance = new CDataBase;
    return instance;
}

QString CDataBase::GetStaticCfgValue(const QString& section, const QString& key) const {
    return DataStores::staticDatabase().value(section, key);
}

QMap<QString, QString> CDataBase::GetStaticValuesBySection(const QString& section) const {
    return DataStores::staticDatabase().section(section);
}
